#include "frames/pending.h"

#include "driver/driver_object.h"
#include "driver/limits.h"
#include "driver/settings.h"

ExpectedReply readReply(int station, qint64 dataLen)
{
    if (station == 0)
        return {0, 0, 0};
    return {clampToInt(dataLen + ReplyFraming), ReplyData, clampToInt(dataLen)};
}

ExpectedReply writeReply(int station)
{
    return {station == 0 ? 0 : int(EchoLength), 0, 0};
}

void appendPending(const QByteArray &frame, const ExpectedReply &reply, const RW_VAR &var)
{
    Protocol pending;
    pending.frame = frame;
    pending.frameLen = frame.size();
    pending.replyLen = reply.length;
    pending.dataOffset = reply.dataOffset;
    pending.dataLen = reply.dataLen;
    pending.var = var;
    PLC_driver.protocolList.append(pending);
}

void startTransaction(int frames)
{
    setSetting(&COMINFO::frameDone, 0);
    setSetting(&COMINFO::frameTotal, frames);
}

bool exceedsElementLimit(const RW_VAR &entry)
{
    return entry.count > ElementLimit;
}
