#include "image/mirror_write.h"

#include "driver/bytes.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "image/areas.h"
#include "image/element_access.h"
#include "image/extend_store.h"
#include "image/store_lock.h"
#include "varlist/device_traits.h"

#include <QtCore/QMutexLocker>

namespace {

void mirrorImage(const RW_VAR &record, const DeviceTraits &traits, int count)
{
    const int start = record.address;
    const QByteArray &in = record.data;
    switch (traits.kind) {
    case Kind::Bit:
        SetBitToUC(start, bitArea(traits.base), in, count);
        break;
    case Kind::Word:
        SetWordToUS(start, wordArea(traits.base), in, count);
        break;
    case Kind::Pair:
        SetWordToUI(start, wordArea(traits.base), in, count);
        break;
    case Kind::Dword:
        SetWordToUI_DCV(start, PLC_driver.dwordImage13, in, count);
        break;
    case Kind::BitInWord:
        SetBitToUS(start, wordArea(traits.base), in, count);
        break;
    case Kind::None:
        break;
    }
}

void setKeyedBit(int index, int byte, int bit, bool on)
{
    QByteArray data = extendData(index);
    const unsigned mask = 1u << bit;
    const unsigned old = byteAt(data, byte);
    data[byte] = static_cast<char>(on ? old | mask : old & ~mask);
    setExtendData(index, data);
}

void mirrorKeyedBits(const RW_VAR &record, int count)
{
    for (int i = 0; i < qMin(count, record.data.size()); ++i) {
        const qint64 bit = qint64(record.address) + i;
        const int index = findKeyed(record.station, record.devType, bit & ~qint64(7));
        if (index >= 0 && !extendData(index).isEmpty())
            setKeyedBit(index, 0, int(bit & 7), record.data.at(i) == 1);
    }
}

void setKeyed(const RW_VAR &record, int storageCode, qint64 address, const QByteArray &data)
{
    const int index = findKeyed(record.station, storageCode, address);
    if (index >= 0)
        setExtendData(index, data);
}

void mirrorKeyedWords(const RW_VAR &record, int count)
{
    for (int i = 0; i < count && holdsBytes(record.data, 2 * qint64(i), 2); ++i)
        setKeyed(record, record.devType, qint64(record.address) + i, record.data.mid(2 * i, 2));
}

void mirrorKeyedPairs(const RW_VAR &record, int storageCode, int count)
{
    for (int k = 0; k < count / 2 && holdsBytes(record.data, 4 * qint64(k), 4); ++k) {
        const qint64 high = qint64(record.address) + 2 * k;
        setKeyed(record, storageCode, high + 1, record.data.mid(4 * k, 2));
        setKeyed(record, storageCode, high, record.data.mid(4 * k + 2, 2));
    }
}

void mirrorKeyedDwords(const RW_VAR &record, int count)
{
    for (int k = 0; k < count && holdsBytes(record.data, 4 * qint64(k), 4); ++k)
        setKeyed(record, record.devType, qint64(record.address) + k,
                 record.data.mid(4 * k + 2, 2) + record.data.mid(4 * k, 2));
}

// One bit position for all elements, that of the first: host writes come one bit a record. Deliberate.
void mirrorKeyedBitInWord(const RW_VAR &record, int storageCode, int count)
{
    const int byte = (record.address & 15) / 8;
    for (int i = 0; i < count; ++i) {
        const int index = ExtendFindSameVar(record.station, storageCode, int((qint64(record.address) + i) / 16));
        const bool known = i < record.data.size() && (record.data.at(i) == 0 || record.data.at(i) == 1);
        if (known && extendData(index).size() >= 2)
            setKeyedBit(index, byte, record.address & 7, record.data.at(i) == 1);
    }
}

void mirrorKeyed(const RW_VAR &record, const DeviceTraits &traits, int count)
{
    switch (traits.kind) {
    case Kind::Bit:
        if (traits.deviation != Deviation::ReadOnly)
            mirrorKeyedBits(record, count);
        break;
    case Kind::Word:
        mirrorKeyedWords(record, count);
        break;
    case Kind::Pair:
        mirrorKeyedPairs(record, traits.base, count);
        break;
    case Kind::Dword:
        mirrorKeyedDwords(record, count);
        break;
    case Kind::BitInWord:
        mirrorKeyedBitInWord(record, traits.base, count);
        break;
    case Kind::None:
        break;
    }
}

} // namespace

void WriteDataToLocal(const RW_VAR &record)
{
    const DeviceTraits &traits = deviceTraits(record.devType);
    const int count = qBound(0, record.count, int(ElementLimit));
    QMutexLocker image(&PLC_driver.imageMutex);
    QMutexLocker store(&storeMutex);
    if (setting(&COMINFO::stationScope) == 0)
        mirrorImage(record, traits, count);
    else
        mirrorKeyed(record, traits, count);
}
