/// The driver as a host has it, ready to be measured: the built library, loaded by path, with settings and a cyclic
/// list.
#pragma once

#include "host/plugin.h"

#include <cstring>

/// Where the driver keeps what it reads: fixed areas for one PLC, the keyed store for several.
enum class Storage { Image, Keyed };

class DriverRig {
public:
    enum { Registers = 125, ListLength = 100 }; // of a full block, of the usual cyclic list

    /// A cyclic list of blocks, each of so many registers; in the keyed store a hundred blocks to a station. The
    /// library is the one that was built, or that of the environment's EC_BENCH_DRIVER. Ends the program when it cannot
    /// be loaded.
    DriverRig(Storage storage, int blocks, int registers);

    Plugin &driver() { return m_driver; }
    COMINFO &settings() { return m_settings; }

    /// One turn of the cycle. The reply is copied in, as a host that reads from a port does.
    void transaction()
    {
        m_driver.comCommunication();
        std::memcpy(m_received.data(), m_reply.constData(), size_t(m_reply.size()));
        m_bad += m_driver.dataCom(&m_received, m_received.size())->resultCode != 1;
    }
    /// A turn for each block of the list. Ends the program when one was not good or its values are not in the image.
    void fullPass();

    /// Reads each word of each block by itself, as a host may: first the first of every block, and so on.
    void askForEachWord();

    /// Address text and station of a block.
    const QString &addressOf(int block) const { return m_addresses.at(block); }
    int stationOf(int block) const { return 1 + block / ListLength; }

private:
    void makeList(int registers);
    void verify(int block);

    COMINFO m_settings; ///< Before the library: it has to outlive it.
    Plugin m_driver;
    QList<QString> m_addresses;
    QByteArray m_reply;    ///< As the PLC sends it.
    QByteArray m_received; ///< As the driver gets it.
    int m_bad = 0;
};

/// The words 0x0001, 0x0203, ... as a reply to a read of so many registers, or nothing but the values as a host sees
/// them.
QByteArray replyOf(int registers);
QByteArray valuesOf(int registers);
