#include "sim/slave.h"

namespace {

enum Function { ReadCoils = 0x01, ReadRegisters = 0x03, WriteCoil = 0x05, WriteRegister = 0x06, WriteRegisters = 0x10 };
enum Exception { IllegalFunction = 1, IllegalAddress = 2, IllegalValue = 3 };
enum Limit { CoilsInReply = 2000, RegistersInReply = 125, RegistersInWrite = 123, LongestRequest = 9 + 255 };

int byteOf(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

int wordOf(const QByteArray &bytes, int index)
{
    return byteOf(bytes, index) * 256 + byteOf(bytes, index + 1);
}

void appendWord(QByteArray &bytes, int word)
{
    bytes.append(char(word >> 8)).append(char(word));
}

/// CRC-16 of Modbus, polynomial 0xA001, start 0xFFFF.
quint16 lineCheck(const QByteArray &bytes)
{
    unsigned crc = 0xFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return quint16(crc);
}

QByteArray withCheck(QByteArray bytes)
{
    const quint16 check = lineCheck(bytes);
    return bytes.append(char(check)).append(char(check >> 8));
}

bool checkIsGood(const QByteArray &frame)
{
    return frame.size() >= 4 && withCheck(frame.left(frame.size() - 2)) == frame;
}

/// Length of the request at the start of the bytes; 0 = too few bytes to tell, -1 = a function of unknown length.
int requestLength(const QByteArray &bytes)
{
    if (bytes.size() < 2)
        return 0;
    switch (byteOf(bytes, 1)) {
    case ReadCoils:
    case ReadRegisters:
    case WriteCoil:
    case WriteRegister:
        return 8;
    case WriteRegisters:
        return bytes.size() < 7 ? 0 : 9 + byteOf(bytes, 6);
    default:
        return -1;
    }
}

bool isWriteFunction(int function)
{
    return function == WriteCoil || function == WriteRegister || function == WriteRegisters;
}

QByteArray exceptionReply(int function, Exception code)
{
    return QByteArray(1, char(function | 0x80)).append(char(code));
}

QByteArray readCoils(const PlcMemory &memory, int first, int count)
{
    if (count < 1 || count > CoilsInReply)
        return exceptionReply(ReadCoils, IllegalValue);
    if (first + count > PlcMemory::Cells)
        return exceptionReply(ReadCoils, IllegalAddress);
    QByteArray packed((count + 7) / 8, '\0');
    for (int i = 0; i < count; ++i)
        if (memory.coil(first + i))
            packed[i / 8] = char(packed.at(i / 8) | 1 << i % 8);
    return QByteArray(1, char(ReadCoils)).append(char(packed.size())).append(packed);
}

QByteArray readRegisters(const PlcMemory &memory, int first, int count)
{
    if (count < 1 || count > RegistersInReply)
        return exceptionReply(ReadRegisters, IllegalValue);
    if (first + count > PlcMemory::Cells)
        return exceptionReply(ReadRegisters, IllegalAddress);
    QByteArray reply = QByteArray(1, char(ReadRegisters)).append(char(2 * count));
    for (int i = 0; i < count; ++i)
        appendWord(reply, memory.holdingRegister(first + i));
    return reply;
}

QByteArray writeCoil(PlcMemory &memory, const QByteArray &request)
{
    const int value = wordOf(request, 4);
    if (value != 0xFF00 && value != 0)
        return exceptionReply(WriteCoil, IllegalValue);
    memory.writeCoil(wordOf(request, 2), value);
    return request.mid(1, 5);
}

QByteArray writeRegister(PlcMemory &memory, const QByteArray &request)
{
    memory.writeRegister(wordOf(request, 2), quint16(wordOf(request, 4)));
    return request.mid(1, 5);
}

QByteArray writeRegisters(PlcMemory &memory, const QByteArray &request)
{
    const int first = wordOf(request, 2), count = wordOf(request, 4);
    if (count < 1 || count > RegistersInWrite || byteOf(request, 6) != 2 * count)
        return exceptionReply(WriteRegisters, IllegalValue);
    if (first + count > PlcMemory::Cells)
        return exceptionReply(WriteRegisters, IllegalAddress);
    for (int i = 0; i < count; ++i)
        memory.writeRegister(first + i, quint16(wordOf(request, 7 + 2 * i)));
    return request.mid(1, 5);
}

/// Carries a whole request out. Returns the reply without station and check bytes.
QByteArray carryOut(PlcMemory &memory, const QByteArray &request)
{
    const int function = byteOf(request, 1);
    switch (function) {
    case ReadCoils:
        return readCoils(memory, wordOf(request, 2), wordOf(request, 4));
    case ReadRegisters:
        return readRegisters(memory, wordOf(request, 2), wordOf(request, 4));
    case WriteCoil:
        return writeCoil(memory, request);
    case WriteRegister:
        return writeRegister(memory, request);
    case WriteRegisters:
        return writeRegisters(memory, request);
    default:
        return exceptionReply(function, IllegalFunction);
    }
}

} // namespace

PlcMemory *Slave::addStation(int station)
{
    return &memories.insert(station, PlcMemory(station)).value();
}

PlcMemory *Slave::memory(int station)
{
    const auto found = memories.find(station);
    return found == memories.end() ? nullptr : &found.value();
}

void Slave::advanceTo(qint64 milliseconds)
{
    for (PlcMemory &memory : memories)
        memory.advanceTo(milliseconds);
}

void Slave::setPlugged(bool on)
{
    plugged = on;
    pending.clear();
}

QByteArray Slave::receive(const QByteArray &bytes)
{
    if (!plugged) {
        counted.swallowedBytes += bytes.size();
        return QByteArray();
    }
    pending += bytes;
    QByteArray replies = takeWholeRequests();
    if (pending.size() > LongestRequest)
        replies += lineQuiet();
    return replies;
}

QByteArray Slave::lineQuiet()
{
    QByteArray replies;
    // Where a request with an unknown function ends, only the silence behind it tells.
    if (requestLength(pending) == -1 && checkIsGood(pending)) {
        replies += answer(pending);
        pending.clear();
    }
    while (!pending.isEmpty()) {
        replies += takeWholeRequests();
        if (pending.isEmpty())
            break;
        pending.remove(0, 1);
        ++counted.garbageBytes;
    }
    return replies;
}

QByteArray Slave::takeWholeRequests()
{
    QByteArray replies;
    for (;;) {
        const int length = requestLength(pending);
        if (length <= 0 || length > pending.size() || !checkIsGood(pending.left(length)))
            return replies;
        replies += answer(pending.left(length));
        pending.remove(0, length);
    }
}

QByteArray Slave::answer(const QByteArray &request)
{
    const int station = byteOf(request, 0);
    if (station == 0) {
        ++counted.broadcasts;
        if (isWriteFunction(byteOf(request, 1)))
            for (PlcMemory &memory : memories)
                carryOut(memory, request);
        return QByteArray();
    }
    PlcMemory *const addressed = memory(station);
    if (!addressed) {
        ++counted.otherStations;
        return QByteArray();
    }
    const QByteArray reply = carryOut(*addressed, request);
    ++counted.requests;
    ++counted.replies;
    counted.exceptions += byteOf(reply, 0) >= 0x80;
    return withCheck(QByteArray(1, char(station)).append(reply));
}
