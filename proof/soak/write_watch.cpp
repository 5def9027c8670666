#include "write_watch.h"

#include <algorithm>

namespace {

enum { MostQueued = 1024, MostOpenSeconds = 900 };

int unitValue(const QVector<Unit> &units, const QByteArray &bytes, int unit, int at)
{
    const int low = quint8(bytes.at(at));
    return units.at(unit).bytes() == 1 ? low : low | quint8(bytes.at(at + 1)) << 8;
}

} // namespace

WriteWatch::WriteWatch(SoakRig &rig, Findings &findings, const LineWatch &line, const ValueWatch &values)
    : rig(rig), findings(findings), line(line), values(values), openOfTag(rig.uses.size()), groups(rig.uses.size())
{
}

void WriteWatch::write(int tag, const QByteArray &bytes)
{
    // Before the call, in which it may end, or end another.
    if (openOfTag[tag]++ > 0)
        for (OpenWrite &older : open)
            older.isOvertaken = older.isOvertaken || older.tag == tag;
    open.insert(int(++writesBegun), {tag, rig.now()});
    const int id = rig.panel->write(tag, bytes);
    if (open.contains(id))
        open[id].metFullQueue = isQueueFull();
    findings.look(Findings::WriteStates, id == writesBegun,
                  [&] { return QStringLiteral("write %1 got id %2").arg(writesBegun).arg(id); });
}

void WriteWatch::ended(const WriteEntry &entry)
{
    ++states[int(entry.state)];
    const OpenWrite write = open.value(entry.id, {-1, 0});
    findings.look(Findings::WriteStates, write.tag == entry.tag && hasCause(entry, write), [&] {
        return QStringLiteral("write %1 of %2 ended %3")
            .arg(entry.id)
            .arg(rig.tag(entry.tag).name, writeStateName(entry.state));
    });
    if (!open.remove(entry.id))
        return;
    --openOfTag[entry.tag];
    groups[entry.tag] << entry;
    endedTags << entry.tag;
}

bool WriteWatch::isQueueFull() const
{
    return rig.panel->driverSession().driver().driver->writeList.size() >= MostQueued;
}

bool WriteWatch::hasCause(const WriteEntry &entry, const OpenWrite &write) const
{
    const Tag &tag = rig.tag(entry.tag);
    const bool isOn = tag.station == 0 || rig.panel->stations().value(tag.station).isOn;
    switch (entry.state) {
    case WriteState::Queued:
    case WriteState::Confirming:
    case WriteState::Refused:
        return false;
    case WriteState::Confirmed:
        return entry.isSent && entry.readBack == entry.bytes;
    case WriteState::Reverted:
        return rig.uses.at(entry.tag) == TagUse::Stuck && entry.isSent && entry.readBack != entry.bytes;
    case WriteState::Done:
        return entry.isSent;
    case WriteState::Failed:
        return entry.isSent && entry.reason != Reason::None;
    case WriteState::Superseded:
        return write.isOvertaken;
    case WriteState::Purged:
        return rig.stations == 1 ? !failedStations.isEmpty() : failedStations.contains(tag.station);
    case WriteState::DroppedQueueFull:
        return write.metFullQueue || isQueueFull();
    case WriteState::DroppedStationOff:
        return rig.stations > 1 && !isOn;
    }
    return false;
}

void WriteWatch::afterStep()
{
    failedStations.clear();
    for (const int tag : qAsConst(endedTags))
        if (openOfTag.at(tag) == 0 && !groups.at(tag).isEmpty())
            settle(tag);
    endedTags.clear();
}

/// No write of the tag is open: the PLC has what the last answered one said, or what a failed one behind it said.
void WriteWatch::settle(int tag)
{
    QList<WriteEntry> group;
    group.swap(groups[tag]);
    std::sort(group.begin(), group.end(), [](const WriteEntry &a, const WriteEntry &b) { return a.id < b.id; });
    const int station = rig.tag(tag).station;
    for (int one = 1; one <= rig.stations; ++one)
        if (station == 0 || station == one)
            settleUnits(tag, one, group);
}

void WriteWatch::settleUnits(int tag, int station, const QList<WriteEntry> &group)
{
    const QVector<Unit> &units = rig.units.at(tag);
    QVector<int> &had = held[{tag, station}];
    had.resize(units.size());
    const bool isStuck = rig.uses.at(tag) == TagUse::Stuck;
    for (int unit = 0, at = 0; unit < units.size(); at += units.at(unit).bytes(), ++unit) {
        QVector<int> possible{had.at(unit)};
        for (const WriteEntry &entry : isStuck ? QList<WriteEntry>() : group) {
            const bool isAnswered = entry.state == WriteState::Done || entry.state == WriteState::Confirmed;
            // Nobody answers a broadcast, so it may be lost on a line that is not in order.
            const bool isCertain = isAnswered && (rig.tag(tag).station != 0 || line.isInOrder());
            if (isCertain)
                possible.clear();
            if (entry.isSent)
                possible << unitValue(units, entry.bytes, unit, at);
        }
        Unit place = units.at(unit);
        place.station = station;
        had[unit] = rig.cell(place);
        findings.look(Findings::PlcMemory, possible.contains(had.at(unit)), [&] {
            return QStringLiteral("%1, unit %2 at station %3: the PLC has %4 after write %5 (%6)")
                .arg(rig.tag(tag).name)
                .arg(unit)
                .arg(station)
                .arg(had.at(unit))
                .arg(group.last().id)
                .arg(writeStateName(group.last().state));
        });
    }
}

void WriteWatch::read(int tag)
{
    const Tag &target = rig.tag(tag);
    openReads.insert(int(++readsBegun), {tag, rig.now()});
    const int id = rig.panel->readCells(target.type, target.address, target.station, target.elements);
    findings.look(Findings::OneShotReads, id == readsBegun,
                  [&] { return QStringLiteral("read %1 got id %2").arg(readsBegun).arg(id); });
}

void WriteWatch::readDone(int id, bool isAnswered)
{
    bool isRight = openReads.contains(id);
    const int index = openReads.take(id).tag;
    const Tag &tag = rig.tag(index);
    QByteArray bytes;
    if (isAnswered && isRight) {
        ++readsGood;
        for (const TagPiece &piece : piecesOf(tag, rig.settings, PieceUse::Look)) {
            QByteArray part;
            rig.panel->driverSession().getRegisterData(tag.type, piece.address, tag.station, &part, piece.elements);
            bytes += part;
        }
        isRight = values.isRight(index, bytes);
    }
    findings.look(Findings::OneShotReads, isRight, [&] {
        return QStringLiteral("read %1 of %2 gave %3").arg(id).arg(tag.name, QString::fromLatin1(bytes.toHex()));
    });
}

void WriteWatch::lookAtQueues()
{
    const qint64 oldest = rig.now() - MostOpenSeconds * qint64(1000000);
    for (auto write = open.begin(); write != open.end(); ++write)
        findings.look(Findings::WriteStates, write.value().since >= oldest,
                      [&] { return QStringLiteral("write %1 does not end").arg(write.key()); });
    for (auto read = openReads.begin(); read != openReads.end(); ++read)
        findings.look(Findings::OneShotReads, read.value().since >= oldest,
                      [&] { return QStringLiteral("one-shot read %1 does not end").arg(read.key()); });
    const PanelCounters &counted = rig.panel->counters();
    findings.look(Findings::Queues, counted.writeMost <= MostQueued && counted.onceMost <= MostQueued, [&] {
        return QStringLiteral("%1 writes, %2 one-shot reads").arg(counted.writeMost).arg(counted.onceMost);
    });
    const Ledger &ledger = rig.panel->writes();
    qint64 sum = open.size();
    for (int state = 0; state < WriteStates; ++state)
        sum += ledger.count(WriteState(state));
    findings.look(Findings::WriteStates, ledger.begun() == sum && sum == writesBegun, [&] {
        return QStringLiteral("%1 writes begun, the ledger has %2 and accounts for %3")
            .arg(writesBegun)
            .arg(ledger.begun())
            .arg(sum);
    });
    for (int state = 0; state < WriteStates; ++state)
        findings.look(Findings::WriteStates, ledger.count(WriteState(state)) == states[state], [&] {
            return QStringLiteral("%1: the ledger counts %2, told %3")
                .arg(writeStateName(WriteState(state)))
                .arg(ledger.count(WriteState(state)))
                .arg(states[state]);
        });
}

void WriteWatch::lookAtEnd()
{
    lookAtQueues();
    findings.look(Findings::WriteStates, open.isEmpty(),
                  [&] { return QStringLiteral("%1 writes have not ended").arg(open.size()); });
    findings.look(Findings::OneShotReads, openReads.isEmpty(),
                  [&] { return QStringLiteral("%1 one-shot reads have not ended").arg(openReads.size()); });
}
