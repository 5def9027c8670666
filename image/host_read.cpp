// GetRegisterData
#include "driver/bytes.h"
#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "image/areas.h"
#include "image/element_access.h"
#include "image/extend_store.h"
#include "image/store_lock.h"
#include "varlist/cut.h"
#include "varlist/device_type.h"

#include <QtCore/QMutexLocker>

#include <cstring>

namespace {

void readImage(QByteArray &out, const DeviceTraits &traits, int start, int count)
{
    switch (traits.kind) {
    case Kind::Bit:
        GetBitFromUC(out, bitArea(traits.base), start, count);
        break;
    case Kind::Word:
        GetWordFromUS(out, wordArea(traits.base), start, count);
        break;
    case Kind::Pair:
        GetWordFromUI(out, wordArea(traits.base), start, count);
        break;
    case Kind::Dword:
        GetWordFromUI_DCV(out, PLC_driver.dwordImage13, start, count);
        break;
    case Kind::BitInWord:
        GetBitFromUS(out, wordArea(traits.base), start, count);
        break;
    case Kind::None:
        break;
    }
}

/// Elements of the records of one station and storage code. What a record does not hold reads as 0.
class KeyedReader {
public:
    KeyedReader(int station, int storageCode) : m_records(station, storageCode) {}

    void bit(char *out, qint64 address, int byte, int bit)
    {
        const QByteArray *const data = m_records.dataAt(address);
        *out = data != nullptr ? static_cast<char>(byteAt(*data, byte) >> bit & 1) : 0;
    }
    void word(char *out, qint64 address) { copy(out, m_records.dataAt(address), 0, 2); }
    void dword(char *out, qint64 address)
    {
        const QByteArray *const data = m_records.dataAt(address);
        const bool whole = data != nullptr && holdsBytes(*data, 0, 4);
        copy(out, whole ? data : nullptr, 2, 2);
        copy(out + 2, whole ? data : nullptr, 0, 2);
    }

private:
    static void copy(char *out, const QByteArray *data, int first, int count)
    {
        if (data != nullptr && holdsBytes(*data, first, count))
            std::memcpy(out, data->constData() + first, size_t(count));
        else
            std::memset(out, 0, size_t(count));
    }

    KeyedRecords m_records;
};

/// The bytes of an array that has been made at least size long.
char *grown(QByteArray &out, int size)
{
    growTo(out, size);
    return out.data();
}

void readKeyed(QByteArray &out, const DeviceTraits &traits, int station, int start, int count)
{
    KeyedReader records(station, traits.base);
    const qint64 first = start;
    // An odd count gives one value more than the fixed areas do: deliberate.
    const int values = halfRoundedUp(count);
    char *bytes = nullptr;
    switch (traits.kind) {
    case Kind::Bit:
        bytes = grown(out, count);
        for (int i = 0; i < count; ++i)
            records.bit(bytes + i, first + i - (first + i) % 8, 0, int((first + i) % 8));
        break;
    case Kind::Word:
        bytes = grown(out, 2 * count);
        for (int i = 0; i < count; ++i)
            records.word(bytes + 2 * i, first + i);
        break;
    case Kind::Pair:
        bytes = grown(out, 4 * values);
        for (int k = 0; k < values; ++k) {
            records.word(bytes + 4 * k, first + 2 * k + 1);
            records.word(bytes + 4 * k + 2, first + 2 * k);
        }
        break;
    case Kind::Dword:
        bytes = grown(out, 4 * values);
        for (int k = 0; k < values; ++k)
            records.dword(bytes + 4 * k, first + k);
        break;
    case Kind::BitInWord:
        bytes = grown(out, count);
        for (int i = 0; i < count; ++i)
            records.bit(bytes + i, (first + i) / 16, int((first + i) / 8 % 2), int((first + i) % 8));
        break;
    case Kind::None:
        break;
    }
}

} // namespace

extern "C" int GetRegisterData(int /*unused*/, int devType, QString addrText, int station, QByteArray *values,
                               int count)
{
    const int address = StringAddressToInt(devType, addrText);
    if (address < 0 || values == nullptr)
        return 0;
    const DeviceTraits &traits = deviceTraits(devType);
    const int elements = qBound(0, count, int(ElementLimit));

    QMutexLocker image(&PLC_driver.imageMutex);
    QMutexLocker store(&storeMutex);
    if (setting(&COMINFO::stationScope) == 0)
        readImage(*values, traits, address, elements);
    else
        readKeyed(*values, traits, station, address, elements);
    return 1;
}
