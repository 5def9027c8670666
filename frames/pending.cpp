#include "frames/pending.h"

#include "driver/copy_request.h"
#include "driver/driver_object.h"

namespace {

/// The record of the last frame answered, which becomes the next one: nothing is allocated in a steady cycle. Empty
/// while protocolList is not. Communication thread only.
QList<Protocol> answered;

Protocol &newRecord()
{
    QList<Protocol> &pending = PLC_driver.protocolList;
    if (pending.isEmpty() && !answered.isEmpty())
        pending.swap(answered);
    else
        pending.append(Protocol());
    return pending.last();
}

} // namespace

QByteArray &appendPending(const RW_VAR &var, const ExpectedReply &reply, int length)
{
    Protocol &pending = newRecord();
    if (pending.frame.size() != length)
        pending.frame.resize(length);
    pending.frameLen = length;
    pending.replyLen = reply.length;
    pending.dataOffset = reply.dataOffset;
    pending.dataLen = reply.dataLen;
    copyRequest(var, pending.var);
    pending.extra20 = pending.extra21 = pending.extra22 = 0;
    return pending.frame;
}

void removeAnswered()
{
    if (PLC_driver.protocolList.size() != 1)
        PLC_driver.protocolList.removeFirst();
    else if (answered.isEmpty())
        PLC_driver.protocolList.swap(answered);
    else
        PLC_driver.protocolList.clear();
}
