// SetRegisterData
#include "driver/bytes.h"
#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "image/mirror_write.h"
#include "varlist/cut.h"
#include "varlist/device_type.h"
#include "varlist/write_list.h"

#include <QtCore/QMutexLocker>

namespace {

enum { WritesReachPlc = 2 }; // of COMINFO::writeMode

/// How a write of some kind is cut into queued blocks.
struct Blocks {
    Cuts cuts;
    int bytesPerElement;
};

Blocks blocksOf(const RW_VAR &record)
{
    const DeviceTraits &traits = deviceTraits(record.devType);
    const int maxBlockLen = setting(&COMINFO::maxBlockLen);
    const int count = qMax(0, record.count);
    const Blocks none = {cutsOf(0, 0), 0};
    switch (traits.kind) {
    case Kind::Bit:
        return traits.deviation == Deviation::ReadOnly ? none : Blocks{cutsOf(count, 1), 1};
    case Kind::Word:
        return {cutsOf(count, maxBlockLen), 2};
    case Kind::Pair:
        return {cutsOf(roundUpToEven(count), maxBlockLen), 2};
    case Kind::Dword:
        return {cutsOf(halfRoundedUp(count), maxBlockLen), 4};
    case Kind::BitInWord:
        return {cutsOf(count, 1), 1};
    case Kind::None:
        break;
    }
    return none;
}

/// Part of the host's bytes; what the host has not given is sent as 0.
QByteArray blockData(const QByteArray &values, int first, int size)
{
    QByteArray data = values.mid(first, size);
    growTo(data, size);
    return data;
}

/// Queues a write block by block. Returns the last length of the queue, 0 when there was no block.
/// REQUIRES: listMutex held, within a use of writeQueue.
int queueBlocks(RW_VAR &record)
{
    const Blocks blocks = blocksOf(record);
    const QByteArray values = record.data;
    const int start = record.address;
    int length = 0;
    for (int i = 0; i < blocks.cuts.pieces && setPiece(record, start, blocks.cuts, i, 1); ++i) {
        const int firstByte = int(blocks.cuts.offsetOf(i)) * blocks.bytesPerElement;
        record.data = blockData(values, firstByte, record.count * blocks.bytesPerElement);
        length = mergeWrite(record);
        // While the link is good the frame builder does this, when the write goes out.
        if (PLC_driver.failFlag)
            WriteDataToLocal(record);
    }
    return length;
}

} // namespace

extern "C" int SetRegisterData(QString nameText, int devType, QString addrText, int station, QByteArray *values,
                               int count, int connectNo, int varId)
{
    const int address = StringAddressToInt(devType, addrText);
    if (address < 0 || values == nullptr)
        return 0;
    RW_VAR record;
    record.connectNo = connectNo;
    record.varId = varId;
    record.rwFlag = 1;
    record.hostWord3 = setting(&COMINFO::remoteMode);
    record.panelStation = setting(&COMINFO::ownStation);
    record.nameText = nameText;
    record.addrText = addrText;
    record.devType = devType;
    record.address = address;
    record.station = setting(&COMINFO::stationScope) != 0 ? station : setting(&COMINFO::plcStation);
    record.count = qMin(count, int(ElementLimit));
    record.data = *values;
    if (setting(&COMINFO::writeMode) != WritesReachPlc) {
        WriteDataToLocal(record);
        return 1;
    }
    // Held from the first block to the cut, so that the scheduler never sees a block that crosses a boundary.
    QMutexLocker lock(&PLC_driver.listMutex);
    RequestQueue::Use use(writeQueue);
    const int length = queueBlocks(record);
    writeQueue.cut();
    return length;
}
