// Several stations on one line, some of them dead; and the port that comes and goes.
#include "tests/panel_rig.h"

#include <QtTest/QtTest>

namespace {

const char *const ThreeStations = "a,7,0,1,10,uint16,,,,r\nb,7,0,2,10,uint16,,,,r\nc,7,0,3,10,uint16,,,,r\n";

/// Good cyclic replies of a station in a span of time.
qint64 goodReplies(PanelRig &rig, int station, qint64 microseconds)
{
    const auto good = [&] { return rig.panel->counters().stations.value(station).good; };
    const qint64 before = good();
    rig.runFor(microseconds);
    return good() - before;
}

PanelRig &several(PanelRig &rig, QList<int> stations)
{
    rig.settings.hasSeveral = true;
    rig.stations = std::move(stations);
    rig.wire.baud = 19200;
    rig.csv = ThreeStations;
    rig.start();
    return rig;
}

} // namespace

class TstPanelStations : public QObject {
    Q_OBJECT

private slots:
    void aStationIsSwitchedOffAfterThreeFailedRequests();
    void itsTagsSayThatItIsOff();
    void aDeadStationCostsTheOthersLessThanATenth();
    void itIsBackAtTheFirstGoodAnswer();
    void aProbeSendsOneFrame();
    void probesBecomeRarer();
    void anExceptionIsASignOfLife();
    void theOnlyStationIsNeverSwitchedOff();
    void theOnlyStationIsSaidNotToAnswer();
    void zeroMeansNever();
    void theVanishedPortMakesEveryValueBad();
    void theReturnedPortMakesThemGoodAgain();
    void reopeningIsTriedMoreAndMoreRarely();
};

void TstPanelStations::aStationIsSwitchedOffAfterThreeFailedRequests()
{
    PanelRig rig;
    several(rig, {1, 3});
    QVERIFY(rig.runUntil([&] { return !rig.heard.stations.isEmpty(); }));
    QCOMPARE(rig.heard.stations.size(), 1);
    QCOMPARE(rig.heard.stations.first().number, 2);
    QCOMPARE(rig.heard.stations.first().isOn, false);
    QCOMPARE(rig.panel->counters().stations.value(2).failed, qint64(3));
    QCOMPARE(rig.panel->counters().stations.value(2).requests, qint64(9));
}

void TstPanelStations::itsTagsSayThatItIsOff()
{
    PanelRig rig;
    several(rig, {1, 3});
    QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 1; }));
    QCOMPARE(qualityText(rig.value(QStringLiteral("b"))), QStringLiteral("bad (station-off)"));
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
}

void TstPanelStations::aDeadStationCostsTheOthersLessThanATenth()
{
    const qint64 tenMinutes = 600 * qint64(PanelRig::Second);
    qint64 withDead = 0, without = 0;
    {
        PanelRig rig;
        several(rig, {1, 3});
        QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 1; }));
        withDead = goodReplies(rig, 1, tenMinutes);
        QVERIFY(rig.panel->counters().stations.value(2).requests > 9);
    }
    {
        PanelRig rig;
        rig.settings.hasSeveral = true;
        rig.stations = {1, 3};
        rig.wire.baud = 19200;
        rig.csv = "a,7,0,1,10,uint16,,,,r\nc,7,0,3,10,uint16,,,,r\n";
        rig.start();
        without = goodReplies(rig, 1, tenMinutes);
    }
    qInfo("good replies of station 1 in 10 minutes: %lld with a dead station beside it, %lld without", withDead,
          without);
    QVERIFY(without > 1000);
    QVERIFY(double(withDead) > 0.9 * double(without));
}

void TstPanelStations::itIsBackAtTheFirstGoodAnswer()
{
    PanelRig rig;
    several(rig, {1, 3});
    QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 1; }));
    rig.slave->addStation(2);
    QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 2; }));
    QCOMPARE(rig.heard.stations.last().number, 2);
    QCOMPARE(rig.heard.stations.last().isOn, true);
    QVERIFY(rig.runPass());
    QCOMPARE(qualityText(rig.value(QStringLiteral("b"))), QStringLiteral("good"));
}

void TstPanelStations::aProbeSendsOneFrame()
{
    PanelRig rig;
    several(rig, {1, 3});
    QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 1; }));
    const auto requests = [&] { return rig.panel->counters().stations.value(2).requests; };
    const qint64 before = requests();
    QVERIFY(rig.runUntil([&] { return requests() > before; }));
    const qint64 pause = rig.panel->stations().value(2).pause;
    rig.runFor(pause / 2);
    QCOMPARE(qualityText(rig.value(QStringLiteral("b"))), QStringLiteral("bad (station-off)"));
    QCOMPARE(requests(), before + 1);
    QCOMPARE(rig.heard.stations.size(), 1);
}

void TstPanelStations::probesBecomeRarer()
{
    PanelRig rig;
    rig.settings.probeFirst = 8000;
    rig.settings.probeMost = 60000;
    several(rig, {1, 3});
    QList<qint64> pauses;
    rig.runUntil([&] {
        const qint64 pause = rig.panel->stations().value(2).pause;
        if (pause > 0 && (pauses.isEmpty() || pauses.last() != pause))
            pauses << pause;
        return false;
    });
    rig.runFor(200 * qint64(PanelRig::Second));
    QCOMPARE(pauses.mid(0, 3), QList<qint64>({8000000, 16000000, 32000000}));
    QCOMPARE(rig.panel->stations().value(2).pause, qint64(60000000));
}

void TstPanelStations::anExceptionIsASignOfLife()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {1, 2};
    rig.csv = "a,7,0,1,1,uint16,,,,r\nb,7,0,2,1,uint16,,,,r\n";
    rig.start();
    FaultRule rule;
    rule.kind = FaultKind::Exception;
    rule.code = 2;
    rule.station = 2;
    rig.faults->add(rule);
    rig.runFor(5 * PanelRig::Second);
    QVERIFY(rig.heard.stations.isEmpty());
    QCOMPARE(qualityText(rig.value(QStringLiteral("b"))), QStringLiteral("bad (exception: illegal data address)"));
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
    QVERIFY(rig.panel->counters().stations.value(2).exceptionCodes.value(2) > 9);
}

void TstPanelStations::theOnlyStationIsNeverSwitchedOff()
{
    PanelRig rig;
    rig.stations = {};
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    rig.runFor(20 * PanelRig::Second);
    QVERIFY(rig.heard.stations.isEmpty());
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("bad (timeout)"));
}

void TstPanelStations::theOnlyStationIsSaidNotToAnswer()
{
    PanelRig rig;
    rig.stations = {};
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runUntil([&] { return !rig.heard.answers.isEmpty(); }));
    QCOMPARE(rig.heard.answers, QList<bool>({false}));
    QCOMPARE(rig.panel->counters().stations.value(1).failed, qint64(3));
    rig.slave->addStation(1);
    QVERIFY(rig.runUntil([&] { return rig.heard.answers.size() == 2; }));
    QCOMPARE(rig.heard.answers.last(), true);
}

void TstPanelStations::zeroMeansNever()
{
    PanelRig rig;
    rig.settings.offAfter = 0;
    several(rig, {1, 3});
    rig.runFor(20 * PanelRig::Second);
    QVERIFY(rig.heard.stations.isEmpty());
}

void TstPanelStations::theVanishedPortMakesEveryValueBad()
{
    PanelRig rig;
    several(rig, {1, 2, 3});
    QVERIFY(rig.runPass());
    rig.addNextFault(FaultKind::PortGone, 3000);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty(); }));
    for (const char *name : {"a", "b", "c"})
        QCOMPARE(qualityText(rig.value(QString::fromLatin1(name))), QStringLiteral("bad (port)"));
    QVERIFY(!rig.value(QStringLiteral("a")).bytes.isEmpty());
}

void TstPanelStations::theReturnedPortMakesThemGoodAgain()
{
    PanelRig rig;
    several(rig, {1, 2, 3});
    FaultRule rule;
    rule.kind = FaultKind::PortGone;
    rule.milliseconds = 3000;
    rule.first = rule.last = 5;
    rig.faults->add(rule);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty() && rig.heard.ports.last(); }));
    rig.runFor(PanelRig::Second);
    for (const char *name : {"a", "b", "c"})
        QCOMPARE(qualityText(rig.value(QString::fromLatin1(name))), QStringLiteral("good"));
    // Nobody was taken for dead because of the port.
    QVERIFY(rig.heard.stations.isEmpty());
    QCOMPARE(rig.panel->counters().reopened, qint64(1));
    // Lost, not to be opened yet (told once), and back.
    QCOMPARE(rig.heard.ports, QList<bool>({false, false, true}));
}

void TstPanelStations::reopeningIsTriedMoreAndMoreRarely()
{
    PanelRig rig;
    rig.settings.line.reopenFirst = 250;
    rig.settings.line.reopenMost = 1000;
    several(rig, {1, 2, 3});
    FaultRule rule;
    rule.kind = FaultKind::PortGone;
    rule.milliseconds = 10000;
    rule.first = rule.last = 5;
    rig.faults->add(rule);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty() && rig.heard.ports.last(); }));
    // The first one was the start.
    const QList<qint64> tries = rig.line->triedOpenings().mid(1);
    QList<qint64> pauses;
    for (int i = 1; i < tries.size(); ++i)
        pauses << (tries.at(i) - tries.at(i - 1)) / 100000;
    QVERIFY(pauses.size() >= 8);
    QCOMPARE(pauses.mid(0, 5), QList<qint64>({5, 10, 10, 10, 10}));
}

QTEST_APPLESS_MAIN(TstPanelStations)
#include "tst_panel_stations.moc"
