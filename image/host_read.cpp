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

/// The records of one station and storage code. A missing one is made, by being looked at.
struct KeyedReader {
    int station, storageCode;

    QByteArray data(qint64 address) const
    {
        const int index = findKeyed(station, storageCode, address);
        return index >= 0 ? extendData(index) : QByteArray();
    }
    void bit(char *out, qint64 address, int byte, int bit) const
    {
        *out = static_cast<char>(byteAt(data(address), byte) >> bit & 1);
    }
    void word(char *out, qint64 address) const
    {
        const QByteArray bytes = data(address);
        putLittleEndianWord(out, holdsBytes(bytes, 0, 2) ? littleEndianWord(bytes, 0) : 0);
    }
    void dword(char *out, qint64 address) const
    {
        const QByteArray bytes = data(address);
        const bool whole = holdsBytes(bytes, 0, 4);
        putLittleEndianWord(out, whole ? littleEndianWord(bytes, 2) : 0);
        putLittleEndianWord(out + 2, whole ? littleEndianWord(bytes, 0) : 0);
    }
};

void readKeyed(QByteArray &out, const DeviceTraits &traits, int station, int start, int count)
{
    const KeyedReader records = {station, traits.base};
    const qint64 first = start;
    // An odd count gives one value more than the fixed areas do: deliberate.
    const int values = halfRoundedUp(count);
    switch (traits.kind) {
    case Kind::Bit:
        growTo(out, count);
        for (int i = 0; i < count; ++i)
            records.bit(out.data() + i, first + i - (first + i) % 8, 0, int((first + i) % 8));
        break;
    case Kind::Word:
        growTo(out, 2 * count);
        for (int i = 0; i < count; ++i)
            records.word(out.data() + 2 * i, first + i);
        break;
    case Kind::Pair:
        growTo(out, 4 * values);
        for (int k = 0; k < values; ++k) {
            records.word(out.data() + 4 * k, first + 2 * k + 1);
            records.word(out.data() + 4 * k + 2, first + 2 * k);
        }
        break;
    case Kind::Dword:
        growTo(out, 4 * values);
        for (int k = 0; k < values; ++k)
            records.dword(out.data() + 4 * k, first + k);
        break;
    case Kind::BitInWord:
        growTo(out, count);
        for (int i = 0; i < count; ++i)
            records.bit(out.data() + i, (first + i) / 16, int((first + i) / 8 % 2), int((first + i) % 8));
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
    QByteArray out = *values;
    if (setting(&COMINFO::stationScope) == 0)
        readImage(out, traits, address, elements);
    else
        readKeyed(out, traits, station, address, elements);
    *values = out;
    return 1;
}
