/// What the image shows of a host write: local writes, and queued ones on a good and on a failing link.
#include "driver/emerson_ec_series.h"

#include "tests/host_fixture.h"

#include <climits>

class TstHostWriteImage : public QObject {
    Q_OBJECT

private slots:
    void missingSettingsMeanALocalWrite();
    void localWritesReachOnlyTheImage_data();
    void localWritesReachOnlyTheImage();
    void localWritesReachOnlyTheKeyedStore_data();
    void localWritesReachOnlyTheKeyedStore();
    void localWriteSkipsMissingElementsButQueuedWritePadsThem();
    void localWriteDoesNotCutTheQueue();
    void queuedBlocksAreMirroredWhileTheLinkFails_data();
    void queuedBlocksAreMirroredWhileTheLinkFails();
    void workingLinkMirrorsWhenTheFrameIsBuilt();
    void failingLinkMirrorsAtOnceAndNotAgain();
};

void TstHostWriteImage::missingSettingsMeanALocalWrite()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    QCOMPARE(writeRegister(7, "10", hex("34 12"), 1), 1);
    QCOMPARE(queue(), QString());
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
}

void TstHostWriteImage::localWritesReachOnlyTheImage_data()
{
    const char *words = "44 33 22 11";
    writeColumns();
    writeRow("0 is accepted", 0, "15", 1, 32, "01", 1, "bit0[1]=20");
    writeRow("3", 3, "13", 3, 32, "01 00 01", 1, "bit3[1]=a0");
    writeRow("7", 7, "10", 2, 32, words, 1, "word7[10]=3344 word7[11]=1122");
    writeRow("8 across its boundary", 8, "255", 2, 1, words, 1, "word8[255]=3344 word8[256]=1122");
    writeRow("12", 12, "10", 2, 32, words, 1, "word7[10]=1122 word7[11]=3344");
    writeRow("12 with count 1 is not rounded up", 12, "10", 1, 32, words, 1, "");
    writeRow("13, the count taken as values", 13, "205", 2, 32, "44 33 22 11 88 77 66 55", 1,
             "dword13[5]=11223344 dword13[6]=55667788");
    writeRow("13 with count 1", 13, "205", 1, 32, words, 1, "dword13[5]=11223344");
    writeRow("15", 15, "10.3", 3, 32, "01 00 01", 1, "word7[10]=0028");
    writeRow("101", 101, "10", 2, 32, words, 1, "word100[10]=1122 word100[11]=3344");
    writeRow("102", 102, "10.3", 1, 32, "01", 1, "word100[10]=0008");
    writeRow("an unknown code", 55, "10", 1, 32, words, 1, "");
    writeRow("count 0", 7, "10", 0, 32, words, 1, "");
    writeRow("count -1", 7, "10", -1, 32, words, 1, "");
    writeRow("any block length", 7, "10", 2, -1, words, 1, "word7[10]=3344 word7[11]=1122");
    writeRow("largest count", 7, "10", INT_MAX, 32, words, 1, "word7[10]=3344 word7[11]=1122");
}

void TstHostWriteImage::localWritesReachOnlyTheImage()
{
    for (int writeMode : {0, 1, 3, -1}) {
        DriverFixture driver;
        driver.settings.writeMode = writeMode;
        checkHostWrite(driver);
        QTEST(image(), "after");
        QCOMPARE(queue(), QString());
        QCOMPARE(store(), QString());
    }
}

void TstHostWriteImage::localWritesReachOnlyTheKeyedStore_data()
{
    writeColumns();
    writeRow("0 returns 1 although nothing is kept", 0, "15", 1, 32, "01", 1, "");
    writeRow("3", 3, "13", 1, 32, "01", 1, "7/3/8=20 00");
    writeRow("7", 7, "10", 1, 32, "34 12", 1, "7/7/10=34 12");
    writeRow("13", 13, "205", 1, 32, "11 22 33 44", 1, "7/13/5=33 44 11 22");
    writeRow("15, all on the bit of the first address", 15, "10.3", 3, 32, "01 00 01", 1, "7/7/10=08 00");
}

void TstHostWriteImage::localWritesReachOnlyTheKeyedStore()
{
    DriverFixture driver;
    driver.settings.writeMode = 1;
    driver.settings.stationScope = 1;
    checkHostWrite(driver);
    QTEST(store(), "after");
    QCOMPARE(queue(), QString());
    QCOMPARE(image(), QString());
}

void TstHostWriteImage::localWriteSkipsMissingElementsButQueuedWritePadsThem()
{
    DriverFixture driver;
    PLC_driver.failFlag = true;
    PLC_driver.wordImage7[11] = PLC_driver.wordImage8[11] = 0x5555;
    driver.settings.writeMode = 1;
    QCOMPARE(writeRegister(7, "10", hex("34 12"), 2), 1);
    driver.settings.writeMode = 2;
    QCOMPARE(writeRegister(8, "10", hex("34 12"), 2), 1);
    QCOMPARE(image(), QStringLiteral("word7[10]=1234 word7[11]=5555 word8[10]=1234"));
    QCOMPARE(queue(), QStringLiteral("8/10/2@1=34 12 00 00"));
}

void TstHostWriteImage::localWriteDoesNotCutTheQueue()
{
    DriverFixture driver;
    driver.settings.writeMode = 1;
    PLC_driver.writeList << writeVar(8, 255, 2, hex("01 02 03 04"));
    QCOMPARE(writeRegister(7, "10", hex("34 12"), 1), 1);
    QCOMPARE(queue(), QStringLiteral("8/255/2@1=01 02 03 04"));
}

void TstHostWriteImage::queuedBlocksAreMirroredWhileTheLinkFails_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("imageAfter");
    QTest::addColumn<QString>("storeAfter");
    const auto row = [](const char *name, int devType, const char *addrText, int count, const char *data,
                        const char *imageAfter, const char *storeAfter) {
        QTest::newRow(name) << devType << QByteArray(addrText) << count << hex(data) << QString::fromLatin1(imageAfter)
                            << QString::fromLatin1(storeAfter);
    };
    row("bits", 3, "15", 2, "01 01", "bit3[1]=80 bit3[2]=01", "7/3/8=80 00, 7/3/16=01 00");
    row("words", 7, "10", 3, "01 02 03 04 05 06", "word7[10]=0201 word7[11]=0403 word7[12]=0605",
        "7/7/10=01 02, 7/7/11=03 04, 7/7/12=05 06");
    row("words over the boundary", 8, "255", 2, "01 02 03 04", "word8[255]=0201 word8[256]=0403",
        "7/8/255=01 02, 7/8/256=03 04");
    row("a pair from one word of bytes", 12, "10", 1, "01 02", "word7[11]=0201", "7/7/11=01 02, 7/7/10=00 00");
    row("values", 13, "205", 2, "01 02 03 04", "dword13[5]=04030201", "7/13/5=03 04 01 02");
    row("word bits, each at its own place", 15, "10.3", 2, "01 01", "word7[10]=0018", "7/7/10=18 00");
    row("a word bit of 2", 15, "10.3", 1, "02", "", "7/7/10=00 00");
}

void TstHostWriteImage::queuedBlocksAreMirroredWhileTheLinkFails()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, count);
    QFETCH(QByteArray, data);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.maxBlockLen = 2;
        driver.settings.stationScope = stationScope;
        PLC_driver.failFlag = true;
        QVERIFY(writeRegister(devType, addrText.constData(), data, count) > 0);
        QVERIFY(!PLC_driver.writeList.isEmpty());
        if (stationScope == 0) {
            QTEST(image(), "imageAfter");
            QCOMPARE(store(), QString());
        } else {
            QTEST(store(), "storeAfter");
            QCOMPARE(image(), QString());
        }
    }
}

void TstHostWriteImage::workingLinkMirrorsWhenTheFrameIsBuilt()
{
    DriverFixture driver;
    QCOMPARE(writeRegister(7, "100", hex("34 12"), 1), 1);
    QCOMPARE(image(), QString());
    const Protocol *sent = ComCommunication();
    QVERIFY(sent != nullptr);
    QCOMPARE(toHex(sent->frame), QStringLiteral("01 06 00 64 12 34 C5 62"));
    QCOMPARE(image(), QStringLiteral("word7[100]=1234"));
}

void TstHostWriteImage::failingLinkMirrorsAtOnceAndNotAgain()
{
    DriverFixture driver;
    PLC_driver.failFlag = true;
    QCOMPARE(writeRegister(7, "100", hex("34 12"), 1), 1);
    QCOMPARE(image(), QStringLiteral("word7[100]=1234"));
    PLC_driver.wordImage7[100] = 0x5555;
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(image(), QStringLiteral("word7[100]=5555"));
}

QTEST_APPLESS_MAIN(TstHostWriteImage)
#include "tst_host_write_image.moc"
