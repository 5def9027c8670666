/// A panel of three widgets, bound to a PLC through the driver. Usage: qt_host DRIVER PORT
#include "panel.h"
#include "plc_link.h"
#include "stop_signals.h"

#include <QtCore/QThread>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace {

/// Runs the panel until its window is closed.
int runPanel(QApplication &application, DriverLibrary &driver, const QString &portPath)
{
    Panel panel(portPath);
    PlcLink link(driver, portPath);
    QThread thread;
    link.moveToThread(&thread);
    // Queued from thread to thread: no widget waits for the line.
    QObject::connect(&thread, &QThread::started, &link, &PlcLink::start);
    QObject::connect(&link, &PlcLink::valueRead, &panel, &Panel::showValue, Qt::QueuedConnection);
    QObject::connect(&link, &PlcLink::stateChanged, &panel, &Panel::showState, Qt::QueuedConnection);
    QObject::connect(&panel, &Panel::writeAsked, &link, &PlcLink::write, Qt::QueuedConnection);
    thread.start();
    panel.show();
    const int code = application.exec();
    thread.quit();
    thread.wait();
    return code;
}

} // namespace

int main(int argc, char **argv)
{
    holdStopSignals();
    QApplication application(argc, argv);
    quitOnStopSignals(&application);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: qt_host DRIVER PORT\n", stderr);
        return 2;
    }
    // Unloaded when panel and thread are gone.
    DriverLibrary driver;
    QString error;
    if (!driver.load(arguments[1], &error)) {
        std::fprintf(stderr, "qt_host: %s\n", qPrintable(error));
        return 2;
    }
    return runPanel(application, driver, arguments[2]);
}
