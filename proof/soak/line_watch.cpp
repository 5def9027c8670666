#include "line_watch.h"

namespace {

bool isDamage(Outcome outcome)
{
    return outcome == Outcome::Timeout || outcome == Outcome::BadCrc || outcome == Outcome::WrongLength;
}

/// How a fault may show in the request that it hit.
bool fits(FaultKind fault, Outcome outcome)
{
    switch (fault) {
    case FaultKind::None:
    case FaultKind::Delay:
    case FaultKind::Duplicate:
    case FaultKind::ExtraBefore:
    case FaultKind::Echo:
        return outcome == Outcome::Good;
    case FaultKind::Drop:
    case FaultKind::Late:
    case FaultKind::Joined:
    case FaultKind::WrongStation:
    case FaultKind::WrongFunction:
    case FaultKind::WrongByteCount:
        return outcome == Outcome::Timeout;
    case FaultKind::CrcSwapped:
        return outcome == Outcome::BadCrc;
    case FaultKind::ExtraAfter:
    case FaultKind::HalfThenNext:
        return outcome == Outcome::WrongLength;
    case FaultKind::BitFlipped:
    case FaultKind::Truncated:
        return isDamage(outcome);
    case FaultKind::Noise:
        return outcome == Outcome::Good || isDamage(outcome);
    case FaultKind::Exception:
        return outcome == Outcome::Exception;
    case FaultKind::PortGone:
        return outcome == Outcome::PortGone;
    }
    return false;
}

} // namespace

LineWatch::LineWatch(SoakRig &rig, Findings &findings) : rig(rig), findings(findings), lastDoneAt(rig.now()) {}

qint64 LineWatch::framesSeen() const
{
    const SlaveStatistics &counted = rig.slave->statistics();
    return counted.requests + counted.broadcasts + counted.otherStations;
}

/// The fault of the request just served. The line has one request at a time, so there is one at most.
FaultKind LineWatch::takeFault()
{
    const QVector<FaultDone> done = rig.faults->takeLedger();
    faultCount += done.size();
    for (const FaultDone &one : done)
        kinds.insert(int(one.kind));
    findings.look(Findings::Outcomes, done.size() <= 1,
                  [&] { return QStringLiteral("%1 faults in one request").arg(done.size()); });
    return done.isEmpty() ? FaultKind::None : done.last().kind;
}

bool LineWatch::isExplained(const RW_VAR &var, Outcome outcome, FaultKind fault) const
{
    if (fault != FaultKind::None && isCalm())
        return fits(fault, outcome);
    if (!isCalm() || fault != FaultKind::None)
        return true;
    if (var.station == 0)
        return outcome == Outcome::NoReplyExpected;
    if (!state.isPlugged || state.silentStations.contains(var.station))
        return outcome == Outcome::Timeout;
    return outcome == Outcome::Good;
}

void LineWatch::served(const RW_VAR &var, int list, const Transaction &transaction)
{
    ++transactions;
    ++outcomes[int(transaction.outcome)];
    ++ofLists[list];
    ++ofStations[var.station];
    const bool isInOrder = transaction.doneAt >= lastDoneAt && transaction.doneAt <= rig.now()
                           && (transaction.sentAt == 0 || transaction.sentAt >= lastDoneAt);
    findings.look(Findings::Time, isInOrder, [&] {
        return QStringLiteral("sent at %1, done at %2, now %3")
            .arg(transaction.sentAt)
            .arg(transaction.doneAt)
            .arg(rig.now());
    });
    lastDoneAt = transaction.doneAt;

    const FaultKind fault = takeFault();
    const bool isPortTrouble = rig.plcEnd->isPortGone() || !rig.line->isOpen();
    if (isPortTrouble && fault == FaultKind::None)
        sinceTrouble = 0;
    findings.look(Findings::Outcomes, isExplained(var, transaction.outcome, fault), [&] {
        return QStringLiteral("station %1: %2 after fault %3")
            .arg(var.station)
            .arg(outcomeName(transaction.outcome), faultName(fault));
    });
    ++sinceTrouble;
    if (fault != FaultKind::None)
        sinceTrouble = 1;
    compareFrames(transaction);
}

/// Each frame on the line is one request for the PLC, unless the line was not in order.
void LineWatch::compareFrames(const Transaction &transaction)
{
    const qint64 seen = framesSeen();
    const int sent = int(rig.line->frames - framesBefore);
    const int arrived = int(seen - seenBefore);
    framesBefore = rig.line->frames;
    seenBefore = seen;
    unseenFrames += sent - arrived;
    const bool isRight = sent == (transaction.sentAt > 0 ? 1 : 0)
                         && (arrived == sent || (arrived == 0 && (!isCalm() || !state.isPlugged)));
    findings.look(Findings::Counters, isRight,
                  [&] { return QStringLiteral("%1 frames sent, %2 requests seen").arg(sent).arg(arrived); });
}

void LineWatch::compareCounters()
{
    const PanelCounters &counted = rig.panel->counters();
    const qint64 byOutcome[] = {counted.all.good,   counted.all.timeouts,   counted.all.crc,
                                counted.all.length, counted.all.exceptions, counted.all.port};
    const qint64 expected[] = {outcomes[int(Outcome::Good)] + outcomes[int(Outcome::NoReplyExpected)],
                               outcomes[int(Outcome::Timeout)],
                               outcomes[int(Outcome::BadCrc)],
                               outcomes[int(Outcome::WrongLength)],
                               outcomes[int(Outcome::Exception)],
                               outcomes[int(Outcome::PortGone)]};
    const auto compare = [this](const char *what, qint64 host, qint64 wanted) {
        findings.look(Findings::Counters, host == wanted, [&] {
            return QStringLiteral("%1: the host has %2, expected %3").arg(QLatin1String(what)).arg(host).arg(wanted);
        });
    };
    for (int outcome = 0; outcome < 6; ++outcome)
        compare("an outcome", byOutcome[outcome], expected[outcome]);
    compare("requests", counted.all.requests, rig.line->frames);
    compare("bytes sent", counted.all.bytesSent, rig.line->bytes);
    compare("requests seen by the PLC", framesSeen(), rig.line->frames - unseenFrames);
    const auto sumOf = [](const Counters &one) {
        return one.good + one.timeouts + one.crc + one.length + one.exceptions + one.port;
    };
    for (int list = 0; list < 3; ++list)
        compare("a list", sumOf(counted.lists[list]), ofLists[list]);
    for (auto station = ofStations.begin(); station != ofStations.end(); ++station)
        compare("a station", sumOf(counted.stations.value(station.key())), station.value());
}
