/// The serial line: one request out, one reply back, with the pauses that Modbus RTU asks for.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtSerialPort/QSerialPort>

/// Every setting is stated; none comes from what the port was left at.
struct LineSettings {
    QString port;
    int baud = 19200;
    QSerialPort::Parity parity = QSerialPort::NoParity;
    QSerialPort::StopBits stopBits = QSerialPort::TwoStop;
    int replyMilliseconds = 250;      ///< Longest wait for a whole reply.
    int turnaroundMilliseconds = 100; ///< Pause after a broadcast, which nobody answers.

    /// "19200 baud 8N2".
    QString text() const;
    /// 3.5 characters, 1.75 ms above 19200 baud.
    int silentMicroseconds() const;
};

/// To be opened, used and destroyed by one thread.
class SerialLine {
public:
    explicit SerialLine(const LineSettings &settings) : settings(settings) {}

    /// False, with what, where and what was expected, when the port cannot be opened as set.
    bool open(QString *error);
    /// Sends the request after a silent interval and waits for replyLen bytes; -1 waits for a silence behind some
    /// bytes, 0 only for the turnaround. Returns what came before the time-out, at worst nothing.
    QByteArray transact(const QByteArray &request, int replyLen);

private:
    void drain();
    void waitForSilence();
    bool send(const QByteArray &request);
    QByteArray receive(int replyLen);
    void pauseAfterFailure(int milliseconds);

    LineSettings settings;
    QSerialPort port;
    QElapsedTimer sinceLastByte;
};
