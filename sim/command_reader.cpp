#include "sim/command_reader.h"

#include <QtCore/QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace {

enum { LongestCommand = 4096 };

void printLine(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

} // namespace

CommandReader::CommandReader(std::function<QString(const QString &)> answer, std::function<bool()> isFinished)
    : answer(std::move(answer)), isFinished(std::move(isFinished)), notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    QObject::connect(&notifier, &QSocketNotifier::activated, [this] { readWhatCame(); });
}

void CommandReader::readWhatCame()
{
    char bytes[4096];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0)
        return finish();
    pending.append(bytes, int(count));
    for (int end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
        const QString reply = answer(QString::fromUtf8(pending.left(end)));
        pending.remove(0, end + 1);
        if (!reply.isEmpty())
            printLine(reply);
        if (isFinished())
            return finish();
    }
    if (pending.size() > LongestCommand) {
        printLine(QString::fromLatin1("error: a command longer than %1 bytes").arg(int(LongestCommand)));
        pending.clear();
    }
}

void CommandReader::finish()
{
    notifier.setEnabled(false);
    QCoreApplication::quit();
}
