/// Modbus write requests with addresses, counts and data beyond what a frame can carry.
#include "frames/write_request.h"

#include "tests/frame_fixture.h"
#include "tests/image_fixture.h"

#include <climits>

class TstWriteRequestBounds : public QObject {
    Q_OBJECT

private slots:
    void positionsThatDataDoesNotCoverAreZero_data();
    void positionsThatDataDoesNotCoverAreZero() { checkBuiltWrite(); }
    void byteCountIsCutTo8Bits_data();
    void byteCountIsCutTo8Bits() { checkBuiltWrite(); }
    void addressesAreNotCheckedAndKeepTheirLow16Bits_data();
    void addressesAreNotCheckedAndKeepTheirLow16Bits() { checkBuiltWrite(); }
    void crcOfAnOverlongFrameCoversItsLengthCutTo16Bits_data();
    void crcOfAnOverlongFrameCoversItsLengthCutTo16Bits();
    void countsBeyondTheFrameOrElementLimitDoNothingAtAll_data();
    void countsBeyondTheFrameOrElementLimitDoNothingAtAll();
    void smallNegativeCountsCutTheFrameShort_data();
    void smallNegativeCountsCutTheFrameShort() { checkBuiltWrite(); }
    void negativeCountsNeverPromiseMoreBytesThanTheFrameHas_data();
    void negativeCountsNeverPromiseMoreBytesThanTheFrameHas();
};

void TstWriteRequestBounds::positionsThatDataDoesNotCoverAreZero_data()
{
    addWriteColumns();
    addWriteRow({"one register, no data", 7, 100, 1, 1, "", "01 06 00 64 00 00 C8 15", "8/8/0/0"});
    addWriteRow({"one register, half of it", 7, 100, 1, 1, "34", "01 06 00 64 00 00 C8 15", "8/8/0/0"});
    addWriteRow({"three registers, two given", 10, 0, 3, 1, "34 12 78 56",
                 "01 10 25 1C 00 03 06 12 34 56 78 00 00 BE 01", "15/8/0/0"});
    addWriteRow({"three registers, two and a half given", 10, 0, 3, 1, "34 12 78 56 BC",
                 "01 10 25 1C 00 03 06 12 34 56 78 00 00 BE 01", "15/8/0/0"});
    addWriteRow(
        {"three registers, none given", 10, 0, 3, 1, "", "01 10 25 1C 00 03 06 00 00 00 00 00 00 9D 26", "15/8/0/0"});
    addWriteRow(
        {"two registers, half of one given", 10, 0, 2, 1, "34", "01 10 25 1C 00 02 04 00 00 00 00 54 67", "13/8/0/0"});
    addWriteRow({"more data than registers", 10, 0, 2, 1, "34 12 78 56 BC 9A", "01 10 25 1C 00 02 04 12 34 56 78 2F 53",
                 "13/8/0/0"});
    addWriteRow({"32 bits, odd count keeps one value", 12, 0, 3, 1, "78 56 34 12 F0 DE BC 9A",
                 "01 10 00 00 00 03 06 12 34 56 78 00 00 C5 A7", "15/8/0/0"});
    addWriteRow({"32 bits, two values", 12, 0, 4, 1, "78 56 34 12 F0 DE BC 9A",
                 "01 10 00 00 00 04 08 12 34 56 78 9A BC DE F0 59 88", "17/8/0/0"});
    addWriteRow({"32 bits, second value short by a byte", 12, 0, 4, 1, "78 56 34 12 F0 DE BC",
                 "01 10 00 00 00 04 08 12 34 56 78 00 00 00 00 EF 50", "17/8/0/0"});
    addWriteRow({"code 13, second value short by a byte", 13, 0, 2, 1, "78 56 34 12 F0 DE BC",
                 "01 10 25 E4 00 04 08 12 34 56 78 00 00 00 00 EF 04", "17/8/0/0"});
    addWriteRow(
        {"code 13, less than a value", 13, 0, 1, 1, "78 56 34", "01 10 25 E4 00 02 04 00 00 00 00 5A 85", "13/8/0/0"});
    addWriteRow({"no registers at all", 10, 0, 0, 1, "34 12", "01 10 25 1C 00 00 00 43 07", "9/8/0/0"});
    addWriteRow({"32 bits, no registers at all", 12, 0, 0, 1, "78 56 34 12", "01 10 00 00 00 00 00 09 50", "9/8/0/0"});
    addWriteRow({"code 13, no values at all", 13, 0, 0, 1, "78 56 34 12", "01 10 25 E4 00 00 00 72 67", "9/8/0/0"});
}

void TstWriteRequestBounds::byteCountIsCutTo8Bits_data()
{
    addWriteColumns();
    const QByteArray words = hex("34 12").repeated(128);
    QTest::newRow("128 registers, byte count 00")
        << 10 << 0 << 128 << 1 << words
        << toHex(hex("01 10 25 1C 00 80 00") + hex("12 34").repeated(128) + hex("47 01"))
        << QStringLiteral("265/8/0/0");
    const QByteArray dwords = hex("78 56 34 12").repeated(128);
    QTest::newRow("128 values of code 13, byte count 00")
        << 13 << 0 << 128 << 1 << dwords
        << toHex(hex("01 10 25 E4 01 00 00") + hex("12 34 56 78").repeated(128) + hex("EC E9"))
        << QStringLiteral("521/8/0/0");
}

void TstWriteRequestBounds::addressesAreNotCheckedAndKeepTheirLow16Bits_data()
{
    addWriteColumns();
    addWriteRow({"69744 sent as 4208", 3, 40000, 1, 1, "01", "01 05 10 70 FF 00 89 21", "8/8/0/0"});
    addWriteRow({"negative, low piece", 8, -3, 1, 1, "34 12", "01 06 1F 3D 12 34 12 A5", "8/8/0/0"});
    addWriteRow({"negative result", 7, -1, 1, 1, "34 12", "01 06 FF FF 12 34 84 99", "8/8/0/0"});
    addWriteRow({"code 1, largest int", 1, INT_MAX, 1, 1, "01", "01 05 FF FF FF 00 8C 1E", "8/8/0/0"});
    addWriteRow({"code 2, largest int", 2, INT_MAX, 1, 1, "01", "01 05 26 DF FF 00 B6 88", "8/8/0/0"});
    addWriteRow({"code 8, largest int", 8, INT_MAX, 1, 1, "34 12", "01 06 2D DF 12 34 BC 2B", "8/8/0/0"});
    addWriteRow({"code 8, smallest int", 8, INT_MIN, 1, 1, "34 12", "01 06 1F 40 12 34 82 BD", "8/8/0/0"});
    addWriteRow({"code 10, largest int", 10, INT_MAX, 2, 1, "34 12 78 56", "01 10 25 1B 00 02 04 12 34 56 78 6E B5",
                 "13/8/0/0"});
    addWriteRow({"code 13, largest int", 13, INT_MAX, 1, 1, "78 56 34 12", "01 10 26 9E 00 02 04 12 34 56 78 B2 1A",
                 "13/8/0/0"});
    addWriteRow({"code 13, smallest int", 13, INT_MIN, 1, 1, "78 56 34 12", "01 10 25 E4 00 02 04 12 34 56 78 21 B1",
                 "13/8/0/0"});
    addWriteRow({"code 15, largest int", 15, INT_MAX, 1, 1, "01", "01 03 FF FF 00 01 84 2E + 01 06 FF FF 00 00 89 EE",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"code 15, smallest int", 15, INT_MIN, 1, 1, "01", "01 03 00 00 00 01 84 0A + 01 06 00 00 00 00 89 CA",
                 "8/7/3/2 + 8/8/0/0"});
}

void TstWriteRequestBounds::crcOfAnOverlongFrameCoversItsLengthCutTo16Bits_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("head");
    QTest::addColumn<QByteArray>("values");
    QTest::addColumn<QString>("crc");
    const auto addBig = [](const char *name, int devType, int count, int size, const char *head, const char *crc) {
        const bool words = devType == 10;
        const QByteArray host = words ? hex("34 12").repeated(count) : hex("78 56 34 12").repeated(count);
        const QByteArray sent = words ? hex("12 34").repeated(count) : hex("12 34 56 78").repeated(count);
        QTest::newRow(name) << devType << count << host << size << QString::fromLatin1(head) << sent
                            << QString::fromLatin1(crc);
    };
    addBig("32764 registers, all 65535 bytes", 10, 32764, 65537, "01 10 25 1C 7F FC F8", "0F F6");
    addBig("32765 registers, one byte", 10, 32765, 65539, "01 10 25 1C 7F FD FA", "7E 80");
    addBig("32766 registers, three bytes", 10, 32766, 65541, "01 10 25 1C 7F FE FC", "EC 1B");
    addBig("32767 registers, five bytes", 10, 32767, 65543, "01 10 25 1C 7F FF FE", "45 EB");
    addBig("16382 values of code 13, all 65535 bytes", 13, 16382, 65537, "01 10 25 E4 7F FC F8", "F7 05");
    addBig("16383 values of code 13, three bytes", 13, 16383, 65541, "01 10 25 E4 7F FE FC", "EC 1B");
}

void TstWriteRequestBounds::crcOfAnOverlongFrameCoversItsLengthCutTo16Bits()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    QFETCH(QByteArray, host);
    QFETCH(int, size);
    QFETCH(QByteArray, values);
    DriverFixture driver;
    const RW_VAR entry = writeVar(devType, 0, count, host);
    WriteRegister(&entry);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    const QByteArray frame = PLC_driver.protocolList.first().frame;
    QCOMPARE(frame.size(), size);
    QCOMPARE(PLC_driver.protocolList.first().frameLen, size);
    QTEST(toHex(frame.left(7)), "head");
    QVERIFY(frame.mid(7, size - 9) == values);
    QTEST(toHex(frame.right(2)), "crc");
}

void TstWriteRequestBounds::countsBeyondTheFrameOrElementLimitDoNothingAtAll_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::newRow("words, frame one register too long") << 10 << 32768;
    QTest::newRow("32 bits, frame one register too long") << 12 << 32768;
    QTest::newRow("code 13, frame one value too long") << 13 << 16384;
    QTest::newRow("words, 65536") << 7 << 65536;
    QTest::newRow("words, the element limit") << 100 << 1048576;
    QTest::newRow("words, one too many elements") << 10 << 1048577;
    QTest::newRow("words, twice the count leaves an int") << 10 << 0x40000000;
    QTest::newRow("words, largest int") << 10 << INT_MAX;
    QTest::newRow("32 bits, largest int") << 101 << INT_MAX;
    QTest::newRow("code 13, four times the count leaves an int") << 13 << 0x20000000;
    QTest::newRow("code 13, four times the count is 0 in an int") << 13 << 0x40000000;
    QTest::newRow("code 13, largest int") << 13 << INT_MAX;
    QTest::newRow("words, no room left for the CRC") << 10 << -4;
    QTest::newRow("code 13, no room left for the CRC") << 13 << -2;
    QTest::newRow("coil, one too many elements") << 3 << 1048577;
    QTest::newRow("coil, largest int") << 3 << INT_MAX;
    QTest::newRow("bit in a word, one too many elements") << 15 << 1048577;
    QTest::newRow("bit in a word, largest int") << 102 << INT_MAX;
}

void TstWriteRequestBounds::countsBeyondTheFrameOrElementLimitDoNothingAtAll()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    checkNoWriteIsBuilt(writeVar(devType, 3, count, hex("01 02 03 04 05 06 07 08")));
}

// The CRC goes where the count says the values end, which is inside the head of the frame.
void TstWriteRequestBounds::smallNegativeCountsCutTheFrameShort_data()
{
    addWriteColumns();
    addWriteRow({"words, -1", 10, 0, -1, 1, "34 12", "01 10 25 1C FF 44 4B", "7/8/0/0"});
    addWriteRow({"words, -2", 10, 0, -2, 1, "34 12", "01 10 25 EC 1B", "5/8/0/0"});
    addWriteRow({"words, -3", 10, 0, -3, 1, "34 12", "01 7E 80", "3/8/0/0"});
    addWriteRow({"code 13, -1", 13, 0, -1, 1, "78 56 34 12", "01 10 25 EC 1B", "5/8/0/0"});
    addWriteRow({"coil, count is not used", 3, 5, -1, 1, "01", "01 05 11 35 FF 00 99 08", "8/8/0/0"});
    addWriteRow({"coil, smallest int", 3, 5, INT_MIN, 1, "01", "01 05 11 35 FF 00 99 08", "8/8/0/0"});
    addWriteRow({"bit in a word, smallest int", 15, 163, INT_MIN, 1, "01",
                 "01 03 00 0A 00 01 A4 08 + 01 06 00 0A 00 00 A9 C8", "8/7/3/2 + 8/8/0/0"});
}

void TstWriteRequestBounds::negativeCountsNeverPromiseMoreBytesThanTheFrameHas_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    for (int devType : {10, 12, 13, 101}) {
        for (int count : {-1, -2, -3, -4, -5, -100, -32768, -65536, -0x20000000, -0x40000000, INT_MIN + 1, INT_MIN})
            QTest::newRow(qPrintable(QStringLiteral("code %1, %2").arg(devType).arg(count))) << devType << count;
    }
}

void TstWriteRequestBounds::negativeCountsNeverPromiseMoreBytesThanTheFrameHas()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    DriverFixture driver;
    const RW_VAR entry = writeVar(devType, 0, count, hex("78 56 34 12"));
    WriteRegister(&entry);
    for (const Protocol &protocol : PLC_driver.protocolList) {
        QVERIFY(protocol.frame.size() <= 9);
        QVERIFY(protocol.frameLen <= protocol.frame.size());
    }
    QCOMPARE(image() + store(), QString());
}

QTEST_APPLESS_MAIN(TstWriteRequestBounds)
#include "tst_write_request_bounds.moc"
