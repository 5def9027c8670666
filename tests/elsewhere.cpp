#include "tests/elsewhere.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Whether the kernel shows a thread of this process as asleep.
bool isAsleep(int threadId)
{
    QFile file(QString::fromLatin1("/proc/self/task/%1/stat").arg(threadId));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray line = file.readAll();
    // The state stands behind the name, which is in brackets and may hold anything.
    return line.mid(line.lastIndexOf(')') + 2, 1) == "S";
}

} // namespace

bool isFree(QMutex &mutex)
{
    if (!mutex.tryLock())
        return false;
    mutex.unlock();
    return true;
}

Elsewhere::Elsewhere(std::function<void()> call)
    : threadId(0), ended(false), thread([this, call] {
          threadId = int(syscall(SYS_gettid));
          call();
          ended = true;
      })
{
}

Elsewhere::~Elsewhere()
{
    finish();
}

bool Elsewhere::isHeldUp() const
{
    // Many looks in a row, because a thread may sleep for a moment for other reasons.
    for (int looks = 0; looks < 50 && !ended; std::this_thread::yield())
        looks = isAsleep(threadId) ? looks + 1 : 0;
    return !ended;
}

void Elsewhere::finish()
{
    if (thread.joinable())
        thread.join();
}
