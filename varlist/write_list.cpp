// AddListWriteVar and the cutting of queued writes
#include "varlist/write_list.h"

#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "varlist/cut.h"

#include <QtCore/QMutexLocker>

namespace {

enum { FirstReplaceable = 1 }; // the head may be on the line, so its value must not change under it

RequestKey keyOfWrite(const RW_VAR &var)
{
    return {0, 0, var.station, var.devType, var.address, var.count};
}

bool crossesWhenWritten(const RW_VAR &entry, Boundary boundary)
{
    return (boundary.unit == 1 || boundary.unit == 2) && entry.address < boundary.address
           && qint64(entry.address) + entry.count > boundary.address;
}

bool isCutWhenWritten(const RW_VAR &entry)
{
    return crossesWhenWritten(entry, writeBoundary(entry.devType));
}

} // namespace

RequestQueue writeQueue({&PLC_driver.writeList, FirstReplaceable, keyOfWrite, isCutWhenWritten, plcWriteTypeShort});

int mergeWrite(const RW_VAR &var)
{
    const int length = writeQueue.list().size();
    // With fewer than two entries there is only the head.
    const int same = length > FirstReplaceable ? writeQueue.find(var) : -1;
    if (same >= 0)
        writeQueue.replace(same, var);
    else if (length < QueueLimit)
        writeQueue.append(var);
    return writeQueue.list().size();
}

extern "C" int AddListWriteVar(RW_VAR *var, int mode)
{
    if (var == nullptr)
        return 0;
    QMutexLocker lock(&PLC_driver.listMutex);
    RequestQueue::Use use(writeQueue);
    if (mode != 1)
        return mergeWrite(*var);
    writeQueue.append(*var);
    return writeQueue.list().size();
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
