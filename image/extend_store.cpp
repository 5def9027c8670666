#include "image/extend_store.h"

#include "driver/driver_object.h"
#include "driver/limits.h"

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
/// index notices because it holds a copy that shares the list's memory: whoever asks the list for write access makes it
/// part from that copy. Only a reference that was taken before a look-up and written through after it goes unnoticed.
class StoreIndex {
public:
    int find(const Key &key)
    {
        followList();
        const int index = m_first.value(key, -1);
        if (index < 0 || keyOf(m_seen.at(index)) == key)
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
        changeList([&] { PLC_driver.extendVarList.append(record); });
        m_first.insert(key, index);
        return index;
    }

    void setData(int index, const QByteArray &data)
    {
        changeList([&] { PLC_driver.extendVarList[index].data = data; });
    }

private:
    static Key keyOf(const EXTENDVAR &record) { return {record.station, record.devType, record.address}; }

    void followList()
    {
        if (m_seen.constBegin() != PLC_driver.extendVarList.constBegin())
            rebuild();
    }

    /// Lets go of the copy meanwhile: the list would be copied whole otherwise.
    template <class Change>
    void changeList(Change change)
    {
        followList();
        m_seen.clear();
        change();
        m_seen = PLC_driver.extendVarList;
    }

    void rebuild()
    {
        m_seen = PLC_driver.extendVarList;
        m_first.clear();
        // From the back, so that the first of equal keys is what stays.
        for (int i = m_seen.size() - 1; i >= 0; --i)
            m_first.insert(keyOf(m_seen.at(i)), i);
    }

    QList<EXTENDVAR> m_seen;
    QHash<Key, int> m_first;
};

StoreIndex storeIndex;

} // namespace

int ExtendFindSameVar(int station, int devType, int address)
{
    const Key key = {station, devType, address};
    const int index = storeIndex.find(key);
    return index >= 0 ? index : storeIndex.append(key);
}

int findKeyed(int station, int devType, qint64 address)
{
    return fitsInt(address) ? ExtendFindSameVar(station, devType, int(address)) : -1;
}

const QByteArray &extendData(int index)
{
    return PLC_driver.extendVarList.at(index).data;
}

void setExtendData(int index, const QByteArray &data)
{
    storeIndex.setData(index, data);
}
