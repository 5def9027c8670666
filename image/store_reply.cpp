// SaveToLocalDataErea: from the reply to the image
#include "image/store_reply.h"

#include "driver/bytes.h"
#include "driver/checksum.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "image/areas.h"
#include "image/element_access.h"
#include "image/extend_store.h"
#include "image/store_lock.h"
#include "varlist/device_traits.h"

#include <QtCore/QMutexLocker>

namespace {

enum { FirstRegister = 3, ValueField = 4, CrcField = 6, WriteFrameLength = 8 };

/// The value bytes of the keyed records that a reply fills, record by record from the request's address on.
class KeyedStore {
public:
    explicit KeyedStore(const RW_VAR &var, int storageCode) : m_var(var), m_code(storageCode) {}

    /// Replaces the data of the record offset elements behind the request's address; none beyond an int.
    void replace(qint64 offset, const QByteArray &data)
    {
        const int index = findKeyed(m_var.station, m_code, m_var.address + offset);
        if (index < 0)
            return;
        setExtendData(index, data);
        m_last = index;
    }
    /// Position of the last record replaced; 0, the first record of all, when there was none.
    int last() const { return m_last; }

private:
    const RW_VAR &m_var;
    int m_code;
    int m_last = 0;
};

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
void patchWaitingWrite(unsigned word, const RW_VAR &writeHead)
{
    QByteArray &frame = PLC_driver.protocolList[1].frame;
    growTo(frame, WriteFrameLength);
    // The records carry the word alone; the bit is known only to the queue.
    const unsigned mask = 1u << (unsigned(writeHead.address) & 15);
    if (!writeHead.data.isEmpty() && writeHead.data.at(0) == 1)
        word |= mask;
    else if (!writeHead.data.isEmpty() && writeHead.data.at(0) == 0)
        word &= ~mask;
    unsigned char *const bytes = reinterpret_cast<unsigned char *>(frame.data());
    bytes[ValueField] = static_cast<unsigned char>(highByte(word));
    bytes[ValueField + 1] = static_cast<unsigned char>(lowByte(word));
    putLittleEndianWord(frame.data() + CrcField, CalCRC(bytes, CrcField));
}

void storeImage(const QByteArray &reply, const RW_VAR &writeHead)
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
        SpecialRegisterSave(reply, wordArea(traits.base), writeHead);
        break;
    case Kind::None:
        break;
    }
}

void storeKeyedBits(const QByteArray &reply, const Protocol &request, KeyedStore records)
{
    for (qint64 i = 0; i < elementsIn(request, 1); ++i)
        records.replace(8 * i, QByteArray(1, static_cast<char>(byteAt(reply, request.dataOffset + i))));
}

/// The big-endian word at a position of the reply as a record holds it; zeros when the reply does not hold both bytes.
QByteArray storedWord(const QByteArray &reply, qint64 first)
{
    return littleEndianBytes(holdsBytes(reply, first, 2) ? bigEndianWord(reply, first) : 0);
}

void storeKeyedWords(const QByteArray &reply, const Protocol &request, KeyedStore records)
{
    for (qint64 i = 0; i < elementsIn(request, 2); ++i)
        records.replace(i, storedWord(reply, request.dataOffset + 2 * i));
}

void storeKeyedDwords(const QByteArray &reply, const Protocol &request, KeyedStore records)
{
    for (qint64 i = 0; i < elementsIn(request, 4); ++i) {
        const qint64 first = request.dataOffset + 4 * i;
        const bool whole = holdsBytes(reply, first, 4);
        // The high word leads, each word low byte first.
        records.replace(i, whole ? storedWord(reply, first) + storedWord(reply, first + 2) : QByteArray(4, '\0'));
    }
}

void storeKeyedBitInWord(const QByteArray &reply, const Protocol &request, KeyedStore records, const RW_VAR &writeHead)
{
    unsigned word = 0;
    for (qint64 i = 0; i < elementsIn(request, 2); ++i) {
        const qint64 first = request.dataOffset + 2 * i;
        records.replace(i, storedWord(reply, first));
        if (holdsBytes(reply, first, 2))
            word = bigEndianWord(reply, first);
    }
    // The last record takes the length of the whole reply's data; without one that is the first of the store:
    // deliberate.
    if (!PLC_driver.extendVarList.isEmpty()) {
        QByteArray data = extendData(records.last());
        fitTo(data, request.dataLen);
        setExtendData(records.last(), data);
    }
    if (request.var.subIndex == -1 && waitsForItsRead())
        patchWaitingWrite(word, writeHead);
}

void storeKeyed(const QByteArray &reply, const RW_VAR &writeHead)
{
    const Protocol &request = PLC_driver.protocolList.at(0);
    const DeviceTraits &traits = deviceTraits(request.var.devType);
    const KeyedStore records(request.var, traits.base);
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
        storeKeyedBitInWord(reply, request, records, writeHead);
        break;
    case Kind::Pair:
    case Kind::None:
        break;
    }
}

} // namespace

void SaveToLocalDataErea(const QByteArray *reply, const RW_VAR &writeHead)
{
    QMutexLocker lock(&storeMutex);
    if (setting(&COMINFO::stationScope) == 0)
        storeImage(*reply, writeHead);
    else
        storeKeyed(*reply, writeHead);
}

void SpecialRegisterSave(const QByteArray &reply, unsigned short *area, const RW_VAR &writeHead)
{
    if (!holdsBytes(reply, FirstRegister, 2))
        return;
    const unsigned word = bigEndianWord(reply, FirstRegister);
    setElement(area, PLC_driver.protocolList.at(0).var.address, static_cast<unsigned short>(word));
    if (waitsForItsRead())
        patchWaitingWrite(word, writeHead);
}
