#include "sim/stop_signals.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

StopSignals::StopSignals(const std::function<void()> &told)
{
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaddset(&set, signal);
    fd = ::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    // Without the descriptor the signals end the program as ever.
    if (fd < 0)
        return;
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [this, told] {
        signalfd_siginfo info;
        if (::read(fd, &info, sizeof info) != sizeof info)
            return;
        come = true;
        told();
    });
}

StopSignals::~StopSignals()
{
    notifier.reset();
    if (fd >= 0)
        ::close(fd);
}
