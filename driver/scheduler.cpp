// ComCommunication: which request goes out next
#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "driver/station.h"
#include "frames/read_request.h"
#include "frames/remote_frame.h"
#include "frames/write_request.h"
#include "varlist/read_list.h"
#include "varlist/request_queue.h"

#include <QtCore/QMutexLocker>

namespace {

typedef void (*FrameBuilder)(const RW_VAR *entry);

FrameBuilder readBuilder()
{
    return setting(&COMINFO::remoteMode) == 0 ? ReadRegister : Remote_ReadVar;
}

FrameBuilder writeBuilder()
{
    return setting(&COMINFO::remoteMode) == 0 ? WriteRegister : Remote_WriteVar;
}

/// Serves the head of the write or one-shot queue, where it stays until its reply has been handled. Requests of
/// switched-off stations are dropped; when they were all, nothing else is served in this call: deliberate.
void serveQueue(RequestQueue &queue, ServedList served, int &streak, FrameBuilder build)
{
    PLC_driver.servedList = served;
    const QList<RW_VAR> &list = queue.list();
    while (!list.isEmpty() && Ethernetcontains(list.at(0).station)) {
        RequestQueue::Use use(queue);
        queue.removeFirst();
    }
    if (list.isEmpty())
        return;
    build(&list.at(0));
    ++streak;
}

/// Serves the first cyclic entry whose station is switched on; the others go to the back, and stay.
void servePoll()
{
    const QList<RW_VAR> &list = PLC_driver.readList;
    if (list.isEmpty()) {
        PLC_driver.writeStreak = 0;
        PLC_driver.onceStreak = 0;
        setSetting(&COMINFO::finishFlag, 1);
        return;
    }
    PLC_driver.servedList = ServedCyclic;
    for (int skipped = 0; Ethernetcontains(list.at(0).station); ++skipped) {
        if (skipped == list.size())
            return;
        rotateReadList();
    }
    readBuilder()(&list.at(0));
    PLC_driver.writeStreak = 0;
    PLC_driver.onceStreak = 0;
}

void serveNext()
{
    if (!PLC_driver.writeList.isEmpty() && PLC_driver.writeStreak < StreakLimit)
        serveQueue(writeQueue, ServedWrite, PLC_driver.writeStreak, writeBuilder());
    else if (!PLC_driver.onceReadList.isEmpty() && PLC_driver.onceStreak < StreakLimit)
        serveQueue(onceReadQueue, ServedOnce, PLC_driver.onceStreak, readBuilder());
    else
        servePoll();
}

} // namespace

extern "C" Protocol *ComCommunication()
{
    QMutexLocker lock(&PLC_driver.listMutex);
    QList<Protocol> &pending = PLC_driver.protocolList;
    if (pending.isEmpty())
        serveNext();
    return pending.isEmpty() ? nullptr : &pending.first();
}
