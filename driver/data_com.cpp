// DataCom: what a reply means for the request in flight, its list and the host
#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "driver/reply.h"
#include "driver/settings.h"
#include "frames/pending.h"
#include "varlist/read_list.h"
#include "varlist/request_queue.h"

#include <QtCore/QMutexLocker>

#include <algorithm>

namespace { // REQUIRES for everything in it: listMutex held.

enum RequestStatus { RequestDone = 1, RequestFailed = 2 };

bool isGood(int resultCode)
{
    return resultCode == ResultGood || resultCode == ResultAcknowledged;
}

/// True when the frame is given up; false while it is to be sent again.
bool rejectReply()
{
    PLC_driver.passCount = 0;
    PLC_driver.failFlag = true;
    // Not cleared by a good reply: bad ones of several requests add up. Deliberate.
    const qint64 retries = qint64(setting(&COMINFO::retryCount)) + 1;
    setSetting(&COMINFO::retryCount, clampToInt(retries));
    setSetting(&COMINFO::finishFlag, 0);
    if (retries <= setting(&COMINFO::retryLimit))
        return false;
    setSetting(&COMINFO::retryCount, 0);
    PLC_driver.protocolList.clear();
    return true;
}

void countTowardsPass()
{
    if (setting(&COMINFO::finishFlag) != 0)
        return;
    if (PLC_driver.passCount < PLC_driver.readList.size()) {
        ++PLC_driver.passCount;
        return;
    }
    PLC_driver.passCount = 0;
    setSetting(&COMINFO::finishFlag, 1);
}

/// True when the transaction is complete; false while more of its frames are to be sent.
bool acceptReply(bool remote)
{
    PLC_driver.failFlag = false;
    removeAnswered();
    const qint64 done = qint64(setting(&COMINFO::frameDone)) + 1;
    setSetting(&COMINFO::frameDone, clampToInt(done));
    if (done < setting(&COMINFO::frameTotal))
        return false;
    if (!remote)
        countTowardsPass();
    return true;
}

void notifyRequestDone(const RW_VAR &var, RequestStatus status)
{
    const RequestDoneCallback callback = loadWord(PLC_driver.requestDoneCallback);
    if (callback != nullptr)
        callback(setting(&COMINFO::channelNo), var.connectNo, var.varId, status);
}

bool sameVariable(const RW_VAR &left, const RW_VAR &right)
{
    return left.connectNo == right.connectNo && left.varId == right.varId;
}

/// Reports the served request and takes it out of its queue. A variable that is queued again is reported done only with
/// the last of its requests, but every failure is reported.
void finishHead(RequestQueue &queue, bool notify)
{
    const QList<RW_VAR> &list = queue.list();
    if (list.isEmpty())
        return;
    const RW_VAR head = list.at(0);
    const auto isHeads = [&head](const RW_VAR &var) { return sameVariable(var, head); };
    if (notify && PLC_driver.failFlag)
        notifyRequestDone(head, RequestFailed);
    else if (notify && std::none_of(list.constBegin() + 1, list.constEnd(), isHeads))
        notifyRequestDone(head, RequestDone);
    passRetValue(head, PLC_driver.result);
    // The callback may have emptied it.
    if (list.isEmpty())
        return;
    RequestQueue::Use use(queue);
    queue.removeFirst();
}

void finishPoll()
{
    if (PLC_driver.readList.isEmpty())
        return;
    passRetValue(PLC_driver.readList.at(0), PLC_driver.result);
    rotateReadList();
}

void finishRequest(bool remote)
{
    switch (PLC_driver.servedList) {
    case ServedWrite:
        finishHead(writeQueue, true);
        break;
    case ServedOnce:
        finishHead(onceReadQueue, !remote);
        break;
    case ServedCyclic:
        finishPoll();
        break;
    }
}

template <class Predicate>
void purge(QList<RW_VAR> &list, Predicate fails)
{
    list.erase(std::remove_if(list.begin(), list.end(), fails), list.end());
}

/// After a final failure: drops the same variable's one-shot reads, and the writes that would fail as well.
void purgeQueues()
{
    const RW_VAR &failed = PLC_driver.result;
    const bool severalStations = setting(&COMINFO::stationScope) != 0;
    purge(PLC_driver.onceReadList, [&](const RW_VAR &var) {
        return sameVariable(var, failed) && (!severalStations || var.station == failed.station);
    });
    purge(PLC_driver.writeList, [&](const RW_VAR &var) { return !severalStations || var.station == failed.station; });
}

void reportFailure()
{
    const CommFailCallback callback = loadWord(PLC_driver.commFailCallback);
    QList<RW_VAR> none;
    if (callback != nullptr)
        callback(none, PLC_driver.result.connectNo, 1);
}

/// DataCom without a reply. Apart from it, so that an array is made only where one is missing.
RW_VAR *takeNothing(int len)
{
    QByteArray nothing;
    return DataCom(&nothing, len);
}

} // namespace

extern "C" RW_VAR *DataCom(QByteArray *reply, int len)
{
    RW_VAR &result = PLC_driver.result;
    result.resultCode = ResultGood;
    if (PLC_driver.protocolList.isEmpty())
        return &result;

    if (reply == nullptr)
        return takeNothing(len);
    const bool remote = PLC_driver.protocolList.at(0).var.panelStation != setting(&COMINFO::ownStation);
    const int code = remote ? DealDataOfRemoteArea(reply, len) : DealDataOfLocalArea(reply, len);

    QMutexLocker lock(&PLC_driver.listMutex);
    const bool good = isGood(code);
    const bool finished = good ? acceptReply(remote) : rejectReply();
    if (finished)
        finishRequest(remote);
    if (finished && !good) {
        reportFailure();
        purgeQueues();
    }
    // Last, because finishing a request copies its own result code over this one.
    result.resultCode = finished || good ? code : int(ResultRepeatPending);
    return &result;
}
