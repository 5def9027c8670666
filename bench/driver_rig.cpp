#include "bench/driver_rig.h"

#include <cstdio>
#include <cstdlib>

namespace {

enum { DevType = 100, Stride = 125 }; // blocks lie this far apart, so that none are merged

[[noreturn]] void giveUp(const char *what)
{
    std::fprintf(stderr, "bench: %s\n", what);
    std::exit(1);
}

} // namespace

QByteArray replyOf(int registers)
{
    QByteArray reply("\x01\x03");
    reply.append(static_cast<char>(2 * registers));
    for (int i = 0; i < 2 * registers; ++i)
        reply.append(static_cast<char>(i));
    // Bit by bit: what is measured shall not seal what it checks.
    unsigned crc = 0xFFFF;
    for (int i = 0; i < reply.size(); ++i) {
        crc ^= static_cast<unsigned char>(reply.at(i));
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    reply.append(static_cast<char>(crc));
    reply.append(static_cast<char>(crc >> 8));
    return reply;
}

QByteArray valuesOf(int registers)
{
    QByteArray values;
    for (int i = 0; i < registers; ++i)
        values.append(static_cast<char>(2 * i + 1)).append(static_cast<char>(2 * i));
    return values;
}

DriverRig::DriverRig(Storage storage, int blocks, int registers)
    : m_reply(replyOf(registers)), m_received(m_reply.size(), '\0')
{
    QString error;
    if (!m_driver.load(qEnvironmentVariable("EC_BENCH_DRIVER", QString::fromLocal8Bit(EC_DRIVER_PATH)), &error))
        giveUp(qPrintable(error));
    m_settings.maxBlockLen = Registers;
    m_settings.plcStation = 1;
    m_settings.retryLimit = 2;
    m_settings.writeMode = 2;
    m_settings.stationScope = storage == Storage::Keyed;
    m_driver.setComInfo(&m_settings);
    for (int block = 0; block < blocks; ++block)
        m_addresses << QString::number(block % (storage == Storage::Keyed ? int(ListLength) : blocks) * Stride);
    makeList(registers);
}

void DriverRig::makeList(int registers)
{
    QList<VARDESC> variables;
    for (int block = 0; block < m_addresses.size(); ++block) {
        VARDESC variable;
        variable.devType = DevType;
        variable.station = static_cast<unsigned char>(stationOf(block));
        variable.addrText = addressOf(block);
        variable.nameText = QString::fromLatin1("block %1").arg(block);
        variable.count = registers;
        variables << variable;
    }
    if (m_driver.reCreatReadVarList(variables) != m_addresses.size())
        giveUp("the cyclic list is not what was asked for");
}

void DriverRig::fullPass()
{
    for (int block = 0; block < m_addresses.size(); ++block)
        transaction();
    if (m_bad != 0)
        giveUp("a transaction was not good");
    verify(0);
    verify(m_addresses.size() - 1);
}

void DriverRig::askForEachWord()
{
    QByteArray value(2, '\0');
    for (int word = 0; word < (m_reply.size() - 5) / 2; ++word)
        for (int block = 0; block < m_addresses.size(); ++block)
            m_driver.getRegisterData(0, DevType, QString::number(m_addresses.at(block).toInt() + word),
                                     stationOf(block), &value, 1);
}

void DriverRig::verify(int block)
{
    const QByteArray expected = valuesOf((m_reply.size() - 5) / 2);
    QByteArray values;
    m_driver.getRegisterData(0, DevType, addressOf(block), stationOf(block), &values, expected.size() / 2);
    if (values != expected)
        giveUp("the image does not hold what was read");
}
