#include "sim/serial_port_line.h"

SerialPortLine::SerialPortLine(const SerialSettings &settings) : settings(settings)
{
    QObject::connect(&port, &QSerialPort::readyRead, &port, [this] { received(port.readAll()); });
    const auto tellFailure = [this](QSerialPort::SerialPortError error) {
        // The errors of open are told by open. An adapter pulled out is one or the other, as its driver has it.
        const bool isLost = error == QSerialPort::ResourceError || error == QSerialPort::ReadError;
        if (isLost && port.isOpen())
            failed(QString::fromLatin1("%1: %2").arg(this->settings.port, port.errorString()));
    };
    // Queued: whoever hears of it may close the port, which is still at work here.
    QObject::connect(&port, &QSerialPort::errorOccurred, &port, tellFailure, Qt::QueuedConnection);
}

bool SerialPortLine::open(QString *error)
{
    port.setPortName(settings.port);
    port.setBaudRate(settings.baud);
    port.setDataBits(QSerialPort::Data8);
    port.setParity(settings.parity);
    port.setStopBits(settings.stopBits);
    port.setFlowControl(QSerialPort::NoFlowControl);
    if (port.open(QIODevice::ReadWrite))
        return true;
    *error = QString::fromLatin1("--port '%1': expected a serial port that can be opened: %2")
                 .arg(settings.port, port.errorString());
    return false;
}

void SerialPortLine::close()
{
    port.close();
}

void SerialPortLine::send(const QByteArray &bytes)
{
    if (port.isOpen() && port.bytesToWrite() + bytes.size() <= MostUnsent)
        port.write(bytes);
}
