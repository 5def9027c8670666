/// Requests to stations that are switched off: dropped from the queues, skipped in the poll.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

class TstSchedulerStations : public QObject {
    Q_OBJECT

private slots:
    void writesOfASwitchedOffStationAreDropped();
    void oneShotReadsOfASwitchedOffStationAreDropped();
    void onlyLeadingWritesOfASwitchedOffStationAreDropped();
    void fullStreakShieldsWritesFromBeingDropped();
    void broadcastStationCanBeSwitchedOff();
    void cyclicEntriesOfASwitchedOffStationAreSkippedButKept();
    void allCyclicStationsOffRotatesBackToTheStart();
    void allCyclicStationsOffLeavesTheStreaksFull();
};

// The call that drops the last of them looks at no other list; the next call does.
void TstSchedulerStations::writesOfASwitchedOffStationAreDropped()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << wordReads(50, 1);
    PLC_driver.writeList << wordWrite(100, 3) << wordWrite(101, 4) << wordWrite(102, 3);
    EnCommStation(3, 0);
    EnCommStation(4, 0);
    QCOMPARE(next(), QStringLiteral("-"));
    QCOMPARE(PLC_driver.writeList.size(), 0);
    QCOMPARE(PLC_driver.servedList, 1);
    QCOMPARE(PLC_driver.writeStreak, 0);
    QCOMPARE(DriverFixture::requestsDone.size(), 0);
    QCOMPARE(nextOf(2), QStringLiteral("O:50 C:0"));
}

void TstSchedulerStations::oneShotReadsOfASwitchedOffStationAreDropped()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << readVar(7, 50, 1, 3) << readVar(7, 51, 1, 3);
    EnCommStation(3, 0);
    QCOMPARE(next(), QStringLiteral("-"));
    QCOMPARE(PLC_driver.onceReadList.size(), 0);
    QCOMPARE(PLC_driver.servedList, 2);
    QCOMPARE(PLC_driver.onceStreak, 0);
    QCOMPARE(next(), QStringLiteral("C:0"));
}

void TstSchedulerStations::onlyLeadingWritesOfASwitchedOffStationAreDropped()
{
    DriverFixture driver;
    PLC_driver.writeList << wordWrite(100, 3) << wordWrite(101, 1) << wordWrite(102, 3);
    EnCommStation(3, 0);
    QCOMPARE(next(), QStringLiteral("W:101"));
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("7/101/1@1 7/102/1@3"));
}

void TstSchedulerStations::fullStreakShieldsWritesFromBeingDropped()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.writeList << wordWrite(100, 3);
    PLC_driver.writeStreak = 5;
    EnCommStation(3, 0);
    QCOMPARE(next(), QStringLiteral("C:0"));
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("7/100/1@3"));
}

void TstSchedulerStations::broadcastStationCanBeSwitchedOff()
{
    DriverFixture driver;
    PLC_driver.writeList << wordWrite(100, 0) << wordWrite(101, 1);
    EnCommStation(0, 0);
    QCOMPARE(next(), QStringLiteral("W:101"));
    QCOMPARE(PLC_driver.writeList.size(), 1);
}

void TstSchedulerStations::cyclicEntriesOfASwitchedOffStationAreSkippedButKept()
{
    DriverFixture driver;
    PLC_driver.readList << readVar(7, 0, 1, 3) << readVar(7, 1, 1, 4) << readVar(7, 2, 1, 5) << readVar(7, 3, 1, 3);
    EnCommStation(3, 0);
    EnCommStation(4, 0);
    QCOMPARE(next(), QStringLiteral("C:2"));
    QCOMPARE(summary(PLC_driver.readList), QStringLiteral("7/2/1@5 7/3/1@3 7/0/1@3 7/1/1@4"));
    answer();
    QCOMPARE(next(), QStringLiteral("C:2"));
    EnCommStation(-1, 0);
    answer();
    QCOMPARE(nextOf(4), QStringLiteral("C:3 C:0 C:1 C:2"));
}

void TstSchedulerStations::allCyclicStationsOffRotatesBackToTheStart()
{
    DriverFixture driver;
    PLC_driver.readList << readVar(7, 0, 1, 3) << readVar(7, 1, 1, 4) << readVar(7, 2, 1, 3);
    EnCommStation(3, 0);
    EnCommStation(4, 0);
    for (int call = 0; call < 2; ++call) {
        QCOMPARE(next(), QStringLiteral("-"));
        QCOMPARE(summary(PLC_driver.readList), QStringLiteral("7/0/1@3 7/1/1@4 7/2/1@3"));
        QCOMPARE(PLC_driver.servedList, 0);
        QCOMPARE(driver.settings.finishFlag, 0);
    }
}

// The streaks are reset only where a cyclic read is built or the list is empty, so a full write streak stays full.
void TstSchedulerStations::allCyclicStationsOffLeavesTheStreaksFull()
{
    DriverFixture driver;
    PLC_driver.readList << readVar(7, 0, 1, 3);
    EnCommStation(3, 0);
    PLC_driver.writeList << wordWrites(6);
    QCOMPARE(nextOf(7), QStringLiteral("W:100 W:101 W:102 W:103 W:104 - -"));
    QCOMPARE(PLC_driver.writeStreak, 5);
    EnCommStation(3, 1);
    QCOMPARE(nextOf(2), QStringLiteral("C:0 W:105"));
}

QTEST_APPLESS_MAIN(TstSchedulerStations)
#include "tst_scheduler_stations.moc"
