#include "bench/pty_masters.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QVariant>
#include <QtSerialBus/QModbusDataUnit>
#include <QtSerialBus/QModbusReply>
#include <QtSerialBus/QModbusRtuSerialMaster>

#include <cstdio>

namespace {

class Poller {
public:
    Poller(QModbusClient &client, int registers) : m_client(client), m_registers(registers) {}

    void ask()
    {
        const QModbusDataUnit block(QModbusDataUnit::HoldingRegisters, m_block * m_registers, quint16(m_registers));
        m_block = (m_block + 1) % PtyBlocks;
        QModbusReply *const reply = m_client.sendReadRequest(block, 1);
        if (reply == nullptr)
            return fail(m_client.errorString());
        QObject::connect(reply, &QModbusReply::finished, [this, reply] { take(reply); });
    }

private:
    void take(QModbusReply *reply)
    {
        const bool isGood =
            reply->error() == QModbusDevice::NoError && int(reply->result().valueCount()) == m_registers;
        if (!isGood)
            fail(reply->errorString());
        reply->deleteLater();
        ask();
    }
    static void fail(const QString &text)
    {
        std::fprintf(stderr, "serialbus: %s\n", qPrintable(text));
        QCoreApplication::exit(1);
    }

    QModbusClient &m_client;
    const int m_registers;
    int m_block = 0;
};

} // namespace

int masterSerialBus(int argc, char **argv, const char *device, int registers)
{
    QCoreApplication application(argc, argv);
    QModbusRtuSerialMaster client;
    client.setConnectionParameter(QModbusDevice::SerialPortNameParameter, QString::fromLocal8Bit(device));
    client.setConnectionParameter(QModbusDevice::SerialParityParameter, 0);
    client.setConnectionParameter(QModbusDevice::SerialBaudRateParameter, 115200);
    client.setTimeout(1000);
    client.setInterFrameDelay(0); // no less than its own 2 ms is taken all the same
    if (!client.connectDevice()) {
        std::fprintf(stderr, "serialbus: %s\n", qPrintable(client.errorString()));
        return 1;
    }
    Poller poller(client, registers);
    poller.ask();
    return QCoreApplication::exec();
}
