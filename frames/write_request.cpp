#include "frames/write_request.h"

#include "driver/driver_object.h"
#include "driver/limits.h"
#include "frames/address_map.h"
#include "frames/frame_writer.h"
#include "frames/pending.h"
#include "image/mirror_write.h"
#include "varlist/device_traits.h"

namespace {

enum {
    HeaderLength = 7, // of function 10: station, function, address, quantity, byte count
    SingleLength = 8  // of functions 03, 05 and 06 with their CRC
};

FrameWriter header(QByteArray &frame, const RW_VAR &entry, FunctionCode function, int address)
{
    return FrameWriter(frame).u8(entry.station).u8(function).u16(get_type_add(entry.devType, address));
}

void appendSingle(const RW_VAR &entry, FunctionCode function, int value)
{
    QByteArray &frame = appendPending(entry, writeReply(entry.station), SingleLength);
    header(frame, entry, function, entry.address).u16(value).crc();
    startTransaction(1);
}

/// The value bytes of count elements of size bytes, each high byte first. Those of an element that data does not hold
/// whole stay out, and so does all behind it: they are filled up with zeros.
void writeValues(FrameWriter &frame, const QByteArray &data, int count, int size)
{
    for (int i = 0; i < count && holdsBytes(data, qint64(i) * size, size); ++i) {
        for (int byte = size - 1; byte >= 0; --byte)
            frame.u8(int(byteAt(data, qint64(i) * size + byte)));
    }
}

/// Function 10 with words registers, from data's elements of size bytes.
void appendMultiple(const RW_VAR &entry, int words, int elements, int size)
{
    const int sealAt = HeaderLength + 2 * words;
    QByteArray &frame = appendPending(entry, writeReply(entry.station), sealAt + CrcLength);
    // A negative count makes a frame shorter than its header.
    frame.resize(qMax(sealAt, int(HeaderLength)) + CrcLength);
    FrameWriter writer = header(frame, entry, WriteMultipleRegisters, entry.address).u16(words).u8(2 * words);
    writeValues(writer, entry.data, elements, size);
    writer.fit(sealAt).crc();
    frame.resize(sealAt + CrcLength);
    startTransaction(1);
}

qint64 multipleLength(const RW_VAR &entry, int bytesPerCount)
{
    return HeaderLength + qint64(entry.count) * bytesPerCount;
}

/// A negative count shortens the frame; one without room for the CRC is no frame.
bool isFrame(qint64 lengthWithoutCrc)
{
    return lengthWithoutCrc >= 0 && lengthWithoutCrc + CrcLength <= FrameLimit;
}

/// False for what has no builder.
bool build(const RW_VAR *entry)
{
    if (exceedsElementLimit(*entry))
        return false;
    const DeviceTraits &traits = deviceTraits(entry->devType);
    switch (traits.kind) {
    case Kind::Bit:
        if (traits.deviation == Deviation::ReadOnly)
            return false;
        WriteBool(entry);
        return true;
    case Kind::Word:
    case Kind::Pair:
        if (!isFrame(multipleLength(*entry, 2)))
            return false;
        WriteAnalog(entry);
        return true;
    case Kind::Dword:
        if (!isFrame(multipleLength(*entry, 4)))
            return false;
        WriteAnalogDword(entry);
        return true;
    case Kind::BitInWord:
        WriteAnalog_Bit(entry);
        return true;
    case Kind::None:
        break;
    }
    return false;
}

} // namespace

void WriteRegister(const RW_VAR *entry)
{
    // While the link is failing, a host write has been mirrored when it was queued.
    if (build(entry) && !PLC_driver.failFlag)
        WriteDataToLocal(*entry);
}

void WriteBool(const RW_VAR *entry)
{
    // Exactly 1 is on: 2 and 255 switch the coil off.
    const bool on = byteAt(entry->data, 0) == 1;
    appendSingle(*entry, WriteSingleCoil, on ? 0xFF00 : 0x0000);
}

void WriteAnalog(const RW_VAR *entry)
{
    // Before any look at the code: one element of a 32-bit code is a single register too.
    if (entry->count == 1) {
        const int value = holdsBytes(entry->data, 0, 2) ? int(littleEndianWord(entry->data, 0)) : 0;
        appendSingle(*entry, WriteSingleRegister, value);
        return;
    }
    const Kind kind = deviceTraits(entry->devType).kind;
    if (kind == Kind::Pair || kind == Kind::Dword)
        appendMultiple(*entry, entry->count, entry->count / 2, 4);
    else
        appendMultiple(*entry, entry->count, entry->count, 2);
}

void WriteAnalogDword(const RW_VAR *entry)
{
    appendMultiple(*entry, 2 * entry->count, entry->count, 4);
}

// A broadcast expects both replies all the same: deliberate.
void WriteAnalog_Bit(const RW_VAR *entry)
{
    RW_VAR read = *entry;
    read.rwFlag = 0;
    read.address = entry->address / 16;
    read.subIndex = -1;
    QByteArray &readFrame = appendPending(read, {ReplyFraming + 2, ReplyData, 2}, SingleLength);
    header(readFrame, read, ReadHoldingRegisters, read.address).u16(1).crc();

    RW_VAR write = read;
    write.rwFlag = 1;
    write.subIndex = 0;
    // The value is put in when the word has been read.
    QByteArray &writeFrame = appendPending(write, {EchoLength, 0, 0}, SingleLength);
    header(writeFrame, write, WriteSingleRegister, write.address).u16(0).crc();
    startTransaction(2);
}
