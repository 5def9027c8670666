/// Writes a frame field by field, high byte first, and seals it with its check.
#pragma once

#include "driver/bytes.h"
#include "driver/checksum.h"

#include <QtCore/QByteArray>

/// Modbus function codes.
enum FunctionCode {
    ReadCoils = 0x01,
    ReadHoldingRegisters = 0x03,
    WriteSingleCoil = 0x05,
    WriteSingleRegister = 0x06,
    WriteMultipleRegisters = 0x10
};

/// Every field takes the low bits of its value.
class FrameWriter {
public:
    FrameWriter &u8(int value)
    {
        appendByte(m_bytes, unsigned(value));
        return *this;
    }
    FrameWriter &u16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &u32(int value) { return u16(value >> 16).u16(value); }
    FrameWriter &bytes(const QByteArray &values)
    {
        m_bytes.append(values);
        return *this;
    }
    /// Replaces a byte that has been written.
    FrameWriter &at(int index, int value)
    {
        m_bytes[index] = static_cast<char>(value & 0xFF);
        return *this;
    }
    /// Fills up with zeros, or cuts, to a length.
    FrameWriter &fit(int length)
    {
        fitTo(m_bytes, length);
        return *this;
    }

    /// The frame with its CRC-16, low byte first. Of a length above 65535 the CRC covers only the low 16 bits.
    QByteArray withCrc()
    {
        const unsigned crc = CalCRC(data(), static_cast<unsigned short>(m_bytes.size()));
        appendByte(m_bytes, lowByte(crc));
        appendByte(m_bytes, highByte(crc));
        return m_bytes;
    }
    /// The frame with the low byte of its byte sum.
    QByteArray withSum()
    {
        const int first = qMin(m_bytes.size(), 0xFFFF);
        const int rest = m_bytes.size() - first;
        appendByte(m_bytes, unsigned(CalSUM(data(), static_cast<unsigned short>(first))
                                     + CalSUM(data() + first, static_cast<unsigned short>(rest))));
        return m_bytes;
    }

private:
    unsigned char *data() { return reinterpret_cast<unsigned char *>(m_bytes.data()); }

    QByteArray m_bytes;
};
