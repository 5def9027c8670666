/// Ctrl-C and SIGTERM end the program as its last window does.
#pragma once

#include <QtCore/QObject>

/// Before anything that may start a thread: threads inherit it.
void holdStopSignals();
void quitOnStopSignals(QObject *application);
