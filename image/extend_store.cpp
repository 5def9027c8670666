#include "image/extend_store.h"

#include "driver/driver_object.h"
#include "driver/limits.h"
#include "varlist/device_traits.h"

#include <QtCore/QHash>

namespace {

struct Key {
    int station, devType, address;
};

bool operator==(const Key &left, const Key &right)
{
    return left.address == right.address && left.devType == right.devType && left.station == right.station;
}

uint qHash(const Key &key)
{
    return uint(key.address) * 2654435761u ^ uint(key.devType) * 40503u ^ uint(key.station) * 2246822519u;
}

/// Finds a record's first position without a search. extendVarList is a public member that a host tool may change; the
/// index notices because between two uses it holds a copy that shares the list's memory: whoever asks the list for
/// write access makes it part from that copy. Only a reference that was taken before a use and written through after it
/// goes unnoticed.
class StoreIndex {
public:
    /// Begins a use, within which only the index changes the list: it lets go of the copy, or each change would copy
    /// the list whole.
    void open()
    {
        if (m_seen.constBegin() != PLC_driver.extendVarList.constBegin())
            rebuild();
        m_seen.clear();
    }
    void close() { m_seen = PLC_driver.extendVarList; }

    int findOrAppend(const Key &key)
    {
        const int index = find(key);
        return index >= 0 ? index : append(key);
    }
    /// Records at the front of which each is the first with its key.
    int distinct() const { return m_hasDuplicates ? 0 : PLC_driver.extendVarList.size(); }

private:
    static Key keyOf(const EXTENDVAR &record) { return {record.station, record.devType, record.address}; }
    static bool isAt(int index, const Key &key) { return keyOf(PLC_driver.extendVarList.at(index)) == key; }

    int find(const Key &key)
    {
        const int index = m_first.value(key, -1);
        if (index < 0 || isAt(index, key))
            return index;
        rebuild();
        return m_first.value(key, -1);
    }

    int append(const Key &key)
    {
        EXTENDVAR record;
        record.station = key.station;
        record.devType = key.devType;
        record.address = key.address;
        const int index = PLC_driver.extendVarList.size();
        PLC_driver.extendVarList.append(record);
        m_first.insert(key, index);
        return index;
    }

    void rebuild()
    {
        const QList<EXTENDVAR> &list = PLC_driver.extendVarList;
        m_first.clear();
        // From the back, so that the first of equal keys is what stays.
        for (int i = list.size() - 1; i >= 0; --i)
            m_first.insert(keyOf(list.at(i)), i);
        m_hasDuplicates = m_first.size() != list.size();
    }

    QList<EXTENDVAR> m_seen;
    QHash<Key, int> m_first;
    bool m_hasDuplicates = false;
};

StoreIndex storeIndex;

} // namespace

int ExtendFindSameVar(int station, int devType, int address)
{
    KeyedRecords records(station, devType);
    records.dataAt(address);
    return records.last();
}

KeyedRecords::KeyedRecords(int station, int storageCode)
    : m_station(station), m_code(storageCode), m_shift(deviceTraits(storageCode).kind == Kind::Bit ? 3 : 0),
      m_guessable(0)
{
    storeIndex.open();
}

KeyedRecords::~KeyedRecords()
{
    storeIndex.close();
}

QByteArray *KeyedRecords::search(qint64 address)
{
    if (!fitsInt(address))
        return nullptr;
    m_last = storeIndex.findOrAppend({m_station, m_code, int(address)});
    m_address = address;
    m_guessable = storeIndex.distinct();
    m_records = PLC_driver.extendVarList.begin();
    return &m_records[m_last].data;
}
