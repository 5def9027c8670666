// ComCommunication: which request goes out next
#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "driver/settings.h"
#include "driver/station.h"
#include "frames/read_request.h"
#include "frames/remote_frame.h"
#include "frames/write_request.h"

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
void serveQueue(QList<RW_VAR> &queue, ServedList list, int &streak, FrameBuilder build)
{
    PLC_driver.servedList = list;
    while (!queue.isEmpty() && Ethernetcontains(queue.at(0).station))
        queue.removeFirst();
    if (queue.isEmpty())
        return;
    build(&queue.at(0));
    ++streak;
}

/// Serves the first cyclic entry whose station is switched on; the others go to the back, and stay.
void servePoll()
{
    QList<RW_VAR> &list = PLC_driver.readList;
    if (list.isEmpty()) {
        PLC_driver.writeStreak = 0;
        PLC_driver.onceStreak = 0;
        setSetting(&COMINFO::finishFlag, 1);
        return;
    }
    PLC_driver.servedList = ServedCyclic;
    for (int i = 0; i < list.size() && Ethernetcontains(list.at(0).station); ++i)
        list.append(list.takeFirst());
    if (Ethernetcontains(list.at(0).station))
        return;
    readBuilder()(&list.at(0));
    PLC_driver.writeStreak = 0;
    PLC_driver.onceStreak = 0;
}

void serveNext()
{
    if (!PLC_driver.writeList.isEmpty() && PLC_driver.writeStreak < StreakLimit)
        serveQueue(PLC_driver.writeList, ServedWrite, PLC_driver.writeStreak, writeBuilder());
    else if (!PLC_driver.onceReadList.isEmpty() && PLC_driver.onceStreak < StreakLimit)
        serveQueue(PLC_driver.onceReadList, ServedOnce, PLC_driver.onceStreak, readBuilder());
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
