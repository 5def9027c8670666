#include "sim/modbus_station.h"

#include "sim/areas.h"
#include "sim/frame_bytes.h"

namespace {

enum Limit { CoilsInReply = 2000, RegistersInReply = 125, CoilsInWrite = 1968, RegistersInWrite = 123 };

// Every function looks at the quantity or value first and at the address second.

QByteArray readCoils(const PlcMemory &memory, const QByteArray &request)
{
    const int function = byteOf(request, 1), first = wordOf(request, 2), count = wordOf(request, 4);
    if (count < 1 || count > CoilsInReply)
        return exceptionReply(function, IllegalValue);
    if (!coilsExist(first, count))
        return exceptionReply(function, IllegalAddress);
    QByteArray packed((count + 7) / 8, '\0');
    for (int i = 0; i < count; ++i)
        if (memory.coil(first + i))
            packed[i / 8] = char(packed.at(i / 8) | 1 << i % 8);
    return QByteArray(1, char(function)).append(char(packed.size())).append(packed);
}

QByteArray readRegisters(const PlcMemory &memory, const QByteArray &request)
{
    const int function = byteOf(request, 1), first = wordOf(request, 2), count = wordOf(request, 4);
    if (count < 1 || count > RegistersInReply)
        return exceptionReply(function, IllegalValue);
    if (!registersExist(first, count))
        return exceptionReply(function, IllegalAddress);
    QByteArray reply = QByteArray(1, char(function)).append(char(2 * count));
    for (int i = 0; i < count; ++i)
        appendWord(reply, memory.holdingRegister(first + i));
    return reply;
}

QByteArray writeCoil(PlcMemory &memory, const QByteArray &request)
{
    const int number = wordOf(request, 2), value = wordOf(request, 4);
    if (value != 0xFF00 && value != 0)
        return exceptionReply(WriteCoil, IllegalValue);
    if (!coilsExist(number, 1))
        return exceptionReply(WriteCoil, IllegalAddress);
    memory.writeCoil(number, value);
    return request.mid(1, 5);
}

QByteArray writeRegister(PlcMemory &memory, const QByteArray &request)
{
    const int number = wordOf(request, 2);
    if (!registersExist(number, 1))
        return exceptionReply(WriteRegister, IllegalAddress);
    memory.writeRegister(number, quint16(wordOf(request, 4)));
    return request.mid(1, 5);
}

QByteArray writeCoils(PlcMemory &memory, const QByteArray &request)
{
    const int first = wordOf(request, 2), count = wordOf(request, 4);
    if (count < 1 || count > CoilsInWrite || byteOf(request, 6) != (count + 7) / 8)
        return exceptionReply(WriteCoils, IllegalValue);
    if (!coilsExist(first, count))
        return exceptionReply(WriteCoils, IllegalAddress);
    for (int i = 0; i < count; ++i)
        memory.writeCoil(first + i, byteOf(request, 7 + i / 8) >> i % 8 & 1);
    return request.mid(1, 5);
}

QByteArray writeRegisters(PlcMemory &memory, const QByteArray &request)
{
    const int first = wordOf(request, 2), count = wordOf(request, 4);
    if (count < 1 || count > RegistersInWrite || byteOf(request, 6) != 2 * count)
        return exceptionReply(WriteRegisters, IllegalValue);
    if (!registersExist(first, count))
        return exceptionReply(WriteRegisters, IllegalAddress);
    for (int i = 0; i < count; ++i)
        memory.writeRegister(first + i, quint16(wordOf(request, 7 + 2 * i)));
    return request.mid(1, 5);
}

} // namespace

int modbusRequestLength(const QByteArray &bytes)
{
    if (bytes.size() < 2)
        return 0;
    switch (byteOf(bytes, 1)) {
    case ReadCoils:
    case ReadDiscreteInputs:
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case WriteCoil:
    case WriteRegister:
        return 8;
    case WriteCoils:
    case WriteRegisters:
        return bytes.size() < 7 ? 0 : 9 + byteOf(bytes, 6);
    default:
        return -1;
    }
}

QByteArray withLineCheck(QByteArray bytes)
{
    unsigned crc = 0xFFFF;
    for (const char byte : qAsConst(bytes)) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return bytes.append(char(crc)).append(char(crc >> 8));
}

bool lineCheckIsGood(const QByteArray &frame)
{
    return frame.size() >= 4 && withLineCheck(frame.left(frame.size() - 2)) == frame;
}

QByteArray carryOutModbus(PlcMemory &memory, const QByteArray &request)
{
    switch (byteOf(request, 1)) {
    case ReadCoils:
    case ReadDiscreteInputs: // The PLC has one bit space and one word space, whichever function asks.
        return readCoils(memory, request);
    case ReadHoldingRegisters:
    case ReadInputRegisters:
        return readRegisters(memory, request);
    case WriteCoil:
        return writeCoil(memory, request);
    case WriteRegister:
        return writeRegister(memory, request);
    case WriteCoils:
        return writeCoils(memory, request);
    case WriteRegisters:
        return writeRegisters(memory, request);
    default:
        return exceptionReply(byteOf(request, 1), IllegalFunction);
    }
}
