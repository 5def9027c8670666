/// The cycle: what the driver wants to send goes out, what comes back goes to the driver.
#pragma once

#include "driver_library.h"
#include "serial_line.h"

#include <QtCore/QObject>

/// Lives in a thread of its own and makes every call of the driver there. Other threads talk to it by queued signals.
class PlcLink : public QObject {
    Q_OBJECT

public:
    enum State { Waiting, Good, NoAnswer, NoPort };
    Q_ENUM(State)

    PlcLink(DriverLibrary &driver, const QString &portPath);

public slots:
    void start();
    void write(int tag, int value);

signals:
    /// Each value once for each pass over all tags.
    void valueRead(int tag, int value);
    /// Good: all values were read. Anything else: they are what the PLC had before.
    void stateChanged(PlcLink::State state);

private:
    void step();
    void exchange(const Protocol &request);
    void readTags();
    void enter(State newState);

    DriverLibrary &driver;
    const QString portPath;
    SerialLine line;
    COMINFO settings; ///< The driver keeps a pointer to it.
    State state = Waiting;
};
