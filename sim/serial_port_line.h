/// A real serial port: the simulator's end of a cable.
#pragma once

#include "sim/line_end.h"

#include <QtSerialPort/QSerialPort>

struct SerialSettings {
    QString port;
    int baud = 0;
    QSerialPort::Parity parity = QSerialPort::EvenParity;
    QSerialPort::StopBits stopBits = QSerialPort::OneStop;
};

class SerialPortLine : public LineEnd {
public:
    enum { MostUnsent = 16384 };

    explicit SerialPortLine(const SerialSettings &settings);

    bool open(QString *error) override;
    void close() override;
    QString path() const override { return settings.port; }
    void send(const QByteArray &bytes) override;

private:
    const SerialSettings settings;
    QSerialPort port;
};
