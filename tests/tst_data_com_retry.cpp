/// When a request is sent again and when it has failed for good, by which code.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <climits>

class TstDataComRetry : public QObject {
    Q_OBJECT

private slots:
    void replyWithNothingInFlightIsIgnored();
    void retryLimitTwoSendsTheFrameThreeTimes();
    void withoutRetriesTheFirstBadReplyIsFinal_data();
    void withoutRetriesTheFirstBadReplyIsFinal();
    void goodReplyKeepsTheRetryCount();
    void badRepliesOfSeveralRequestsAddUp();
    void pendingRepeatChangesOnlyTheResultCode();
    void finalFailureHasItsErrorCode_data();
    void finalFailureHasItsErrorCode();
    void broadcastTimeOutIsAGoodReply();
};

void TstDataComRetry::replyWithNothingInFlightIsIgnored()
{
    DriverFixture driver;
    driver.settings.retryCount = 3;
    PLC_driver.writeList << namedWrite(2, 7);
    PLC_driver.servedList = 1;
    PLC_driver.failFlag = true;
    PLC_driver.result.resultCode = 44;
    PLC_driver.result.varId = 8;
    QByteArray reply = hex("01 03 02 12 34 B5 34");
    QVERIFY(DataCom(&reply, 7) == &PLC_driver.result);
    QCOMPARE(PLC_driver.result.resultCode, 1);
    QCOMPARE(PLC_driver.result.varId, 8);
    QCOMPARE(PLC_driver.writeList.size(), 1);
    QCOMPARE(driver.settings.retryCount, 3);
    QVERIFY(PLC_driver.failFlag);
    QCOMPARE(doneCalls() + failureCalls(), QString());
}

void TstDataComRetry::retryLimitTwoSendsTheFrameThreeTimes()
{
    DriverFixture driver;
    driver.settings.retryLimit = 2;
    driver.settings.channelNo = 9;
    driver.settings.finishFlag = 1;
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(4, 8, 2);
    QByteArray nothing;
    QList<int> codes;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const Protocol *request = ComCommunication();
        QVERIFY(request != nullptr);
        QCOMPARE(toHex(request->frame), QStringLiteral("01 06 00 64 12 34 C5 62"));
        codes << DataCom(&nothing, 0)->resultCode;
        QVERIFY(PLC_driver.failFlag);
        QCOMPARE(driver.settings.finishFlag, 0);
        QCOMPARE(driver.settings.retryCount, attempt == 2 ? 0 : attempt + 1);
    }
    QCOMPARE(codes, (QList<int>{0, 0, 44}));
    QCOMPARE(names(PLC_driver.writeList), QString());
    QCOMPARE(PLC_driver.protocolList.size(), 0);
    QCOMPARE(doneCalls(), QStringLiteral("9/3.7=2"));
    QCOMPARE(failureCalls(), QStringLiteral("0/3/1"));
}

void TstDataComRetry::withoutRetriesTheFirstBadReplyIsFinal_data()
{
    QTest::addColumn<int>("retryLimit");
    QTest::newRow("limit 0") << 0;
    QTest::newRow("limit -1") << -1;
    QTest::newRow("smallest limit") << INT_MIN;
}

void TstDataComRetry::withoutRetriesTheFirstBadReplyIsFinal()
{
    QFETCH(int, retryLimit);
    DriverFixture driver;
    driver.settings.retryLimit = retryLimit;
    PLC_driver.readList << namedRead(0, 1);
    QCOMPARE(timeOut(), 41);
    QCOMPARE(driver.settings.retryCount, 0);
    QCOMPARE(failureCalls(), QStringLiteral("0/0/1"));
}

void TstDataComRetry::goodReplyKeepsTheRetryCount()
{
    DriverFixture driver;
    driver.settings.retryLimit = 2;
    PLC_driver.readList << namedRead(0, 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(driver.settings.retryCount, 1);
    QVERIFY(!PLC_driver.failFlag);
}

// The count is the line's, not the request's: only passing the limit clears it.
void TstDataComRetry::badRepliesOfSeveralRequestsAddUp()
{
    DriverFixture driver;
    driver.settings.retryLimit = 2;
    PLC_driver.readList << namedRead(0, 1) << namedRead(0, 2) << namedRead(0, 3);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 41);
    QCOMPARE(PLC_driver.result.varId, 3);
    QCOMPARE(driver.settings.retryCount, 0);
}

void TstDataComRetry::pendingRepeatChangesOnlyTheResultCode()
{
    DriverFixture driver;
    driver.settings.retryLimit = 1;
    PLC_driver.readList << namedRead(2, 20) << namedRead(3, 30);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 0);
    QCOMPARE(PLC_driver.result.connectNo, 2);
    QCOMPARE(PLC_driver.result.varId, 20);
    QCOMPARE(names(PLC_driver.readList), QStringLiteral("3.30@1 2.20@1"));
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(doneCalls() + failureCalls(), QString());
}

void TstDataComRetry::finalFailureHasItsErrorCode_data()
{
    QTest::addColumn<int>("connectNo");
    QTest::addColumn<int>("panelStation");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("code");

    const QByteArray bad = hex("01 03 02 12 34 33 B5");
    const QByteArray shorter = hex("01 83 02 C0 F1");
    QTest::newRow("local check, connection 0") << 0 << 1 << bad << 11;
    QTest::newRow("local check, connection 11") << 11 << 1 << bad << 22;
    QTest::newRow("local time-out, connection 0") << 0 << 1 << QByteArray() << 41;
    QTest::newRow("local time-out, connection 11") << 11 << 1 << QByteArray() << 52;
    QTest::newRow("local time-out, connection 15") << 15 << 1 << QByteArray() << 41;
    QTest::newRow("local time-out, connection -1") << -1 << 1 << QByteArray() << 41;
    QTest::newRow("local length, connection 0") << 0 << 1 << shorter << 71;
    QTest::newRow("local length, connection 11") << 11 << 1 << shorter << 82;
    QTest::newRow("remote check, connection 0") << 0 << 5 << bad << 111;
    QTest::newRow("remote check, connection 11") << 11 << 5 << bad << 122;
    QTest::newRow("remote time-out, connection 0") << 0 << 5 << QByteArray() << 141;
    QTest::newRow("remote time-out, connection 11") << 11 << 5 << QByteArray() << 152;
    QTest::newRow("remote length, connection 0") << 0 << 5 << shorter << 171;
    QTest::newRow("remote length, connection 11") << 11 << 5 << shorter << 182;
    QTest::newRow("remote length, connection 12") << 12 << 0 << shorter << 171;
}

void TstDataComRetry::finalFailureHasItsErrorCode()
{
    QFETCH(int, connectNo);
    QFETCH(int, panelStation);
    QFETCH(QByteArray, reply);
    QFETCH(int, code);
    DriverFixture driver;
    RW_VAR once = namedRead(connectNo, 9);
    once.panelStation = panelStation;
    PLC_driver.onceReadList << once;
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&reply, reply.size())->resultCode, code);
    QCOMPARE(PLC_driver.result.connectNo, connectNo);
    QCOMPARE(PLC_driver.result.varId, 9);
    QCOMPARE(failureCalls(), QStringLiteral("0/%1/1").arg(connectNo));
    QCOMPARE(PLC_driver.onceReadList.size(), 0);
}

void TstDataComRetry::broadcastTimeOutIsAGoodReply()
{
    DriverFixture driver;
    PLC_driver.writeList << namedWrite(3, 7, 0);
    QCOMPARE(ComCommunication()->replyLen, 0);
    QCOMPARE(timeOut(), 1);
    QCOMPARE(doneCalls(), QStringLiteral("0/3.7=1"));
    QCOMPARE(PLC_driver.writeList.size(), 0);
    QVERIFY(!PLC_driver.failFlag);
}

QTEST_APPLESS_MAIN(TstDataComRetry)
#include "tst_data_com_retry.moc"
