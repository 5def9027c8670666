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
    explicit FrameWriter(QByteArray &frame) : m_first(frame.data()), m_next(m_first) {}

    FrameWriter &u8(int value)
    {
        *m_next++ = static_cast<char>(value & 0xFF);
        return *this;
    }
    FrameWriter &u16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &u32(int value) { return u16(value >> 16).u16(value); }
    FrameWriter &bytes(const QByteArray &values)
    {
        std::memcpy(m_next, values.constData(), size_t(values.size()));
        m_next += values.size();
        return *this;
    }
    /// Zeros up to a length; or back to it, when more has been written.
    FrameWriter &fit(int length)
    {
        if (this->length() < length)
            std::memset(m_next, 0, size_t(length - this->length()));
        m_next = m_first + length;
        return *this;
    }

    /// CRC-16, low byte first. Of a length above 65535 it covers only the low 16 bits.
    void crc()
    {
        const unsigned crc = CalCRC(first(), static_cast<unsigned short>(length()));
        u8(int(lowByte(crc))).u8(int(highByte(crc)));
    }
    /// The low byte of the byte sum.
    void sum()
    {
        const int low = qMin(length(), 0xFFFF);
        u8(CalSUM(first(), static_cast<unsigned short>(low))
           + CalSUM(first() + low, static_cast<unsigned short>(length() - low)));
    }

private:
    unsigned char *first() { return reinterpret_cast<unsigned char *>(m_first); }
    int length() const { return int(m_next - m_first); }

    char *m_first;
    char *m_next;
};
