#include "sim/remote_station.h"

#include "sim/areas.h"
#include "sim/frame_bytes.h"

#include <QtCore/QVector>

namespace {

enum Frame { RwFlag = 2, Station = 4, DeviceType = 5, Address = 7, Count = 11, Values = 21, ShortestRequest = 22 };
enum class Kind { Bits, Words, Pairs, Dwords, BitInWord };

Kind kindOf(int deviceType)
{
    switch (deviceType) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
        return Kind::Bits;
    case 12:
    case 14:
    case 101:
        return Kind::Pairs;
    case 13:
        return Kind::Dwords;
    case 15:
    case 16:
    case 17:
    case 102:
        return Kind::BitInWord;
    default:
        return Kind::Words;
    }
}

/// The fields of a request that matter to the PLC.
struct Variable {
    explicit Variable(const QByteArray &request)
        : deviceType(qint16(wordOf(request, DeviceType))),
          address(int(quint32(wordOf(request, Address)) << 16 | quint32(wordOf(request, Address + 2)))),
          count(wordOf(request, Count)), kind(kindOf(deviceType))
    {
    }

    const int deviceType, address, count;
    const Kind kind;
};

int valueBytesOfRead(const Variable &variable)
{
    switch (variable.kind) {
    case Kind::Bits:
        return variable.count;
    case Kind::Dwords:
        return 4 * variable.count;
    case Kind::Words:
    case Kind::Pairs:
    case Kind::BitInWord:
        break;
    }
    return 2 * variable.count;
}

int valueBytesOfWrite(const Variable &variable)
{
    const bool isOneBit = variable.kind == Kind::Bits || variable.kind == Kind::BitInWord;
    return isOneBit ? 1 : valueBytesOfRead(variable);
}

/// Modbus numbers of so many elements, each by itself since areas jump; of their registers, two each, for 32-bit
/// values. Empty when the PLC lacks one of them.
QVector<int> cellsOf(const Variable &variable, int elements)
{
    const int step = variable.kind == Kind::BitInWord ? 16 : 1;
    const int cellsPerElement = variable.kind == Kind::Dwords ? 2 : 1;
    QVector<int> cells;
    for (int i = 0; i < elements; ++i) {
        const qint64 element = qint64(variable.address) + i * step;
        const int number = element > 0x7FFFFFFF ? -1 : modbusNumber(variable.deviceType, int(element));
        const bool exists =
            variable.kind == Kind::Bits ? coilsExist(number, 1) : registersExist(number, cellsPerElement);
        if (!exists)
            return QVector<int>();
        for (int cell = 0; cell < cellsPerElement; ++cell)
            cells << number + cell;
    }
    return cells;
}

QByteArray read(const PlcMemory &memory, const Variable &variable)
{
    const bool isBits = variable.kind == Kind::Bits;
    const int function = isBits ? ReadCoils : ReadHoldingRegisters;
    const int bytes = valueBytesOfRead(variable);
    if (bytes < 1 || bytes > RemoteValueBytes)
        return exceptionReply(function, IllegalValue);
    const QVector<int> cells = cellsOf(variable, isBits ? 8 * variable.count : variable.count);
    if (cells.isEmpty())
        return exceptionReply(function, IllegalAddress);
    QByteArray values;
    if (isBits) {
        values = QByteArray(bytes, '\0');
        for (int i = 0; i < cells.size(); ++i)
            if (memory.coil(cells.at(i)))
                values[i / 8] = char(values.at(i / 8) | 1 << i % 8);
    } else {
        for (const int number : cells)
            appendWord(values, memory.holdingRegister(number));
    }
    return QByteArray(1, char(function)).append(char(bytes)).append(values);
}

/// The word at an index of the host's bytes, low byte first.
int hostWord(const QByteArray &request, int index)
{
    return byteOf(request, Values + 2 * index) + byteOf(request, Values + 2 * index + 1) * 256;
}

QByteArray writeReply(int function, int number, int valueOrQuantity)
{
    QByteArray reply(1, char(function));
    appendWord(reply, number);
    appendWord(reply, valueOrQuantity);
    return reply;
}

QByteArray writeBit(PlcMemory &memory, const Variable &variable, const QByteArray &request)
{
    const QVector<int> cells = cellsOf(variable, 1);
    if (cells.isEmpty())
        return exceptionReply(WriteCoil, IllegalAddress);
    const bool on = byteOf(request, Values) == 1; // Any other value switches off.
    memory.writeCoil(cells.first(), on);
    return writeReply(WriteCoil, cells.first(), on ? 0xFF00 : 0);
}

QByteArray writeBitInWord(PlcMemory &memory, const Variable &variable, const QByteArray &request)
{
    const QVector<int> cells = cellsOf(variable, 1);
    if (cells.isEmpty())
        return exceptionReply(WriteRegister, IllegalAddress);
    const int number = cells.first(), bit = 1 << variable.address % 16, value = byteOf(request, Values);
    int word = memory.holdingRegister(number);
    if (value == 1)
        word |= bit;
    else if (value == 0)
        word &= ~bit;
    memory.writeRegister(number, quint16(word));
    return writeReply(WriteRegister, number, word);
}

QByteArray writeWords(PlcMemory &memory, const Variable &variable, const QByteArray &request, int function)
{
    const QVector<int> cells = cellsOf(variable, variable.count);
    if (cells.isEmpty())
        return exceptionReply(function, IllegalAddress);
    // The high word of a 32-bit value goes into the lower register. An odd register at the end of pairs is a plain
    // word.
    const int paired = variable.kind == Kind::Words ? 0 : cells.size() - cells.size() % 2;
    for (int i = 0; i < cells.size(); ++i)
        memory.writeRegister(cells.at(i), quint16(hostWord(request, i < paired ? i ^ 1 : i)));
    return writeReply(function, cells.first(), function == WriteRegister ? hostWord(request, 0) : cells.size());
}

QByteArray write(PlcMemory &memory, const Variable &variable, const QByteArray &request)
{
    const bool isBit = variable.kind == Kind::Bits, isBitInWord = variable.kind == Kind::BitInWord;
    const bool isOneWord = isBitInWord || (variable.count == 1 && variable.kind != Kind::Dwords);
    const int function = isBit ? WriteCoil : isOneWord ? WriteRegister : WriteRegisters;
    const int bytes = valueBytesOfWrite(variable);
    if (bytes < 1 || request.size() != ShortestRequest + bytes)
        return exceptionReply(function, IllegalValue);
    if (isBit)
        return writeBit(memory, variable, request);
    if (isBitInWord)
        return writeBitInWord(memory, variable, request);
    return writeWords(memory, variable, request, function);
}

} // namespace

int remoteRequestLength(const QByteArray &bytes)
{
    if (bytes.size() <= RwFlag)
        return 0;
    const int stated = byteOf(bytes, 0), rwFlag = byteOf(bytes, RwFlag);
    if (rwFlag == 0)
        return stated == ShortestRequest ? ShortestRequest : -1;
    if (rwFlag != 1)
        return -1;
    if (bytes.size() < Count + 2)
        return 0;
    const int length = ShortestRequest + valueBytesOfWrite(Variable(bytes));
    return length % 256 == stated && length <= LongestRemoteRequest ? length : -1;
}

bool remoteSumIsGood(const QByteArray &frame)
{
    if (frame.size() < ShortestRequest || frame.size() % 256 != byteOf(frame, 0))
        return false;
    unsigned sum = 0;
    for (int i = 0; i < frame.size() - 1; ++i)
        sum += unsigned(byteOf(frame, i));
    return (sum & 0xFF) == unsigned(byteOf(frame, frame.size() - 1));
}

int remoteStationOf(const QByteArray &request)
{
    return byteOf(request, Station);
}

bool isRemoteWrite(const QByteArray &request)
{
    return byteOf(request, RwFlag) == 1;
}

QByteArray carryOutRemote(PlcMemory &memory, const QByteArray &request)
{
    const Variable variable(request);
    return isRemoteWrite(request) ? write(memory, variable, request) : read(memory, variable);
}
