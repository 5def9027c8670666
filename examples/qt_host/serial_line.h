/// A serial port with a Modbus RTU slave at its other end: 19200 baud 8N2.
#pragma once

#include "driver/records.h"

class SerialLine {
public:
    SerialLine() = default;
    ~SerialLine() { close(); }
    SerialLine(const SerialLine &) = delete;
    SerialLine &operator=(const SerialLine &) = delete;

    bool open(const QString &path);
    void close();
    bool isOpen() const { return port >= 0; }
    /// Sends a frame and waits for its reply: all bytes that came, or nothing. Takes half a second at most. The port is
    /// closed when it is gone.
    QByteArray transact(const Protocol &request);

private:
    QByteArray hear(int milliseconds);

    int port = -1;
};
