/// Checking a reply, and the result code that comes of it.
#include "driver/reply.h"

#include "tests/exchange_fixture.h"

#include <climits>

class TstReplyCode : public QObject {
    Q_OBJECT

private slots:
    void replyIsCheckedByFlagStationAndCrc_data();
    void replyIsCheckedByFlagStationAndCrc();
    void crcCoversTheLengthCutTo16Bits();
    void classificationBecomesItsResultCode_data();
    void classificationBecomesItsResultCode();
    void errorCodeIsSpreadOverConnections0To11_data();
    void errorCodeIsSpreadOverConnections0To11();
    void errorCodeNamesTheFirstFrame();
    void resultForTheHostCarriesNoValueBytes();
};

void TstReplyCode::replyIsCheckedByFlagStationAndCrc_data()
{
    QTest::addColumn<int>("rwFlag");
    QTest::addColumn<int>("station");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("len");
    QTest::addColumn<int>("verdict");

    const QByteArray good = hex(GoodReply);
    QTest::newRow("read") << 0 << 1 << good << 7 << 1;
    QTest::newRow("write") << 1 << 1 << good << 7 << 2;
    QTest::newRow("flag 2") << 2 << 1 << good << 7 << 0;
    QTest::newRow("flag -1") << -1 << 1 << good << 7 << 0;
    QTest::newRow("broadcast, nothing came") << 1 << 0 << QByteArray() << 0 << 2;
    QTest::newRow("broadcast read, nothing came") << 0 << 0 << QByteArray() << 0 << 2;
    QTest::newRow("broadcast with an unusable flag") << 9 << 0 << QByteArray() << 0 << 2;
    QTest::newRow("broadcast that was answered") << 0 << 0 << good << 7 << 1;
    QTest::newRow("data changed") << 0 << 1 << hex("01 03 02 12 35 B5 33") << 7 << 0;
    QTest::newRow("CRC low byte wrong") << 0 << 1 << hex("01 03 02 12 34 B4 33") << 7 << 0;
    QTest::newRow("CRC high byte wrong") << 0 << 1 << hex("01 03 02 12 34 B5 32") << 7 << 0;
    QTest::newRow("CRC bytes swapped") << 0 << 1 << hex("01 03 02 12 34 33 B5") << 7 << 0;
    QTest::newRow("bytes behind len do not count") << 0 << 1 << hex("01 03 02 12 34 B5 33 AA BB") << 7 << 1;
    QTest::newRow("bytes inside len do") << 0 << 1 << hex("01 03 02 12 34 B5 33 AA BB") << 9 << 0;
    QTest::newRow("another station's reply passes") << 0 << 1 << withCrc("05 03 02 12 34") << 7 << 1;
    QTest::newRow("exception reply passes") << 0 << 1 << hex("01 83 02 C0 F1") << 5 << 1;
    // One byte more than came passes the length test on purpose; what is not there reads as 0.
    QTest::newRow("one more than came, missing byte 00") << 0 << 1 << hex("01 03 02 00 F0 B8") << 7 << 1;
    QTest::newRow("one more than came, missing byte not 00") << 0 << 1 << hex("01 03 02 12 34 B5") << 7 << 0;
    // Always good: the CRC over a reply and its own CRC low byte is the CRC high byte.
    QTest::newRow("one more than a full reply") << 0 << 1 << good << 8 << 1;
    QTest::newRow("two more than came") << 0 << 1 << hex("01 06 00 64 12 34 C5 62") << 10 << 0;
    QTest::newRow("the same with its two bytes 00") << 0 << 1 << hex("01 06 00 64 12 34 C5 62 00 00") << 10 << 1;
    QTest::newRow("nothing from a real station") << 0 << 1 << QByteArray() << 0 << 0;
    QTest::newRow("length 0 beside bytes") << 0 << 1 << good << 0 << 0;
    QTest::newRow("length 1 of nothing") << 0 << 1 << QByteArray() << 1 << 0;
    QTest::newRow("length 1") << 0 << 1 << hex("FF") << 1 << 0;
    QTest::newRow("length 1 on the broadcast station") << 0 << 0 << hex("00") << 1 << 0;
    QTest::newRow("length 2 is the CRC of nothing") << 0 << 1 << hex("FF FF") << 2 << 1;
    QTest::newRow("length 2, other bytes") << 0 << 1 << hex("00 00") << 2 << 0;
    QTest::newRow("length 2 of nothing") << 0 << 1 << QByteArray() << 2 << 0;
    QTest::newRow("length -1") << 0 << 1 << good << -1 << 0;
    QTest::newRow("length -1 on the broadcast station") << 0 << 0 << QByteArray() << -1 << 0;
    QTest::newRow("length -65529") << 0 << 1 << good << -65529 << 0;
    QTest::newRow("smallest length") << 0 << 1 << good << INT_MIN << 0;
    QTest::newRow("largest length") << 0 << 1 << good << INT_MAX << 0;
    QTest::newRow("length 65543, of which 7 in 16 bits") << 0 << 1 << good << 65543 << 0;
}

void TstReplyCode::replyIsCheckedByFlagStationAndCrc()
{
    QFETCH(int, rwFlag);
    QFETCH(int, station);
    QFETCH(QByteArray, reply);
    QFETCH(int, len);
    QFETCH(int, verdict);
    DriverFixture driver;
    Protocol &request = wordReadInFlight();
    request.var.rwFlag = rwFlag;
    request.var.station = station;
    QByteArray received(reply.constData(), reply.size());
    QCOMPARE(CheckGetData(&received, len), verdict);
    QCOMPARE(received, reply);
}

// 65540 - 2 bytes is 2 in sixteen bits: the CRC at the end is that of the first two bytes.
void TstReplyCode::crcCoversTheLengthCutTo16Bits()
{
    DriverFixture driver;
    wordReadInFlight();
    QByteArray reply = hex("01 03") + QByteArray(65536, '\x55') + hex("40 21");
    QCOMPARE(CheckGetData(&reply, 65540), 1);
    reply[1] = 4;
    QCOMPARE(CheckGetData(&reply, 65540), 0);
}

void TstReplyCode::classificationBecomesItsResultCode_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("connectNo");
    QTest::addColumn<int>("code");

    const struct {
        int kind, first, last;
    } blocks[] = {{1, 11, 22}, {2, 41, 52}, {3, 71, 82}, {5, 111, 122}, {6, 141, 152}, {7, 171, 182}};
    for (const auto &block : blocks) {
        const QByteArray kind = QByteArray("kind ") + QByteArray::number(block.kind);
        QTest::newRow((kind + ", connection 0").constData()) << block.kind << 0 << block.first;
        QTest::newRow((kind + ", connection 11").constData()) << block.kind << 11 << block.last;
        QTest::newRow((kind + ", connection 12").constData()) << block.kind << 12 << block.first;
        QTest::newRow((kind + ", connection -1").constData()) << block.kind << -1 << block.first;
    }
    QTest::newRow("good") << 0 << 5 << 1;
    QTest::newRow("acknowledged") << 4 << 5 << 100;
    QTest::newRow("kind 8") << 8 << 5 << 200;
    QTest::newRow("kind -1") << -1 << 5 << 200;
    QTest::newRow("largest kind") << INT_MAX << 5 << 200;
    QTest::newRow("smallest kind") << INT_MIN << 5 << 200;
}

void TstReplyCode::classificationBecomesItsResultCode()
{
    QFETCH(int, kind);
    QFETCH(int, connectNo);
    QFETCH(int, code);
    DriverFixture driver;
    wordReadInFlight().var.connectNo = connectNo;
    QCOMPARE(GetDriverReturnValue(kind), code);
}

void TstReplyCode::errorCodeIsSpreadOverConnections0To11_data()
{
    QTest::addColumn<int>("connectNo");
    QTest::addColumn<int>("behindBase");

    QTest::newRow("0") << 0 << 1;
    QTest::newRow("1") << 1 << 2;
    QTest::newRow("2") << 2 << 3;
    QTest::newRow("3") << 3 << 4;
    QTest::newRow("4") << 4 << 5;
    QTest::newRow("5") << 5 << 6;
    QTest::newRow("6") << 6 << 7;
    QTest::newRow("7") << 7 << 8;
    QTest::newRow("8") << 8 << 9;
    QTest::newRow("9") << 9 << 10;
    QTest::newRow("10") << 10 << 11;
    QTest::newRow("11") << 11 << 12;
    QTest::newRow("12 is outside") << 12 << 1;
    QTest::newRow("15 is outside") << 15 << 1;
    QTest::newRow("-1 is outside") << -1 << 1;
    QTest::newRow("largest is outside") << INT_MAX << 1;
    QTest::newRow("smallest is outside") << INT_MIN << 1;
}

void TstReplyCode::errorCodeIsSpreadOverConnections0To11()
{
    QFETCH(int, connectNo);
    QFETCH(int, behindBase);
    DriverFixture driver;
    wordReadInFlight().var.connectNo = connectNo;
    for (int base : {10, 40, 70, 110, 140, 170})
        QCOMPARE(SwitchErrorReturn(base) - base, behindBase);
}

void TstReplyCode::errorCodeNamesTheFirstFrame()
{
    DriverFixture driver;
    wordReadInFlight().var.connectNo = 2;
    wordReadInFlight().var.connectNo = 9;
    QCOMPARE(SwitchErrorReturn(40), 43);
    PLC_driver.protocolList.removeFirst();
    QCOMPARE(SwitchErrorReturn(40), 50);
}

void TstReplyCode::resultForTheHostCarriesNoValueBytes()
{
    RW_VAR from;
    int RW_VAR::*const words[] = {&RW_VAR::connectNo,    &RW_VAR::varId,      &RW_VAR::rwFlag,   &RW_VAR::hostWord3,
                                  &RW_VAR::panelStation, &RW_VAR::resultCode, &RW_VAR::devType,  &RW_VAR::address,
                                  &RW_VAR::station,      &RW_VAR::count,      &RW_VAR::subIndex, &RW_VAR::hostWord13};
    int value = 1000;
    for (int RW_VAR::*word : words)
        from.*word = ++value;
    from.nameText = QStringLiteral("name");
    from.addrText = QStringLiteral("10.3");
    from.data = hex("34 12");
    RW_VAR to;
    to.data = hex("99 88 77");
    passRetValue(from, to);
    value = 1000;
    for (int RW_VAR::*word : words)
        QCOMPARE(to.*word, ++value);
    QCOMPARE(to.nameText, QStringLiteral("name"));
    QCOMPARE(to.addrText, QStringLiteral("10.3"));
    QVERIFY(to.data.isEmpty());
    QCOMPARE(toHex(from.data), QStringLiteral("34 12"));
}

QTEST_APPLESS_MAIN(TstReplyCode)
#include "tst_reply_code.moc"
