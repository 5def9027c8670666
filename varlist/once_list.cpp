// AddListOnceReadVar
#include "driver/emerson_ec_series.h"
#include "driver/settings.h"
#include "varlist/cut.h"
#include "varlist/device_type.h"
#include "varlist/read_list.h"
#include "varlist/request_queue.h"

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

RequestKey keyOfOnceRead(const RW_VAR &var)
{
    return {var.connectNo, var.varId, var.station, var.devType, var.address, var.count};
}

/// Queues the pieces of a converted variable, which ends as the last of them.
void queuePieces(RW_VAR &var, int step)
{
    const Cuts cuts = cutsOf(var.count, setting(&COMINFO::maxBlockLen));
    const int pieces = qMin(cuts.pieces, int(ElementLimit));
    const int start = var.address;
    for (int i = 0; i < pieces && setPiece(var, start, cuts, i, step); ++i) {
        const bool full = onceReadQueue.list().size() >= QueueLimit;
        if (!full && onceReadQueue.find(var) < 0)
            onceReadQueue.append(var);
    }
}

} // namespace

RequestQueue onceReadQueue({&PLC_driver.onceReadList, 0, keyOfOnceRead, isCutWhenRead, plcTypeShort});

extern "C" int AddListOnceReadVar(RW_VAR *var, int mode)
{
    if (var == nullptr)
        return 0;
    if (mode == 1) {
        QMutexLocker lock(&PLC_driver.listMutex);
        RequestQueue::Use use(onceReadQueue);
        onceReadQueue.append(*var);
        return onceReadQueue.list().size();
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
    RequestQueue::Use use(onceReadQueue);
    queuePieces(*var, step);
    onceReadQueue.cut();
    return onceReadQueue.list().size();
}
