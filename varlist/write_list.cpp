// AddListWriteVar and the cutting of queued writes
#include "varlist/write_list.h"

#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "varlist/cut.h"

#include <QtCore/QMutexLocker>

bool operator==(const WriteKey &left, const WriteKey &right)
{
    return left.address == right.address && left.devType == right.devType && left.station == right.station
           && left.count == right.count;
}

uint qHash(const WriteKey &key)
{
    return uint(key.address) * 2654435761u ^ uint(key.devType) * 40503u ^ uint(key.station) * 2246822519u
           ^ uint(key.count) * 3266489917u;
}

namespace {

enum {
    FirstReplaceable = 1, ///< The head may be on the line, so its value must not change under it.
    ScansBeforeIndex = 8  ///< About what making the index costs.
};

WriteKey keyOf(const RW_VAR &var)
{
    return {var.station, var.devType, var.address, var.count};
}

/// Position of the queued write that a new one replaces, -1 for none.
int findQueued(const WriteKey &key)
{
    const QList<RW_VAR> &queue = PLC_driver.writeList;
    for (int i = FirstReplaceable; i < queue.size(); ++i) {
        if (keyOf(queue.at(i)) == key)
            return i;
    }
    return -1;
}

bool crossesWhenWritten(const RW_VAR &entry, Boundary boundary)
{
    return (boundary.unit == 1 || boundary.unit == 2) && entry.address < boundary.address
           && qint64(entry.address) + entry.count > boundary.address;
}

} // namespace

int WriteQueuer::add(const RW_VAR &var)
{
    QList<RW_VAR> &queue = PLC_driver.writeList;
    const bool full = queue.size() >= QueueLimit;
    const int same = full ? findInFullQueue(keyOf(var)) : findQueued(keyOf(var));
    if (same >= 0)
        queue[same] = var;
    else if (!full)
        queue.append(var);
    return queue.size();
}

// A write of a million blocks meets a full queue: scanning that for each of them takes seconds, with the queue locked.
int WriteQueuer::findInFullQueue(const WriteKey &key)
{
    if (++m_scans <= ScansBeforeIndex)
        return findQueued(key);
    const QList<RW_VAR> &queue = PLC_driver.writeList;
    if (m_positions.isEmpty()) {
        for (int i = queue.size() - 1; i >= FirstReplaceable; --i)
            m_positions.insert(keyOf(queue.at(i)), i);
    }
    return m_positions.value(key, -1);
}

extern "C" int AddListWriteVar(RW_VAR *var, int mode)
{
    if (var == nullptr)
        return 0;
    QMutexLocker lock(&PLC_driver.listMutex);
    if (mode != 1)
        return WriteQueuer().add(*var);
    PLC_driver.writeList.append(*var);
    return PLC_driver.writeList.size();
}

int plcWriteTypeShort(QList<RW_VAR> &list)
{
    cutAll(list, writeBoundary, crossesWhenWritten, plcTypeWriteShortAdd);
    return 1;
}

int plcTypeWriteShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit)
{
    if (!crossesWhenWritten(entry, {boundary, unit})) {
        out.append(entry);
        return 1;
    }
    const qint64 headCount = qint64(boundary) - entry.address;
    const int headBytes = clampToInt(headCount * (unit == 1 ? 4 : 2));
    RW_VAR head = entry;
    head.count = int(headCount);
    head.data = entry.data.left(headBytes);
    RW_VAR tail = entry;
    tail.address = boundary;
    tail.count = int(qint64(entry.address) + entry.count - boundary);
    tail.data = entry.data.mid(headBytes);
    appendTwo(out, head, tail);
    return 1;
}
