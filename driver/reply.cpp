// CheckGetData and what follows from it
#include "driver/reply.h"

#include "driver/bytes.h"
#include "driver/checksum.h"
#include "driver/copy_request.h"
#include "driver/driver_object.h"
#include "driver/settings.h"
#include "image/store_lock.h"
#include "image/store_reply.h"

#include <QtCore/QMutexLocker>

namespace {

enum { Connections = 12, CrcLength = 2 };

const Protocol &inFlight()
{
    return PLC_driver.protocolList.at(0);
}

bool isMissing(int len)
{
    return len == 0 && inFlight().replyLen != 0;
}

bool hasWrongLength(int len)
{
    return len != 0 && len != inFlight().replyLen && inFlight().replyLen != -1;
}

/// For CalCRC, which does not write to what it takes; data() would copy an array that the host shares.
unsigned char *readOnlyBytes(const QByteArray &reply)
{
    return reinterpret_cast<unsigned char *>(const_cast<char *>(reply.constData()));
}

/// The bit with which the frame behind this one has to be patched; asked for under listMutex before any image lock is
/// taken.
QueuedBit bitForNextFrame()
{
    QMutexLocker lock(&PLC_driver.listMutex);
    return queuedBit();
}

bool isLastFrame()
{
    return PLC_driver.protocolList.size() < 2;
}

} // namespace

int CheckGetData(QByteArray *reply, int len)
{
    const RW_VAR &var = inFlight().var;
    if (len == 0 && var.station == 0)
        return CheckGoodNothingToStore;
    // A length of one more than the buffer is let through, and the missing byte counts as 0: deliberate.
    if (len < CrcLength || len - 1 > reply->size())
        return CheckRejected;
    const unsigned crc = CalCRC(readOnlyBytes(*reply), static_cast<unsigned short>(len - CrcLength));
    if (byteAt(*reply, len - 2) != lowByte(crc) || byteAt(*reply, len - 1) != highByte(crc))
        return CheckRejected;
    if (var.rwFlag == 0)
        return CheckGoodToStore;
    return var.rwFlag == 1 ? CheckGoodNothingToStore : CheckRejected;
}

int DealDataOfLocalArea(QByteArray *reply, int len)
{
    if (isMissing(len))
        return GetDriverReturnValue(ReplyMissing);
    if (hasWrongLength(len))
        return GetDriverReturnValue(ReplyWrongLength);
    switch (CheckGetData(reply, len)) {
    case CheckGoodToStore: {
        const QueuedBit queued = isLastFrame() ? NoBit : bitForNextFrame();
        QMutexLocker lock(&PLC_driver.imageMutex);
        SaveToLocalDataErea(reply, queued);
        return GetDriverReturnValue(ReplyGood);
    }
    case CheckGoodNothingToStore:
        return GetDriverReturnValue(ReplyGood);
    }
    return GetDriverReturnValue(ReplyRejected);
}

int DealDataOfRemoteArea(QByteArray *reply, int len)
{
    if (isMissing(len))
        return GetDriverReturnValue(RemoteReplyMissing);
    if (hasWrongLength(len))
        return GetDriverReturnValue(RemoteReplyWrongLength);
    if (CheckGetData(reply, len) == CheckRejected)
        return GetDriverReturnValue(RemoteReplyRejected);
    if (inFlight().var.subIndex != -1)
        return GetDriverReturnValue(RemoteReplyAcknowledged);
    // Without imageMutex, and acknowledgements of writes too: deliberate.
    const QueuedBit queued = isLastFrame() ? NoBit : bitForNextFrame();
    QMutexLocker lock(&storeMutex);
    SaveToLocalDataErea(reply, queued);
    return setting(&COMINFO::frameDone) == 1 ? ResultAcknowledged : ResultGood;
}

int GetDriverReturnValue(int kind)
{
    switch (kind) {
    case ReplyGood:
        return ResultGood;
    case ReplyRejected:
        return SwitchErrorReturn(10);
    case ReplyMissing:
        return SwitchErrorReturn(40);
    case ReplyWrongLength:
        return SwitchErrorReturn(70);
    case RemoteReplyAcknowledged:
        return ResultAcknowledged;
    case RemoteReplyRejected:
        return SwitchErrorReturn(110);
    case RemoteReplyMissing:
        return SwitchErrorReturn(140);
    case RemoteReplyWrongLength:
        return SwitchErrorReturn(170);
    }
    return ResultUnknown;
}

int SwitchErrorReturn(int base)
{
    const int connectNo = inFlight().var.connectNo;
    return base + 1 + (connectNo >= 0 && connectNo < Connections ? connectNo : 0);
}

void passRetValue(const RW_VAR &from, RW_VAR &to)
{
    copyWords(from, to);
    shareText(from.nameText, to.nameText);
    shareText(from.addrText, to.addrText);
    if (!to.data.isEmpty())
        to.data.clear();
}
