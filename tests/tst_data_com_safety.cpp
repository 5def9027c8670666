/// Replies that no PLC sends, and hosts that leave things out.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <climits>

class TstDataComSafety : public QObject {
    Q_OBJECT

private slots:
    void missingReplyIsEmpty();
    void missingCallbacksAreSkipped();
    void queueEmptiedByItsCallbackStaysEmpty();
    void missingSettingsReadAsZero();
    void anyLengthIsSafe_data();
    void anyLengthIsSafe();
    void negativeCountLeavesReplyLengthsThatAreSafe_data();
    void negativeCountLeavesReplyLengthsThatAreSafe();
};

void TstDataComSafety::missingReplyIsEmpty()
{
    DriverFixture driver;
    PLC_driver.readList << namedRead(3, 7);
    PLC_driver.writeList << namedWrite(3, 8, 0);
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(nullptr, 0)->resultCode, 1);
    QList<int> codes;
    for (int len : {0, 7, 1, 8, -1}) {
        QVERIFY(ComCommunication() != nullptr);
        codes << DataCom(nullptr, len)->resultCode;
    }
    QCOMPARE(codes, (QList<int>{44, 14, 74, 74, 74}));
    QCOMPARE(DataCom(nullptr, 7)->resultCode, 1);
}

void TstDataComSafety::missingCallbacksAreSkipped()
{
    DriverFixture driver;
    RegistCallBackFuncIntf(nullptr, nullptr);
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 8);
    PLC_driver.onceReadList << namedRead(4, 9);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(timeOut(), 44);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.onceReadList.size() + PLC_driver.writeList.size(), 0);
}

void TstDataComSafety::queueEmptiedByItsCallbackStaysEmpty()
{
    DriverFixture driver;
    driver.settings.retryLimit = 0;
    RegistCallBackFuncIntf([](int, int, int, int) { PLC_driver.writeList.clear(); }, nullptr);
    PLC_driver.writeList << namedWrite(3, 7) << namedWrite(3, 8);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.result.varId, 7);
    QVERIFY(PLC_driver.writeList.isEmpty());
    PLC_driver.writeList << namedWrite(3, 9);
    QCOMPARE(timeOut(), 44);
    QVERIFY(PLC_driver.writeList.isEmpty());
    QVERIFY(ComCommunication() == nullptr);
}

// Own station 0, no retries, one station.
void TstDataComSafety::missingSettingsReadAsZero()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    RW_VAR local = namedRead(3, 7);
    local.panelStation = 0;
    PLC_driver.readList << local << namedRead(4, 8);
    PLC_driver.writeList << namedWrite(5, 9);
    QCOMPARE(timeOut(), 146);
    QCOMPARE(doneCalls(), QStringLiteral("0/5.9=2"));
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.result.varId, 7);
    QCOMPARE(answerWell(), 100);
    QCOMPARE(PLC_driver.result.varId, 8);
    QCOMPARE(timeOut(), 44);
    QCOMPARE(failureCalls(), QStringLiteral("0/5/1 0/3/1"));
}

void TstDataComSafety::anyLengthIsSafe_data()
{
    QTest::addColumn<int>("expectedLen");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("len");
    QTest::addColumn<int>("code");

    const QByteArray good = hex("01 03 02 12 34 B5 33");
    QTest::newRow("0 expected, 0 came") << 0 << QByteArray() << 0 << 11;
    QTest::newRow("0 expected, length 1") << 0 << hex("01") << 1 << 71;
    QTest::newRow("0 expected, length -1") << 0 << QByteArray() << -1 << 71;
    QTest::newRow("0 expected, one more than came") << 0 << good << 8 << 71;
    QTest::newRow("any expected, 0 came") << -1 << QByteArray() << 0 << 41;
    QTest::newRow("any expected, length 1") << -1 << hex("01") << 1 << 11;
    QTest::newRow("any expected, length 1 of nothing") << -1 << QByteArray() << 1 << 11;
    QTest::newRow("any expected, length 2, CRC of nothing") << -1 << hex("FF FF") << 2 << 1;
    QTest::newRow("any expected, length -1") << -1 << good << -1 << 11;
    QTest::newRow("any expected, length -1 of nothing") << -1 << QByteArray() << -1 << 11;
    QTest::newRow("any expected, smallest length") << -1 << good << INT_MIN << 11;
    QTest::newRow("any expected, largest length") << -1 << good << INT_MAX << 11;
    QTest::newRow("any expected, one more than a full reply") << -1 << good << 8 << 1;
    QTest::newRow("any expected, one more, missing byte 00") << -1 << hex("01 03 02 00 F0 B8") << 7 << 1;
    QTest::newRow("any expected, two more than came") << -1 << good << 9 << 11;
    QTest::newRow("any expected, full reply") << -1 << good << 7 << 1;
    QTest::newRow("-3 expected, length -3") << -3 << good << -3 << 11;
    QTest::newRow("-3 expected, 0 came") << -3 << QByteArray() << 0 << 41;
    QTest::newRow("-3 expected, full reply") << -3 << good << 7 << 71;
    QTest::newRow("1 expected, length 1") << 1 << hex("FF") << 1 << 11;
    QTest::newRow("1 expected, length 1 of nothing") << 1 << QByteArray() << 1 << 11;
    QTest::newRow("smallest expected, smallest length") << INT_MIN << good << INT_MIN << 11;
    QTest::newRow("largest expected, largest length") << INT_MAX << good << INT_MAX << 11;
    QTest::newRow("8 expected, one more than a full reply") << 8 << good << 8 << 1;
    QTest::newRow("8 expected, one more than came, bad CRC") << 8 << hex("01 03 02 12 34 33 B5") << 8 << 11;
}

// Remote codes lie 100 higher. Data positions far outside the reply must not matter either.
void TstDataComSafety::anyLengthIsSafe()
{
    QFETCH(int, expectedLen);
    QFETCH(QByteArray, reply);
    QFETCH(int, len);
    QFETCH(int, code);
    for (bool isRemote : {false, true}) {
        for (int dataLen : {2, -6, INT_MAX / 1024}) {
            DriverFixture driver;
            Protocol request;
            request.replyLen = expectedLen;
            request.dataOffset = 3;
            request.dataLen = dataLen;
            request.var = isRemote ? remote(namedRead(0, 7), -1) : namedRead(0, 7);
            PLC_driver.protocolList << request;
            QByteArray received(reply.constData(), reply.size());
            QCOMPARE(DataCom(&received, len)->resultCode, isRemote && code != 1 ? code + 100 : code);
            QCOMPARE(PLC_driver.protocolList.size(), 0);
        }
    }
}

void TstDataComSafety::negativeCountLeavesReplyLengthsThatAreSafe_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("remoteMode");
    QTest::addColumn<int>("expectedLen");
    QTest::addColumn<int>("codeOfNothing");

    QTest::newRow("bits, -5") << 2 << -5 << 0 << 0 << 11;
    QTest::newRow("bits, -6: any length") << 2 << -6 << 0 << -1 << 41;
    QTest::newRow("bits, -7") << 2 << -7 << 0 << -2 << 41;
    QTest::newRow("bits, -4") << 2 << -4 << 0 << 1 << 41;
    QTest::newRow("words, -1: quantity 65535") << 7 << -1 << 0 << 131075 << 41;
    QTest::newRow("code 13, -1: quantity 65534") << 13 << -1 << 0 << 131073 << 41;
    QTest::newRow("remote words, -3: any length") << 7 << -3 << 1 << -1 << 41;
    QTest::newRow("remote bits, -5") << 2 << -5 << 1 << 0 << 11;
    QTest::newRow("remote code 13, -2") << 13 << -2 << 1 << -3 << 41;
}

void TstDataComSafety::negativeCountLeavesReplyLengthsThatAreSafe()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    QFETCH(int, remoteMode);
    QFETCH(int, expectedLen);
    QFETCH(int, codeOfNothing);
    DriverFixture driver;
    driver.settings.remoteMode = remoteMode;
    PLC_driver.readList << readVar(devType, 0, count);
    const Protocol *request = ComCommunication();
    QVERIFY(request != nullptr);
    QCOMPARE(request->replyLen, expectedLen);
    QByteArray reply;
    QCOMPARE(DataCom(&reply, 0)->resultCode, codeOfNothing);
    const QList<QPair<QByteArray, int>> replies{
        {hex("FF FF"), 2}, {hex("FF"), 1}, {hex("FF FF"), expectedLen}, {QByteArray(), -1}};
    for (const auto &each : replies) {
        QVERIFY(ComCommunication() != nullptr);
        reply = each.first;
        DataCom(&reply, each.second);
        PLC_driver.protocolList.clear();
    }
    QCOMPARE(names(PLC_driver.readList), QStringLiteral("0.0@1"));
}

QTEST_APPLESS_MAIN(TstDataComSafety)
#include "tst_data_com_safety.moc"
