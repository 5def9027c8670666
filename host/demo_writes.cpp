// One write of each kind, checked in the PLC's memory.
#include "host/demo.h"

namespace {

enum { FirstVarId = 101, BroadcastStation = 0, StatusDone = 1, LongWait = 10000 };

struct DemoWrite {
    const char *tag;
    QVector<quint32> values;
    bool isBroadcast;
};

const QVector<DemoWrite> &demoWrites()
{
    static const QVector<DemoWrite> writes{
        {"pump-enable", {1, 0}, false},
        {"set-point", {1234}, false},
        {"dwell-times", {111, 222, 333, 444}, false},
        {"pulse-length", {305419896}, false},
        {"parts-high", {2882400001U}, false},
        {"status-bit-15", {0}, false},
        {"speed-limit", {1500, 3000}, true},
    };
    return writes;
}

QString describe(const DemoWrite &write)
{
    return QLatin1String(write.isBroadcast ? "broadcast " : "") + kindText(demoTag(write.tag).kind);
}

/// Puts the values of a tag where they belong in a snapshot.
void apply(const DemoTag &tag, const QVector<quint32> &values, PlcSnapshot &snapshot)
{
    QVector<int> cells;
    for (const quint32 value : values) {
        if (tag.kind == TagKind::Pair || tag.kind == TagKind::Special)
            cells << int(value >> 16) << int(value & 0xFFFF);
        else
            cells << int(value);
    }
    int next = 0;
    for (const CellRun &run : tag.cells) {
        for (int number = run.first; number < run.first + run.count; ++number, ++next) {
            int &cell = tag.kind == TagKind::Bit ? snapshot.coils[number] : snapshot.registers[number];
            if (tag.kind == TagKind::BitInWord)
                cell = (cell & ~(1 << tag.bit)) | cells.at(next) << tag.bit;
            else
                cell = cells.at(next);
        }
    }
}

QVector<bool> liveCells(bool areCoils, int size)
{
    QVector<bool> live(size);
    for (const DemoTag &tag : demoTags())
        if (tag.live && (tag.kind == TagKind::Bit) == areCoils)
            for (const CellRun &run : tag.cells)
                for (int number = run.first; number < run.first + run.count; ++number)
                    live[number] = true;
    return live;
}

} // namespace

bool Demo::queueWrite(const DemoTag &tag, const QVector<quint32> &values, int varId)
{
    QByteArray bytes = hostBytesOfValues(tag, values);
    const int queued = plugin.setRegisterData(QLatin1String(tag.name), tag.devType, QLatin1String(tag.address),
                                              PolledStation, &bytes, tag.count, WriteConnection, varId);
    check(queued > 0, QString::fromLatin1("the driver did not queue the write of %1").arg(QLatin1String(tag.name)));
    return queued > 0;
}

// A broadcast goes past the one station of the settings, so it is queued as a finished record.
void Demo::queueBroadcast(const DemoTag &tag, const QVector<quint32> &values, int varId)
{
    RW_VAR record;
    record.connectNo = WriteConnection;
    record.varId = varId;
    record.rwFlag = 1;
    record.panelStation = comInfo.ownStation;
    record.nameText = QLatin1String(tag.name);
    record.addrText = QLatin1String(tag.address);
    record.devType = tag.devType;
    record.address = plugin.plcAddressChangeIntef(tag.devType, record.addrText);
    record.station = BroadcastStation;
    record.count = tag.count;
    record.data = hostBytesOfValues(tag, values);
    plugin.addListWriteVar(&record, 0);
}

PlcSnapshot Demo::snapshot(int station)
{
    return {simulator.coils(station, 0, 65536), simulator.registers(station, 0, 65536)};
}

/// Every cell of a station that does not change by itself: the written ones hold what was written, no other changed.
void Demo::compareSnapshots(int station, const PlcSnapshot &expected)
{
    const PlcSnapshot now = snapshot(station);
    for (const bool areCoils : {true, false}) {
        const QVector<int> &have = areCoils ? now.coils : now.registers;
        const QVector<int> &want = areCoils ? expected.coils : expected.registers;
        const QVector<bool> live = liveCells(areCoils, want.size());
        for (int number = 0; number < want.size(); ++number)
            if (!live.at(number) && have.at(number) != want.at(number))
                check(false, QString::fromLatin1("%1 %2 of station %3 holds %4, expected %5")
                                 .arg(QLatin1String(areCoils ? "coil" : "register"))
                                 .arg(number)
                                 .arg(station)
                                 .arg(have.at(number))
                                 .arg(want.at(number)));
        ++checksMade;
    }
}

/// Status of the request-done callback for a write; 0 while there was none.
int Demo::statusOf(int varId) const
{
    for (const RequestDone &done : cycle->requestsDone())
        if (done.connectNo == WriteConnection && done.varId == varId)
            return done.status;
    return 0;
}

bool Demo::writeOneOfEachKind()
{
    screen.heading(QStringLiteral("One write of each kind, read back from the PLC's memory"));
    PlcSnapshot polled = snapshot(PolledStation), other = snapshot(OtherStation);
    cycle->keepExchanges(500);
    if (!queueAllWrites(polled, other))
        return false;
    const auto allReported = [this] {
        for (int i = 0; i < demoWrites().size(); ++i)
            if (statusOf(FirstVarId + i) == 0)
                return false;
        return true;
    };
    if (!waitFor(QStringLiteral("the driver to report every write"), LongWait, allReported))
        return false;
    showWrites();
    compareSnapshots(PolledStation, polled);
    compareSnapshots(OtherStation, other);
    screen.line();
    screen.line(QStringLiteral("  All 65536 coils and registers of both stations compared with those of before"));
    screen.line(QStringLiteral("  the writes: the written ones changed, no other did."));
    if (!waitForFreshValues())
        return false;
    const int compared = compareAllTags(nullptr);
    screen.line(QString::fromLatin1("  %1 tags read through the driver once more and compared.").arg(compared));
    return !interrupted;
}

/// Queues the writes, and puts their values into what the stations are expected to hold afterwards.
bool Demo::queueAllWrites(PlcSnapshot &polled, PlcSnapshot &other)
{
    int varId = FirstVarId;
    for (const DemoWrite &write : demoWrites()) {
        const DemoTag &tag = demoTag(write.tag);
        check(valuesInPlc(tag, PolledStation) != write.values,
              QString::fromLatin1("%1 has its value before it is written: the write proves nothing")
                  .arg(QLatin1String(write.tag)));
        if (write.isBroadcast)
            queueBroadcast(tag, write.values, varId);
        else if (!queueWrite(tag, write.values, varId))
            return cannotGoOn(QStringLiteral("a write was refused"));
        apply(tag, write.values, polled);
        if (write.isBroadcast)
            apply(tag, write.values, other);
        ++varId;
    }
    return true;
}

void Demo::showWrites()
{
    Table table({"tag", "kind", "written", "in the PLC now", "reported"}, "llrrl");
    for (int i = 0; i < demoWrites().size(); ++i) {
        const DemoWrite &write = demoWrites().at(i);
        const DemoTag &tag = demoTag(write.tag);
        const QVector<quint32> now = valuesInPlc(tag, PolledStation);
        const bool isDone = statusOf(FirstVarId + i) == StatusDone;
        table.addRow({QLatin1String(write.tag), describe(write), valueText(tag, write.values), valueText(tag, now),
                      QLatin1String(isDone ? "done" : "FAILED")});
        check(isDone, QString::fromLatin1("the write of %1 failed").arg(QLatin1String(write.tag)));
        check(now == write.values,
              QString::fromLatin1("%1 was written as %2, the PLC holds %3")
                  .arg(QLatin1String(write.tag), valueText(tag, write.values), valueText(tag, now)));
    }
    screen.table(table);
    screen.line();
    for (const Exchange &exchange : cycle->keptExchanges())
        if (exchange.var.connectNo == WriteConnection)
            showFrames(exchange, QString());
    cycle->keepExchanges(0);
}
