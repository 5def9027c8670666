#include "sim/moment_timer.h"

#include <algorithm>
#include <ctime>
#include <sys/prctl.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

enum { SlackNanoseconds = 1000 };

qint64 clockMicroseconds()
{
    timespec time;
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return qint64(time.tv_sec) * 1000000 + time.tv_nsec / 1000;
}

} // namespace

MomentTimer::MomentTimer(std::function<void()> elapsed) : elapsed(std::move(elapsed)), start(clockMicroseconds())
{
    // The kernel otherwise takes 50 microseconds of liberty with every wake-up.
    ::prctl(PR_SET_TIMERSLACK, SlackNanoseconds, 0, 0, 0);
    fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    if (fd < 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] {
        quint64 times;
        if (::read(fd, &times, sizeof times) != sizeof times)
            return;
        set = -1;
        this->elapsed();
    });
}

MomentTimer::~MomentTimer()
{
    notifier.reset();
    if (fd >= 0)
        ::close(fd);
}

qint64 MomentTimer::now() const
{
    return clockMicroseconds() - start;
}

void MomentTimer::setMoment(qint64 moment)
{
    if (moment == set)
        return;
    set = moment;
    itimerspec when = {};
    if (moment >= 0) {
        // A time of zero would switch the timer off.
        const qint64 at = std::max<qint64>(start + moment, 1);
        when.it_value.tv_sec = time_t(at / 1000000);
        when.it_value.tv_nsec = long(at % 1000000 * 1000);
    }
    ::timerfd_settime(fd, TFD_TIMER_ABSTIME, &when, nullptr);
}
