// Public members, changed as a host may between two calls
#include "proof/fuzz/session.h"

namespace {

void changeFrame(Input &input, Protocol &protocol)
{
    switch (input.below(5)) {
    case 0:
        protocol.frame = input.bytes(input.below(12));
        break;
    case 1:
        protocol.frameLen = input.anyInt();
        break;
    case 2:
        protocol.replyLen = input.oneIn(2) ? -1 : input.count();
        break;
    case 3:
        protocol.dataOffset = input.oneIn(2) ? input.anyInt() : input.below(16) - 4;
        break;
    case 4:
        protocol.frame.clear();
        break;
    }
}

} // namespace

QList<RW_VAR> &HostSession::someList()
{
    switch (input.below(3)) {
    case 0:
        return PLC_driver.readList;
    case 1:
        return PLC_driver.writeList;
    }
    return PLC_driver.onceReadList;
}

void HostSession::changeList()
{
    QList<RW_VAR> &list = someList();
    const int choice = input.below(6);
    if (choice == 0)
        list.clear();
    else if (choice == 1)
        list.prepend(record());
    else if (choice == 2)
        list = someList();
    else if (choice == 3 && !list.isEmpty())
        list.removeLast();
    else if (choice == 4 && !list.isEmpty())
        list.first() = record();
    else if (choice == 5 && !list.isEmpty())
        list.last().data = values();
}

void HostSession::changeProtocol()
{
    QList<Protocol> &frames = PLC_driver.protocolList;
    isTampered = true;
    const int choice = input.below(8);
    if (choice == 0) {
        frames.clear();
    } else if (choice == 1) {
        Protocol protocol;
        protocol.var = record();
        frames.append(protocol);
    } else if (choice == 2 && !frames.isEmpty()) {
        frames.removeLast();
    } else if (choice == 3 && !frames.isEmpty()) {
        frames.last().var = record();
    } else if (choice == 4 && !frames.isEmpty()) {
        frames.first().dataLen = affordable();
    } else if (!frames.isEmpty()) {
        changeFrame(input, input.oneIn(2) ? frames.first() : frames.last());
    }
}

void HostSession::changeStore()
{
    QList<EXTENDVAR> &store = PLC_driver.extendVarList;
    const int choice = input.below(6);
    if (choice == 0) {
        store.clear();
    } else if (choice <= 2) {
        EXTENDVAR record;
        record.station = input.station();
        record.devType = input.deviceType();
        record.address = input.address();
        record.data = input.bytes(input.below(6));
        choice == 1 ? store.append(record) : store.prepend(record);
    } else if (choice == 3 && !store.isEmpty()) {
        store.removeFirst();
    } else if (choice == 4 && !store.isEmpty()) {
        store[input.byte() % store.size()].data = squeezed.bytes(input.bytes(input.below(6)));
    } else if (!store.isEmpty()) {
        store[input.byte() % store.size()].address = input.address();
    }
}

void HostSession::changeCounters()
{
    switch (input.below(6)) {
    case 0:
        PLC_driver.servedList = input.oneIn(4) ? input.anyInt() : input.below(4);
        break;
    case 1:
        PLC_driver.writeStreak = input.anyInt();
        break;
    case 2:
        PLC_driver.onceStreak = input.anyInt();
        break;
    case 3:
        PLC_driver.passCount = input.anyInt();
        break;
    case 4:
        PLC_driver.failFlag = input.oneIn(2);
        break;
    case 5:
        PLC_driver.disabledStations.insert(input.station(), input.anyInt());
        break;
    }
}
