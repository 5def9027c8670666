// SaveToLocalDataErea: from the reply to the image
#include "image/store_reply.h"

#include "driver/bytes.h"
#include "driver/checksum.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "image/areas.h"
#include "image/element_access.h"
#include "image/extend_store.h"
#include "varlist/device_traits.h"

#include <cstring>

namespace {

enum { FirstRegister = 3, ValueField = 4, CrcField = 6, WriteFrameLength = 8 };

/// Whole elements of size bytes in the reply's data.
int elementsIn(const Protocol &request, int size)
{
    return qMin(request.dataLen / size, int(ElementLimit));
}

bool waitsForItsRead()
{
    return PLC_driver.protocolList.size() > 1;
}

/// Puts a word, with the queued write's bit set or cleared, into the write frame that waits behind the read.
void patchWaitingWrite(unsigned word, QueuedBit queued)
{
    QByteArray &frame = PLC_driver.protocolList[1].frame;
    growTo(frame, WriteFrameLength);
    // The records carry the word alone; the bit is known only to the queue.
    const unsigned mask = 1u << queued.number;
    if (queued.value == 1)
        word |= mask;
    else if (queued.value == 0)
        word &= ~mask;
    unsigned char *const bytes = reinterpret_cast<unsigned char *>(frame.data());
    bytes[ValueField] = static_cast<unsigned char>(highByte(word));
    bytes[ValueField + 1] = static_cast<unsigned char>(lowByte(word));
    putLittleEndianWord(frame.data() + CrcField, CalCRC(bytes, CrcField));
}

void storeImage(const QByteArray &reply, QueuedBit queued)
{
    const DeviceTraits &traits = deviceTraits(PLC_driver.protocolList.at(0).var.devType);
    switch (traits.kind) {
    case Kind::Bit:
        SaveBitToUC(reply, bitArea(traits.base));
        break;
    case Kind::Word:
    case Kind::Pair:
        if (traits.deviation != Deviation::NotStored)
            SaveWordToUS(reply, wordArea(traits.base));
        break;
    case Kind::Dword:
        SaveWordToUI(reply, PLC_driver.dwordImage13);
        break;
    case Kind::BitInWord:
        SpecialRegisterSave(reply, wordArea(traits.base), queued);
        break;
    case Kind::None:
        break;
    }
}

void storeKeyedBits(const QByteArray &reply, const Protocol &request, KeyedRecords &records)
{
    for (qint64 i = 0; i < elementsIn(request, 1); ++i) {
        QByteArray *const data = records.dataAt(request.var.address + 8 * i);
        if (data != nullptr)
            *bytesOf(*data, 1) = static_cast<char>(byteAt(reply, request.dataOffset + i));
    }
}

/// Stores the words of the reply from first on, each low byte first; zeros when it does not hold them all.
template <int Words>
void storeWords(const QByteArray &reply, qint64 first, QByteArray *data)
{
    if (data == nullptr)
        return;
    char *const bytes = bytesOf(*data, 2 * Words);
    if (!holdsBytes(reply, first, 2 * Words)) {
        std::memset(bytes, 0, 2 * Words);
        return;
    }
    unsigned short words[Words];
    copyFromBigEndian(words, reply.constData() + first, Words);
    copyToLittleEndian(bytes, words, Words);
}

void storeKeyedWords(const QByteArray &reply, const Protocol &request, KeyedRecords &records)
{
    const int count = elementsIn(request, 2);
    for (qint64 i = 0; i < count; ++i)
        storeWords<1>(reply, request.dataOffset + 2 * i, records.dataAt(request.var.address + i));
}

// The high word leads, as in the reply.
void storeKeyedDwords(const QByteArray &reply, const Protocol &request, KeyedRecords &records)
{
    for (qint64 i = 0; i < elementsIn(request, 4); ++i)
        storeWords<2>(reply, request.dataOffset + 4 * i, records.dataAt(request.var.address + i));
}

void storeKeyedBitInWord(const QByteArray &reply, const Protocol &request, KeyedRecords &records, QueuedBit queued)
{
    unsigned word = 0;
    for (qint64 i = 0; i < elementsIn(request, 2); ++i) {
        const qint64 first = request.dataOffset + 2 * i;
        storeWords<1>(reply, first, records.dataAt(request.var.address + i));
        if (holdsBytes(reply, first, 2))
            word = bigEndianWord(reply, first);
    }
    // The last record takes the length of the whole reply's data; without one that is the first of the store:
    // deliberate.
    if (!PLC_driver.extendVarList.isEmpty())
        fitTo(PLC_driver.extendVarList[qMax(0, records.last())].data, request.dataLen);
    if (request.var.subIndex == -1 && waitsForItsRead())
        patchWaitingWrite(word, queued);
}

void storeKeyed(const QByteArray &reply, QueuedBit queued)
{
    const Protocol &request = PLC_driver.protocolList.at(0);
    const DeviceTraits &traits = deviceTraits(request.var.devType);
    KeyedRecords records(request.var.station, traits.base);
    switch (traits.kind) {
    case Kind::Bit:
        storeKeyedBits(reply, request, records);
        break;
    case Kind::Word:
        storeKeyedWords(reply, request, records);
        break;
    case Kind::Dword:
        storeKeyedDwords(reply, request, records);
        break;
    case Kind::BitInWord:
        storeKeyedBitInWord(reply, request, records, queued);
        break;
    case Kind::Pair:
    case Kind::None:
        break;
    }
}

} // namespace

QueuedBit queuedBit()
{
    if (PLC_driver.writeList.isEmpty() || PLC_driver.writeList.at(0).data.isEmpty())
        return NoBit;
    const RW_VAR &write = PLC_driver.writeList.at(0);
    return {write.address & 15, write.data.at(0)};
}

void SaveToLocalDataErea(const QByteArray *reply, QueuedBit queued)
{
    if (setting(&COMINFO::stationScope) == 0)
        storeImage(*reply, queued);
    else
        storeKeyed(*reply, queued);
}

void SpecialRegisterSave(const QByteArray &reply, unsigned short *area, QueuedBit queued)
{
    if (!holdsBytes(reply, FirstRegister, 2))
        return;
    const unsigned word = bigEndianWord(reply, FirstRegister);
    setElement(area, PLC_driver.protocolList.at(0).var.address, static_cast<unsigned short>(word));
    if (waitsForItsRead())
        patchWaitingWrite(word, queued);
}
