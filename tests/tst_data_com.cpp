/// What a final reply does to its request: the list it leaves, the callbacks, the purge.
#include "driver/emerson_ec_series.h"

#include "tests/elsewhere.h"
#include "tests/exchange_fixture.h"

namespace {

QStringList callOrder;
void noteDoneAndLock(int, int, int, int status)
{
    callOrder << QStringLiteral("done %1, list %2").arg(status).arg(isFree(PLC_driver.listMutex) ? "free" : "held");
}
void noteFailAndLock(QList<RW_VAR> &, int, int flag)
{
    callOrder << QStringLiteral("failed %1, list %2").arg(flag).arg(isFree(PLC_driver.listMutex) ? "free" : "held");
}

} // namespace

class TstDataCom : public QObject {
    Q_OBJECT

private slots:
    void cyclicReadRotatesToTheEnd();
    void finishedWriteIsRemovedAndReported();
    void valueAboutToBeWrittenAgainIsReportedOnlyOnce();
    void oneShotReadAskedTwiceIsReportedOnlyOnce();
    void onlyTheWholeNameCountsAsTheSameValue();
    void failedWriteIsReportedAlthoughItIsQueuedAgain();
    void remoteOneShotReadIsNotReported_data();
    void remoteOneShotReadIsNotReported();
    void remoteWriteIsReported();
    void remoteReadWithASubIndexLeavesTheImageAlone();
    void frameOfNoListFinishesNothing();
    void finalFailurePurges_data();
    void finalFailurePurges();
    void failureCallbackFollowsTheReportUnderTheListMutex();
    void listEmptiedMeanwhileSkipsTheListStep_data();
    void listEmptiedMeanwhileSkipsTheListStep();
    void finishingWaitsForTheListMutex();
    void mutexesAreFreeAfterwards();
};

void TstDataCom::cyclicReadRotatesToTheEnd()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(1, 10) << namedRead(2, 20, 2) << namedRead(3, 30, 3);
    PLC_driver.readList.first().addrText = QStringLiteral("100");
    PLC_driver.readList.first().data = hex("AA");
    QCOMPARE(answerWell(), 1);
    QCOMPARE(names(PLC_driver.readList), QStringLiteral("2.20@2 3.30@3 1.10@1"));
    QCOMPARE(PLC_driver.result.varId, 10);
    QCOMPARE(PLC_driver.result.addrText, QStringLiteral("100"));
    QVERIFY(PLC_driver.result.data.isEmpty());
    QCOMPARE(toHex(PLC_driver.readList.last().data), QStringLiteral("AA"));
    QCOMPARE(timeOut(), 43);
    QCOMPARE(names(PLC_driver.readList), QStringLiteral("3.30@3 1.10@1 2.20@2"));
    QCOMPARE(PLC_driver.result.varId, 20);
    QCOMPARE(doneCalls(), QString());
}

void TstDataCom::finishedWriteIsRemovedAndReported()
{
    DriverFixture driver;
    driver.settings.channelNo = 6;
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(4, 8);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(names(PLC_driver.writeList), QStringLiteral("4.8@1"));
    QCOMPARE(doneCalls(), QStringLiteral("6/3.7=1"));
    QCOMPARE(PLC_driver.result.varId, 7);
    QCOMPARE(PLC_driver.result.rwFlag, 1);
    QVERIFY(PLC_driver.result.data.isEmpty());
    QCOMPARE(failureCalls(), QString());
}

void TstDataCom::valueAboutToBeWrittenAgainIsReportedOnlyOnce()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(4, 8) << namedWrite(3, 7);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QStringLiteral("0/4.8=1"));
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QStringLiteral("0/4.8=1 0/3.7=1"));
}

void TstDataCom::oneShotReadAskedTwiceIsReportedOnlyOnce()
{
    DriverFixture driver;
    PLC_driver.onceReadList << namedRead(3, 7) << namedRead(3, 7, 2);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(names(PLC_driver.onceReadList), QStringLiteral("3.7@2"));
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1"));
    QCOMPARE(PLC_driver.result.station, 2);
}

void TstDataCom::onlyTheWholeNameCountsAsTheSameValue()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 8) << namedWrite(4, 7) << namedWrite(3, 6)
                         << namedWrite(2, 7);
    PLC_driver.onceReadList << namedRead(3, 7);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1"));
}

void TstDataCom::failedWriteIsReportedAlthoughItIsQueuedAgain()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 7);
    QCOMPARE(timeOut(), 44);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=2"));
}

void TstDataCom::remoteOneShotReadIsNotReported_data()
{
    QTest::addColumn<bool>("good");
    QTest::newRow("answered") << true;
    QTest::newRow("failed") << false;
}

void TstDataCom::remoteOneShotReadIsNotReported()
{
    QFETCH(bool, good);
    DriverFixture driver;
    PLC_driver.onceReadList << remote(namedRead(3, 7)) << namedRead(4, 8);
    QCOMPARE(good ? answerWell() : timeOut(), good ? 100 : 144);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(failureCalls(), good ? QString() : QStringLiteral("0/3/1"));
    QCOMPARE(names(PLC_driver.onceReadList), QStringLiteral("4.8@1"));
    QCOMPARE(PLC_driver.result.varId, 7);
}

void TstDataCom::remoteWriteIsReported()
{
    DriverFixture driver;
    PLC_driver.writeList << remote(namedWrite(3, 7)) << remote(namedWrite(4, 8));
    QCOMPARE(answerWell(), 100);
    QCOMPARE(timeOut(), 145);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1 0/4.8=2"));
}

void TstDataCom::remoteReadWithASubIndexLeavesTheImageAlone()
{
    DriverFixture driver;
    driver.settings.remoteMode = 1;
    PLC_driver.readList << remote(namedRead(3, 7), 0) << remote(namedRead(3, 8), -1);
    QByteArray reply = hex("01 03 02 12 34 B5 33");
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&reply, 7)->resultCode, 100);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0);
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&reply, 7)->resultCode, 1);
    QCOMPARE(int(PLC_driver.wordImage7[100]), 0x1234);
}

void TstDataCom::frameOfNoListFinishesNothing()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(1, 10);
    PLC_driver.writeList << namedWrite(2, 20);
    PLC_driver.onceReadList << namedRead(3, 30);
    Protocol request;
    request.replyLen = 7;
    request.var = namedRead(4, 40);
    PLC_driver.protocolList << request << request;
    QByteArray reply = hex("01 03 02 12 34 B5 33");
    QCOMPARE(DataCom(&reply, 7)->resultCode, 1);
    QCOMPARE(PLC_driver.result.varId, 0);
    QCOMPARE(PLC_driver.readList.size() + PLC_driver.writeList.size() + PLC_driver.onceReadList.size(), 3);
    QCOMPARE(DataCom(&reply, 0)->resultCode, 45);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(failureCalls(), QStringLiteral("0/0/1"));
    QCOMPARE(PLC_driver.writeList.size(), 0);
}

void TstDataCom::finalFailurePurges_data()
{
    QTest::addColumn<int>("servedList");
    QTest::addColumn<int>("stationScope");
    QTest::addColumn<QString>("onceLeft");
    QTest::addColumn<QString>("writesLeft");

    // The failed request is 3.7 of station 1.
    const QString others = QStringLiteral("3.8@1 4.7@1 3.6@1 2.7@1");
    const QString all = QStringLiteral("3.7@2 3.7@0 3.8@1 4.7@1 3.6@1 2.7@1");
    const QString none = QStringLiteral("");
    QTest::newRow("write, one station") << 1 << 0 << others << none;
    QTest::newRow("one-shot read, one station") << 2 << 0 << others << none;
    QTest::newRow("cyclic read, one station") << 0 << 0 << others << none;
    QTest::newRow("write, several stations") << 1 << 1 << all << "3.7@2 9.9@2 9.9@0";
    QTest::newRow("one-shot read, several stations") << 2 << 1 << all << "3.7@2 9.9@2 9.9@0";
    QTest::newRow("cyclic read, several stations") << 0 << -1 << all << "3.7@2 9.9@2 9.9@0";
}

void TstDataCom::finalFailurePurges()
{
    QFETCH(int, servedList);
    QFETCH(int, stationScope);
    QFETCH(QString, onceLeft);
    QFETCH(QString, writesLeft);
    DriverFixture driver;
    driver.settings.stationScope = stationScope;
    listServed(servedList) << (servedList == 1 ? namedWrite(3, 7) : namedRead(3, 7));
    QVERIFY(ComCommunication() != nullptr);
    PLC_driver.onceReadList << namedRead(3, 7) << namedRead(3, 7, 2) << namedRead(3, 7, 0) << namedRead(3, 8)
                            << namedRead(4, 7) << namedRead(3, 6) << namedRead(2, 7) << namedRead(3, 7);
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 7, 2) << namedWrite(9, 9) << namedWrite(9, 9, 2)
                         << namedWrite(9, 9, 0);
    QByteArray nothing;
    QCOMPARE(DataCom(&nothing, 0)->resultCode, 44);
    QCOMPARE(names(PLC_driver.onceReadList), onceLeft);
    QCOMPARE(names(PLC_driver.writeList), writesLeft);
    QCOMPARE(names(PLC_driver.readList), servedList == 0 ? QStringLiteral("3.7@1") : QString());
    QCOMPARE(failureCalls(), QStringLiteral("0/3/1"));
}

void TstDataCom::failureCallbackFollowsTheReportUnderTheListMutex()
{
    DriverFixture driver;
    RegistCallBackFuncIntf(noteDoneAndLock, noteFailAndLock);
    callOrder.clear();
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 8);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 44);
    const QStringList expected{"done 1, list held", "done 2, list held", "failed 1, list held"};
    QCOMPARE(callOrder, expected);
    QVERIFY(isFree(PLC_driver.listMutex));
}

void TstDataCom::listEmptiedMeanwhileSkipsTheListStep_data()
{
    QTest::addColumn<int>("servedList");
    QTest::addColumn<int>("stationScope");
    for (int list : {0, 1, 2})
        for (int scope : {0, 1})
            QTest::newRow(qPrintable(QStringLiteral("list %1, scope %2").arg(list).arg(scope))) << list << scope;
}

// Everything else still happens; the result goes on describing the request finished before.
void TstDataCom::listEmptiedMeanwhileSkipsTheListStep()
{
    QFETCH(int, servedList);
    QFETCH(int, stationScope);
    DriverFixture driver;
    driver.settings.stationScope = stationScope;
    PLC_driver.result.connectNo = 6;
    const RW_VAR entry = servedList == 1 ? namedWrite(3, 7) : namedRead(3, 7);
    QByteArray nothing;
    QByteArray reply = servedList == 1 ? hex("01 06 00 64 12 34 C5 62") : hex("01 03 02 12 34 B5 33");

    listServed(servedList) << entry;
    QVERIFY(ComCommunication() != nullptr);
    listServed(servedList).clear();
    QCOMPARE(DataCom(&reply, reply.size())->resultCode, 1);
    QCOMPARE(PLC_driver.result.connectNo, 6);
    QCOMPARE(PLC_driver.protocolList.size(), 0);

    listServed(servedList) << entry;
    QVERIFY(ComCommunication() != nullptr);
    listServed(servedList).clear();
    QCOMPARE(DataCom(&nothing, 0)->resultCode, 44);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(failureCalls(), QStringLiteral("0/6/1"));
    QCOMPARE(names(listServed(servedList)), QString());
}

void TstDataCom::finishingWaitsForTheListMutex()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(3, 7);
    QVERIFY(ComCommunication() != nullptr);
    QByteArray echo = hex("01 06 00 64 12 34 C5 62");
    PLC_driver.listMutex.lock();
    RW_VAR *result = nullptr;
    Elsewhere communication([&] { result = DataCom(&echo, 8); });
    const bool waited = communication.isHeldUp();
    const int writes = PLC_driver.writeList.size();
    PLC_driver.listMutex.unlock();
    communication.finish();
    QVERIFY(waited);
    QCOMPARE(result->resultCode, 1);
    QCOMPARE(writes, 1);
    QCOMPARE(PLC_driver.writeList.size(), 0);
}

void TstDataCom::mutexesAreFreeAfterwards()
{
    DriverFixture driver;
    driver.settings.retryLimit = 1;
    PLC_driver.readList << namedRead(3, 7);
    PLC_driver.writeList << named(3, 8, writeVar(15, 163, 1, hex("01")));
    const auto allFree = [] { return isFree(PLC_driver.listMutex) && isFree(PLC_driver.imageMutex); };
    QCOMPARE(answerWell(), 1);
    QVERIFY2(allFree(), "more frames to go");
    QCOMPARE(answerWell(), 1);
    QVERIFY2(allFree(), "write finished");
    QCOMPARE(timeOut(), 0);
    QVERIFY2(allFree(), "repeat pending");
    QCOMPARE(timeOut(), 44);
    QVERIFY2(allFree(), "finally failed");
    QCOMPARE(DataCom(nullptr, 0)->resultCode, 1);
    QVERIFY2(allFree(), "nothing in flight");
}

QTEST_APPLESS_MAIN(TstDataCom)
#include "tst_data_com.moc"
