/// Host writes on their way into the queue: cut into blocks, and cut at boundaries.
#include "driver/emerson_ec_series.h"

#include "tests/elsewhere.h"
#include "tests/host_fixture.h"

#include <climits>

class TstHostWrite : public QObject {
    Q_OBJECT

private slots:
    void writesAreCutIntoBlocks_data();
    void writesAreCutIntoBlocks();
    void queuedRecordCarriesEveryArgument();
    void stationComesFromTheSettingsOrTheCall();
    void blocksThatCrossABoundaryAreCutAfterQueueing_data();
    void blocksThatCrossABoundaryAreCutAfterQueueing();
    void thirdWriteOfAVariableReplacesTheSecond();
    void unwritableCodesReturnZeroAndStillCutTheQueue_data();
    void unwritableCodesReturnZeroAndStillCutTheQueue();
    void unusableAddressesChangeNothing_data();
    void unusableAddressesChangeNothing();
    void missingArrayReturnsZero();
    void queueIsCutUnderTheListLock();
    void queuedWriteDoesNotWaitForTheImageLock();
};

void TstHostWrite::writesAreCutIntoBlocks_data()
{
    const char *five = "01 02 03 04 05 06 07 08 09 0A";
    writeColumns();
    writeRow("1", 1, "10", 2, 32, "01 00", 2, "1/8/1@1=01, 1/9/1@1=00");
    writeRow("2", 2, "10", 2, 32, "01 00", 2, "2/10/1@1=01, 2/11/1@1=00");
    writeRow("3, three one-bit records", 3, "10", 3, 32, "01 00 02", 3, "3/10/1@1=01, 3/11/1@1=00, 3/12/1@1=02");
    writeRow("4", 4, "10", 1, 32, "01", 1, "4/10/1@1=01");
    writeRow("5", 5, "10", 1, 32, "01", 1, "5/10/1@1=01");
    writeRow("6", 6, "10", 1, 32, "01", 1, "6/10/1@1=01");
    writeRow("bits beyond the array are 0", 3, "10", 3, 32, "01", 3, "3/10/1@1=01, 3/11/1@1=00, 3/12/1@1=00");
    writeRow("bits never make longer blocks", 3, "10", 2, 0, "01 01", 2, "3/10/1@1=01, 3/11/1@1=01");
    writeRow("15", 15, "10.3", 2, 32, "01 00", 2, "15/163/1@1=01, 15/164/1@1=00");
    writeRow("16", 16, "10.15", 2, 32, "01 00", 2, "16/175/1@1=01, 16/176/1@1=00");
    writeRow("17", 17, "10.3", 1, 32, "01", 1, "17/163/1@1=01");
    writeRow("102", 102, "10.3", 1, 32, "02", 1, "102/163/1@1=02");
    writeRow("7, five words in twos", 7, "10", 5, 2, five, 3,
             "7/10/2@1=01 02 03 04, 7/12/2@1=05 06 07 08, 7/14/1@1=09 0A");
    writeRow("7 in one block", 7, "10", 5, 5, five, 1, "7/10/5@1=01 02 03 04 05 06 07 08 09 0A");
    writeRow("7 without a block length", 7, "10", 5, 0, five, 1, "7/10/5@1=01 02 03 04 05 06 07 08 09 0A");
    writeRow("7, only the bytes of the count", 7, "10", 2, 32, five, 1, "7/10/2@1=01 02 03 04");
    writeRow("7, words beyond the array are 0", 7, "10", 4, 2, "01 02 03", 2,
             "7/10/2@1=01 02 03 00, 7/12/2@1=00 00 00 00");
    writeRow("7, no bytes at all", 7, "10", 1, 32, "", 1, "7/10/1@1=00 00");
    writeRow("8", 8, "10", 3, 2, "01 02 03 04 05 06", 2, "8/10/2@1=01 02 03 04, 8/12/1@1=05 06");
    writeRow("9", 9, "10", 3, 2, "01 02 03 04 05 06", 2, "9/10/2@1=01 02 03 04, 9/12/1@1=05 06");
    writeRow("10", 10, "10", 3, 2, "01 02 03 04 05 06", 2, "10/10/2@1=01 02 03 04, 10/12/1@1=05 06");
    writeRow("11", 11, "10", 3, 2, "01 02 03 04 05 06", 2, "11/10/2@1=01 02 03 04, 11/12/1@1=05 06");
    writeRow("100", 100, "10", 3, 2, "01 02 03 04 05 06", 2, "100/10/2@1=01 02 03 04, 100/12/1@1=05 06");
    writeRow("12, count 1 is rounded up", 12, "10", 1, 32, "01 02 03 04", 1, "12/10/2@1=01 02 03 04");
    writeRow("12, count 1 with one word of bytes", 12, "10", 1, 32, "01 02", 1, "12/10/2@1=01 02 00 00");
    writeRow("12, five words in fours", 12, "10", 5, 4, five, 2,
             "12/10/4@1=01 02 03 04 05 06 07 08, 12/14/2@1=09 0A 00 00");
    writeRow("12, an odd block length cuts a pair in the middle", 12, "10", 6, 3, "01 02 03 04 05 06 07 08 09 0A 0B 0C",
             2, "12/10/3@1=01 02 03 04 05 06, 12/13/3@1=07 08 09 0A 0B 0C");
    writeRow("12, block length 1", 12, "10", 2, 1, "01 02 03 04", 2, "12/10/1@1=01 02, 12/11/1@1=03 04");
    writeRow("12 without a block length", 12, "10", 3, 0, five, 1, "12/10/4@1=01 02 03 04 05 06 07 08");
    writeRow("14", 14, "10", 3, 2, "01 02 03 04 05 06", 2, "14/10/2@1=01 02 03 04, 14/12/2@1=05 06 00 00");
    writeRow("101", 101, "10", 2, 32, "01 02 03 04", 1, "101/10/2@1=01 02 03 04");
    writeRow("13, count 1 is one value", 13, "205", 1, 32, "01 02 03 04", 1, "13/5/1@1=01 02 03 04");
    writeRow("13, count 2 is one value", 13, "205", 2, 32, "01 02 03 04", 1, "13/5/1@1=01 02 03 04");
    writeRow("13, three values in twos", 13, "205", 5, 2, five, 2,
             "13/5/2@1=01 02 03 04 05 06 07 08, 13/7/1@1=09 0A 00 00");
    writeRow("13 without a block length", 13, "205", 4, 0, "01 02 03 04 05 06 07 08", 1,
             "13/5/2@1=01 02 03 04 05 06 07 08");
    writeRow("count 0", 7, "10", 0, 32, "01 02", 0, "");
    writeRow("count 0 of bits", 3, "10", 0, 32, "01", 0, "");
    writeRow("count 0 of pairs", 12, "10", 0, 32, "01", 0, "");
    writeRow("count 0 of values", 13, "205", 0, 32, "01", 0, "");
    writeRow("block length -1 queues nothing", 7, "10", 5, -1, five, 0, "");
    writeRow("block length -1, pairs", 12, "10", 4, -1, five, 0, "");
    writeRow("block length -1, values", 13, "205", 4, -1, five, 0, "");
    writeRow("block length -2", 7, "10", 5, -2, five, 0, "");
    writeRow("block length -10", 7, "10", 5, -10, five, 0, "");
    writeRow("smallest block length", 7, "10", 5, INT_MIN, five, 0, "");
}

void TstHostWrite::writesAreCutIntoBlocks()
{
    DriverFixture driver;
    checkHostWrite(driver);
    QTEST(queue(), "after");
    QCOMPARE(image(), QString());
}

void TstHostWrite::queuedRecordCarriesEveryArgument()
{
    DriverFixture driver;
    driver.settings.ownStation = 3;
    driver.settings.remoteMode = 5;
    QByteArray values = hex("34 12");
    QCOMPARE(SetRegisterData(QStringLiteral("pump"), 7, QStringLiteral("10"), 7, &values, 1, 4, 9), 1);
    const RW_VAR &var = PLC_driver.writeList.first();
    QCOMPARE(var.connectNo, 4);
    QCOMPARE(var.varId, 9);
    QCOMPARE(var.rwFlag, 1);
    QCOMPARE(var.hostWord3, 5);
    QCOMPARE(var.panelStation, 3);
    QCOMPARE(var.nameText, QStringLiteral("pump"));
    QCOMPARE(var.addrText, QStringLiteral("10"));
    QCOMPARE(var.devType, 7);
    QCOMPARE(var.address, 10);
    QCOMPARE(var.station, 1);
    QCOMPARE(var.count, 1);
    QCOMPARE(var.subIndex, 0);
    QCOMPARE(var.hostWord13, 0);
    QCOMPARE(toHex(var.data), QStringLiteral("34 12"));
    QCOMPARE(toHex(values), QStringLiteral("34 12"));
}

void TstHostWrite::stationComesFromTheSettingsOrTheCall()
{
    DriverFixture driver;
    driver.settings.plcStation = 2;
    writeRegister(7, "10", hex("34 12"), 1, 7);
    driver.settings.stationScope = -1;
    writeRegister(7, "20", hex("34 12"), 1, 7);
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("7/10/1@2 7/20/1@7"));
}

void TstHostWrite::blocksThatCrossABoundaryAreCutAfterQueueing_data()
{
    const char *ten = "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14";
    const char *twenty = "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 "
                         "15 16 17 18 19 1A 1B 1C 1D 1E 1F 20 21 22 23 24 25 26 27 28";
    writeColumns();
    writeRow("8", 8, "250", 10, 32, ten, 1,
             "8/250/6@1=01 02 03 04 05 06 07 08 09 0A 0B 0C, 8/256/4@1=0D 0E 0F 10 11 12 13 14");
    writeRow("9", 9, "250", 10, 32, ten, 1,
             "9/250/6@1=01 02 03 04 05 06 07 08 09 0A 0B 0C, 9/256/4@1=0D 0E 0F 10 11 12 13 14");
    writeRow("8, the second of two blocks", 8, "252", 6, 3, "01 02 03 04 05 06 07 08 09 0A 0B 0C", 2,
             "8/252/3@1=01 02 03 04 05 06, 8/255/1@1=07 08, 8/256/2@1=09 0A 0B 0C");
    writeRow("8 up to the boundary", 8, "250", 6, 32, "01 02 03 04 05 06 07 08 09 0A 0B 0C", 1,
             "8/250/6@1=01 02 03 04 05 06 07 08 09 0A 0B 0C");
    writeRow("8 from the boundary", 8, "256", 2, 32, "01 02 03 04", 1, "8/256/2@1=01 02 03 04");
    writeRow("13", 13, "250", 20, 32, twenty, 1,
             "13/50/6@1=01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18, "
             "13/56/4@1=19 1A 1B 1C 1D 1E 1F 20 21 22 23 24 25 26 27 28");
    writeRow("14 is never cut", 14, "254", 4, 32, "01 02 03 04 05 06 07 08", 1, "14/254/4@1=01 02 03 04 05 06 07 08");
    writeRow("16 is never cut", 16, "255.15", 2, 32, "01 01", 2, "16/4095/1@1=01, 16/4096/1@1=01");
    writeRow("7 is never cut", 7, "255", 2, 32, "01 02 03 04", 1, "7/255/2@1=01 02 03 04");
}

void TstHostWrite::blocksThatCrossABoundaryAreCutAfterQueueing()
{
    DriverFixture driver;
    checkHostWrite(driver);
    QTEST(queue(), "after");
}

void TstHostWrite::thirdWriteOfAVariableReplacesTheSecond()
{
    DriverFixture driver;
    QCOMPARE(writeRegister(7, "10", hex("01 00"), 1), 1);
    QCOMPARE(writeRegister(7, "10", hex("02 00"), 1), 2);
    QCOMPARE(writeRegister(7, "10", hex("03 00"), 1), 2);
    QCOMPARE(queue(), QStringLiteral("7/10/1@1=01 00, 7/10/1@1=03 00"));
}

void TstHostWrite::unwritableCodesReturnZeroAndStillCutTheQueue_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {0, 18, 99, 103, -1, INT_MIN, INT_MAX})
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType))) << devType;
}

void TstHostWrite::unwritableCodesReturnZeroAndStillCutTheQueue()
{
    QFETCH(int, devType);
    for (bool failFlag : {false, true}) {
        DriverFixture driver;
        PLC_driver.failFlag = failFlag;
        PLC_driver.writeList << writeVar(8, 255, 2, hex("01 02 03 04"));
        QCOMPARE(writeRegister(devType, "10", hex("01 01 01 01"), 2), 0);
        QCOMPARE(queue(), QStringLiteral("8/255/1@1=01 02, 8/256/1@1=03 04"));
        QCOMPARE(image(), QString());
    }
}

void TstHostWrite::unusableAddressesChangeNothing_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::newRow("no octal digit") << 1 << QByteArray("18");
    QTest::newRow("letters") << 7 << QByteArray("abc");
    QTest::newRow("negative") << 7 << QByteArray("-5");
    QTest::newRow("code 13 below 200") << 13 << QByteArray("150");
    QTest::newRow("code 15 without a bit") << 15 << QByteArray("10");
    QTest::newRow("code 102 beyond an int") << 102 << QByteArray("134217728.0");
}

void TstHostWrite::unusableAddressesChangeNothing()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    for (int writeMode : {1, 2}) {
        DriverFixture driver;
        driver.settings.writeMode = writeMode;
        PLC_driver.failFlag = true;
        PLC_driver.writeList << writeVar(8, 255, 2, hex("01 02 03 04"));
        QCOMPARE(writeRegister(devType, addrText.constData(), hex("01 01 01 01"), 1), 0);
        QCOMPARE(queue(), QStringLiteral("8/255/2@1=01 02 03 04"));
        QCOMPARE(image(), QString());
    }
}

void TstHostWrite::missingArrayReturnsZero()
{
    for (int writeMode : {1, 2}) {
        DriverFixture driver;
        driver.settings.writeMode = writeMode;
        QCOMPARE(SetRegisterData(QString(), 7, QStringLiteral("10"), 1, nullptr, 1, 4, 9), 0);
        QCOMPARE(queue(), QString());
    }
}

void TstHostWrite::queueIsCutUnderTheListLock()
{
    DriverFixture driver;
    PLC_driver.writeList << writeVar(8, 255, 2, hex("01 02 03 04"));
    // Code 0 queues nothing, so that only the cutting can wait.
    PLC_driver.listMutex.lock();
    Elsewhere writer([] { writeRegister(0, "10", hex("01"), 1); });
    const bool waited = writer.isHeldUp();
    const QString before = queue();
    PLC_driver.listMutex.unlock();
    writer.finish();
    QVERIFY(waited);
    QCOMPARE(before, QStringLiteral("8/255/2@1=01 02 03 04"));
    QCOMPARE(queue(), QStringLiteral("8/255/1@1=01 02, 8/256/1@1=03 04"));
}

void TstHostWrite::queuedWriteDoesNotWaitForTheImageLock()
{
    DriverFixture driver;
    int returned = -1;
    PLC_driver.imageMutex.lock();
    Elsewhere writer([&returned] { returned = writeRegister(7, "10", hex("34 12"), 1); });
    writer.finish();
    PLC_driver.imageMutex.unlock();
    QCOMPARE(returned, 1);
}

QTEST_APPLESS_MAIN(TstHostWrite)
#include "tst_host_write.moc"
