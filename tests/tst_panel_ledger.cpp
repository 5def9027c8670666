// The ledger of writes over a driver and a simulated PLC: each write ends in exactly one state.
#include "host/tag_codec.h"
#include "tests/panel_rig.h"

#include <QtTest/QtTest>

class TstPanelLedger : public QObject {
    Q_OBJECT

private slots:
    void aWriteIsConfirmedByReadingItBack();
    void everyKindOfTagIsConfirmed_data();
    void everyKindOfTagIsConfirmed();
    void withoutConfirmationAnAnsweredWriteIsDone();
    void aTagThatCannotBeReadIsDone();
    void aCellThatKeepsItsValueIsReverted();
    void sixWritesToADeadPlcAreOneFailedAndFivePurged();
    void withSeveralStationsOnlyTheDeadStationsWritesArePurged();
    void aNewerWriteOfTheSameCellsSupersedesAQueuedOne();
    void theHeadOfTheQueueIsNotSuperseded();
    void aFullQueueDropsTheWrite();
    void writesToASwitchedOffStationAreDropped();
    void aBroadcastIsDone();
    void anExceptionFailsTheWriteByName();
    void aNewerWriteLeavesAnOlderAnsweredOneDone();
    void writesFailWhenThePortIsGone();
    void aWriteDroppedWithoutAPortIsToldAtOnce();
    void everyWriteIsAccountedForUnderFaults();
    void aTagIsPendingUntilItsWriteHasEnded();
    void aThousandWritesThatEndAtOnceAreAllTold();
    void anotherWriteDuringTheReadingBackLeavesItOpen();
    void aWriteOnlyTagOverTheSameCellsLeavesItOpen();
    void aLossCountsMoreThanASupersededPart();
    void manyRepeatsDoNotKeepAWriteWaitingForThePort();
    void anArrayOfSpecialsIsOneWrite();
    void whatIsNotOpenIsLeftAlone();
    void recordsOfOthersAreNoWrites();
    void theFirstLossIsTheOneThatCounts();
    void aConfirmationThatIsGoneLeavesTheWriteDone();
};

namespace {

RW_VAR queuedRecord(int connectNo, int id, int count = 1)
{
    RW_VAR record;
    record.connectNo = connectNo;
    record.varId = id;
    record.count = count;
    return record;
}

QStringList statesOf(const QList<WriteEntry> &entries)
{
    QStringList states;
    for (const WriteEntry &entry : entries)
        states << QString::fromLatin1("%1 %2").arg(entry.id).arg(writeStateName(entry.state));
    return states;
}

} // namespace

void TstPanelLedger::aWriteIsConfirmedByReadingItBack()
{
    PanelRig rig;
    rig.csv = "speed,7,100,,1,uint16,,,,rw\n";
    rig.start();
    rig.write(QStringLiteral("speed"), QStringLiteral("1234"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("confirmed")});
    QCOMPARE(rig.slave->memory(1)->holdingRegister(100), 1234);
    QCOMPARE(rig.shown(QStringLiteral("speed")), QStringLiteral("1234 good"));
}

void TstPanelLedger::everyKindOfTagIsConfirmed_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<bool>("several");
    QTest::addColumn<QString>("text");
    const struct {
        const char *name, *row, *text;
    } kinds[] = {
        {"coil", "t,1,7,1,1,bit,,,,rw\n", "1"},
        {"coils over a byte", "t,2,2045,1,6,bit,,,,rw\n", "1,0,1,1,0,1"},
        {"bit in word", "t,15,10.3,1,1,bit,,,,rw\n", "1"},
        {"bits in two words", "t,16,20.14,1,4,bit,,,,rw\n", "1,1,0,1"},
        {"words across a boundary", "t,8,254,1,4,int16,,,,rw\n", "-1,2,-3,4"},
        {"one word", "t,100,7,1,1,int16,BADC,,,rw\n", "-2"},
        {"more words than a block", "t,7,0,1,40,uint16,,,,rw\n",
         "0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,33,34,35,36,37,38,"
         "39"},
        {"pair", "t,12,120,1,2,int32,CDAB,,,rw\n", "-70000,70000"},
        {"float in words", "t,9,10,1,1,float32,DCBA,,,rw\n", "1.5"},
        {"special across a boundary", "t,13,255,1,2,uint32,,,,rw\n", "2882400001,1"},
        {"pairs on both sides of 256", "t,14,252,1,4,uint32,,,,rw\n", "65536,131072,196608,262144"},
        {"bit of 102", "t,102,8.15,1,1,bit,,,,rw\n", "0"},
    };
    for (const auto &kind : kinds) {
        QTest::addRow("%s, one PLC", kind.name) << QByteArray(kind.row) << false << QString::fromLatin1(kind.text);
        QTest::addRow("%s, several", kind.name) << QByteArray(kind.row) << true << QString::fromLatin1(kind.text);
    }
}

void TstPanelLedger::everyKindOfTagIsConfirmed()
{
    QFETCH(QByteArray, row);
    QFETCH(bool, several);
    QFETCH(QString, text);
    for (const bool isRemote : {false, true}) {
        PanelRig rig;
        rig.settings.hasSeveral = several;
        rig.settings.isRemote = isRemote;
        rig.csv = row;
        rig.start();
        rig.write(QStringLiteral("t"), text);
        QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
        QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("confirmed")});
        QVERIFY(rig.runPass());
        const QString shown =
            text.contains(QLatin1Char(','))
                ? QLatin1Char('[') + QString(text).replace(QLatin1Char(','), QLatin1Char(' ')) + QLatin1Char(']')
                : text;
        QCOMPARE(rig.shown(QStringLiteral("t")), shown + QStringLiteral(" good"));
    }
}

void TstPanelLedger::withoutConfirmationAnAnsweredWriteIsDone()
{
    PanelRig rig;
    rig.settings.confirmWrites = false;
    rig.csv = "speed,7,100,,1,uint16,,,,rw\n";
    rig.start();
    rig.write(QStringLiteral("speed"), QStringLiteral("7"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("done")});
    QCOMPARE(rig.panel->counters().lists[ServedOnce].requests, qint64(0));
}

void TstPanelLedger::aTagThatCannotBeReadIsDone()
{
    PanelRig rig;
    rig.csv = "speed,7,100,,1,uint16,,,,w\n";
    rig.start();
    rig.write(QStringLiteral("speed"), QStringLiteral("7"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("done")});
}

void TstPanelLedger::aCellThatKeepsItsValueIsReverted()
{
    PanelRig rig;
    rig.csv = "speed,7,100,,1,uint16,,,,rw\n";
    rig.start();
    rig.slave->memory(1)->setHoldingRegister(100, 5);
    rig.slave->memory(1)->addStuckCell(100);
    rig.write(QStringLiteral("speed"), QStringLiteral("7"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("reverted")});
    QCOMPARE(rig.shown(QStringLiteral("speed")), QStringLiteral("5 good"));
}

void TstPanelLedger::sixWritesToADeadPlcAreOneFailedAndFivePurged()
{
    PanelRig rig;
    rig.stations = {};
    rig.csv = "a,7,0,,1,uint16,,,,rw\nb,7,10,,1,uint16,,,,rw\nc,8,0,,1,uint16,,,,rw\n"
              "d,1,0,,1,bit,,,,rw\ne,13,200,,1,uint32,,,,rw\nf,15,3.1,,1,bit,,,,rw\n";
    rig.start();
    for (const char *name : {"a", "b", "c", "d", "e", "f"})
        rig.write(QString::fromLatin1(name), QStringLiteral("1"));
    rig.runFor(5 * PanelRig::Second);
    QCOMPARE(rig.endedStates(),
             QStringList({QStringLiteral("failed"), QStringLiteral("purged"), QStringLiteral("purged"),
                          QStringLiteral("purged"), QStringLiteral("purged"), QStringLiteral("purged")}));
    QVERIFY(rig.heard.writes.first().reason == Reason::Timeout);
    QCOMPARE(rig.panel->writes().hasOpen(), false);
    QCOMPARE(rig.panel->counters().lists[ServedWrite].requests, qint64(3));
}

void TstPanelLedger::withSeveralStationsOnlyTheDeadStationsWritesArePurged()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {2};
    rig.csv = "a,7,0,1,1,uint16,,,,rw\nb,7,0,2,1,uint16,,,,rw\nc,7,5,1,1,uint16,,,,rw\nd,7,5,2,1,uint16,,,,rw\n";
    rig.start();
    for (const char *name : {"a", "b", "c", "d"})
        rig.write(QString::fromLatin1(name), QStringLiteral("1"));
    rig.runFor(3 * PanelRig::Second);
    QCOMPARE(rig.endedStates(), QStringList({QStringLiteral("failed"), QStringLiteral("confirmed"),
                                             QStringLiteral("purged"), QStringLiteral("confirmed")}));
}

void TstPanelLedger::aNewerWriteOfTheSameCellsSupersedesAQueuedOne()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,rw\nb,7,10,,1,uint16,,,,rw\n";
    rig.start();
    rig.write(QStringLiteral("a"), QStringLiteral("1"));
    rig.write(QStringLiteral("b"), QStringLiteral("2"));
    rig.write(QStringLiteral("b"), QStringLiteral("3"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 3; }));
    QCOMPARE(rig.endedStates(),
             QStringList({QStringLiteral("confirmed"), QStringLiteral("superseded"), QStringLiteral("confirmed")}));
    QCOMPARE(rig.heard.writes.first().id, 2);
    QCOMPARE(rig.slave->memory(1)->holdingRegister(10), 3);
}

void TstPanelLedger::theHeadOfTheQueueIsNotSuperseded()
{
    PanelRig rig;
    rig.settings.confirmWrites = false;
    rig.csv = "a,7,0,,1,uint16,,,,rw\n";
    rig.start();
    for (const char *text : {"1", "2", "3"})
        rig.write(QStringLiteral("a"), QString::fromLatin1(text));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 3; }));
    QCOMPARE(rig.endedStates(),
             QStringList({QStringLiteral("done"), QStringLiteral("superseded"), QStringLiteral("done")}));
    QCOMPARE(rig.slave->memory(1)->holdingRegister(0), 3);
}

void TstPanelLedger::aFullQueueDropsTheWrite()
{
    PanelRig rig;
    rig.csv = "many,1,0,,1024,bit,,,,w\none,7,10,,1,uint16,,,,rw\n";
    rig.start();
    QStringList bits;
    for (int i = 0; i < 1024; ++i)
        bits << QStringLiteral("1");
    const int many = rig.write(QStringLiteral("many"), bits.join(QLatin1Char(',')));
    const int one = rig.write(QStringLiteral("one"), QStringLiteral("1"));
    rig.panel->step();
    QCOMPARE(writeStateName(rig.stateOf(one)), QStringLiteral("dropped-queue-full"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(writeStateName(rig.stateOf(many)), QStringLiteral("done"));
    QVERIFY(rig.slave->memory(1)->holdingRegister(10) != 1);
}

void TstPanelLedger::writesToASwitchedOffStationAreDropped()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {2};
    rig.csv = "a,7,0,1,1,uint16,,,,rw\nb,7,0,2,1,uint16,,,,rw\n";
    rig.start();
    QVERIFY(rig.runUntil([&] { return !rig.heard.stations.isEmpty(); }));
    const int id = rig.write(QStringLiteral("a"), QStringLiteral("1"));
    rig.write(QStringLiteral("b"), QStringLiteral("1"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(writeStateName(rig.stateOf(id)), QStringLiteral("dropped-station-off"));
    QCOMPARE(rig.endedStates().last(), QStringLiteral("confirmed"));
}

void TstPanelLedger::aBroadcastIsDone()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {1, 2};
    rig.csv = "all,7,50,0,1,uint16,,,,w\na,7,0,1,1,uint16,,,,rw\n";
    rig.start();
    rig.write(QStringLiteral("all"), QStringLiteral("77"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("done")});
    QCOMPARE(rig.slave->memory(1)->holdingRegister(50), 77);
    QCOMPARE(rig.slave->memory(2)->holdingRegister(50), 77);
}

void TstPanelLedger::anExceptionFailsTheWriteByName()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,w\n";
    rig.start();
    rig.addFault(FaultKind::Exception, 0, 3);
    rig.write(QStringLiteral("a"), QStringLiteral("1"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("failed")});
    QVERIFY(rig.heard.writes.first().reason == Reason::Exception);
    QCOMPARE(rig.heard.writes.first().exceptionCode, 3);
}

void TstPanelLedger::aNewerWriteLeavesAnOlderAnsweredOneDone()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,rw\n";
    rig.start();
    rig.write(QStringLiteral("a"), QStringLiteral("1"));
    rig.write(QStringLiteral("a"), QStringLiteral("2"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(rig.endedStates(), QStringList({QStringLiteral("done"), QStringLiteral("confirmed")}));
}

void TstPanelLedger::writesFailWhenThePortIsGone()
{
    PanelRig rig;
    rig.settings.retries = 1;
    rig.csv = "a,7,0,,1,uint16,,,,rw\nb,7,9,,1,uint16,,,,rw\n";
    rig.start();
    QVERIFY(rig.runPass());
    rig.addNextFault(FaultKind::PortGone, 20000);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty(); }));
    rig.write(QStringLiteral("a"), QStringLiteral("1"));
    rig.write(QStringLiteral("b"), QStringLiteral("1"));
    const qint64 requests = rig.panel->counters().all.requests;
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(rig.endedStates(), QStringList({QStringLiteral("failed"), QStringLiteral("purged")}));
    QVERIFY(rig.heard.writes.first().reason == Reason::Port);
    QCOMPARE(rig.panel->counters().all.requests, requests);
    QVERIFY(rig.runUntil([&] { return rig.heard.ports.last(); }));
    QVERIFY(rig.runPass());
    QVERIFY(rig.slave->memory(1)->holdingRegister(0) != 1);
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
}

// Otherwise the write behind it, of another tag, would seem to have taken its place.
void TstPanelLedger::aWriteDroppedWithoutAPortIsToldAtOnce()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {2};
    rig.csv = "a,7,0,1,1,uint16,,,,rw\nb,7,0,2,1,uint16,,,,rw\n";
    rig.start();
    QVERIFY(rig.runUntil([&] { return !rig.heard.stations.isEmpty(); }));
    rig.plcEnd->takePortAway(rig.line->now(), 20000);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty(); }));
    const int dropped = rig.write(QStringLiteral("a"), QStringLiteral("1"));
    rig.panel->step();
    QCOMPARE(writeStateName(rig.stateOf(dropped)), QStringLiteral("dropped-station-off"));
    rig.write(QStringLiteral("b"), QStringLiteral("1"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(rig.endedStates(), QStringList({QStringLiteral("dropped-station-off"), QStringLiteral("failed")}));
}

// The sum of all end states is the number of writes, whatever happens on the line.
void TstPanelLedger::everyWriteIsAccountedForUnderFaults()
{
    for (quint32 seed = 1; seed <= 20; ++seed) {
        PanelRig rig;
        rig.seed = seed;
        rig.settings.hasSeveral = seed % 2;
        rig.stations = {1, 2};
        rig.csv = "a,7,0,1,1,uint16,,,,rw\nb,8,250,1,12,uint16,,,,rw\nc,2,2040,1,12,bit,,,,rw\n"
                  "d,13,254,1,4,uint32,,,,rw\ne,15,5.2,1,1,bit,,,,rw\n";
        if (rig.settings.hasSeveral)
            rig.csv += "f,7,0,2,1,uint16,,,,rw\ng,7,3,9,1,uint16,,,,rw\n";
        rig.start();
        for (const FaultKind kind :
             {FaultKind::Drop, FaultKind::CrcSwapped, FaultKind::Truncated, FaultKind::Exception}) {
            FaultRule rule;
            rule.kind = kind;
            rule.rate = 0.15;
            rig.faults->add(rule);
        }
        int begun = 0;
        for (int round = 0; round < 30; ++round) {
            for (int tag = 0; tag < rig.panel->tags().size(); ++tag) {
                if ((quint32(round + tag) * 2654435761u >> (seed % 13)) % 3)
                    continue;
                rig.panel->write(tag, QByteArray(hostBytes(rig.panel->tags().at(tag)), char(round % 2)));
                ++begun;
            }
            rig.runFor(200000);
        }
        QVERIFY(rig.runUntil([&] { return !rig.panel->writes().hasOpen(); }));
        QCOMPARE(rig.heard.writes.size(), begun);
        QSet<int> ids;
        for (const WriteEntry &entry : qAsConst(rig.heard.writes)) {
            QVERIFY(!isOpenState(entry.state));
            ids.insert(entry.id);
        }
        QCOMPARE(ids.size(), begun);
        QCOMPARE(rig.panel->writes().begun(), qint64(begun));
    }
}

void TstPanelLedger::aTagIsPendingUntilItsWriteHasEnded()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,rw\n";
    rig.start();
    QVERIFY(rig.runPass());
    rig.write(QStringLiteral("a"), QStringLiteral("5"));
    QCOMPARE(rig.value(QStringLiteral("a")).isPending, true);
    QVERIFY(qualityText(rig.value(QStringLiteral("a"))).endsWith(QStringLiteral("pending")));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.value(QStringLiteral("a")).isPending, false);
}

void TstPanelLedger::aThousandWritesThatEndAtOnceAreAllTold()
{
    PanelRig rig;
    rig.stations = {};
    for (int i = 0; i < 1024; ++i)
        rig.csv += "t" + QByteArray::number(i) + ",7," + QByteArray::number(2 * i) + ",,1,uint16,,,,w\n";
    rig.start();
    for (int tag = 0; tag < 1024; ++tag)
        rig.panel->write(tag, QByteArray(2, '\1'));
    QVERIFY(rig.runUntil([&] { return !rig.panel->writes().hasOpen(); }));
    QCOMPARE(rig.heard.writes.size(), 1024);
    QCOMPARE(rig.endedStates().count(QStringLiteral("failed")), 1);
    QCOMPARE(rig.endedStates().count(QStringLiteral("purged")), 1023);
    for (const TagValue &value : rig.panel->values())
        QCOMPARE(value.isPending, false);
}

// Its value shows in the image from its frame on, also when the PLC never gets it.
void TstPanelLedger::anotherWriteDuringTheReadingBackLeavesItOpen()
{
    PanelRig rig;
    rig.settings.retries = 0;
    rig.csv = "big,7,0,,40,uint16,,,,rw\nfirst,7,0,,1,uint16,,,,w\n";
    rig.start();
    QByteArray ones;
    for (int i = 0; i < 40; ++i)
        ones += QByteArray("\1\0", 2);
    const int big = rig.panel->write(0, ones);
    QVERIFY(rig.runUntil([&] { return rig.panel->counters().lists[ServedOnce].good == 1; }));
    rig.addNextFault(FaultKind::Drop);
    const int first = rig.write(QStringLiteral("first"), QStringLiteral("99"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(writeStateName(rig.stateOf(first)), QStringLiteral("failed"));
    QCOMPARE(writeStateName(rig.stateOf(big)), QStringLiteral("done"));
    QVERIFY(!rig.shown(QStringLiteral("big")).contains(QStringLiteral("99")));
}

void TstPanelLedger::aWriteOnlyTagOverTheSameCellsLeavesItOpen()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,rw\nb,7,0,,1,uint16,,,,w\n";
    rig.start();
    const int a = rig.write(QStringLiteral("a"), QStringLiteral("1"));
    const int b = rig.write(QStringLiteral("b"), QStringLiteral("2"));
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 2; }));
    QCOMPARE(writeStateName(rig.stateOf(a)), QStringLiteral("done"));
    QCOMPARE(writeStateName(rig.stateOf(b)), QStringLiteral("done"));
    QCOMPARE(rig.slave->memory(1)->holdingRegister(0), 2);
}

void TstPanelLedger::aLossCountsMoreThanASupersededPart()
{
    PanelRig rig;
    rig.csv = "x,7,100,,1,uint16,,,,w\nbits,1,0,,3,bit,,,,w\nlast,1,2,,1,bit,,,,w\n";
    rig.start();
    rig.write(QStringLiteral("x"), QStringLiteral("1"));
    const int bits = rig.write(QStringLiteral("bits"), QStringLiteral("1,1,1"));
    rig.write(QStringLiteral("last"), QStringLiteral("0"));
    QVERIFY(rig.runUntil([&] { return rig.panel->counters().lists[ServedWrite].good == 1; }));
    rig.addFault(FaultKind::Exception, 0, 4);
    QVERIFY(rig.runUntil([&] { return rig.heard.writes.size() == 3; }));
    QCOMPARE(writeStateName(rig.stateOf(bits)), QStringLiteral("failed"));
}

void TstPanelLedger::manyRepeatsDoNotKeepAWriteWaitingForThePort()
{
    PanelRig rig;
    rig.settings.retries = 100;
    rig.csv = "a,7,0,,1,uint16,,,,rw\n";
    rig.start();
    FaultRule rule;
    rule.kind = FaultKind::PortGone;
    rule.milliseconds = 20000;
    rule.first = rule.last = 3;
    rig.faults->add(rule);
    QVERIFY(rig.runUntil([&] { return !rig.heard.ports.isEmpty(); }));
    const qint64 begun = rig.line->now();
    rig.write(QStringLiteral("a"), QStringLiteral("1"));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("failed")});
    QVERIFY(rig.line->now() - begun < PanelRig::Second);
    QVERIFY(!rig.heard.writes.first().isSent || rig.heard.writes.first().reason == Reason::Port);
}

// The driver's reads of such an array overlap with one PLC; its writes do not.
void TstPanelLedger::anArrayOfSpecialsIsOneWrite()
{
    PanelRig rig;
    rig.csv = "counts,13,210,,20,uint32,,,,rw\n";
    rig.start();
    QStringList numbers;
    for (int i = 0; i < 20; ++i)
        numbers << QString::number(100000 + i);
    rig.write(QStringLiteral("counts"), numbers.join(QLatin1Char(',')));
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("confirmed")});
    QCOMPARE(rig.panel->counters().lists[ServedWrite].requests, qint64(1));
    QCOMPARE(rig.shown(QStringLiteral("counts")),
             QLatin1Char('[') + numbers.join(QLatin1Char(' ')) + QStringLiteral("] good"));
}

void TstPanelLedger::whatIsNotOpenIsLeftAlone()
{
    Ledger ledger;
    ledger.sent(queuedRecord(WriteRecord, 7));
    ledger.readBack(7, "x");
    ledger.end(7, WriteState::Done, 5);
    QCOMPARE(ledger.openEntry(7), nullptr);
    QVERIFY(ledger.takeEnded().isEmpty());
    QCOMPARE(ledger.count(WriteState::Done), qint64(0));
}

void TstPanelLedger::recordsOfOthersAreNoWrites()
{
    Ledger ledger;
    const int id = ledger.begin(0, "x", 0);
    const RW_VAR others = queuedRecord(ConfirmRecord, id, 9), own = queuedRecord(WriteRecord, id, 2);
    ledger.queued(id, 2, {others, own}, 0);
    QCOMPARE(ledger.openEntry(id)->left, 2);
    ledger.sent(others);
    QVERIFY(!ledger.openEntry(id)->isSent);
    ledger.afterAnswer(&others, true, false, Reason::Timeout, 0, {own}, {}, 1);
    QCOMPARE(ledger.openEntry(id)->left, 2);
    ledger.afterAnswer(&own, true, false, Reason::Timeout, 0, {}, {}, 2);
    QCOMPARE(statesOf(ledger.takeEnded()), QStringList{QStringLiteral("1 failed")});
}

void TstPanelLedger::theFirstLossIsTheOneThatCounts()
{
    Ledger ledger;
    const int id = ledger.begin(0, "x", 0);
    const RW_VAR record = queuedRecord(WriteRecord, id);
    // One of three elements found no room, one failed, one was given up with it.
    ledger.queued(id, 3, {record, record}, 0);
    ledger.afterAnswer(&record, true, false, Reason::Timeout, 0, {}, {}, 1);
    const QList<WriteEntry> ended = ledger.takeEnded();
    QCOMPARE(statesOf(ended), QStringList{QStringLiteral("1 dropped-queue-full")});
    QVERIFY(ended.first().reason == Reason::None);
}

void TstPanelLedger::aConfirmationThatIsGoneLeavesTheWriteDone()
{
    Ledger ledger;
    const int first = ledger.begin(0, "x", 0);
    ledger.queued(first, 1, {queuedRecord(WriteRecord, first)}, 0);
    const int second = ledger.begin(1, "y", 0);
    const RW_VAR left = queuedRecord(WriteRecord, second);
    ledger.queued(second, 1, {queuedRecord(WriteRecord, first), left}, 0);
    const RW_VAR served = queuedRecord(WriteRecord, first);
    ledger.afterAnswer(&served, true, true, Reason::None, 0, {left}, {}, 1);
    QCOMPARE(ledger.takeAnswered(), QList<int>{first});
    ledger.startConfirming(first);
    ledger.afterNext({left}, {queuedRecord(ConfirmRecord, first)}, 2);
    QVERIFY(ledger.takeEnded().isEmpty());
    ledger.afterNext({left}, {queuedRecord(ConfirmRecord, second)}, 3);
    QCOMPARE(statesOf(ledger.takeEnded()), QStringList{QStringLiteral("1 done")});
    QVERIFY(!ledger.hasConfirming());
}

QTEST_APPLESS_MAIN(TstPanelLedger)
#include "tst_panel_ledger.moc"
