/// libmodbus with the line in memory: its public calls on a serial context, of which nothing reaches the system.
///
/// The four functions of the C library that libmodbus calls for a transaction are defined by the program. For the
/// descriptor below they hand over a prepared reply, for any other they do what they always do.
#pragma once

#include <QtCore/QByteArray>

#include <cstdint>
#include <modbus/modbus.h>

class MemoryMaster {
public:
    /// Every read of so many registers is answered by replyOf(registers). One at a time. Ends the program when that
    /// cannot be.
    explicit MemoryMaster(int registers);
    ~MemoryMaster();
    MemoryMaster(const MemoryMaster &) = delete;
    MemoryMaster &operator=(const MemoryMaster &) = delete;

    /// One read, of the next of a hundred blocks.
    void transaction()
    {
        m_block = (m_block + 1) % Blocks;
        m_bad += modbus_read_registers(m_context, m_block * m_registers, m_registers, m_words) != m_registers;
    }
    /// A hundred of them. Ends the program when one was not good or the values are not those of the reply.
    void fullPass();

private:
    enum { Blocks = 100 };

    modbus_t *const m_context;
    const int m_registers;
    uint16_t m_words[MODBUS_MAX_READ_REGISTERS];
    int m_block = 0;
    int m_bad = 0;
};
