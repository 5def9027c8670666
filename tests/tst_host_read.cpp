/// Host reads: values out of the image, in both storage modes.
#include "driver/emerson_ec_series.h"

#include "tests/host_fixture.h"

#include <climits>

class TstHostRead : public QObject {
    Q_OBJECT

private slots:
    void imageModeReadsByCode_data();
    void imageModeReadsByCode();
    void bitsAndWordsComeInHostForm();
    void keyedModeReadsByCode_data();
    void keyedModeReadsByCode();
    void recordsTooShortReadAsZero_data();
    void recordsTooShortReadAsZero();
    void keyedReadCreatesMissingRecords_data();
    void keyedReadCreatesMissingRecords();
    void keyedReadOfNothingCreatesNothing();
    void oddPairCountsGiveOneMoreValueInKeyedModeOnly();
    void severalKeyedValuesFollowEachOther();
    void stationCountsOnlyInKeyedMode();
};

void TstHostRead::imageModeReadsByCode_data()
{
    readColumns();
    readRow("0", 0, "10", 8, "01 00 00 00 00 00 00 00");
    readRow("1", 1, "10", 8, "00 01 00 00 00 00 00 00");
    readRow("2", 2, "8", 8, "00 00 01 00 00 00 00 00");
    readRow("3", 3, "8", 8, "00 00 00 01 00 00 00 00");
    readRow("4", 4, "8", 8, "00 00 00 00 01 00 00 00");
    readRow("5", 5, "8", 8, "00 00 00 00 00 01 00 00");
    readRow("6", 6, "8", 8, "00 00 00 00 00 00 01 00");
    readRow("7", 7, "10", 2, "07 11 07 22");
    readRow("8", 8, "10", 2, "08 11 08 22");
    readRow("9", 9, "10", 2, "09 11 09 22");
    readRow("10", 10, "10", 2, "0A 11 0A 22");
    readRow("11", 11, "10", 2, "0B 11 0B 22");
    readRow("12", 12, "10", 2, "07 22 07 11");
    readRow("13", 13, "210", 2, "13 22 33 44");
    readRow("14", 14, "10", 2, "08 22 08 11");
    readRow("15", 15, "10.0", 16, "01 01 01 00 00 00 00 00 01 00 00 00 01 00 00 00");
    readRow("16", 16, "10.0", 16, "00 00 00 01 00 00 00 00 01 00 00 00 01 00 00 00");
    readRow("17", 17, "10.0", 16, "01 01 00 01 00 00 00 00 01 00 00 00 01 00 00 00");
    readRow("100", 100, "10", 2, "64 11 64 22");
    readRow("101", 101, "10", 2, "64 22 64 11");
    readRow("102", 102, "10.0", 16, "00 00 01 00 00 01 01 00 01 00 00 00 01 00 00 00");
    readRow("word bits across two words", 15, "10.14", 4, "00 00 01 01");
    readRow("12 with count 1 gives the low word only", 12, "10", 1, "07 22");
    readRow("13 with count 1 gives two bytes", 13, "210", 1, "13 22");
    readRow("13 with two values overlaps them", 13, "210", 4, "13 22 13 66 77 88");
    overRow("bytes behind the last one stay", 3, "10", 2, "AA BB CC DD", "00 01 CC DD");
    overRow("count 0", 7, "10", 0, "AA BB", "AA BB");
    overRow("count -1", 7, "10", -1, "AA BB", "AA BB");
    overRow("smallest count", 13, "210", INT_MIN, "AA BB", "AA BB");
}

void TstHostRead::imageModeReadsByCode()
{
    DriverFixture driver;
    fillImage();
    fillStore();
    PLC_driver.extendVarList.append(record(7, 7, 10, "EE EE"));
    checkHostRead();
}

void TstHostRead::bitsAndWordsComeInHostForm()
{
    DriverFixture driver;
    PLC_driver.bitImage0[1] = 0x06;
    PLC_driver.wordImage7[0] = 0x1234;
    PLC_driver.wordImage7[1] = 0xABCD;
    QByteArray bits, words, longer = hex("AA BB CC DD");
    QCOMPARE(readRegister(0, "11", &bits, 3), 1);
    QCOMPARE(toHex(bits), QStringLiteral("01 01 00"));
    QCOMPARE(readRegister(7, "0", &words, 2), 1);
    QCOMPARE(toHex(words), QStringLiteral("34 12 CD AB"));
    QCOMPARE(readRegister(0, "11", &longer, 2), 1);
    QCOMPARE(toHex(longer), QStringLiteral("01 01 CC DD"));
}

void TstHostRead::keyedModeReadsByCode_data()
{
    readColumns();
    readRow("0, octal 11 is bit 9", 0, "11", 3, "01 01 00");
    readRow("1, octal 11 is bit 9", 1, "11", 3, "01 01 00");
    readRow("2", 2, "9", 3, "01 01 00");
    readRow("3", 3, "9", 3, "01 01 00");
    readRow("4", 4, "9", 3, "01 01 00");
    readRow("5", 5, "9", 3, "01 01 00");
    readRow("6", 6, "9", 3, "01 01 00");
    readRow("7", 7, "10", 2, "34 12 78 56");
    readRow("8", 8, "10", 2, "34 12 78 56");
    readRow("9", 9, "10", 2, "34 12 78 56");
    readRow("10", 10, "10", 2, "34 12 78 56");
    readRow("11", 11, "10", 2, "34 12 78 56");
    readRow("12", 12, "10", 2, "78 56 34 12");
    readRow("13", 13, "210", 2, "11 22 33 44");
    readRow("14", 14, "10", 2, "78 56 34 12");
    readRow("15", 15, "10.0", 16, "00 00 01 00 01 01 00 00 00 01 00 00 01 00 00 00");
    readRow("16", 16, "10.0", 16, "00 00 01 00 01 01 00 00 00 01 00 00 01 00 00 00");
    readRow("17", 17, "10.0", 16, "00 00 01 00 01 01 00 00 00 01 00 00 01 00 00 00");
    readRow("100", 100, "10", 2, "34 12 78 56");
    readRow("101", 101, "10", 2, "78 56 34 12");
    readRow("102", 102, "10.0", 16, "00 00 01 00 01 01 00 00 00 01 00 00 01 00 00 00");
    readRow("word bits across two words", 15, "10.12", 8, "01 00 00 00 00 00 00 01");
    readRow("12 with count 1 gives a whole value", 12, "10", 1, "78 56 34 12");
    readRow("13 with count 1 gives a whole value", 13, "210", 1, "11 22 33 44");
    readRow("13 with two values keeps them apart", 13, "210", 4, "11 22 33 44 00 00 00 00");
    overRow("bytes behind the last one stay", 3, "9", 2, "AA BB CC DD", "01 01 CC DD");
    overRow("count 0", 12, "10", 0, "AA BB", "AA BB");
    overRow("count -1", 12, "10", -1, "AA BB", "AA BB");
    overRow("smallest count", 13, "210", INT_MIN, "AA BB", "AA BB");
}

void TstHostRead::keyedModeReadsByCode()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    fillStore();
    fillImage();
    checkHostRead();
}

void TstHostRead::recordsTooShortReadAsZero_data()
{
    readColumns();
    readRow("no byte of bits", 3, "8", 2, "00 00");
    readRow("one byte of a word", 7, "10", 1, "00 00");
    readRow("one byte of a pair's high word", 12, "10", 2, "78 56 00 00");
    readRow("three bytes of a value", 13, "210", 2, "00 00 00 00");
    overRow("three bytes of a value, over old bytes", 13, "210", 2, "AA BB CC DD", "00 00 00 00");
    overRow("one byte of a word, over old bytes", 7, "10", 1, "AA BB", "00 00");
    readRow("word bits in the byte that is there", 15, "10.6", 4, "01 01 00 00");
}

void TstHostRead::recordsTooShortReadAsZero()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 3, 8, "") << record(7, 7, 10, "FF") << record(7, 7, 11, "78 56")
                             << record(7, 13, 10, "FF FF FF");
    checkHostRead();
    QCOMPARE(PLC_driver.extendVarList.size(), 4);
}

void TstHostRead::keyedReadCreatesMissingRecords_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("after");
    const auto row = [](int devType, const char *addrText, int count, const char *values, const char *after) {
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType)))
            << devType << QByteArray(addrText) << count << QString::fromLatin1(values) << QString::fromLatin1(after);
    };
    row(0, "17", 2, "00 00", "7/0/8=00 00, 7/0/16=00 00");
    row(3, "9", 2, "00 00", "7/3/8=00 00");
    row(7, "10", 2, "00 00 00 00", "7/7/10=00 00, 7/7/11=00 00");
    row(12, "10", 1, "00 00 00 00", "7/7/11=00 00, 7/7/10=00 00");
    row(13, "210", 3, "00 00 00 00 00 00 00 00", "7/13/10=00 00, 7/13/11=00 00");
    row(14, "10", 2, "00 00 00 00", "7/8/11=00 00, 7/8/10=00 00");
    row(17, "10.15", 2, "00 00", "7/11/10=00 00, 7/11/11=00 00");
    row(101, "10", 2, "00 00 00 00", "7/100/11=00 00, 7/100/10=00 00");
    row(102, "10.3", 1, "00", "7/100/10=00 00");
}

void TstHostRead::keyedReadCreatesMissingRecords()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, count);
    DriverFixture driver;
    driver.settings.stationScope = 1;
    for (int again = 0; again < 2; ++again) {
        QByteArray values;
        QCOMPARE(readRegister(devType, addrText.constData(), &values, count), 1);
        QTEST(toHex(values), "values");
        QTEST(store(), "after");
    }
}

void TstHostRead::keyedReadOfNothingCreatesNothing()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    QByteArray values;
    for (int count : {0, -1, INT_MIN}) {
        for (int devType : {0, 7, 12, 13, 15, 101})
            QCOMPARE(readRegister(devType, devType == 15 ? "10.0" : "210", &values, count), 1);
    }
    for (int devType : {18, 99, 103, -1})
        QCOMPARE(readRegister(devType, "10", &values, 4), 1);
    QCOMPARE(store(), QString());
    QCOMPARE(values.size(), 0);
}

void TstHostRead::oddPairCountsGiveOneMoreValueInKeyedModeOnly()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x1234;
    PLC_driver.wordImage7[11] = 0x5678;
    PLC_driver.extendVarList << record(7, 7, 10, "34 12") << record(7, 7, 11, "78 56") << record(7, 7, 12, "BC 9A");
    QByteArray values;
    QCOMPARE(readRegister(12, "10", &values, 3), 1);
    QCOMPARE(toHex(values), QStringLiteral("78 56 34 12"));
    driver.settings.stationScope = 1;
    QCOMPARE(readRegister(12, "10", &values, 3), 1);
    QCOMPARE(toHex(values), QStringLiteral("78 56 34 12 00 00 BC 9A"));
}

void TstHostRead::severalKeyedValuesFollowEachOther()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 7, 10, "34 12") << record(7, 7, 11, "78 56") << record(7, 7, 12, "BC 9A")
                             << record(7, 7, 13, "F0 DE") << record(7, 13, 10, "33 44 11 22")
                             << record(7, 13, 11, "77 88 55 66");
    QByteArray values;
    QCOMPARE(readRegister(12, "10", &values, 4), 1);
    QCOMPARE(toHex(values), QStringLiteral("78 56 34 12 F0 DE BC 9A"));
    QCOMPARE(readRegister(13, "210", &values, 4), 1);
    QCOMPARE(toHex(values), QStringLiteral("11 22 33 44 55 66 77 88"));
}

void TstHostRead::stationCountsOnlyInKeyedMode()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x1234;
    PLC_driver.extendVarList << record(1, 7, 10, "11 11") << record(7, 7, 10, "77 77");
    QByteArray values;
    readRegister(7, "10", &values, 1, 7);
    QCOMPARE(toHex(values), QStringLiteral("34 12"));
    readRegister(7, "10", &values, 1, -5);
    QCOMPARE(toHex(values), QStringLiteral("34 12"));
    driver.settings.stationScope = 2;
    readRegister(7, "10", &values, 1, 7);
    QCOMPARE(toHex(values), QStringLiteral("77 77"));
    driver.settings.stationScope = -1;
    readRegister(7, "10", &values, 1, 1);
    QCOMPARE(toHex(values), QStringLiteral("11 11"));
}

QTEST_APPLESS_MAIN(TstHostRead)
#include "tst_host_read.moc"
