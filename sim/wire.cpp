#include "sim/wire.h"

#include <algorithm>

namespace {

enum { QuickBaud = 19200, QuickSilence = 1750, UnpacedSilence = 20000 };

qint64 dividedUp(qint64 number, qint64 by)
{
    return (number + by - 1) / by;
}

/// The earlier of two moments of which -1 is none.
qint64 earlier(qint64 one, qint64 other)
{
    if (one < 0 || other < 0)
        return std::max(one, other);
    return std::min(one, other);
}

} // namespace

Wire::Wire(Slave &slave, Faults &faults, const WireSettings &settings)
    : slave(slave), faults(faults), settings(settings)
{
}

// Rounded up: a byte is never there before its last bit.
qint64 Wire::charactersTime(qint64 count) const
{
    return settings.baud > 0 ? dividedUp(count * settings.characterBits * 1000000, settings.baud) : 0;
}

/// The silence that ends a frame.
qint64 Wire::silence() const
{
    if (settings.baud <= 0)
        return UnpacedSilence;
    if (settings.baud > QuickBaud)
        return QuickSilence;
    return dividedUp(qint64(settings.characterBits) * 3500000, settings.baud);
}

/// When the last of the bytes that have arrived did so.
qint64 Wire::endOf(const Burst &burst) const
{
    return burst.start + charactersTime(burst.passed);
}

qint64 Wire::nextHostByte() const
{
    return fromHost.left.isEmpty() ? -1 : fromHost.start + charactersTime(fromHost.passed + 1);
}

/// When the PLC's next byte begins; -1 when it has nothing to say.
qint64 Wire::nextOwnBegin() const
{
    if (!toHost.left.isEmpty())
        return endOf(toHost);
    return waiting.isEmpty() ? -1 : std::max(waiting.first().start, endOf(toHost));
}

qint64 Wire::nextOwnByte() const
{
    if (!toHost.left.isEmpty())
        return toHost.start + charactersTime(toHost.passed + 1);
    return waiting.isEmpty() ? -1 : nextOwnBegin() + charactersTime(1);
}

qint64 Wire::nextEvent() const
{
    const qint64 gone = portGone ? goneUntil : goneFrom;
    return earlier(earlier(nextHostByte(), nextOwnByte()), earlier(silentAt, gone));
}

qint64 Wire::nextMoment() const
{
    return reached.isEmpty() ? nextEvent() : moment;
}

void Wire::passTo(qint64 now)
{
    for (qint64 next = nextEvent(); next >= 0 && next <= now; next = nextEvent()) {
        moment = std::max(moment, next);
        // The port first: what would arrive at the moment at which it goes is lost.
        if (next == goneFrom && !portGone)
            portGoes();
        else if (next == goneUntil && portGone)
            portGone = false;
        else if (next == nextHostByte())
            hostByteArrives();
        else if (next == nextOwnByte())
            ownByteArrives();
        else
            lineFallsSilent();
    }
    moment = std::max(moment, now);
}

void Wire::receive(const QByteArray &bytes, qint64 now)
{
    passTo(now);
    const int room = portGone ? 0 : int(MostFromHost) - fromHost.left.size();
    const QByteArray taken = bytes.left(std::max(room, 0));
    swallowed += bytes.size() - taken.size();
    if (taken.isEmpty())
        return;
    // Behind bytes still on their way it is the same burst.
    if (fromHost.left.isEmpty() && endOf(fromHost) < now) {
        fromHost.start = now;
        fromHost.passed = 0;
    }
    fromHost.left += taken;
    // Without pacing the bytes have arrived: nothing may come between them and the moment at which they were sent.
    passTo(now);
}

QByteArray Wire::advance(qint64 now)
{
    passTo(now);
    QByteArray bytes;
    bytes.swap(reached);
    sent += bytes.size();
    return bytes;
}

void Wire::hostByteArrives()
{
    const qint64 begin = endOf(fromHost), end = nextHostByte();
    char byte = fromHost.left.at(0);
    fromHost.left.remove(0, 1);
    ++fromHost.passed;
    const qint64 ownBegin = nextOwnBegin();
    const bool overlaps = endOf(toHost) > begin || (ownBegin >= 0 && ownBegin < end);
    if (settings.baud > 0 && overlaps)
        byte = char(~byte);
    if (plugged)
        takeByte(byte, end);
    else
        ++swallowed;
}

void Wire::ownByteArrives()
{
    const qint64 begin = nextOwnBegin(), end = nextOwnByte();
    if (toHost.left.isEmpty()) {
        toHost = waiting.takeFirst();
        toHost.start = begin;
    }
    char byte = toHost.left.at(0);
    toHost.left.remove(0, 1);
    ++toHost.passed;
    --waitingBytes;
    const bool overlaps = endOf(fromHost) > begin || (!fromHost.left.isEmpty() && endOf(fromHost) < end);
    if (settings.baud > 0 && overlaps)
        byte = char(~byte);
    if (plugged)
        reached.append(byte);
    else
        ++swallowed;
}

void Wire::takeByte(char byte, qint64 now)
{
    slave.advanceTo(now / 1000);
    // The first byte of a request: whatever it asks for is answered from the same epoch.
    if (!slave.isPending())
        slave.nextEpoch();
    const qint64 due = now + (settings.baud > 0 ? silence() : 0) + settings.answerMicroseconds;
    for (const SlaveAnswer &one : slave.receive(QByteArray(1, byte)))
        answer(one, due);
    silentAt = slave.isPending() ? now + silence() : -1;
}

void Wire::lineFallsSilent()
{
    const qint64 now = silentAt;
    silentAt = -1;
    slave.advanceTo(now / 1000);
    for (const SlaveAnswer &one : slave.lineQuiet())
        answer(one, now + settings.answerMicroseconds);
}

void Wire::answer(const SlaveAnswer &answer, qint64 due)
{
    if (answer.reply.isEmpty() || silentStations.contains(answer.station))
        return;
    faults.setOwnStations(slave.stations());
    qint64 end = due;
    for (const Output &output : faults.outputFor(answer)) {
        if (output.isEcho) {
            reached += output.bytes;
            continue;
        }
        const qint64 start = end + output.afterMicroseconds;
        sendAt(start, output.bytes);
        end = start + charactersTime(output.bytes.size());
    }
    if (faults.portGoneMilliseconds() > 0) {
        goneFrom = due;
        goneMilliseconds = faults.portGoneMilliseconds();
    }
}

void Wire::sendAt(qint64 start, const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    if (waitingBytes + bytes.size() > MostToHost) {
        swallowed += bytes.size();
        return;
    }
    Burst burst;
    burst.start = start;
    burst.left = bytes;
    const auto startsLater = [](const Burst &one, const Burst &other) { return one.start < other.start; };
    waiting.insert(std::upper_bound(waiting.begin(), waiting.end(), burst, startsLater), burst);
    waitingBytes += bytes.size();
}

void Wire::setPlugged(bool on)
{
    plugged = on;
    if (on)
        return;
    slave.reset();
    silentAt = -1;
}

void Wire::setAnswering(int station, bool on)
{
    if (on)
        silentStations.remove(station);
    else
        silentStations.insert(station);
}

void Wire::takePortAway(qint64 now, int milliseconds)
{
    passTo(now);
    if (portGone) {
        goneUntil = std::max(goneUntil, now + qint64(milliseconds) * 1000);
        return;
    }
    goneFrom = now;
    goneMilliseconds = milliseconds;
    passTo(now);
}

void Wire::portGoes()
{
    portGone = true;
    goneUntil = goneFrom + qint64(goneMilliseconds) * 1000;
    goneFrom = -1;
    swallowed += fromHost.left.size() + waitingBytes + reached.size();
    fromHost.left.clear();
    toHost.left.clear();
    waiting.clear();
    waitingBytes = 0;
    reached.clear();
    slave.reset();
    silentAt = -1;
}
