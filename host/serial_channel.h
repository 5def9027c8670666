/// A serial port as a Channel.
#pragma once

#include "host/channel.h"
#include "host/settings.h"

#include <QtCore/QElapsedTimer>
#include <QtSerialPort/QSerialPort>

#include <ctime>
#include <memory>

/// Qt opens the port and sets it up. Sending and waiting go to its descriptor: Qt waits in whole milliseconds only, and
/// may take a port that was hung up for readable for ever.
class SerialChannel : public Channel {
public:
    explicit SerialChannel(const LineSettings &settings);
    ~SerialChannel() override;
    SerialChannel(const SerialChannel &) = delete;
    SerialChannel &operator=(const SerialChannel &) = delete;

    bool open(QString *error) override;
    void close() override;
    bool isOpen() const override { return port != nullptr; }
    qint64 now() override;
    bool send(const QByteArray &bytes) override;
    QByteArray receiveUntil(qint64 moment) override;
    void restUntil(qint64 moment) override;
    void sleepUntil(qint64 moment) override;
    /// Ends a sleep; one that has not begun yet ends at once.
    void wake() override;
    /// For good: it cannot be opened again.
    void abort() override;

private:
    bool setUp();
    timespec timeUntil(qint64 moment);
    short waitFor(int descriptor, short events, qint64 moment);
    quint32 waitForBytes(qint64 moment);

    const LineSettings settings;
    std::unique_ptr<QSerialPort> port; ///< Only while open: made by the thread that opens it.
    QElapsedTimer clock;               ///< Runs on while the port is closed: moments never go back.
    qint64 latest = 0;                 ///< What it showed last.
    quint32 untold = 0;                ///< Events of the port that will not be told again.
    const int wakeDescriptor;
    const int abortDescriptor;
    const int watchDescriptor; ///< Tells of bytes, and of an abort.
};
