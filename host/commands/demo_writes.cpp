// One write of each kind, and one that the PLC acknowledges and ignores.
#include "host/commands/demo.h"
#include "host/tag_codec.h"

namespace {

enum { WriteMilliseconds = 10000, Cells = 65536 };

// Cells and registers are literals: they check the codec, the driver's address map and the order of words.
const QVector<DemoWrite> &writesOfEachKind()
{
    static const QVector<DemoWrite> writes{
        {"pump-enable", "1,0", {1, 0}, WriteState::Confirmed},
        {"valve-row", "1,0,1,0,0,1,1,1", {1, 0, 1, 0, 0, 1, 1, 1}, WriteState::Confirmed},
        {"set-point", "-12.5", {0xFF83}, WriteState::Confirmed},
        {"dwell-times", "111,222,333,444", {111, 222, 333, 444}, WriteState::Confirmed},
        {"pulse-length", "305419896", {0x1234, 0x5678}, WriteState::Confirmed},
        {"drive-position", "-1.5", {0xFFFF, 0xFA24}, WriteState::Confirmed},
        {"drive-torque", "-12.5", {0xC148, 0x0000}, WriteState::Confirmed},
        {"parts-high", "2882400001", {0xABCD, 0xEF01}, WriteState::Confirmed},
        {"status-bit-15", "0", {0}, WriteState::Confirmed},
        {"tank-valve", "1", {1}, WriteState::Confirmed},
        {"speed-limit-of-all", "1500,3000", {1500, 3000}, WriteState::Done},
    };
    return writes;
}

QVector<bool> liveCells(bool areCoils)
{
    QVector<bool> live(Cells);
    for (const DemoTag &tag : demoTags()) {
        // A toggle is a coil, everything else that lives is in registers.
        if (!tag.live || (QLatin1String(tag.live) == QLatin1String("toggle")) != areCoils)
            continue;
        for (const CellRun &run : tag.cells)
            for (int number = run.first; number < run.first + run.count; ++number)
                live[number] = true;
    }
    return live;
}

} // namespace

PlcSnapshot Demo::plcSnapshot(int station)
{
    return {simulator.coils(station, 0, Cells), simulator.registers(station, 0, Cells)};
}

/// Puts the cells of a write where they belong.
void Demo::apply(const DemoWrite &write, PlcSnapshot *snapshot) const
{
    const int index = demoIndex(write.tag);
    const DemoTag &place = demoTags().at(index);
    const bool isBitInWord = findDeviceType(tags.at(index).type)->kind == ElementKind::BitInWord;
    int next = 0;
    for (const CellRun &run : place.cells) {
        for (int number = run.first; number < run.first + run.count; ++number, ++next) {
            int &cell = isBitTag(tags.at(index)) ? snapshot->coils[number] : snapshot->registers[number];
            cell = isBitInWord ? (cell & ~(1 << place.bit)) | write.cells.at(next) << place.bit : write.cells.at(next);
        }
    }
}

/// Every cell of a station that does not change by itself: the written ones hold what was written, no other changed.
void Demo::compareSnapshots(int station, const PlcSnapshot &expected)
{
    const PlcSnapshot now = plcSnapshot(station);
    for (const bool areCoils : {true, false}) {
        const QVector<int> &have = areCoils ? now.coils : now.registers;
        const QVector<int> &want = areCoils ? expected.coils : expected.registers;
        const QVector<bool> live = liveCells(areCoils);
        QStringList wrong;
        for (int number = 0; number < Cells; ++number)
            if (!live.at(number) && have.at(number) != want.at(number))
                wrong << QString::fromLatin1("%1 holds %2, expected %3")
                             .arg(number)
                             .arg(have.at(number))
                             .arg(want.at(number));
        check(wrong.isEmpty(), QString::fromLatin1("%1 %2 of station %3 differ: %4")
                                   .arg(wrong.size())
                                   .arg(QLatin1String(areCoils ? "coils" : "registers"))
                                   .arg(station)
                                   .arg(wrong.mid(0, 8).join(QLatin1String("; "))));
    }
}

bool Demo::encodeWrites(const QVector<DemoWrite> &writes, QVector<QueuedWrite> *due)
{
    for (const DemoWrite &write : writes) {
        QueuedWrite queued{demoIndex(write.tag), QByteArray()};
        QString error;
        if (!encode(tags.at(queued.tag), QLatin1String(write.text), &queued.bytes, &error))
            return cannotGoOn(
                QString::fromLatin1("%1 = %2: %3").arg(QLatin1String(write.tag), QLatin1String(write.text), error),
                ExitBadReply);
        *due << queued;
    }
    return true;
}

/// Queues the writes and waits until all of them have ended.
bool Demo::carryOut(const QVector<DemoWrite> &writes, QVector<int> *ids)
{
    QVector<QueuedWrite> due;
    if (!encodeWrites(writes, &due))
        return false;
    thread->call([&](Panel &panel) {
        for (const QueuedWrite &write : qAsConst(due))
            *ids << panel.write(write.tag, write.bytes);
    });
    return waitForWrites(*ids);
}

bool Demo::waitForWrites(const QVector<int> &ids)
{
    return waitFor(QStringLiteral("every write to end"), WriteMilliseconds, [this, &ids] {
        return std::all_of(ids.begin(), ids.end(), [this](int id) { return endedWrites.contains(id); });
    });
}

void Demo::showWrites(const QVector<DemoWrite> &writes, const QVector<int> &ids)
{
    TextTable table({"tag", ">station", "format", ">written", "unit", ">in the PLC now", "ended"});
    for (int i = 0; i < writes.size(); ++i) {
        const DemoWrite &write = writes.at(i);
        const int index = demoIndex(write.tag);
        const Tag &tag = tags.at(index);
        const int station = tag.station == 0 ? int(SecondStation) : tag.station;
        const WriteEntry ended = endedWrites.value(ids.at(i));
        table.addRow({tag.name, tag.station == 0 ? QStringLiteral("all") : QString::number(tag.station),
                      formatName(tag.format), valueText(tag, ended.bytes), tag.unit,
                      valueText(tag, hostBytesOf(tag, demoTags().at(index),
                                                 cellsInPlc(simulator, station, tag, demoTags().at(index)))),
                      writeText(tag, ended, true)});
    }
    screen.table(table);
    for (int i = 0; i < writes.size(); ++i) {
        const WriteEntry ended = endedWrites.value(ids.at(i));
        check(ended.state == writes.at(i).state,
              QString::fromLatin1("the write of %1 ended as %2, expected %3")
                  .arg(QLatin1String(writes.at(i).tag), writeText(tags.at(demoIndex(writes.at(i).tag)), ended, true),
                       writeStateName(writes.at(i).state)));
    }
}

bool Demo::writeOneOfEachKind()
{
    screen.heading(QStringLiteral("One write of each kind, read back from the PLC"));
    PlcSnapshot first = plcSnapshot(FirstStation), second = plcSnapshot(SecondStation);
    const QVector<DemoWrite> &writes = writesOfEachKind();
    for (const DemoWrite &write : writes) {
        const int station = tags.at(demoIndex(write.tag)).station;
        const PlcSnapshot firstBefore = first, secondBefore = second;
        if (station != SecondStation)
            apply(write, &first);
        if (station != FirstStation)
            apply(write, &second);
        check(first.coils != firstBefore.coils || first.registers != firstBefore.registers
                  || second.coils != secondBefore.coils || second.registers != secondBefore.registers,
              QString::fromLatin1("%1 has its value before it is written: the write proves nothing")
                  .arg(QLatin1String(write.tag)));
    }
    QVector<int> ids;
    if (!carryOut(writes, &ids))
        return false;
    showWrites(writes, ids);
    compareSnapshots(FirstStation, first);
    compareSnapshots(SecondStation, second);
    screen.line();
    screen.line(QStringLiteral("  All 65536 coils and registers of both stations compared with those of before"));
    screen.line(QStringLiteral("  the writes: the written ones changed, no other did."));
    if (!waitForAPass())
        return false;
    screen.line(
        QString::fromLatin1("  %1 tags read through the driver once more and compared.").arg(compareAllTags(nullptr)));
    return !shouldStop();
}

bool Demo::writeToALockedCell()
{
    screen.heading(QStringLiteral("A write that the PLC acknowledges and ignores"));
    const PlcSnapshot before = plcSnapshot(FirstStation);
    const QVector<DemoWrite> writes{{"locked-mode", "4321", {4321}, WriteState::Reverted}};
    QVector<int> ids;
    if (!carryOut(writes, &ids))
        return false;
    showWrites(writes, ids);
    screen.line();
    screen.line(QStringLiteral("  The PLC said yes; reading it back shows that the value is not there."));
    check(before.registers.at(LockedRegister) != 4321, QStringLiteral("the locked cell had the value before"));
    compareSnapshots(FirstStation, before);
    if (!waitForAPass())
        return false;
    compareAllTags(nullptr);
    return !shouldStop();
}
