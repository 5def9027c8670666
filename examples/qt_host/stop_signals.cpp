#include "stop_signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <sys/signalfd.h>

namespace {

sigset_t stopSignals()
{
    sigset_t signalSet;
    sigemptyset(&signalSet);
    sigaddset(&signalSet, SIGINT);
    sigaddset(&signalSet, SIGTERM);
    return signalSet;
}

} // namespace

void holdStopSignals()
{
    const sigset_t signalSet = stopSignals();
    ::pthread_sigmask(SIG_BLOCK, &signalSet, nullptr);
}

void quitOnStopSignals(QObject *application)
{
    const sigset_t signalSet = stopSignals();
    const int descriptor = ::signalfd(-1, &signalSet, SFD_CLOEXEC);
    const auto notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, application);
    QObject::connect(notifier, &QSocketNotifier::activated, [notifier] {
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
}
