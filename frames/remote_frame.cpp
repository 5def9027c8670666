#include "frames/remote_frame.h"

#include "driver/limits.h"
#include "frames/frame_writer.h"
#include "frames/pending.h"
#include "image/mirror_write.h"
#include "varlist/device_traits.h"

namespace {

enum { RemoteFraming = 22 }; // every byte but the values

/// Everything up to the values; length is that of the whole frame.
FrameWriter describe(QByteArray &frame, const RW_VAR &var, int length)
{
    return FrameWriter(frame)
        .u8(length)
        .u8(var.connectNo)
        .u8(var.rwFlag)
        .u8(var.panelStation)
        .u8(var.station)
        .u16(var.devType)
        .u32(var.address)
        .u16(var.count)
        .u32(var.subIndex)
        .u32(var.hostWord13);
}

/// Bytes of reply data for one count of a code; numbers that are no codes are words here.
int bytesPerCount(int devType)
{
    switch (deviceTraits(devType).kind) {
    case Kind::Bit:
        return 1;
    case Kind::Dword:
        return 4;
    case Kind::Word:
    case Kind::Pair:
    case Kind::BitInWord:
    case Kind::None:
        break;
    }
    return 2;
}

} // namespace

void Remote_ReadVar(const RW_VAR *var)
{
    if (exceedsElementLimit(*var))
        return;
    const qint64 dataLen = qint64(var->count) * bytesPerCount(var->devType);
    QByteArray &frame = appendPending(*var, readReply(var->station, dataLen), RemoteFraming);
    describe(frame, *var, RemoteFraming).sum();
    startTransaction(1);
}

void Remote_WriteVar(const RW_VAR *var)
{
    const int length = var->data.size() > FrameLimit ? int(FrameLimit) + 1 : RemoteFraming + var->data.size();
    if (exceedsElementLimit(*var) || length > FrameLimit)
        return;
    QByteArray &frame = appendPending(*var, writeReply(var->station), length);
    describe(frame, *var, length).bytes(var->data).sum();
    startTransaction(1);
    WriteDataToLocal(*var);
}
