// The port of the panel: lost, and opened again.
#include "host/panel.h"

namespace {

/// Pause between requests that fail because the port is gone.
enum { TurnWithoutPort = 250000 };

} // namespace

// While there is no port the driver goes on: each request fails at once, so that nobody's write waits for a cable and
// then surprises a machine.
void Panel::servePort()
{
    if (wasOpen)
        losePort();
    if (channel.now() >= reopenAt) {
        openPort();
        if (channel.isOpen())
            return;
    }
    const Protocol *const protocol = session.next();
    // Also without a request: the driver may have dropped writes of stations that are switched off.
    settleWrites();
    if (protocol)
        serve(*protocol);
    channel.sleepUntil(qMin(reopenAt, channel.now() + TurnWithoutPort));
}

void Panel::losePort()
{
    wasOpen = false;
    passStartedAt = -1;
    lastPortError.clear();
    channel.close();
    reopenAt = channel.now() + reopenPause;
    session.note("port", {"gone"});
    for (BlockState &block : blocks)
        block.isGood = false;
    for (int tag = 0; tag < tagList.size(); ++tag)
        setQuality(tag, Quality::Bad, Reason::Port);
    listener->portChanged(false, QString());
}

void Panel::openPort()
{
    QString error;
    if (!channel.open(&error)) {
        reopenPause = qMin(2 * reopenPause, qint64(settings.line.reopenMost) * 1000);
        reopenAt = channel.now() + reopenPause;
        if (error != lastPortError)
            listener->portChanged(false, error);
        lastPortError = error;
        return;
    }
    wasOpen = true;
    reopenPause = qint64(settings.line.reopenFirst) * 1000;
    ++counted.reopened;
    session.note("port", {"open"});
    listener->portChanged(true, QString());
    // Nobody will ever read these.
    for (int tag = 0; tag < tagList.size(); ++tag)
        if (!tagList.at(tag).isReadable)
            setQuality(tag, Quality::Bad, Reason::NeverRead);
    for (auto state = stationStates.begin(); state != stationStates.end(); ++state)
        if (!state->isOn)
            spoilStation(state.key());
}
