#include "host/commands/common.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <poll.h>
#include <thread>

#include <unistd.h>

namespace {

enum { LookMilliseconds = 50 };

/// Returns the number of the first error; 0 when all was written. Once the program is interrupted, a reader who has
/// stopped reading is as good as gone.
int writeTo(int descriptor, const QByteArray &bytes)
{
    for (int from = 0; from < bytes.size();) {
        // Not left to a write that blocks: an interruption right before it would go unseen.
        pollfd output{descriptor, POLLOUT, 0};
        const int ready = ::poll(&output, 1, LookMilliseconds);
        if (ready == 0 && isInterrupted())
            return EPIPE;
        if (ready <= 0)
            continue;
        // A pipe that is ready takes that much.
        const ssize_t count =
            ::write(descriptor, bytes.constData() + from, qMin<size_t>(bytes.size() - from, PIPE_BUF));
        if (count < 0)
            return errno;
        from += int(count);
    }
    return 0;
}

} // namespace

void addCommonOptions(CLI::App &verb, CommonOptions &options, int which)
{
    if (which & SettingsOption)
        verb.add_option("-s,--settings", options.settingsFile, "Settings of the line and the PLC")
            ->type_name("FILE")
            ->capture_default_str();
    if (which & TagsOption)
        verb.add_option("-t,--tags", options.tagsFile, "Tags")->type_name("FILE")->capture_default_str();
    if (which & PortOption)
        verb.add_option("--port", options.port, "Serial port in place of that of the settings")->type_name("PATH");
    if (which & DriverOption)
        verb.add_option("--driver", options.driver,
                        which & SettingsOption ? "Driver library in place of that of the settings" : "Driver library")
            ->type_name("PATH");
    if (which & TraceOption)
        verb.add_option("--trace", options.traceFile, "Write all that passes into this file")->type_name("FILE");
    if (which & JsonOption)
        verb.add_flag("--json", options.json, "Print JSON instead of a table");
    if (which & QuietOption)
        verb.add_flag("-q,--quiet", options.quiet, "Only data and errors, no progress and no closing tables");
    if (which & RawOption)
        verb.add_flag("--raw", options.raw, "Hand every reply to the driver without comparing it with its request");
}

void runInterruptibly(const std::function<void()> &work)
{
    std::atomic<bool> isDone{false};
    std::thread worker([&] {
        work();
        isDone = true;
    });
    while (!isDone && !isInterrupted())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (!isDone)
        std::_Exit(ExitInterrupted);
    worker.join();
}

void printLineHint(const CommonOptions &options, const Counters &counters)
{
    const bool isStrange = counters.crc + counters.length + counters.discardedBytes > 0;
    const bool hasFailed = counters.failed > 0 && counters.crc + counters.length + counters.timeouts > 0;
    if (isStrange && hasFailed && !options.quiet)
        printNote(QStringLiteral("bytes came that were no answer: are baud, parity and stop bits right?\n"));
}

int complain(const QString &text, ExitCode code)
{
    printNote(QString::fromLatin1("ecpanel: %1\n").arg(text));
    return code;
}

void printProblems(const QStringList &problems)
{
    for (const QString &problem : problems)
        printNote(problem + QLatin1Char('\n'));
}

void print(const QString &text)
{
    if (outputError() != 0)
        return;
    const int error = writeTo(STDOUT_FILENO, text.toUtf8());
    if (error != 0)
        noteOutputLost(error);
}

void printLine(const QString &line)
{
    print(line + QLatin1Char('\n'));
}

void printJson(const QJsonObject &object)
{
    print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n'));
}

void printJsonPretty(const QJsonDocument &document)
{
    print(QString::fromUtf8(document.toJson(QJsonDocument::Indented)));
}

void printNote(const QString &text)
{
    // Where nobody reads complaints, nobody can be told.
    writeTo(STDERR_FILENO, text.toLocal8Bit());
}
