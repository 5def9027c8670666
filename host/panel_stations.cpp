// Stations that do not answer are switched off, and tried again now and then.
#include "host/panel.h"

namespace {

enum {
    LostShare = 20, ///< A switched-off station is tried so rarely that it costs one part in as many of the time.
    SilentAfter = 3 ///< Failed requests in a row that tell a silent station which is not to be switched off.
};

} // namespace

void Panel::stationAnswered(int station)
{
    StationState &state = stationStates[station];
    state.failuresInARow = 0;
    if (!state.isAnswering) {
        state.isAnswering = true;
        listener->stationAnswers(station, true);
    }
    if (!state.isOnTrial)
        return;
    state.isOnTrial = false;
    state.isOn = true;
    state.pause = 0;
    passStartedAt = -1;
    listener->stationSwitched(station, true);
}

void Panel::stationFailed(int station, qint64 lost)
{
    StationState &state = stationStates[station];
    ++state.failuresInARow;
    // Switching the only station off would help nobody.
    const bool isSwitched = settings.offAfter > 0 && stationStates.size() > 1;
    const int limit = isSwitched ? settings.offAfter : int(SilentAfter);
    if (!isSwitched && state.isAnswering && state.failuresInARow >= limit) {
        state.isAnswering = false;
        listener->stationAnswers(station, false);
    }
    if (!isSwitched || (!state.isOnTrial && state.failuresInARow < limit))
        return;
    const qint64 pause = state.isOnTrial ? 2 * state.pause : qint64(settings.probeFirst) * 1000;
    state.pause = qMin(qMax(pause, LostShare * lost), qint64(settings.probeMost) * 1000);
    state.nextProbeAt = channel.now() + state.pause;
    session.enableStation(station, false);
    const bool wasOn = state.isOn;
    state.isOn = false;
    state.isOnTrial = false;
    if (!wasOn)
        return;
    passStartedAt = -1;
    spoilStation(station);
    listener->stationSwitched(station, false);
}

void Panel::spoilStation(int station)
{
    for (int block = 0; block < blocks.size(); ++block)
        if (blockMap.range(block).station == station)
            blocks[block].isGood = false;
    for (int tag = 0; tag < tagList.size(); ++tag)
        if (tagList.at(tag).station == station && tagList.at(tag).isReadable)
            setQuality(tag, Quality::Bad, Reason::StationOff);
}

void Panel::probeStations()
{
    for (auto state = stationStates.begin(); state != stationStates.end(); ++state) {
        if (state->isOn || state->isOnTrial || channel.now() < state->nextProbeAt)
            continue;
        state->isOnTrial = true;
        session.enableStation(state.key(), true);
    }
}
