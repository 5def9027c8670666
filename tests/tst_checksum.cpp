/// Checksums and hexadecimal digit helpers, with published check values.
#include "driver/checksum.h"

#include "tests/driver_fixture.h"

#include <climits>

namespace {

using Sum = unsigned short (*)(unsigned char *, unsigned short);

/// The sum of the first len bytes; the array holds at least one byte, as CalXOR asks.
int sumOf(Sum sum, QByteArray bytes, int len)
{
    if (bytes.isEmpty())
        bytes.append('\0');
    return sum(reinterpret_cast<unsigned char *>(bytes.data()), static_cast<unsigned short>(len));
}

int sumOf(Sum sum, const QByteArray &bytes)
{
    return sumOf(sum, bytes, bytes.size());
}

/// Bit by bit, as CRC-16/MODBUS is defined.
int crcByDefinition(const QByteArray &bytes)
{
    unsigned crc = 0xFFFF;
    for (char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return int(crc);
}

} // namespace

class TstChecksum : public QObject {
    Q_OBJECT

private slots:
    void crcHasItsPublishedValues_data();
    void crcHasItsPublishedValues();
    void crcIsSentLowByteFirst();
    void crcSealsItsOwnFrameToZero();
    void crcReadsOnlyTheStatedLength();
    void crcIsThatOfItsDefinitionAtEveryLength();
    void crcTakesEveryByteAtEveryPlace();
    void byteSumIsTakenModulo65536_data();
    void byteSumIsTakenModulo65536();
    void byteSumReadsOnlyTheStatedLength();
    void longitudinalCheckIsNotReducedToAByte_data();
    void longitudinalCheckIsNotReducedToAByte();
    void exclusiveOrHasItsKnownValues_data();
    void exclusiveOrHasItsKnownValues();
    void exclusiveOrReadsTheFirstByteWhateverTheLength_data();
    void exclusiveOrReadsTheFirstByteWhateverTheLength();
    void aMissingBufferCountsAsAnEmptyOne();
    void digitBecomesCharacterWithoutARangeCheck_data();
    void digitBecomesCharacterWithoutARangeCheck();
    void characterBecomesDigitWithoutFoldingCase_data();
    void characterBecomesDigitWithoutFoldingCase();
};

void TstChecksum::crcHasItsPublishedValues_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("crc");

    QTest::newRow("no byte") << QByteArray() << 0xFFFF;
    QTest::newRow("check string") << QByteArray("123456789") << 0x4B37;
    QTest::newRow("read one register") << hex("01 03 00 00 00 01") << 0x0A84;
    QTest::newRow("read four registers") << hex("01 03 2F 0C 00 04") << 0xDE8C;
    QTest::newRow("switch a coil off") << hex("01 05 11 35 00 00") << 0xF8D8;
    QTest::newRow("one zero byte") << hex("00") << 0x40BF;
    QTest::newRow("one FF byte") << hex("FF") << 0x00FF;
    QTest::newRow("zero low byte") << hex("01 03 02 5C 02") << 0x8500;
    QTest::newRow("zero high byte") << hex("01 03 02 00 F0") << 0x00B8;
    QTest::newRow("longest length, zeros") << QByteArray(65535, '\0') << 0x40BF;
    QTest::newRow("longest length, FF") << QByteArray(65535, '\xFF') << 0x00FF;
}

void TstChecksum::crcHasItsPublishedValues()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, crc);
    QCOMPARE(sumOf(CalCRC, bytes), crc);
}

void TstChecksum::crcIsSentLowByteFirst()
{
    const int crc = sumOf(CalCRC, hex("01 03 00 00 00 01"));
    QByteArray frame = hex("01 03 00 00 00 01");
    frame.append(char(crc & 0xFF)).append(char(crc >> 8));
    QCOMPARE(toHex(frame), QStringLiteral("01 03 00 00 00 01 84 0A"));
}

void TstChecksum::crcSealsItsOwnFrameToZero()
{
    QCOMPARE(sumOf(CalCRC, hex("01 06 00 64 12 34 C5 62")), 0);
    QVERIFY(sumOf(CalCRC, hex("01 06 00 64 12 34 62 C5")) != 0);
}

void TstChecksum::crcReadsOnlyTheStatedLength()
{
    QCOMPARE(sumOf(CalCRC, hex("01 03 00 00 00 01 AA BB CC"), 6), 0x0A84);
    QCOMPARE(sumOf(CalCRC, hex("01 03 00"), 0), 0xFFFF);
}

void TstChecksum::crcIsThatOfItsDefinitionAtEveryLength()
{
    QByteArray bytes;
    for (int i = 0; i < 700; ++i)
        bytes += static_cast<char>(i * 151 + i / 7);
    for (int length = 0; length <= 600; ++length) {
        for (int first = 0; first < 17; ++first)
            QCOMPARE(sumOf(CalCRC, bytes.mid(first, length)), crcByDefinition(bytes.mid(first, length)));
    }
}

void TstChecksum::crcTakesEveryByteAtEveryPlace()
{
    for (int place = 0; place < 40; ++place) {
        for (int value = 0; value < 256; ++value) {
            QByteArray bytes("0123456789abcdefghijklmnopqrstuvwxyzABCD");
            bytes[place] = static_cast<char>(value);
            QCOMPARE(sumOf(CalCRC, bytes), crcByDefinition(bytes));
        }
    }
}

void TstChecksum::byteSumIsTakenModulo65536_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("sum");

    QTest::newRow("no byte") << QByteArray() << 0;
    QTest::newRow("three bytes") << hex("01 02 03") << 6;
    QTest::newRow("bytes count as unsigned") << hex("80 FF") << 383;
    QTest::newRow("257 bytes of FF are still whole") << QByteArray(257, '\xFF') << 65535;
    QTest::newRow("258 bytes of FF start anew") << QByteArray(258, '\xFF') << 254;
    QTest::newRow("300 bytes of FF: 76500") << QByteArray(300, '\xFF') << 10964;
    QTest::newRow("65535 bytes of FF") << QByteArray(65535, '\xFF') << 65281;
}

void TstChecksum::byteSumIsTakenModulo65536()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, sum);
    QCOMPARE(sumOf(CalSUM, bytes), sum);
}

void TstChecksum::byteSumReadsOnlyTheStatedLength()
{
    QCOMPARE(sumOf(CalSUM, hex("01 02 03 AA BB"), 3), 6);
    QCOMPARE(sumOf(CalSUM, hex("AA BB"), 0), 0);
    QCOMPARE(sumOf(CalLRC, hex("01 02 03 AA BB"), 3), 250);
}

void TstChecksum::longitudinalCheckIsNotReducedToAByte_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("check");

    QTest::newRow("no byte gives 256") << QByteArray() << 256;
    QTest::newRow("a zero byte gives 256") << hex("00") << 256;
    QTest::newRow("a sum of 256 gives 256") << hex("80 80") << 256;
    QTest::newRow("a sum of 512 gives 256") << hex("FF FF 02") << 256;
    QTest::newRow("one") << hex("01") << 255;
    QTest::newRow("FF") << hex("FF") << 1;
    QTest::newRow("three bytes") << hex("01 02 03") << 250;
    QTest::newRow("a sum of 257 counts as 1") << hex("81 80") << 255;
    QTest::newRow("65535 bytes of FF: sum 65281 past 16 bits") << QByteArray(65535, '\xFF') << 255;
}

void TstChecksum::longitudinalCheckIsNotReducedToAByte()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, check);
    QCOMPARE(sumOf(CalLRC, bytes), check);
}

void TstChecksum::exclusiveOrHasItsKnownValues_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("result");

    QTest::newRow("one byte") << hex("A5") << 0xA5;
    QTest::newRow("equal bytes cancel") << hex("5A 5A") << 0;
    QTest::newRow("three bytes") << hex("01 02 04") << 7;
    QTest::newRow("check string") << QByteArray("123456789") << 0x31;
    QTest::newRow("65535 bytes of FF") << QByteArray(65535, '\xFF') << 0xFF;
}

void TstChecksum::exclusiveOrHasItsKnownValues()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, result);
    QCOMPARE(sumOf(CalXOR, bytes), result);
}

void TstChecksum::exclusiveOrReadsTheFirstByteWhateverTheLength_data()
{
    QTest::addColumn<int>("len");
    QTest::newRow("length 0") << 0;
    QTest::newRow("length 1") << 1;
}

void TstChecksum::exclusiveOrReadsTheFirstByteWhateverTheLength()
{
    QFETCH(int, len);
    QCOMPARE(sumOf(CalXOR, hex("C3 FF FF"), len), 0xC3);
}

void TstChecksum::aMissingBufferCountsAsAnEmptyOne()
{
    for (unsigned short len : {0, 1, 8, 65535}) {
        QCOMPARE(int(CalCRC(nullptr, len)), 0xFFFF);
        QCOMPARE(int(CalSUM(nullptr, len)), 0);
        QCOMPARE(int(CalLRC(nullptr, len)), 256);
        QCOMPARE(int(CalXOR(nullptr, len)), 0);
    }
}

void TstChecksum::digitBecomesCharacterWithoutARangeCheck_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("code");

    QTest::newRow("0") << 0 << 48;
    QTest::newRow("1") << 1 << 49;
    QTest::newRow("9") << 9 << 57;
    QTest::newRow("10 is A") << 10 << 65;
    QTest::newRow("11 is B") << 11 << 66;
    QTest::newRow("15 is F") << 15 << 70;
    QTest::newRow("16 is G") << 16 << 71;
    QTest::newRow("255") << 255 << 310;
    QTest::newRow("-1 lies below the digit zero") << -1 << 47;
    QTest::newRow("-48") << -48 << 0;
    QTest::newRow("-100") << -100 << -52;
    QTest::newRow("smallest int") << INT_MIN << -2147483600;
}

void TstChecksum::digitBecomesCharacterWithoutARangeCheck()
{
    QFETCH(int, value);
    QFETCH(int, code);
    QCOMPARE(DigitalToASCII(value), code);
}

void TstChecksum::characterBecomesDigitWithoutFoldingCase_data()
{
    QTest::addColumn<int>("ch");
    QTest::addColumn<int>("value");

    QTest::newRow("smallest int") << INT_MIN << 0;
    QTest::newRow("-1") << -1 << 0;
    QTest::newRow("NUL") << 0 << 0;
    QTest::newRow("slash, 47") << 47 << 0;
    QTest::newRow("0") << 48 << 0;
    QTest::newRow("1") << 49 << 1;
    QTest::newRow("9") << 57 << 9;
    QTest::newRow("colon, 58") << 58 << 10;
    QTest::newRow("semicolon, 59") << 59 << 11;
    QTest::newRow("less-than, 60") << 60 << 12;
    QTest::newRow("equals, 61") << 61 << 13;
    QTest::newRow("greater-than, 62") << 62 << 14;
    QTest::newRow("question mark, 63") << 63 << 15;
    QTest::newRow("at sign, 64") << 64 << 0;
    QTest::newRow("A") << 65 << 10;
    QTest::newRow("F") << 70 << 15;
    QTest::newRow("G") << 71 << 16;
    QTest::newRow("lower-case a") << 97 << 42;
    QTest::newRow("lower-case f") << 102 << 47;
    QTest::newRow("largest int") << INT_MAX << 2147483592;
}

void TstChecksum::characterBecomesDigitWithoutFoldingCase()
{
    QFETCH(int, ch);
    QFETCH(int, value);
    QCOMPARE(ASCIIToDigital(ch), value);
}

QTEST_APPLESS_MAIN(TstChecksum)
#include "tst_checksum.moc"
