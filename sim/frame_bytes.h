/// Bytes and words in frames, and the exception replies that both request formats share.
#pragma once

#include <QtCore/QByteArray>

enum SlaveFunction {
    ReadCoils = 0x01,
    ReadDiscreteInputs = 0x02,
    ReadHoldingRegisters = 0x03,
    ReadInputRegisters = 0x04,
    WriteCoil = 0x05,
    WriteRegister = 0x06,
    WriteCoils = 0x0F,
    WriteRegisters = 0x10
};
enum SlaveException { IllegalFunction = 1, IllegalAddress = 2, IllegalValue = 3 };

inline int byteOf(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

inline int wordOf(const QByteArray &bytes, int index)
{
    return byteOf(bytes, index) * 256 + byteOf(bytes, index + 1);
}

inline void appendWord(QByteArray &bytes, int word)
{
    bytes.append(char(word >> 8)).append(char(word));
}

/// Without station and check bytes.
inline QByteArray exceptionReply(int function, SlaveException code)
{
    return QByteArray(1, char(function | 0x80)).append(char(code));
}
