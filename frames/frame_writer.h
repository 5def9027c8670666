/// Writes a frame field by field, high byte first, and seals it with its check.
#pragma once

#include "driver/bytes.h"
#include "driver/checksum.h"

#include <QtCore/QByteArray>

#include <cstring>

/// Modbus function codes.
enum FunctionCode {
    ReadCoils = 0x01,
    ReadHoldingRegisters = 0x03,
    WriteSingleCoil = 0x05,
    WriteSingleRegister = 0x06,
    WriteMultipleRegisters = 0x10
};

enum { CrcLength = 2, SumLength = 1 };

/// Writes over the array of a frame, from its first byte on, so that no frame has to be built elsewhere and copied. The
/// array must hold what is written. Every field takes the low bits of its value.
class FrameWriter {
public:
    explicit FrameWriter(QByteArray &frame) : m_bytes(frame.data()) {}

    FrameWriter &u8(int value)
    {
        m_bytes[m_length] = static_cast<char>(value & 0xFF);
        ++m_length;
        return *this;
    }
    FrameWriter &u16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &u32(int value) { return u16(value >> 16).u16(value); }
    FrameWriter &bytes(const QByteArray &values)
    {
        std::memcpy(m_bytes + m_length, values.constData(), size_t(values.size()));
        m_length += values.size();
        return *this;
    }
    /// Zeros up to a length; or back to it, when more has been written.
    FrameWriter &fit(int length)
    {
        if (m_length < length)
            std::memset(m_bytes + m_length, 0, size_t(length - m_length));
        m_length = length;
        return *this;
    }

    /// CRC-16, low byte first. Of a length above 65535 it covers only the low 16 bits.
    void crc()
    {
        const unsigned crc = CalCRC(unsignedBytes(), static_cast<unsigned short>(m_length));
        u8(int(lowByte(crc)));
        u8(int(highByte(crc)));
    }
    /// The low byte of the byte sum.
    void sum()
    {
        const int head = qMin(m_length, 0xFFFF);
        u8(CalSUM(unsignedBytes(), static_cast<unsigned short>(head))
           + CalSUM(unsignedBytes() + head, static_cast<unsigned short>(m_length - head)));
    }

private:
    unsigned char *unsignedBytes() { return reinterpret_cast<unsigned char *>(m_bytes); }

    char *m_bytes;
    int m_length = 0;
};
