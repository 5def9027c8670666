/// Counting the replies of a poll pass, and transactions of two frames.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

class TstDataComPass : public QObject {
    Q_OBJECT

private slots:
    void passEndsWithMoreGoodRepliesThanEntries();
    void everyLocalFinalReplyCountsTowardsThePass();
    void remoteRepliesDoNotCountTowardsThePass();
    void repliesAfterAFullPassAreNotCounted_data();
    void repliesAfterAFullPassAreNotCounted();
    void passOfAListThatShrankEndsWithTheNextReply();
    void transactionEndsOnceItsFramesAreAnswered_data();
    void transactionEndsOnceItsFramesAreAnswered();
    void badReplyStartsThePassAnew();
    void bitInWordWriteIsTwoFrames();
    void firstOfTwoFramesChangesOnlyTheResultCode();
    void failureOfTheSecondFrameAbandonsTheWrite();
    void remoteTransactionOfTwoFramesStoresOnlyItsRead();
    void settingsWordsThatAreNotItsOwnStayUntouched();
};

void TstDataComPass::passEndsWithMoreGoodRepliesThanEntries()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2);
    QList<int> flags;
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(answerWell(), 1);
        flags << driver.settings.finishFlag << PLC_driver.passCount;
    }
    QCOMPARE(flags, (QList<int>{0, 1, 0, 2, 1, 0}));
}

void TstDataComPass::everyLocalFinalReplyCountsTowardsThePass()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2);
    PLC_driver.writeList << namedWrite(3, 7);
    PLC_driver.onceReadList << namedRead(3, 8);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 2);
    QCOMPARE(driver.settings.finishFlag, 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(driver.settings.finishFlag, 1);
}

void TstDataComPass::remoteRepliesDoNotCountTowardsThePass()
{
    DriverFixture driver;
    PLC_driver.readList << remote(namedRead(0, 1), -1);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(driver.settings.finishFlag, 0);
}

void TstDataComPass::repliesAfterAFullPassAreNotCounted_data()
{
    QTest::addColumn<int>("finishFlag");
    QTest::newRow("the driver's own mark") << 1;
    QTest::newRow("a mark of the host") << -1;
}

void TstDataComPass::repliesAfterAFullPassAreNotCounted()
{
    QFETCH(int, finishFlag);
    DriverFixture driver;
    driver.settings.finishFlag = finishFlag;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(driver.settings.finishFlag, finishFlag);
}

// A rebuild from no variable at all empties the list and leaves the count.
void TstDataComPass::passOfAListThatShrankEndsWithTheNextReply()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 2);
    QList<VARDESC> none;
    QCOMPARE(ReCreatReadVarList(none), 0);
    PLC_driver.readList << namedRead(0, 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(driver.settings.finishFlag, 1);
}

void TstDataComPass::transactionEndsOnceItsFramesAreAnswered_data()
{
    QTest::addColumn<int>("frameTotal");
    QTest::addColumn<int>("readsLeft");
    QTest::newRow("one frame") << 1 << 1;
    QTest::newRow("more have been answered than there are") << -1 << 1;
    QTest::newRow("another is to follow") << 2 << 2;
}

void TstDataComPass::transactionEndsOnceItsFramesAreAnswered()
{
    QFETCH(int, frameTotal);
    QFETCH(int, readsLeft);
    DriverFixture driver;
    PLC_driver.onceReadList << namedRead(3, 7) << namedRead(3, 8);
    Protocol *const request = ComCommunication();
    QVERIFY(request != nullptr);
    QByteArray reply = goodReplyTo(*request);
    driver.settings.frameTotal = frameTotal;
    QCOMPARE(DataCom(&reply, reply.size())->resultCode, 1);
    QCOMPARE(PLC_driver.onceReadList.size(), readsLeft);
}

void TstDataComPass::badReplyStartsThePassAnew()
{
    DriverFixture driver;
    driver.settings.retryLimit = 5;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(driver.settings.finishFlag, 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(driver.settings.finishFlag, 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(driver.settings.finishFlag, 0);
}

void TstDataComPass::bitInWordWriteIsTwoFrames()
{
    DriverFixture driver;
    PLC_driver.writeList << named(3, 7, writeVar(15, 163, 1, hex("01")));
    QByteArray word = hex("01 03 02 01 00 B9 D4");
    QByteArray echo = hex("01 06 00 0A 01 08 A9 9E");
    QCOMPARE(toHex(ComCommunication()->frame), QStringLiteral("01 03 00 0A 00 01 A4 08"));
    QCOMPARE(DataCom(&word, 7)->resultCode, 1);
    QCOMPARE(driver.settings.frameDone, 1);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(doneCalls(), QString());
    QCOMPARE(PLC_driver.writeList.size(), 1);
    QCOMPARE(toHex(ComCommunication()->frame), QStringLiteral("01 06 00 0A 01 08 A9 9E"));
    QCOMPARE(PLC_driver.writeStreak, 1);
    QCOMPARE(DataCom(&echo, 8)->resultCode, 1);
    QCOMPARE(driver.settings.frameDone, 2);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1"));
    QCOMPARE(PLC_driver.result.address, 163);
    QCOMPARE(PLC_driver.writeList.size() + PLC_driver.protocolList.size(), 0);
}

void TstDataComPass::firstOfTwoFramesChangesOnlyTheResultCode()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(2, 20) << named(3, 7, writeVar(15, 163, 1, hex("01")));
    QCOMPARE(answerWell(), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.result.varId, 20);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.result.varId, 7);
}

void TstDataComPass::failureOfTheSecondFrameAbandonsTheWrite()
{
    DriverFixture driver;
    driver.settings.retryLimit = 1;
    PLC_driver.writeList << named(3, 7, writeVar(15, 163, 1, hex("01")));
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(toHex(ComCommunication()->frame), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
    QCOMPARE(timeOut(), 44);
    QCOMPARE(PLC_driver.writeList.size() + PLC_driver.protocolList.size(), 0);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=2"));
    QCOMPARE(failureCalls(), QStringLiteral("0/3/1"));
}

// The read of the word carries no sub-index and is stored; the write carries 0 and is only acknowledged.
void TstDataComPass::remoteTransactionOfTwoFramesStoresOnlyItsRead()
{
    DriverFixture driver;
    PLC_driver.writeList << remote(named(3, 7, writeVar(15, 163, 1, hex("01"))));
    QByteArray word = hex("01 03 02 01 00 B9 D4");
    QByteArray echo = hex("01 06 00 0A 01 08 A9 9E");
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&word, 7)->resultCode, 1);
    QCOMPARE(int(PLC_driver.wordImage7[10]), 0x0100);
    QCOMPARE(toHex(ComCommunication()->frame), QStringLiteral("01 06 00 0A 01 08 A9 9E"));
    QCOMPARE(DataCom(&echo, 8)->resultCode, 100);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1"));
    QCOMPARE(driver.settings.finishFlag + PLC_driver.passCount, 0);
}

void TstDataComPass::settingsWordsThatAreNotItsOwnStayUntouched()
{
    DriverFixture driver;
    COMINFO info;
    int *words = reinterpret_cast<int *>(&info);
    SetComInfo(&info);
    for (int i = 0; i < 19; ++i)
        words[i] = 100 + i;
    info.remoteMode = info.stationScope = 0;
    RW_VAR entry = namedRead(0, 1);
    entry.panelStation = 115;
    PLC_driver.readList << entry;
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 41);
    QList<int> after;
    for (int i = 0; i < 19; ++i)
        after << words[i];
    QCOMPARE(after, (QList<int>{100, 101, 102, 103, 104, 105, 106, 107, 0, 0, 110, 1, 0, 113, 0, 115, 116, 0, 118}));
    SetComInfo(&driver.settings);
}

QTEST_APPLESS_MAIN(TstDataComPass)
#include "tst_data_com_pass.moc"
