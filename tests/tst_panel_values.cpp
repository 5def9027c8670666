// What a panel knows of its tags: quality, age, change; and how it finds a tag in the driver's blocks.
#include "tests/panel_rig.h"

#include <QtTest/QtTest>

namespace {

RW_VAR block(int devType, int address, int count, int station = 1)
{
    RW_VAR record;
    record.devType = devType;
    record.address = address;
    record.count = count;
    record.station = station;
    return record;
}

FaultRule from(FaultKind kind, qint64 first)
{
    FaultRule rule;
    rule.kind = kind;
    rule.first = first;
    rule.code = 2;
    rule.at = 6;
    return rule;
}

} // namespace

class TstPanelValues : public QObject {
    Q_OBJECT

private slots:
    void aTagIsBadUntilItHasBeenRead();
    void theReasonOfAFailureIsNamed_data();
    void theReasonOfAFailureIsNamed();
    void theLastValueStaysWithABadQuality();
    void aValueGrowsStale();
    void ageIsThatOfTheAnswer();
    void onlyChangesAreTold();
    void aFailedWriteDoesNotShow();
    void aTagOverSeveralBlocksIsAsOldAsTheOldest();
    void aTagOverSeveralBlocksWaitsForAllAfterAWrite();
    void cellsOfTags_data();
    void cellsOfTags();
    void cellsOfBlocks();
    void aTagFindsItsBlocks();
    void aTagThatNoBlockCoversIsFound();
    void oneShotReadsAreTold();
    void anUnansweredOneShotReadSaysSo();
    void aOneShotReadOfASwitchedOffStationSaysSo();
    void aTagOverSeveralBlocksIsStaleWhenOneIsOld();
    void aWriteQueuedDuringAFailureDoesNotShow();
    void aTagOfAReturnedStationIsReadAnew();
    void passesAreCounted();
};

void TstPanelValues::aTagIsBadUntilItHasBeenRead()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("bad (never-read)"));
    QCOMPARE(rig.value(QStringLiteral("a")).readAt, qint64(-1));
}

void TstPanelValues::theReasonOfAFailureIsNamed_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<QString>("quality");
    QTest::newRow("drop") << int(FaultKind::Drop) << QStringLiteral("bad (timeout)");
    QTest::newRow("crc") << int(FaultKind::CrcSwapped) << QStringLiteral("bad (crc)");
    QTest::newRow("truncated") << int(FaultKind::Truncated) << QStringLiteral("bad (length)");
    QTest::newRow("extra bytes") << int(FaultKind::ExtraAfter) << QStringLiteral("bad (length)");
    QTest::newRow("wrong station") << int(FaultKind::WrongStation) << QStringLiteral("bad (timeout)");
    QTest::newRow("exception") << int(FaultKind::Exception) << QStringLiteral("bad (exception: illegal data address)");
}

void TstPanelValues::theReasonOfAFailureIsNamed()
{
    QFETCH(int, fault);
    QFETCH(QString, quality);
    PanelRig rig;
    rig.csv = "a,7,0,,10,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runPass());
    rig.faults->add(from(FaultKind(fault), rig.faults->requests()));
    QVERIFY(rig.runPass());
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), quality);
    rig.faults->clear();
    QVERIFY(rig.runPass());
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
}

void TstPanelValues::theLastValueStaysWithABadQuality()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    rig.slave->memory(1)->setHoldingRegister(0, 321);
    QVERIFY(rig.runPass());
    rig.faults->add(from(FaultKind::Drop, 0));
    QVERIFY(rig.runPass());
    QCOMPARE(rig.shown(QStringLiteral("a")), QStringLiteral("321 bad (timeout)"));
}

void TstPanelValues::aValueGrowsStale()
{
    PanelRig rig;
    rig.settings.staleAfter = 2000;
    rig.settings.retries = 100;
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runPass());
    rig.faults->add(from(FaultKind::Drop, 0));
    rig.runFor(1700000);
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
    rig.runFor(900000);
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("uncertain (stale)"));
}

void TstPanelValues::ageIsThatOfTheAnswer()
{
    PanelRig rig;
    rig.wire.baud = 9600;
    rig.settings.line.baud = 9600;
    rig.csv = "a,7,0,,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runPass());
    // 8 bytes out, 4010 us of silence, 7 bytes back at 11 bits of 104.17 us, and the silence behind them.
    const qint64 readAt = rig.value(QStringLiteral("a")).readAt;
    QVERIFY2(readAt >= 4010 + 9166 + 4010 + 8020 && readAt <= 4010 + 9167 + 4011 + 8021 + 4011 + 10,
             QByteArray::number(readAt));
}

void TstPanelValues::onlyChangesAreTold()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,r\nb,7,1,,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runPass());
    QCOMPARE(rig.heard.values, QList<int>({0, 1}));
    rig.runFor(PanelRig::Second);
    QCOMPARE(rig.heard.values.size(), 2);
    const int was = rig.slave->memory(1)->holdingRegister(1);
    rig.slave->memory(1)->setHoldingRegister(1, quint16(was + 1));
    QVERIFY(rig.runPass());
    QCOMPARE(rig.heard.values, QList<int>({0, 1, 1}));
}

// The driver's image shows a written value at once, also one that the PLC never got.
void TstPanelValues::aFailedWriteDoesNotShow()
{
    PanelRig rig;
    rig.csv = "a,7,0,,1,uint16,,,,rw\n";
    rig.start();
    rig.slave->memory(1)->setHoldingRegister(0, 5);
    QVERIFY(rig.runPass());
    rig.faults->add(from(FaultKind::Drop, rig.faults->requests()));
    rig.write(QStringLiteral("a"), QStringLiteral("6"));
    rig.slave->memory(1)->addStuckCell(0);
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QCOMPARE(rig.endedStates(), QStringList{QStringLiteral("failed")});
    rig.runFor(PanelRig::Second);
    QVERIFY(rig.shown(QStringLiteral("a")).startsWith(QStringLiteral("5 ")));
    rig.faults->clear();
    QVERIFY(rig.runPass());
    QCOMPARE(rig.shown(QStringLiteral("a")), QStringLiteral("5 good"));
}

void TstPanelValues::aTagOverSeveralBlocksIsAsOldAsTheOldest()
{
    PanelRig rig;
    rig.settings.maxBlockLen = 4;
    rig.csv = "a,7,0,,10,uint16,,,,r\n";
    rig.start();
    QCOMPARE(rig.panel->plan().blocksOfTag(0).size(), 3);
    rig.panel->step();
    rig.panel->step();
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("bad (never-read)"));
    const qint64 second = rig.line->now();
    rig.panel->step();
    QCOMPARE(qualityText(rig.value(QStringLiteral("a"))), QStringLiteral("good"));
    QVERIFY(rig.value(QStringLiteral("a")).readAt < second);
    rig.faults->add(from(FaultKind::Drop, rig.faults->requests()));
    QVERIFY(rig.runUntil([&] { return rig.value(QStringLiteral("a")).quality == Quality::Bad; }));
}

void TstPanelValues::aTagOverSeveralBlocksWaitsForAllAfterAWrite()
{
    PanelRig rig;
    rig.settings.maxBlockLen = 4;
    rig.csv = "a,7,0,,8,uint16,,,,r\nb,7,1,,1,uint16,,,,rw\n";
    rig.settings.confirmWrites = false;
    rig.start();
    for (int number = 0; number < 8; ++number)
        rig.slave->memory(1)->setHoldingRegister(number, quint16(number));
    rig.slave->memory(1)->addStuckCell(1);
    QVERIFY(rig.runPass());
    // Mirrored into the image, and never in the PLC.
    rig.write(QStringLiteral("b"), QStringLiteral("99"));
    for (int i = 0; i < 30; ++i) {
        rig.panel->step();
        QVERIFY(!rig.shown(QStringLiteral("a")).contains(QStringLiteral("99")));
    }
    QCOMPARE(rig.shown(QStringLiteral("a")), QStringLiteral("[0 1 2 3 4 5 6 7] good"));
}

void TstPanelValues::cellsOfTags_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<int>("base");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::newRow("bits, octal") << QByteArray("t,0,17,,3,bit,,,,r\n") << 0 << 15 << 17;
    QTest::newRow("words") << QByteArray("t,8,10,,4,uint16,,,,r\n") << 8 << 10 << 13;
    QTest::newRow("float in words") << QByteArray("t,7,10,,2,float32,,,,r\n") << 7 << 10 << 13;
    QTest::newRow("pairs") << QByteArray("t,14,10,,2,int32,,,,r\n") << 8 << 10 << 13;
    QTest::newRow("specials") << QByteArray("t,13,210,,3,int32,,,,r\n") << 13 << 10 << 12;
    QTest::newRow("bits in words") << QByteArray("t,17,3.14,,4,bit,,,,r\n") << 11 << 3 << 4;
    QTest::newRow("bit of 102") << QByteArray("t,102,3.15,,1,bit,,,,r\n") << 100 << 3 << 3;
}

void TstPanelValues::cellsOfTags()
{
    QFETCH(QByteArray, row);
    PanelRig rig;
    rig.csv = row;
    rig.start();
    const CellRange range = cellsOfTag(rig.panel->tags().first());
    QTEST(range.base, "base");
    QTEST(range.first, "first");
    QTEST(range.last, "last");
    QCOMPARE(range.station, 1);
}

void TstPanelValues::cellsOfBlocks()
{
    const CellRange bits = cellsOfBlock(block(2, 16, 3));
    QCOMPARE(bits.first, 16);
    QCOMPARE(bits.last, 39);
    QCOMPARE(cellsOfBlock(block(13, 5, 3)).last, 7);
    QCOMPARE(cellsOfBlock(block(7, 5, 3)).last, 7);
}

void TstPanelValues::aTagFindsItsBlocks()
{
    PanelRig rig;
    rig.csv = "a,7,4,,8,uint16,,,,r\nb,7,11,,1,uint16,,,,w\n";
    rig.start();
    const BlockMap map({block(7, 0, 6), block(7, 6, 6), block(8, 0, 20), block(7, 4, 8, 2)}, rig.panel->tags());
    QCOMPARE(map.blocksOfTag(0), QVector<int>({0, 1}));
    QCOMPARE(map.isCovered(0), true);
    QCOMPARE(map.blocksOfTag(1), QVector<int>());
    QCOMPARE(map.tagsOfBlock(2), QVector<int>());
    QCOMPARE(map.blockOf(block(7, 6, 6)), 1);
    QCOMPARE(map.blockOf(block(7, 6, 5)), -1);
    QCOMPARE(map.blockOf(block(7, 6, 6, 2)), -1);
}

void TstPanelValues::aTagThatNoBlockCoversIsFound()
{
    PanelRig rig;
    rig.csv = "a,7,4,,8,uint16,,,,r\n";
    rig.start();
    QCOMPARE(BlockMap({block(7, 4, 3), block(7, 8, 8)}, rig.panel->tags()).isCovered(0), false);
    QCOMPARE(BlockMap({block(7, 8, 8), block(7, 4, 4)}, rig.panel->tags()).isCovered(0), true);
    QCOMPARE(BlockMap({}, rig.panel->tags()).isCovered(0), false);
}

void TstPanelValues::oneShotReadsAreTold()
{
    PanelRig rig;
    rig.csv = "a,8,254,,4,uint16,,,,r\n";
    rig.start();
    rig.panel->setPolling(false);
    const int id = rig.panel->readCells(8, QStringLiteral("254"), 1, 4);
    QVERIFY(rig.runUntil([&] { return rig.heard.reads.contains(id); }));
    QCOMPARE(rig.heard.reads.value(id), true);
    QCOMPARE(rig.panel->counters().lists[ServedCyclic].requests, qint64(0));
    QCOMPARE(rig.panel->counters().lists[ServedOnce].requests, qint64(2));
    QVERIFY(rig.panel->isIdle());
}

void TstPanelValues::anUnansweredOneShotReadSaysSo()
{
    PanelRig rig;
    rig.stations = {};
    rig.csv = "a,8,254,,4,uint16,,,,r\n";
    rig.start();
    rig.panel->setPolling(false);
    const int id = rig.panel->readCells(8, QStringLiteral("254"), 1, 4);
    QVERIFY(rig.runUntil([&] { return rig.heard.reads.contains(id); }));
    QCOMPARE(rig.heard.reads.value(id), false);
    QVERIFY(rig.panel->isIdle());
}

// The driver drops it without a callback.
void TstPanelValues::aOneShotReadOfASwitchedOffStationSaysSo()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.settings.offAfter = 1;
    rig.settings.probeFirst = rig.settings.probeMost = 3600000;
    rig.csv = "a,7,1,1,1,uint16,,,,r\nb,7,1,2,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runUntil([&] { return !rig.heard.stations.isEmpty(); }));
    QCOMPARE(rig.heard.stations.first().number, 2);
    QVERIFY(!rig.heard.stations.first().isOn);
    const int off = rig.panel->readCells(7, QStringLiteral("5"), 2, 1);
    const int on = rig.panel->readCells(7, QStringLiteral("5"), 1, 1);
    QVERIFY(rig.runUntil([&] { return rig.heard.reads.size() == 2; }));
    QCOMPARE(rig.heard.reads.value(off), false);
    QCOMPARE(rig.heard.reads.value(on), true);
}

void TstPanelValues::aTagOverSeveralBlocksIsStaleWhenOneIsOld()
{
    PanelRig rig;
    rig.settings.maxBlockLen = 2;
    rig.settings.staleAfter = 50;
    rig.csv = "a,7,0,,4,uint16,,,,r\n";
    rig.start();
    // Each answer takes longer than a value stays fresh: when the second block is read, the first is too old.
    rig.addFault(FaultKind::Delay, 60);
    QVERIFY(rig.runPass());
    QVERIFY2(rig.shown(QStringLiteral("a")).endsWith(QLatin1String(" uncertain (stale)")),
             qPrintable(rig.shown(QStringLiteral("a"))));
    QCOMPARE(rig.heard.values, QList<int>{0});
}

// The first block has no answer, a write over both blocks is queued and shows in the image, then the repeat is
// answered.
void TstPanelValues::aWriteQueuedDuringAFailureDoesNotShow()
{
    PanelRig rig;
    rig.csv = "big,7,0,,40,uint16,,,,rw\n";
    rig.start();
    for (int number = 0; number < 40; ++number)
        rig.slave->memory(1)->setHoldingRegister(number, 5);
    QVERIFY(rig.runPass());
    FaultRule once = from(FaultKind::Drop, rig.faults->requests());
    once.last = once.first;
    rig.faults->add(once);
    rig.panel->step();
    QByteArray sevens;
    for (int i = 0; i < 40; ++i)
        sevens += QByteArray("\7\0", 2);
    rig.panel->write(0, sevens);
    rig.faults->clear();
    FaultRule writes = from(FaultKind::Exception, 0);
    rig.panel->step();
    QVERIFY(!rig.shown(QStringLiteral("big")).contains(QLatin1Char('7')));
    rig.faults->add(writes);
    QVERIFY(rig.runUntil([&] { return !rig.heard.writes.isEmpty(); }));
    QVERIFY(!rig.shown(QStringLiteral("big")).contains(QLatin1Char('7')));
}

void TstPanelValues::aTagOfAReturnedStationIsReadAnew()
{
    PanelRig rig;
    rig.settings.hasSeveral = true;
    rig.stations = {1, 2};
    rig.csv = "big,7,0,1,40,uint16,,,,r\nother,7,0,2,1,uint16,,,,r\n";
    rig.start();
    QVERIFY(rig.runPass());
    FaultRule rule = from(FaultKind::Drop, 0);
    rule.station = 1;
    rig.faults->add(rule);
    QVERIFY(rig.runUntil([&] { return rig.heard.stations.size() == 1; }));
    rig.runFor(20 * PanelRig::Second);
    QCOMPARE(qualityText(rig.value(QStringLiteral("big"))), QStringLiteral("bad (station-off)"));
    rig.faults->clear();
    QVERIFY(rig.runUntil([&] { return rig.value(QStringLiteral("big")).quality != Quality::Bad; }));
    QVERIFY(rig.line->now() - rig.value(QStringLiteral("big")).readAt < 500000);
}

void TstPanelValues::passesAreCounted()
{
    PanelRig rig;
    rig.settings.maxBlockLen = 4;
    rig.csv = "a,7,0,,12,uint16,,,,r\n";
    rig.start();
    for (int i = 0; i < 31; ++i)
        rig.panel->step();
    // The first request starts the clock; each pass ends with the third one after it.
    QCOMPARE(rig.heard.passes, 10);
    QCOMPARE(rig.panel->counters().passTime.count(), qint64(10));
}

QTEST_APPLESS_MAIN(TstPanelValues)
#include "tst_panel_values.moc"
