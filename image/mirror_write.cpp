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

#include <cstring>

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

void setKeyedBit(QByteArray &data, int byte, int bit, bool on)
{
    const unsigned mask = 1u << bit;
    const unsigned old = byteAt(data, byte);
    data.data()[byte] = static_cast<char>(on ? old | mask : old & ~mask);
}

void mirrorKeyedBits(const RW_VAR &record, KeyedRecords &records, int count)
{
    for (int i = 0; i < qMin(count, record.data.size()); ++i) {
        const qint64 bit = qint64(record.address) + i;
        QByteArray *const data = records.dataAt(bit & ~qint64(7));
        if (data != nullptr && !data->isEmpty())
            setKeyedBit(*data, 0, int(bit & 7), record.data.at(i) == 1);
    }
}

/// Sets a record to two bytes of the write's data.
void setKeyedWord(KeyedRecords &records, qint64 address, const QByteArray &values, int first)
{
    QByteArray *const data = records.dataAt(address);
    if (data != nullptr)
        std::memcpy(bytesOf(*data, 2), values.constData() + first, 2);
}

void mirrorKeyedWords(const RW_VAR &record, KeyedRecords &records, int count)
{
    for (int i = 0; i < count && holdsBytes(record.data, 2 * qint64(i), 2); ++i)
        setKeyedWord(records, qint64(record.address) + i, record.data, 2 * i);
}

void mirrorKeyedPairs(const RW_VAR &record, KeyedRecords &records, int count)
{
    for (int k = 0; k < count / 2 && holdsBytes(record.data, 4 * qint64(k), 4); ++k) {
        const qint64 high = qint64(record.address) + 2 * k;
        setKeyedWord(records, high + 1, record.data, 4 * k);
        setKeyedWord(records, high, record.data, 4 * k + 2);
    }
}

void mirrorKeyedDwords(const RW_VAR &record, KeyedRecords &records, int count)
{
    for (int k = 0; k < count && holdsBytes(record.data, 4 * qint64(k), 4); ++k) {
        QByteArray *const data = records.dataAt(qint64(record.address) + k);
        if (data == nullptr)
            continue;
        // The high word leads.
        const char *const value = record.data.constData() + 4 * k;
        char *const bytes = bytesOf(*data, 4);
        std::memcpy(bytes, value + 2, 2);
        std::memcpy(bytes + 2, value, 2);
    }
}

// One bit position for all elements, that of the first: host writes come one bit a record. Deliberate.
void mirrorKeyedBitInWord(const RW_VAR &record, KeyedRecords &records, int count)
{
    const int byte = (record.address & 15) / 8;
    for (int i = 0; i < count; ++i) {
        QByteArray *const data = records.dataAt((qint64(record.address) + i) / 16);
        const bool known = i < record.data.size() && (record.data.at(i) == 0 || record.data.at(i) == 1);
        if (known && data->size() >= 2)
            setKeyedBit(*data, byte, record.address & 7, record.data.at(i) == 1);
    }
}

void mirrorKeyed(const RW_VAR &record, const DeviceTraits &traits, int count)
{
    KeyedRecords records(record.station, traits.base);
    switch (traits.kind) {
    case Kind::Bit:
        if (traits.deviation != Deviation::ReadOnly)
            mirrorKeyedBits(record, records, count);
        break;
    case Kind::Word:
        mirrorKeyedWords(record, records, count);
        break;
    case Kind::Pair:
        mirrorKeyedPairs(record, records, count);
        break;
    case Kind::Dword:
        mirrorKeyedDwords(record, records, count);
        break;
    case Kind::BitInWord:
        mirrorKeyedBitInWord(record, records, count);
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
