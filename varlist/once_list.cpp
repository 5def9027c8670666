// AddListOnceReadVar
#include "driver/emerson_ec_series.h"
#include "driver/settings.h"
#include "varlist/cut.h"
#include "varlist/device_type.h"
#include "varlist/read_list.h"

#include <QtCore/QMutexLocker>

namespace {

/// Turns a variable into a block read; parsed is its address text's value. Returns the distance of two elements.
int convertOnceRead(RW_VAR &var, int parsed)
{
    const DeviceTraits &traits = deviceTraits(var.devType);
    switch (traits.kind) {
    case Kind::Bit:
        var.address = parsed - parsed % 8;
        var.count = bytesForBits(parsed, var.count);
        return 8;
    case Kind::Word:
        var.address = parsed;
        break;
    case Kind::Pair:
        var.devType = traits.base;
        var.address = parsed;
        var.count = roundUpToEven(var.count);
        break;
    case Kind::Dword:
        var.address = parsed;
        var.count = halfRoundedUp(var.count);
        break;
    case Kind::BitInWord:
        // The bit comes from the text, the word from the caller's address field.
        var.devType = traits.base;
        var.count = wordsForBits(parsed % 16, var.count);
        var.address = var.address / 16;
        break;
    case Kind::None:
        break;
    }
    return 1;
}

bool isQueued(const RW_VAR &var)
{
    const QList<RW_VAR> &queue = PLC_driver.onceReadList;
    for (const RW_VAR &queued : queue) {
        if (queued.address == var.address && queued.devType == var.devType && queued.station == var.station
            && queued.count == var.count && queued.varId == var.varId && queued.connectNo == var.connectNo)
            return true;
    }
    return false;
}

/// Queues the pieces of a converted variable, which ends as the last of them.
void queuePieces(RW_VAR &var, int step)
{
    const Cuts cuts = cutsOf(var.count, setting(&COMINFO::maxBlockLen));
    const int pieces = qMin(cuts.pieces, int(ElementLimit));
    const int start = var.address;
    for (int i = 0; i < pieces && setPiece(var, start, cuts, i, step); ++i) {
        const bool full = PLC_driver.onceReadList.size() >= QueueLimit;
        if (!full && !isQueued(var))
            PLC_driver.onceReadList.append(var);
    }
}

} // namespace

extern "C" int AddListOnceReadVar(RW_VAR *var, int mode)
{
    if (var == nullptr)
        return 0;
    if (mode == 1) {
        QMutexLocker lock(&PLC_driver.listMutex);
        PLC_driver.onceReadList.append(*var);
        return PLC_driver.onceReadList.size();
    }
    const int parsed = StringAddressToInt(var->devType, var->addrText);
    if (parsed < 0)
        return 0;
    var->subIndex = 0;
    var->hostWord13 = 0;
    if (setting(&COMINFO::stationScope) == 0)
        var->station = setting(&COMINFO::plcStation);
    const int step = convertOnceRead(*var, parsed);

    QMutexLocker lock(&PLC_driver.listMutex);
    queuePieces(*var, step);
    plcTypeShort(PLC_driver.onceReadList);
    return PLC_driver.onceReadList.size();
}
