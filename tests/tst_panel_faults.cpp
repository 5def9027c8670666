// Every fault of the line, many times over: no value at the wrong address or from the wrong moment, a quick recovery,
// and counters that agree with what the simulated PLC did.
//
// Each cell of the PLC shows a hash of station, number and epoch, and each request begins an epoch: a value that is
// shown must be that of the very request that read it. All blocks have the same shape, so that any reply could pass for
// another.
#include "tests/panel_rig.h"

#include <QtTest/QtTest>

namespace {

enum { Words = 10, Bits = 160, ReplyMilliseconds = 100, LateMilliseconds = 130 };

/// Repeats of each fault; EC_FAULT_REPEATS for a long run.
int repeats()
{
    const int wanted = qEnvironmentVariableIntValue("EC_FAULT_REPEATS");
    return wanted > 0 ? wanted : 200;
}

struct Cells {
    const char *name;
    bool areCoils;
    int number; ///< Of the first cell, on the Modbus side.
};

const Cells AllCells[] = {{"low", false, 0},      {"far", false, 300},   {"timer", false, 9000},
                          {"high", false, 12000}, {"coils", true, 2000}, {"steps", true, 31000}};

QByteArray csvOf(int station)
{
    const QByteArray s = QByteArray::number(station);
    return "low" + s + ",7,0," + s + ",10,uint16,,,,r\n" + "far" + s + ",7,300," + s + ",10,uint16,,,,r\n" + "timer" + s
           + ",9,0," + s + ",10,uint16,,,,r\n" + "high" + s + ",8,256," + s + ",10,uint16,,,,r\n" + "coils" + s
           + ",2,0," + s + ",160,bit,,,,r\n" + "steps" + s + ",4,1024," + s + ",160,bit,,,,r\n";
}

/// What a tag must show when it was read in an epoch.
QByteArray expectedBytes(const Cells &cells, int station, int epoch)
{
    QByteArray bytes;
    for (int i = 0; cells.areCoils && i < Bits; ++i)
        bytes.append(PlcMemory::epochCoil(station, cells.number + i, epoch) ? '\1' : '\0');
    for (int i = 0; !cells.areCoils && i < Words; ++i) {
        const quint16 value = PlcMemory::epochRegister(station, cells.number + i, epoch);
        bytes.append(char(value)).append(char(value >> 8));
    }
    return bytes;
}

/// The outcome of each request, and a look at every value that a request has changed.
struct Watcher : PanelListener {
    PanelRig *rig = nullptr;
    QVector<Outcome> outcomes;
    QVector<int> changed;
    QStringList wrong;
    qint64 seen = 0;

    void requestServed(const RW_VAR &, const Transaction &transaction, int) override
    {
        // Without a port nothing was sent.
        if (transaction.sentAt > 0)
            outcomes << transaction.outcome;
    }
    void valueChanged(int tag) override { changed << tag; }

    void look()
    {
        for (const int tag : qAsConst(changed)) {
            if (rig->panel->values().at(tag).quality != Quality::Good)
                continue;
            ++seen;
            const Tag &shown = rig->panel->tags().at(tag);
            for (const Cells &cells : AllCells)
                if (shown.name.startsWith(QLatin1String(cells.name))
                    && rig->panel->values().at(tag).bytes != expectedBytes(cells, shown.station, rig->slave->epoch()))
                    wrong << shown.name;
        }
        changed.clear();
    }

    void runUntilRequests(int count)
    {
        while (outcomes.size() < count) {
            rig->panel->step();
            look();
        }
    }
};

/// How a fault shows in the host's counters, each hit once.
struct Mark {
    FaultKind kind;
    /// Damaged: one of timeouts, crc and length. AtMostDamaged: that, or nothing.
    enum { Good, Timeout, Crc, Length, Exception, Port, Damaged, AtMostDamaged } shown;
    enum { Whole, Foreign, EitherWay } burst; ///< Whether a burst was discarded as foreign.
};

const Mark Marks[] = {
    {FaultKind::Drop, Mark::Timeout, Mark::Whole},
    {FaultKind::Delay, Mark::Good, Mark::Whole},
    {FaultKind::Late, Mark::Timeout, Mark::Whole},
    {FaultKind::Duplicate, Mark::Good, Mark::Whole},
    {FaultKind::CrcSwapped, Mark::Crc, Mark::Whole},
    {FaultKind::BitFlipped, Mark::Damaged, Mark::EitherWay},
    {FaultKind::Truncated, Mark::Damaged, Mark::EitherWay},
    {FaultKind::ExtraBefore, Mark::Good, Mark::Whole},
    {FaultKind::ExtraAfter, Mark::Length, Mark::Whole},
    // It may run into the silence behind the reply, or into the next request.
    {FaultKind::Noise, Mark::AtMostDamaged, Mark::EitherWay},
    {FaultKind::WrongStation, Mark::Timeout, Mark::Foreign},
    {FaultKind::WrongFunction, Mark::Timeout, Mark::Foreign},
    {FaultKind::WrongByteCount, Mark::Timeout, Mark::Foreign},
    {FaultKind::Exception, Mark::Exception, Mark::Whole},
    {FaultKind::HalfThenNext, Mark::Length, Mark::Whole},
    {FaultKind::Joined, Mark::Timeout, Mark::Whole},
    // Without pacing echo and reply are one burst, which ends with the reply.
    {FaultKind::Echo, Mark::Good, Mark::EitherWay},
    {FaultKind::PortGone, Mark::Port, Mark::Whole},
};

FaultRule ruleOf(FaultKind kind)
{
    FaultRule rule;
    rule.kind = kind;
    rule.milliseconds = kind == FaultKind::Delay      ? ReplyMilliseconds / 2
                        : kind == FaultKind::Late     ? int(LateMilliseconds)
                        : kind == FaultKind::PortGone ? 700
                        : kind == FaultKind::Noise    ? 3
                                                      : 0;
    return rule;
}

/// One PLC or two stations, either request format, paced or not, by the seed.
void setUp(PanelRig &rig, Watcher &watcher, quint32 seed)
{
    rig.seed = seed;
    rig.showsEpochs = true;
    rig.settings.staleAfter = 3600000;
    rig.settings.offAfter = 0;
    rig.settings.hasSeveral = seed & 1;
    rig.settings.isRemote = seed & 2;
    rig.settings.line.replyTimeout = ReplyMilliseconds;
    rig.wire.baud = seed & 4 ? 19200 : 0;
    rig.stations = {1, 2};
    rig.csv = rig.settings.hasSeveral ? csvOf(1) + csvOf(2) : csvOf(1);
    rig.start();
    watcher.rig = &rig;
    rig.panel->setListener(&watcher);
}

} // namespace

class TstPanelFaults : public QObject {
    Q_OBJECT

private slots:
    void everyFaultIsNoticedAndSurvived_data();
    void everyFaultIsNoticedAndSurvived();
    void noMixtureOfFaultsShowsAWrongValue();
    void aReplyLaterThanTheWindowMeetsASecondOne();
    void theCheckWouldNoticeAWrongValue();
};

void TstPanelFaults::everyFaultIsNoticedAndSurvived_data()
{
    QTest::addColumn<int>("mark");
    for (int mark = 0; mark < int(sizeof Marks / sizeof *Marks); ++mark)
        QTest::newRow(qPrintable(faultName(Marks[mark].kind))) << mark;
}

void TstPanelFaults::everyFaultIsNoticedAndSurvived()
{
    QFETCH(int, mark);
    const Mark &expected = Marks[mark];
    for (quint32 seed = 1; seed <= quint32(repeats()); ++seed) {
        PanelRig rig;
        Watcher watcher;
        setUp(rig, watcher, seed);
        const int before = 12 + int(seed % 12);
        watcher.runUntilRequests(before);
        FaultRule rule = ruleOf(expected.kind);
        rule.first = rule.last = before;
        rig.faults->add(rule);
        watcher.runUntilRequests(before + 30);

        const QByteArray where = QByteArray("seed ") + QByteArray::number(seed);
        QVERIFY2(watcher.wrong.isEmpty(), where);
        QVERIFY2(watcher.seen > 20, where);
        // Recovered within two requests, for good.
        QVERIFY2(watcher.outcomes.at(before + 1) == Outcome::Good || watcher.outcomes.at(before + 2) == Outcome::Good,
                 where);
        for (int request = 0; request < watcher.outcomes.size(); ++request)
            if (request < before || request > before + 2)
                QVERIFY2(watcher.outcomes.at(request) == Outcome::Good, where);
        // The host's counters agree with the PLC's.
        const Counters &counted = rig.panel->counters().all;
        QCOMPARE(rig.faults->ledger().size(), 1);
        QVERIFY(rig.faults->ledger().first().kind == expected.kind);
        // Noise may destroy the request that it meets: then the PLC has never seen it.
        const qint64 unseen = counted.requests - rig.faults->requests();
        QVERIFY2(unseen == 0 || (unseen == 1 && expected.kind == FaultKind::Noise), where);
        const bool isExact = expected.shown != Mark::Damaged && expected.shown != Mark::AtMostDamaged;
        const qint64 damaged = counted.timeouts + counted.crc + counted.length;
        if (isExact) {
            QCOMPARE(counted.timeouts, qint64(expected.shown == Mark::Timeout));
            QCOMPARE(counted.crc, qint64(expected.shown == Mark::Crc));
            QCOMPARE(counted.length, qint64(expected.shown == Mark::Length));
        } else {
            QVERIFY2(damaged == 1 || (damaged == 0 && expected.shown == Mark::AtMostDamaged), where);
        }
        QCOMPARE(counted.exceptions, qint64(expected.shown == Mark::Exception));
        QCOMPARE(counted.port > 0, expected.shown == Mark::Port);
        if (expected.burst != Mark::EitherWay)
            QCOMPARE(counted.discardedFrames, qint64(expected.burst == Mark::Foreign));
        if (expected.shown != Mark::Port)
            QCOMPARE(counted.good, counted.requests - damaged - counted.exceptions);
    }
}

void TstPanelFaults::noMixtureOfFaultsShowsAWrongValue()
{
    for (quint32 seed = 1; seed <= quint32(repeats()); ++seed) {
        PanelRig rig;
        Watcher watcher;
        setUp(rig, watcher, seed);
        for (const Mark &mark : Marks) {
            FaultRule rule = ruleOf(mark.kind);
            rule.rate = mark.kind == FaultKind::PortGone ? 0.002 : 0.02;
            rig.faults->add(rule);
        }
        watcher.runUntilRequests(120);
        QVERIFY2(watcher.wrong.isEmpty(), qPrintable(QStringLiteral("seed %1").arg(seed)));
        QVERIFY(watcher.seen > 10);
        QVERIFY(!rig.faults->ledger().isEmpty());
    }
}

// It comes after the repeat has been answered, and would pass for the answer to the request behind it.
void TstPanelFaults::aReplyLaterThanTheWindowMeetsASecondOne()
{
    for (quint32 seed = 1; seed <= quint32(repeats()); ++seed) {
        PanelRig rig;
        Watcher watcher;
        setUp(rig, watcher, seed);
        const int before = 12 + int(seed % 12);
        watcher.runUntilRequests(before);
        FaultRule rule = ruleOf(FaultKind::Late);
        rule.milliseconds = 200;
        rule.first = rule.last = before;
        rig.faults->add(rule);
        watcher.runUntilRequests(before + 30);
        QVERIFY2(watcher.wrong.isEmpty(), QByteArray::number(seed));
        // It may meet the answer to the repeat on the wire: then both are damaged.
        const Counters &counted = rig.panel->counters().all;
        QVERIFY2(counted.timeouts == 1 && counted.good >= counted.requests - 2, QByteArray::number(seed));
    }
}

// Without guard and late window the very same look finds values of another epoch.
void TstPanelFaults::theCheckWouldNoticeAWrongValue()
{
    PanelRig rig;
    rig.settings.line.isGuarded = false;
    rig.settings.line.lateWindow = 0;
    Watcher watcher;
    setUp(rig, watcher, 8);
    FaultRule rule = ruleOf(FaultKind::Late);
    rule.rate = 0.2;
    rig.faults->add(rule);
    watcher.runUntilRequests(200);
    QVERIFY(!watcher.wrong.isEmpty());
}

QTEST_APPLESS_MAIN(TstPanelFaults)
#include "tst_panel_faults.moc"
