#include "proof/fuzz/session.h"

#include "driver/limits.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/fresh_driver.h"

namespace {

HostSession *current = nullptr;

void requestDone(int channelNo, int connectNo, int varId, int status)
{
    noteRequestDone(channelNo, connectNo, varId, status);
    current->duringCallback();
}

void commFail(QList<RW_VAR> &list, int connectNo, int flag)
{
    noteCommFail(list, connectNo, flag);
    list.append(RW_VAR());
    current->duringCallback();
}

} // namespace

HostSession::HostSession(Input &input, const SessionBounds &bounds) : input(input), bounds(bounds)
{
    current = this;
    for (std::unique_ptr<COMINFO> &record : settings)
        record.reset(new COMINFO(input.settings()));
    SetComInfo(settings[0].get());
    RegistCallBackFuncIntf(requestDone, commFail);
}

// What the driver shares with the host goes before the host's memory does.
HostSession::~HostSession()
{
    emptyDriver();
    current = nullptr;
}

void HostSession::play()
{
    void (HostSession::*const calls[])() = {
        &HostSession::cycle,          &HostSession::cycle,          &HostSession::cycle,
        &HostSession::askNext,        &HostSession::answer,         &HostSession::setUp,
        &HostSession::changeSettings, &HostSession::switchStation,  &HostSession::rebuildList,
        &HostSession::addRead,        &HostSession::addWrite,       &HostSession::addOnce,
        &HostSession::readValues,     &HostSession::readValues,     &HostSession::writeValues,
        &HostSession::writeValues,    &HostSession::parseAddress,   &HostSession::checksum,
        &HostSession::digits,         &HostSession::changeList,     &HostSession::changeProtocol,
        &HostSession::changeStore,    &HostSession::changeCounters,
    };
    for (int i = 0; i < bounds.calls && !input.isAtEnd(); ++i) {
        (this->*calls[input.below(int(std::size(calls)))])();
        demandLocksFree();
    }
}

/// What a host may do from inside a callback, which runs with the lists locked.
void HostSession::duringCallback()
{
    switch (input.below(8)) {
    case 0:
        registerCallbacks();
        break;
    case 1:
        switchStation();
        break;
    case 2:
        readValues();
        break;
    case 3:
        changeSettings();
        break;
    }
}

void HostSession::registerCallbacks()
{
    const int choice = input.below(8);
    RegistCallBackFuncIntf(choice == 0 ? nullptr : requestDone, choice == 1 ? nullptr : commFail);
}

void HostSession::setComInfo()
{
    const int choice = input.below(8);
    COMINFO *const record = choice == 0 ? nullptr : settings[choice & 1].get();
    SetComInfo(record);
    DEMAND(PLC_driver.comInfo == record);
    DEMAND(record == nullptr || (record->hostWord10 == 0 && record->hostWord13 == 0));
}

void HostSession::setUp()
{
    switch (input.below(4)) {
    case 0:
        setComInfo();
        break;
    case 1:
        registerCallbacks();
        break;
    case 2:
        FlashLocalRegister(settings, nullptr, this);
        DEMAND(LB == settings && LW == nullptr && RWI == this);
        break;
    case 3:
        DEMAND(QueryFinishFlag() == 1);
        break;
    }
}

void HostSession::changeSettings()
{
    COMINFO &record = *settings[input.below(2)];
    if (input.oneIn(4)) {
        record = input.settings();
        return;
    }
    int *const words = reinterpret_cast<int *>(&record);
    words[input.below(sizeof(COMINFO) / sizeof(int))] = input.oneIn(2) ? input.count() : input.anyInt();
}

void HostSession::switchStation()
{
    const int station = input.station();
    const int mode = input.oneIn(16) ? input.anyInt() : input.below(2);
    EnCommStation(station, mode);
    DEMAND(station >= 0 || PLC_driver.disabledStations.isEmpty());
    DEMAND(station < 0 || mode < 0 || mode > 1 || PLC_driver.disabledStations.contains(station) == (mode == 0));
}

void HostSession::askNext()
{
    const bool isRepeat = !PLC_driver.protocolList.isEmpty();
    isTampered = isTampered && isRepeat;
    const Protocol *const request = ComCommunication();
    DEMAND((request == nullptr) == PLC_driver.protocolList.isEmpty());
    if (request != nullptr && !isTampered)
        demandSoundRequest(request);
}

void HostSession::answer()
{
    const Protocol nothing;
    const bool isAsked = !PLC_driver.protocolList.isEmpty();
    const Protocol request = isAsked ? PLC_driver.protocolList.first() : nothing;
    const int code = makeReply(input, squeezed, request, bounds.longestReply).give();
    DEMAND(isAsked || code == 1);
}

/// A turn of the communication thread.
void HostSession::cycle()
{
    askNext();
    if (!PLC_driver.protocolList.isEmpty())
        answer();
}

int HostSession::affordable(int weight)
{
    const int count = input.count();
    if (count <= 0)
        return count;
    const int most = bounds.elements / weight;
    const int result = qMin(count, int(ElementLimit)) > most ? count % (most + 1) : count;
    bounds.elements -= qMin(result, int(ElementLimit)) * weight;
    return result;
}

void playSession(const uint8_t *data, size_t size, const SessionBounds &bounds)
{
    Input input(data, size);
    clearImage();
    HostSession(input, bounds).play();
}
