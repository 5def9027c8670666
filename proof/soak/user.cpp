#include "user.h"

namespace {

enum : qint64 { Second = 1000000, Minute = 60 * Second, Hour = 60 * Minute };

struct DeedTrait {
    const char *name;
    qint64 meanPause;
    qint64 longest; ///< What lasts ends after a second at least, and this at most; 0 for what is done at once.
};

// In the order of User::Deed.
const DeedTrait Traits[] = {{"write rounds", 2 * Second, 0},     {"one-shot reads", 5 * Second, 0},
                            {"faults", 60 * Second, 0},          {"overtaking writes", 10 * Minute, 0},
                            {"queue floods", 12 * Hour, 0},      {"silent stations", Hour, 2 * Minute},
                            {"cables pulled", 3 * Hour, Minute}, {"ports taken", 2 * Hour, 30 * Second},
                            {"screens left", Hour, 10 * Second}, {"adapters changed", 30 * Minute, 0}};

/// Bytes that an adapter hands over together.
const int PieceSizes[] = {1, 14, 62, 512};

const FaultKind Kinds[] = {FaultKind::Drop,           FaultKind::Delay,        FaultKind::Late,
                           FaultKind::Duplicate,      FaultKind::CrcSwapped,   FaultKind::BitFlipped,
                           FaultKind::Truncated,      FaultKind::ExtraBefore,  FaultKind::ExtraAfter,
                           FaultKind::Noise,          FaultKind::WrongStation, FaultKind::WrongFunction,
                           FaultKind::WrongByteCount, FaultKind::Exception,    FaultKind::HalfThenNext,
                           FaultKind::Joined,         FaultKind::Echo,         FaultKind::PortGone};

} // namespace

User::User(SoakRig &rig, LineWatch &line, WriteWatch &writes, quint32 seed)
    : rig(rig), line(line), writes(writes), random(seed)
{
    for (int tag = 0; tag < rig.uses.size(); ++tag) {
        const Tag &one = rig.tag(tag);
        if (one.isWritable)
            writable << tag;
        // One that is read in parts could be written between them.
        const bool isShort = rig.units.at(tag).size() <= SoakRig::BlockWords;
        if (one.isReadable && isShort && piecesOf(one, rig.settings, PieceUse::Request).size() == 1)
            readable << tag;
    }
    for (int deed = 0; deed < Deeds; ++deed) {
        // Everything once before long, each tag too: whatever takes memory has it then.
        plans[deed].nextAt = rig.now() + 10 * Second + (deed + 1) * Minute * below(1000) / 1000;
    }
}

/// From none to twice the mean.
qint64 User::pauseBefore(Deed deed)
{
    return Traits[deed].meanPause * below(2001) / 1000;
}

void User::act()
{
    const qint64 now = rig.now();
    if (isStopped || now < nextAt)
        return;
    nextAt = now + Hour;
    for (int deed = 0; deed < Deeds; ++deed) {
        Plan &plan = plans[deed];
        if (plan.endAt >= 0 && now >= plan.endAt) {
            plan.endAt = -1;
            end(Deed(deed));
        }
        if (plan.endAt < 0 && now >= plan.nextAt) {
            ++plan.done;
            if (Traits[deed].longest > 0)
                plan.endAt = now + Second + (Traits[deed].longest - Second) * below(1001) / 1000;
            plan.nextAt = now + pauseBefore(Deed(deed));
            begin(Deed(deed));
        }
        nextAt = qMin(nextAt, plan.endAt >= 0 ? plan.endAt : plan.nextAt);
    }
}

void User::begin(Deed deed)
{
    switch (deed) {
    case Write:
        return plans[Write].done <= writable.size() ? writeTag(writable.at(int(plans[Write].done) - 1))
                                                    : writeSome(1 + below(3));
    case Read:
        return writes.read(plans[Read].done <= readable.size() ? readable.at(int(plans[Read].done) - 1)
                                                               : readable.at(below(readable.size())));
    case Fault:
        return addFault();
    case Overtake:
        return overtake();
    case QueueFlood:
        return flood();
    case SilentStation:
        silent = 1 + below(rig.stations);
        rig.plcEnd->setAnswering(silent, false);
        line.state.silentStations.insert(silent);
        break;
    case PullCable:
        rig.plcEnd->setPlugged(false);
        line.state.isPlugged = false;
        break;
    case TakePort:
        rig.plcEnd->takePortAway(rig.now(), 1000 + below(30000));
        break;
    case LeaveScreen:
        return rig.panel->setPolling(false);
    case ChangeAdapter:
        rig.line->pieceBytes = PieceSizes[below(int(sizeof PieceSizes / sizeof *PieceSizes))];
        return;
    case Deeds:
        break;
    }
    line.disturbed();
}

void User::end(Deed deed)
{
    if (deed == LeaveScreen)
        return rig.panel->setPolling(true);
    if (deed == SilentStation) {
        rig.plcEnd->setAnswering(silent, true);
        line.state.silentStations.clear();
    } else if (deed == PullCable) {
        rig.plcEnd->setPlugged(true);
        line.state.isPlugged = true;
    }
    line.disturbed();
}

void User::stop()
{
    isStopped = true;
    rig.faults->clear();
    for (const Deed deed : {SilentStation, PullCable, LeaveScreen})
        if (plans[deed].endAt >= 0)
            end(deed);
}

QByteArray User::someBytes(int tag)
{
    QByteArray bytes;
    for (const Unit &unit : rig.units.at(tag)) {
        bytes.append(char(unit.bytes() == 1 ? below(2) : below(256)));
        if (unit.bytes() == 2)
            bytes.append(char(below(256)));
    }
    return bytes;
}

void User::writeTag(int tag)
{
    writes.write(tag, someBytes(tag));
}

void User::writeSome(int count)
{
    for (int i = 0; i < count; ++i) {
        const int tag = writable.at(below(writable.size()));
        // A recipe takes the line for half a minute.
        if (rig.units.at(tag).size() < RecipeBits || below(100) == 0)
            writeTag(tag);
    }
}

/// Newer values while older ones are queued.
void User::overtake()
{
    const int tag = writable.at(below(writable.size()));
    for (int i = 0; i < 5; ++i) {
        writeTag(tag);
        writeSome(1);
    }
}

/// More than the queue takes.
void User::flood()
{
    for (int tag = 0; tag < rig.uses.size(); ++tag)
        if (rig.units.at(tag).size() == RecipeBits)
            writeTag(tag);
    for (const int tag : qAsConst(writable))
        writeTag(tag);
}

/// One fault, of the next request that is answered.
void User::addFault()
{
    FaultRule rule;
    rule.kind = Kinds[below(int(sizeof Kinds / sizeof *Kinds))];
    rule.milliseconds = rule.kind == FaultKind::Delay      ? SoakRig::ReplyTimeout / 2
                        : rule.kind == FaultKind::Late     ? int(SoakRig::LateReply)
                        : rule.kind == FaultKind::PortGone ? 700
                        : rule.kind == FaultKind::Noise    ? 3
                                                           : 0;
    rule.first = rule.last = rig.faults->requests();
    rig.faults->clear();
    rig.faults->add(rule);
}

QString User::report() const
{
    QStringList parts;
    for (int deed = 0; deed < Deeds; ++deed)
        parts << QStringLiteral("%1 %2").arg(plans[deed].done).arg(QLatin1String(Traits[deed].name));
    return parts.join(QLatin1String(", "));
}
