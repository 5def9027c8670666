/// Written values on their way into the image, in both storage modes.
#include "image/mirror_write.h"

#include "tests/elsewhere.h"
#include "tests/image_fixture.h"

#include <climits>

namespace {

void mirrorColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("after");
}

void mirrorRow(const char *name, int devType, int address, int count, const char *data, const char *after)
{
    QTest::newRow(name) << devType << address << count << hex(data) << QString::fromLatin1(after);
}

/// Mirrors the row's write on station 7.
void mirrorTheRow()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, count);
    QFETCH(QByteArray, data);
    WriteDataToLocal(writeVar(devType, address, count, data, 7));
}

/// Device-type codes without an area, and the edges between those with one.
const QList<int> codesWithoutArea{-1, INT_MIN, 18, 99, 103, INT_MAX};

} // namespace

class TstMirrorWrite : public QObject {
    Q_OBJECT

private slots:
    void imageModeWritesByCode_data();
    void imageModeWritesByCode();
    void imageModeTouchesOnlyWhatTheBytesCover_data();
    void imageModeTouchesOnlyWhatTheBytesCover();
    void keyedModeWritesByCode_data();
    void keyedModeWritesByCode();
    void keyedBitsAreSetByOneAndClearedByAnythingElse_data();
    void keyedBitsAreSetByOneAndClearedByAnythingElse();
    void keyedWordBitIsLeftAloneByValuesOtherThanZeroAndOne_data();
    void keyedWordBitIsLeftAloneByValuesOtherThanZeroAndOne();
    void keyedWordBitsAllLandOnTheBitOfTheFirstAddress_data();
    void keyedWordBitsAllLandOnTheBitOfTheFirstAddress();
    void keyedRecordsTooShortForABitAreLeftAlone();
    void keyedRecordsWithMoreBytesTakeABit();
    void keyedWordsReplaceRecordsOfAnyLength();
    void codesWithoutAnAreaAreIgnored();
    void storageModeIsChosenAtEachWrite();
    void missingSettingsMeanImageMode();
    void mirroringWaitsForTheImageLock();
    void mirroringRunsUnderTheListLock();
    void hostileRecordsAreSafe_data();
    void hostileRecordsAreSafe();
    void hugeCountsAreBounded();
};

void TstMirrorWrite::imageModeWritesByCode_data()
{
    const char *bits = "01 00 01";
    const char *words = "44 33 22 11";
    mirrorColumns();
    mirrorRow("0", 0, 13, 3, bits, "bit0[1]=a0");
    mirrorRow("1", 1, 13, 3, bits, "bit1[1]=a0");
    mirrorRow("2", 2, 13, 3, bits, "bit2[1]=a0");
    mirrorRow("3", 3, 13, 3, bits, "bit3[1]=a0");
    mirrorRow("4", 4, 13, 3, bits, "bit4[1]=a0");
    mirrorRow("5", 5, 13, 3, bits, "bit5[1]=a0");
    mirrorRow("6", 6, 13, 3, bits, "bit6[1]=a0");
    mirrorRow("7", 7, 10, 2, words, "word7[10]=3344 word7[11]=1122");
    mirrorRow("8", 8, 10, 2, words, "word8[10]=3344 word8[11]=1122");
    mirrorRow("9", 9, 10, 2, words, "word9[10]=3344 word9[11]=1122");
    mirrorRow("10", 10, 10, 2, words, "word10[10]=3344 word10[11]=1122");
    mirrorRow("11", 11, 10, 2, words, "word11[10]=3344 word11[11]=1122");
    mirrorRow("12", 12, 10, 2, words, "word7[10]=1122 word7[11]=3344");
    mirrorRow("13", 13, 10, 1, words, "dword13[10]=11223344");
    mirrorRow("13 counts values", 13, 10, 2, "44 33 22 11 88 77 66 55", "dword13[10]=11223344 dword13[11]=55667788");
    mirrorRow("14", 14, 10, 2, words, "word8[10]=1122 word8[11]=3344");
    mirrorRow("15", 15, 163, 3, bits, "word7[10]=0028");
    mirrorRow("16", 16, 163, 3, bits, "word8[10]=0028");
    mirrorRow("17", 17, 163, 3, bits, "word11[10]=0028");
    mirrorRow("100", 100, 10, 2, words, "word100[10]=3344 word100[11]=1122");
    mirrorRow("101", 101, 10, 2, words, "word100[10]=1122 word100[11]=3344");
    mirrorRow("102", 102, 163, 3, bits, "word100[10]=0028");
    mirrorRow("12 with count 1", 12, 10, 1, words, "");
    mirrorRow("12 with count 3", 12, 10, 3, "44 33 22 11 88 77 66 55", "word7[10]=1122 word7[11]=3344");
    mirrorRow("count 0", 7, 10, 0, words, "");
    mirrorRow("count -1", 7, 10, -1, words, "");
    mirrorRow("no data", 7, 10, 2, "", "");
    mirrorRow("the last word and one beyond", 100, 65534, 2, words, "word100[65534]=3344");
    mirrorRow("one word before the area", 8, -1, 2, words, "word8[0]=1122");
}

void TstMirrorWrite::imageModeWritesByCode()
{
    DriverFixture driver;
    mirrorTheRow();
    QTEST(image(), "after");
    QCOMPARE(store(), QString());
}

void TstMirrorWrite::imageModeTouchesOnlyWhatTheBytesCover_data()
{
    mirrorColumns();
    mirrorRow("bits", 0, 8, 4, "00 02", "bit0[1]=fc word7[10]=ffff word7[11]=ffff dword13[10]=ffffffff");
    mirrorRow("word bits", 15, 160, 4, "00 02", "bit0[1]=ff word7[10]=fffc word7[11]=ffff dword13[10]=ffffffff");
    mirrorRow("words", 7, 10, 2, "34 12 78", "bit0[1]=ff word7[10]=1234 word7[11]=ffff dword13[10]=ffffffff");
    mirrorRow("pairs", 12, 10, 2, "34 12 78", "bit0[1]=ff word7[10]=ffff word7[11]=ffff dword13[10]=ffffffff");
    mirrorRow("values", 13, 10, 1, "34 12 78", "bit0[1]=ff word7[10]=ffff word7[11]=ffff dword13[10]=ffffffff");
}

void TstMirrorWrite::imageModeTouchesOnlyWhatTheBytesCover()
{
    DriverFixture driver;
    PLC_driver.bitImage0[1] = 0xFF;
    PLC_driver.wordImage7[10] = PLC_driver.wordImage7[11] = 0xFFFF;
    PLC_driver.dwordImage13[10] = 0xFFFFFFFF;
    mirrorTheRow();
    QTEST(image(), "after");
}

void TstMirrorWrite::keyedModeWritesByCode_data()
{
    const char *words = "44 33 22 11";
    mirrorColumns();
    mirrorRow("0 is ignored although image mode writes it", 0, 13, 3, "01 01 01", "");
    mirrorRow("1", 1, 13, 1, "01", "7/1/8=20 00");
    mirrorRow("2", 2, 13, 1, "01", "7/2/8=20 00");
    mirrorRow("3", 3, 13, 1, "01", "7/3/8=20 00");
    mirrorRow("4", 4, 13, 1, "01", "7/4/8=20 00");
    mirrorRow("5", 5, 13, 1, "01", "7/5/8=20 00");
    mirrorRow("6", 6, 13, 1, "01", "7/6/8=20 00");
    mirrorRow("bits across two records", 3, 15, 2, "01 01", "7/3/8=80 00, 7/3/16=01 00");
    mirrorRow("bits without a byte are skipped", 3, 15, 2, "01", "7/3/8=80 00");
    mirrorRow("7", 7, 10, 2, words, "7/7/10=44 33, 7/7/11=22 11");
    mirrorRow("8", 8, 10, 2, words, "7/8/10=44 33, 7/8/11=22 11");
    mirrorRow("9", 9, 10, 2, words, "7/9/10=44 33, 7/9/11=22 11");
    mirrorRow("10", 10, 10, 2, words, "7/10/10=44 33, 7/10/11=22 11");
    mirrorRow("11", 11, 10, 2, words, "7/11/10=44 33, 7/11/11=22 11");
    mirrorRow("100", 100, 10, 2, words, "7/100/10=44 33, 7/100/11=22 11");
    mirrorRow("half a word is skipped", 7, 10, 2, "44 33 22", "7/7/10=44 33");
    mirrorRow("12, the low word first of all", 12, 10, 2, words, "7/7/11=44 33, 7/7/10=22 11");
    mirrorRow("14", 14, 10, 2, words, "7/8/11=44 33, 7/8/10=22 11");
    mirrorRow("101", 101, 10, 2, words, "7/100/11=44 33, 7/100/10=22 11");
    mirrorRow("12 with count 1", 12, 10, 1, words, "");
    mirrorRow("12 with count 3", 12, 10, 3, "44 33 22 11 88 77 66 55", "7/7/11=44 33, 7/7/10=22 11");
    mirrorRow("12 with two values", 12, 10, 4, "44 33 22 11 88 77 66 55",
              "7/7/11=44 33, 7/7/10=22 11, 7/7/13=88 77, 7/7/12=66 55");
    mirrorRow("12 short of a byte", 12, 10, 2, "44 33 22", "");
    mirrorRow("12, second value short of a byte", 12, 10, 4, "44 33 22 11 88 77 66", "7/7/11=44 33, 7/7/10=22 11");
    mirrorRow("12 with more bytes than its count", 12, 10, 2, "44 33 22 11 88 77 66 55", "7/7/11=44 33, 7/7/10=22 11");
    mirrorRow("13 with more bytes than its count", 13, 5, 1, "44 33 22 11 88 77 66 55", "7/13/5=22 11 44 33");
    mirrorRow("13, the high word first", 13, 5, 1, words, "7/13/5=22 11 44 33");
    mirrorRow("13, 11 22 33 44 is kept as 33 44 11 22", 13, 5, 1, "11 22 33 44", "7/13/5=33 44 11 22");
    mirrorRow("13 counts values", 13, 5, 2, "44 33 22 11 88 77 66 55", "7/13/5=22 11 44 33, 7/13/6=66 55 88 77");
    mirrorRow("13 short of a byte", 13, 5, 2, "44 33 22 11 88 77 66", "7/13/5=22 11 44 33");
    mirrorRow("15, bit 21 is bit 5 of word 1", 15, 21, 1, "01", "7/7/1=20 00");
    mirrorRow("15, bit 29 is bit 5 of the second byte", 15, 29, 1, "01", "7/7/1=00 20");
    mirrorRow("16", 16, 21, 1, "01", "7/8/1=20 00");
    mirrorRow("17", 17, 21, 1, "01", "7/11/1=20 00");
    mirrorRow("102", 102, 21, 1, "01", "7/100/1=20 00");
    mirrorRow("count 0", 7, 10, 0, words, "");
    mirrorRow("count -1", 7, 10, -1, words, "");
    mirrorRow("no data", 7, 10, 2, "", "");
}

void TstMirrorWrite::keyedModeWritesByCode()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    mirrorTheRow();
    QTEST(store(), "after");
    QCOMPARE(image(), QString());
}

void TstMirrorWrite::keyedBitsAreSetByOneAndClearedByAnythingElse_data()
{
    mirrorColumns();
    mirrorRow("1 sets", 3, 10, 1, "01", "7/3/8=FF");
    mirrorRow("0 clears", 3, 10, 1, "00", "7/3/8=FB");
    mirrorRow("2 clears", 3, 10, 1, "02", "7/3/8=FB");
    mirrorRow("FF clears", 3, 10, 1, "FF", "7/3/8=FB");
}

void TstMirrorWrite::keyedBitsAreSetByOneAndClearedByAnythingElse()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 3, 8, "FF");
    mirrorTheRow();
    QTEST(store(), "after");
}

void TstMirrorWrite::keyedWordBitIsLeftAloneByValuesOtherThanZeroAndOne_data()
{
    mirrorColumns();
    mirrorRow("1 sets", 15, 22, 1, "01", "7/7/1=60 A0, 7/7/2=FF FF");
    mirrorRow("0 clears", 15, 21, 1, "00", "7/7/1=00 A0, 7/7/2=FF FF");
    mirrorRow("2 leaves a set bit", 15, 21, 1, "02", "7/7/1=20 A0, 7/7/2=FF FF");
    mirrorRow("2 leaves a clear bit", 15, 22, 1, "02", "7/7/1=20 A0, 7/7/2=FF FF");
    mirrorRow("FF leaves a clear bit", 15, 22, 1, "FF", "7/7/1=20 A0, 7/7/2=FF FF");
    mirrorRow("FF leaves a set bit", 15, 21, 1, "FF", "7/7/1=20 A0, 7/7/2=FF FF");
    mirrorRow("1 sets the first bit of the second byte", 15, 24, 1, "01", "7/7/1=20 A1, 7/7/2=FF FF");
    mirrorRow("1 sets the last bit of the first byte", 15, 23, 1, "01", "7/7/1=A0 A0, 7/7/2=FF FF");
    mirrorRow("no byte leaves the bit", 15, 21, 1, "", "7/7/1=20 A0, 7/7/2=FF FF");
    mirrorRow("0 clears in the second byte", 15, 31, 1, "00", "7/7/1=20 20, 7/7/2=FF FF");
}

void TstMirrorWrite::keyedWordBitIsLeftAloneByValuesOtherThanZeroAndOne()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 7, 1, "20 A0") << record(7, 7, 2, "FF FF");
    mirrorTheRow();
    QTEST(store(), "after");
}

void TstMirrorWrite::keyedWordBitsAllLandOnTheBitOfTheFirstAddress_data()
{
    mirrorColumns();
    mirrorRow("the last of three counts", 15, 163, 3, "01 00 01", "7/7/10=08 00");
    mirrorRow("the last of three clears", 15, 163, 3, "01 01 00", "7/7/10=00 00");
    mirrorRow("a last 2 changes nothing", 15, 163, 3, "00 01 02", "7/7/10=08 00");
    mirrorRow("the next word gets the same bit", 15, 175, 2, "01 01", "7/7/10=00 80, 7/7/11=00 80");
}

void TstMirrorWrite::keyedWordBitsAllLandOnTheBitOfTheFirstAddress()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    mirrorTheRow();
    QTEST(store(), "after");
}

void TstMirrorWrite::keyedRecordsTooShortForABitAreLeftAlone()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 3, 8, "") << record(7, 7, 1, "20") << record(7, 7, 2, "");
    WriteDataToLocal(writeVar(3, 10, 1, hex("01"), 7));
    WriteDataToLocal(writeVar(15, 16, 1, hex("01"), 7));
    WriteDataToLocal(writeVar(15, 21, 1, hex("00"), 7));
    WriteDataToLocal(writeVar(15, 32, 1, hex("01"), 7));
    QCOMPARE(store(), QStringLiteral("7/3/8=, 7/7/1=20, 7/7/2="));
}

void TstMirrorWrite::keyedRecordsWithMoreBytesTakeABit()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 3, 8, "20 55 66") << record(7, 7, 1, "20 A0 55 66");
    WriteDataToLocal(writeVar(3, 10, 1, hex("01"), 7));
    WriteDataToLocal(writeVar(15, 22, 1, hex("01"), 7));
    QCOMPARE(store(), QStringLiteral("7/3/8=24 55 66, 7/7/1=60 A0 55 66"));
}

void TstMirrorWrite::keyedWordsReplaceRecordsOfAnyLength()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 7, 10, "AA BB CC DD") << record(7, 7, 11, "") << record(7, 13, 5, "AA");
    WriteDataToLocal(writeVar(7, 10, 2, hex("34 12 78 56"), 7));
    WriteDataToLocal(writeVar(13, 5, 1, hex("11 22 33 44"), 7));
    QCOMPARE(store(), QStringLiteral("7/7/10=34 12, 7/7/11=78 56, 7/13/5=33 44 11 22"));
}

void TstMirrorWrite::codesWithoutAnAreaAreIgnored()
{
    for (int stationScope : {0, 1}) {
        for (int devType : codesWithoutArea) {
            DriverFixture driver;
            driver.settings.stationScope = stationScope;
            WriteDataToLocal(writeVar(devType, 0, 4, hex("01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01")));
            QCOMPARE(image(), QString());
            QCOMPARE(store(), QString());
        }
    }
}

void TstMirrorWrite::storageModeIsChosenAtEachWrite()
{
    DriverFixture driver;
    WriteDataToLocal(writeVar(7, 10, 1, hex("34 12"), 7));
    driver.settings.stationScope = -1;
    WriteDataToLocal(writeVar(7, 10, 1, hex("78 56"), 7));
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
    QCOMPARE(store(), QStringLiteral("7/7/10=78 56"));
}

void TstMirrorWrite::missingSettingsMeanImageMode()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    WriteDataToLocal(writeVar(7, 10, 1, hex("34 12"), 7));
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
}

void TstMirrorWrite::mirroringWaitsForTheImageLock()
{
    DriverFixture driver;
    PLC_driver.imageMutex.lock();
    Elsewhere writer([] { WriteDataToLocal(writeVar(7, 10, 1, hex("34 12"))); });
    const bool waited = writer.isHeldUp();
    const QString before = !waited ? QStringLiteral("not looked at") : image();
    PLC_driver.imageMutex.unlock();
    writer.finish();
    QVERIFY(waited);
    QCOMPARE(before, QString());
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
}

void TstMirrorWrite::mirroringRunsUnderTheListLock()
{
    DriverFixture driver;
    PLC_driver.listMutex.lock();
    Elsewhere writer([] { WriteDataToLocal(writeVar(7, 10, 1, hex("34 12"))); });
    writer.finish();
    PLC_driver.listMutex.unlock();
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
}

void TstMirrorWrite::hostileRecordsAreSafe_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {0, 3, 7, 12, 13, 14, 15, 17, 100, 101, 102, 55, -1})
        QTest::newRow(qPrintable(QString::number(devType))) << devType;
}

void TstMirrorWrite::hostileRecordsAreSafe()
{
    QFETCH(int, devType);
    DriverFixture driver;
    for (int stationScope : {0, 1}) {
        driver.settings.stationScope = stationScope;
        for (int address : {INT_MIN, INT_MIN + 1, -17, -1, 65534, 524279, 1048559, INT_MAX - 1, INT_MAX}) {
            for (int count : {INT_MIN, -1, 0, 1, 3, 40, 1000}) {
                for (const char *data : {"", "01", "01 01 01", "01 01 01 01 01 01 01 01 01"})
                    WriteDataToLocal(writeVar(devType, address, count, hex(data), stationScope ? INT_MIN : INT_MAX));
            }
        }
    }
    for (const EXTENDVAR &var : qAsConst(PLC_driver.extendVarList))
        QVERIFY(var.data.size() <= 4);
    // Only elements that some of these addresses name inside the area may have changed.
    QVERIFY(image().count(QLatin1Char('=')) <= 14);
}

void TstMirrorWrite::hugeCountsAreBounded()
{
    for (int devType : {0, 3, 7, 12, 13, 15, 102}) {
        for (int stationScope : {0, 1}) {
            DriverFixture driver;
            driver.settings.stationScope = stationScope;
            WriteDataToLocal(writeVar(devType, 0, INT_MAX, hex("01 01 01 01 01 01 01 01")));
            // One record a word at most: the largest call names 1,048,576 bits.
            QVERIFY2(PLC_driver.extendVarList.size() <= 65536, qPrintable(QString::number(devType)));
        }
    }
    DriverFixture driver;
    driver.settings.stationScope = 1;
    WriteDataToLocal(writeVar(15, 1, INT_MAX, hex("01")));
    QCOMPARE(PLC_driver.extendVarList.size(), 65537);
}

QTEST_APPLESS_MAIN(TstMirrorWrite)
#include "tst_mirror_write.moc"
