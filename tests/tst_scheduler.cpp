/// Which request goes out next: the one in flight, writes, one-shot reads, the cyclic poll.
#include "driver/emerson_ec_series.h"

#include "tests/elsewhere.h"
#include "tests/exchange_fixture.h"

class TstScheduler : public QObject {
    Q_OBJECT

private slots:
    void secondCallRepeatsTheFrameInFlight();
    void frameInFlightGoesBeforeNewWorkAndSwitches();
    void nothingToDoSetsTheFinishFlagOnEveryCall();
    void emptyCyclicListLeavesTheServedListAlone();
    void writesGoBeforeOneShotReadsBeforeThePoll();
    void sixthQueuedWriteWaitsForOneCyclicRead();
    void sixthQueuedWriteWaitsForAOneShotReadToo();
    void sixthOneShotReadWaitsForOneCyclicRead();
    void streakBeyondTheLimitIsFull();
    void steadyLoadIsServedFiveFiveOne();
    void emptyCyclicListResetsBothStreaks();
    void repeatsDoNotCountInTheStreak();
    void choiceIsMadeUnderTheListMutex();
    void choiceNeedsTheStationMutex();
    void bothMutexesAreFreeAfterEveryWayOut();
};

void TstScheduler::secondCallRepeatsTheFrameInFlight()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 2);
    Protocol *first = ComCommunication();
    QVERIFY(first != nullptr);
    QVERIFY(ComCommunication() == first);
    QVERIFY(first == &PLC_driver.protocolList.first());
    QCOMPARE(PLC_driver.protocolList.size(), 1);
}

void TstScheduler::frameInFlightGoesBeforeNewWorkAndSwitches()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    QCOMPARE(next(), QStringLiteral("C:0"));
    PLC_driver.writeList << wordWrites(1);
    EnCommStation(1, 0);
    QCOMPARE(next(), QStringLiteral("C:0"));
    QCOMPARE(PLC_driver.writeList.size(), 1);
    QCOMPARE(PLC_driver.writeStreak, 0);
}

void TstScheduler::nothingToDoSetsTheFinishFlagOnEveryCall()
{
    DriverFixture driver;
    for (int call = 0; call < 3; ++call) {
        driver.settings.finishFlag = 0;
        QVERIFY(ComCommunication() == nullptr);
        QCOMPARE(driver.settings.finishFlag, 1);
    }
}

void TstScheduler::emptyCyclicListLeavesTheServedListAlone()
{
    DriverFixture driver;
    QCOMPARE(next(), QStringLiteral("-"));
    QCOMPARE(PLC_driver.servedList, 100);
    PLC_driver.onceReadList << wordReads(0, 1);
    QCOMPARE(nextOf(2), QStringLiteral("O:0 -"));
    QCOMPARE(PLC_driver.servedList, 2);
}

void TstScheduler::writesGoBeforeOneShotReadsBeforeThePoll()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << wordReads(50, 2);
    PLC_driver.writeList << wordWrites(2);
    QCOMPARE(nextOf(6), QStringLiteral("W:100 W:101 O:50 O:51 C:0 C:0"));
}

void TstScheduler::sixthQueuedWriteWaitsForOneCyclicRead()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.writeList << wordWrites(6);
    QCOMPARE(nextOf(8), QStringLiteral("W:100 W:101 W:102 W:103 W:104 C:0 W:105 C:0"));
}

// A one-shot read that takes the sixth call does not open the way for the sixth write: only the poll does.
void TstScheduler::sixthQueuedWriteWaitsForAOneShotReadToo()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << wordReads(50, 1);
    PLC_driver.writeList << wordWrites(6);
    QCOMPARE(nextOf(8), QStringLiteral("W:100 W:101 W:102 W:103 W:104 O:50 C:0 W:105"));
}

void TstScheduler::sixthOneShotReadWaitsForOneCyclicRead()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << wordReads(50, 6);
    QCOMPARE(nextOf(8), QStringLiteral("O:50 O:51 O:52 O:53 O:54 C:0 O:55 C:0"));
}

// The counters are open to a host tool: one beyond the limit is as full as one at it.
void TstScheduler::streakBeyondTheLimitIsFull()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.onceReadList << wordReads(50, 1);
    PLC_driver.writeList << wordWrites(1);
    PLC_driver.writeStreak = 6;
    PLC_driver.onceStreak = 6;
    QCOMPARE(nextOf(3), QStringLiteral("C:0 W:100 O:50"));
}

void TstScheduler::steadyLoadIsServedFiveFiveOne()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 2);
    PLC_driver.onceReadList << wordReads(50, 12);
    PLC_driver.writeList << wordWrites(12);
    QCOMPARE(nextOf(11), QStringLiteral("W:100 W:101 W:102 W:103 W:104 O:50 O:51 O:52 O:53 O:54 C:0"));
    QCOMPARE(nextOf(11), QStringLiteral("W:105 W:106 W:107 W:108 W:109 O:55 O:56 O:57 O:58 O:59 C:1"));
    QCOMPARE(nextOf(6), QStringLiteral("W:110 W:111 O:60 O:61 C:0 C:1"));
}

void TstScheduler::emptyCyclicListResetsBothStreaks()
{
    DriverFixture driver;
    PLC_driver.writeList << wordWrites(6);
    QCOMPARE(nextOf(5), QStringLiteral("W:100 W:101 W:102 W:103 W:104"));
    QCOMPARE(PLC_driver.writeStreak, 5);
    PLC_driver.onceStreak = 3;
    driver.settings.finishFlag = 0;
    QCOMPARE(next(), QStringLiteral("-"));
    QCOMPARE(PLC_driver.writeStreak, 0);
    QCOMPARE(PLC_driver.onceStreak, 0);
    QCOMPARE(driver.settings.finishFlag, 1);
    QCOMPARE(next(), QStringLiteral("W:105"));
}

void TstScheduler::repeatsDoNotCountInTheStreak()
{
    DriverFixture driver;
    driver.settings.retryLimit = 10;
    PLC_driver.writeList << wordWrites(2);
    QByteArray nothing;
    for (int i = 0; i < 7; ++i) {
        QCOMPARE(next(), QStringLiteral("W:100"));
        QCOMPARE(DataCom(&nothing, 0)->resultCode, 0);
    }
    QCOMPARE(PLC_driver.writeStreak, 1);
}

void TstScheduler::choiceIsMadeUnderTheListMutex()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.listMutex.lock();
    Protocol *request = nullptr;
    Elsewhere communication([&request] { request = ComCommunication(); });
    const bool waited = communication.isHeldUp();
    PLC_driver.listMutex.unlock();
    communication.finish();
    QVERIFY(request != nullptr);
    QVERIFY(waited);
}

void TstScheduler::choiceNeedsTheStationMutex()
{
    DriverFixture driver;
    PLC_driver.readList << wordReads(0, 1);
    PLC_driver.stationMutex.lock();
    Protocol *request = nullptr;
    Elsewhere communication([&request] { request = ComCommunication(); });
    const bool waited = communication.isHeldUp();
    const bool listIsHeld = !isFree(PLC_driver.listMutex);
    PLC_driver.stationMutex.unlock();
    communication.finish();
    QVERIFY(request != nullptr);
    QVERIFY(waited);
    QVERIFY(listIsHeld);
}

void TstScheduler::bothMutexesAreFreeAfterEveryWayOut()
{
    DriverFixture driver;
    const auto allFree = [] { return isFree(PLC_driver.listMutex) && isFree(PLC_driver.stationMutex); };
    QCOMPARE(next(), QStringLiteral("-"));
    QVERIFY2(allFree(), "nothing to do");
    EnCommStation(3, 0);
    PLC_driver.writeList << wordWrite(100, 3);
    QCOMPARE(next(), QStringLiteral("-"));
    QVERIFY2(allFree(), "writes dropped");
    PLC_driver.onceReadList << readVar(7, 50, 1, 3);
    QCOMPARE(next(), QStringLiteral("-"));
    QVERIFY2(allFree(), "one-shot reads dropped");
    PLC_driver.readList << readVar(7, 0, 1, 3);
    QCOMPARE(next(), QStringLiteral("-"));
    QVERIFY2(allFree(), "every cyclic station off");
    EnCommStation(3, 1);
    QCOMPARE(next(), QStringLiteral("C:0"));
    QVERIFY2(allFree(), "cyclic read built");
    QCOMPARE(next(), QStringLiteral("C:0"));
    QVERIFY2(allFree(), "frame in flight");
}

QTEST_APPLESS_MAIN(TstScheduler)
#include "tst_scheduler.moc"
