#include "host/serial_line.h"

#include <QtCore/QThread>

namespace {

/// Bits of a character on the line: start, eight data bits, parity, stop bits.
int characterBits(const LineSettings &settings)
{
    return 1 + 8 + (settings.parity != QSerialPort::NoParity) + (settings.stopBits == QSerialPort::TwoStop ? 2 : 1);
}

char parityLetter(QSerialPort::Parity parity)
{
    return parity == QSerialPort::NoParity ? 'N' : parity == QSerialPort::EvenParity ? 'E' : 'O';
}

} // namespace

QString LineSettings::text() const
{
    return QString::fromLatin1("%1 baud 8%2%3")
        .arg(baud)
        .arg(QLatin1Char(parityLetter(parity)))
        .arg(stopBits == QSerialPort::TwoStop ? 2 : 1);
}

int LineSettings::silentMicroseconds() const
{
    return baud > 19200 ? 1750 : int(3.5 * 1000000 * characterBits(*this) / baud);
}

bool SerialLine::open(QString *error)
{
    port.setPortName(settings.port);
    const bool isOpen = port.open(QIODevice::ReadWrite) && port.setBaudRate(settings.baud)
                        && port.setDataBits(QSerialPort::Data8) && port.setParity(settings.parity)
                        && port.setStopBits(settings.stopBits) && port.setFlowControl(QSerialPort::NoFlowControl);
    if (!isOpen)
        *error = QString::fromLatin1("cannot open port %1: %2; expected a serial port that takes %3")
                     .arg(settings.port, port.errorString(), settings.text());
    sinceLastByte.start();
    return isOpen;
}

QByteArray SerialLine::transact(const QByteArray &request, int replyLen)
{
    drain();
    waitForSilence();
    if (!send(request)) {
        pauseAfterFailure(settings.replyMilliseconds);
        return QByteArray();
    }
    if (replyLen == 0) {
        QThread::msleep(static_cast<unsigned long>(settings.turnaroundMilliseconds));
        return QByteArray();
    }
    return receive(replyLen);
}

// Late bytes of an earlier reply must not be taken for the next one.
void SerialLine::drain()
{
    while (port.waitForReadyRead(0) || port.bytesAvailable() > 0) {
        port.readAll();
        sinceLastByte.restart();
    }
}

void SerialLine::waitForSilence()
{
    const qint64 rest = settings.silentMicroseconds() - sinceLastByte.nsecsElapsed() / 1000;
    if (rest > 0)
        QThread::usleep(static_cast<unsigned long>(rest));
}

bool SerialLine::send(const QByteArray &request)
{
    port.write(request);
    while (port.bytesToWrite() > 0)
        if (!port.waitForBytesWritten(settings.replyMilliseconds))
            return false;
    sinceLastByte.restart();
    return true;
}

// A port that is gone fails at once; without a pause the repeats would follow each other at full speed.
void SerialLine::pauseAfterFailure(int milliseconds)
{
    if (port.error() != QSerialPort::TimeoutError && milliseconds > 0)
        QThread::msleep(static_cast<unsigned long>(milliseconds));
}

QByteArray SerialLine::receive(int replyLen)
{
    QElapsedTimer waiting;
    waiting.start();
    QByteArray reply = port.readAll();
    while (replyLen < 0 || reply.size() < replyLen) {
        int rest = settings.replyMilliseconds - int(waiting.elapsed());
        if (replyLen < 0 && !reply.isEmpty())
            rest = qMin(rest, settings.silentMicroseconds() / 1000 + 20);
        if (rest <= 0)
            break;
        if (!port.waitForReadyRead(rest)) {
            pauseAfterFailure(settings.replyMilliseconds - int(waiting.elapsed()));
            break;
        }
        reply += port.readAll();
        sinceLastByte.restart();
    }
    return reply;
}
