/// Modbus read requests: the frame, the reply it expects and the record that carries both.
#include "frames/read_request.h"

#include "tests/frame_fixture.h"

#include <climits>

namespace {

void addColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("station");
    QTest::addColumn<QString>("frame");
    QTest::addColumn<QString>("reply");
}

struct ReadRow {
    const char *name;
    int devType, address, count, station;
    const char *frame, *reply;
};

void addRow(const ReadRow &row)
{
    QTest::newRow(row.name) << row.devType << row.address << row.count << row.station << QString::fromLatin1(row.frame)
                            << QString::fromLatin1(row.reply);
}

/// Builds the read of the current data row; its one frame starts a transaction.
void checkRow()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, count);
    QFETCH(int, station);
    DriverFixture driver;
    driver.settings.frameTotal = 77;
    driver.settings.frameDone = 66;
    const RW_VAR entry = readVar(devType, address, count, station);
    ReadRegister(&entry);
    QTEST(frames(), "frame");
    QTEST(lengths(), "reply");
    QCOMPARE(driver.settings.frameTotal, 1);
    QCOMPARE(driver.settings.frameDone, 0);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(fields(PLC_driver.protocolList.first().var), fields(entry));
}

/// Nothing is built and the settings stay as they were.
void checkNothingBuilt(const RW_VAR &entry)
{
    DriverFixture driver;
    driver.settings.frameTotal = 77;
    driver.settings.frameDone = 66;
    ReadRegister(&entry);
    QCOMPARE(frames(), QString());
    QCOMPARE(driver.settings.frameTotal, 77);
    QCOMPARE(driver.settings.frameDone, 66);
}

} // namespace

class TstReadRequest : public QObject {
    Q_OBJECT

private slots:
    void workedExamplesAreBuiltAsOnTheWire_data();
    void workedExamplesAreBuiltAsOnTheWire() { checkRow(); }
    void everyBaseTypeHasItsFunctionAndAddress_data();
    void everyBaseTypeHasItsFunctionAndAddress() { checkRow(); }
    void otherNumbersBuildNothing_data();
    void otherNumbersBuildNothing();
    void readsGoToTheirSideOfABoundary_data();
    void readsGoToTheirSideOfABoundary() { checkRow(); }
    void quantitiesAreCutTo16Bits_data();
    void quantitiesAreCutTo16Bits() { checkRow(); }
    void broadcastIsTheWholeStationNumberZeroNotItsByte_data();
    void broadcastIsTheWholeStationNumberZeroNotItsByte() { checkRow(); }
    void addressesAreNotCheckedAndKeepTheirLow16Bits_data();
    void addressesAreNotCheckedAndKeepTheirLow16Bits() { checkRow(); }
    void negativeCountsBuildAnOrdinaryFrame_data();
    void negativeCountsBuildAnOrdinaryFrame() { checkRow(); }
    void countsAboveTheElementLimitBuildNothing_data();
    void countsAboveTheElementLimitBuildNothing();
    void recordCarriesEveryFieldOfTheEntry();
    void trailingWordsAreZero();
    void buildersMayBeCalledByName();
    void readIsNotMirroredAndLeavesItsListAlone();
    void worksWithoutSettings();
};

void TstReadRequest::workedExamplesAreBuiltAsOnTheWire_data()
{
    addColumns();
    addRow({"station 1, code 2, address 10, count 2", 2, 10, 2, 1, "01 01 07 DA 00 10 1D 49", "8/7/3/2"});
    addRow({"station 1, code 8, address 300, count 4", 8, 300, 4, 1, "01 03 2F 0C 00 04 8C DE", "8/13/3/8"});
    addRow({"station 2, code 13, address 0, count 3", 13, 0, 3, 2, "02 03 25 E4 00 06 8E C0", "8/17/3/12"});
}

void TstReadRequest::everyBaseTypeHasItsFunctionAndAddress_data()
{
    addColumns();
    addRow({"code 0", 0, 3, 2, 1, "01 01 04 B3 00 10 CD 11", "8/7/3/2"});
    addRow({"code 1", 1, 3, 2, 1, "01 01 00 03 00 10 CD C6", "8/7/3/2"});
    addRow({"code 2", 2, 3, 2, 1, "01 01 07 D3 00 10 CD 4B", "8/7/3/2"});
    addRow({"code 3", 3, 3, 2, 1, "01 01 11 33 00 10 C8 F5", "8/7/3/2"});
    addRow({"code 4", 4, 3, 2, 1, "01 01 17 73 00 10 C9 A9", "8/7/3/2"});
    addRow({"code 5", 5, 3, 2, 1, "01 01 1F 43 00 10 CB C6", "8/7/3/2"});
    addRow({"code 6", 6, 3, 2, 1, "01 01 23 F3 00 10 C6 71", "8/7/3/2"});
    addRow({"code 7", 7, 3, 2, 1, "01 03 00 03 00 02 34 0B", "8/9/3/4"});
    addRow({"code 8", 8, 3, 2, 1, "01 03 1F 43 00 02 32 0B", "8/9/3/4"});
    addRow({"code 9", 9, 3, 2, 1, "01 03 23 2B 00 02 BF 87", "8/9/3/4"});
    addRow({"code 10", 10, 3, 2, 1, "01 03 25 1F 00 02 FE C1", "8/9/3/4"});
    addRow({"code 11", 11, 3, 2, 1, "01 03 21 37 00 02 7F F9", "8/9/3/4"});
    addRow({"code 13", 13, 3, 2, 1, "01 03 25 EA 00 04 6E F1", "8/13/3/8"});
    addRow({"code 100", 100, 3, 2, 1, "01 03 32 CB 00 02 BB 4D", "8/9/3/4"});
}

void TstReadRequest::otherNumbersBuildNothing_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {12, 14, 15, 16, 17, 18, 55, 99, 101, 102, 103, 255, 256, 0x10002, INT_MAX, -1, -100, INT_MIN})
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType))) << devType;
}

void TstReadRequest::otherNumbersBuildNothing()
{
    QFETCH(int, devType);
    checkNothingBuilt(readVar(devType, 3, 2));
}

void TstReadRequest::readsGoToTheirSideOfABoundary_data()
{
    addColumns();
    addRow({"code 2, last of the low piece", 2, 2047, 1, 1, "01 01 0F CF 00 08 0E E7", "8/6/3/1"});
    addRow({"code 2, first of the high piece", 2, 2048, 1, 1, "01 01 2E E0 00 08 35 12", "8/6/3/1"});
    addRow({"code 13, last of the low piece", 13, 55, 1, 1, "01 03 26 52 00 02 6E 92", "8/9/3/4"});
    addRow({"code 13, first of the high piece", 13, 56, 1, 1, "01 03 27 10 00 02 CF 7A", "8/9/3/4"});
}

void TstReadRequest::quantitiesAreCutTo16Bits_data()
{
    addColumns();
    addRow({"bits, none", 2, 10, 0, 1, "01 01 07 DA 00 00 1C 85", "8/5/3/0"});
    addRow({"bits, the most that fit", 2, 10, 8191, 1, "01 01 07 DA FF F8 5C F7", "8/8196/3/8191"});
    addRow({"bits, 65536 sent as 0, data still expected", 2, 10, 8192, 1, "01 01 07 DA 00 00 1C 85", "8/8197/3/8192"});
    addRow({"bits, one byte more", 2, 10, 8193, 1, "01 01 07 DA 00 08 1D 43", "8/8198/3/8193"});
    addRow({"words, none", 8, 300, 0, 1, "01 03 2F 0C 00 00 8D 1D", "8/5/3/0"});
    addRow({"words, more than a reply can hold", 8, 300, 128, 1, "01 03 2F 0C 00 80 8C BD", "8/261/3/256"});
    addRow({"words, the most that fit", 8, 300, 65535, 1, "01 03 2F 0C FF FF 8C AD", "8/131075/3/131070"});
    addRow({"words, 65536 expects no data either", 8, 300, 65536, 1, "01 03 2F 0C 00 00 8D 1D", "8/5/3/0"});
    addRow({"words, 65540", 8, 300, 65540, 1, "01 03 2F 0C 00 04 8C DE", "8/13/3/8"});
    addRow({"words, the element limit", 8, 300, 1048576, 1, "01 03 2F 0C 00 00 8D 1D", "8/5/3/0"});
    addRow({"bits, the element limit", 2, 10, 1048576, 1, "01 01 07 DA 00 00 1C 85", "8/1048581/3/1048576"});
    addRow({"code 13, none", 13, 0, 0, 1, "01 03 25 E4 00 00 0E F1", "8/5/3/0"});
    addRow({"code 13, one value is two registers", 13, 0, 1, 1, "01 03 25 E4 00 02 8F 30", "8/9/3/4"});
    addRow({"code 13, the most that fit", 13, 0, 32767, 1, "01 03 25 E4 FF FE CE 81", "8/131073/3/131068"});
    addRow({"code 13, 32768", 13, 0, 32768, 1, "01 03 25 E4 00 00 0E F1", "8/5/3/0"});
    addRow({"code 13, 40000", 13, 0, 40000, 1, "01 03 25 E4 38 80 1C 91", "8/28933/3/28928"});
    addRow({"code 13, 65537", 13, 0, 65537, 1, "01 03 25 E4 00 02 8F 30", "8/9/3/4"});
}

void TstReadRequest::broadcastIsTheWholeStationNumberZeroNotItsByte_data()
{
    addColumns();
    addRow({"station 0, bits", 2, 10, 2, 0, "00 01 07 DA 00 10 1C 98", "8/0/0/0"});
    addRow({"station 0, words", 8, 300, 4, 0, "00 03 2F 0C 00 04 8D 0F", "8/0/0/0"});
    addRow({"station 255, bits", 2, 10, 2, 255, "FF 01 07 DA 00 10 08 97", "8/7/3/2"});
    addRow({"station 256, bits", 2, 10, 2, 256, "00 01 07 DA 00 10 1C 98", "8/7/3/2"});
    addRow({"station 256, words", 8, 300, 4, 256, "00 03 2F 0C 00 04 8D 0F", "8/13/3/8"});
    addRow({"station 300, bits", 2, 10, 2, 300, "2C 01 07 DA 00 10 1B 34", "8/7/3/2"});
    addRow({"station 300, words", 8, 300, 4, 300, "2C 03 2F 0C 00 04 8A A3", "8/13/3/8"});
    addRow({"station -1, words", 8, 300, 4, -1, "FF 03 2F 0C 00 04 99 00", "8/13/3/8"});
}

void TstReadRequest::addressesAreNotCheckedAndKeepTheirLow16Bits_data()
{
    addColumns();
    addRow({"69744 sent as 4208", 3, 40000, 2, 1, "01 01 10 70 00 10 38 DD", "8/7/3/2"});
    addRow({"65536 sent as 0", 7, 65536, 2, 1, "01 03 00 00 00 02 C4 0B", "8/9/3/4"});
    addRow({"negative, low piece", 8, -3, 2, 1, "01 03 1F 3D 00 02 52 13", "8/9/3/4"});
    addRow({"negative result", 7, -1, 2, 1, "01 03 FF FF 00 02 C4 2F", "8/9/3/4"});
    addRow({"code 0, largest int", 0, INT_MAX, 2, 1, "01 01 04 AF 00 10 0C D7", "8/7/3/2"});
    addRow({"code 8, largest int", 8, INT_MAX, 2, 1, "01 03 2D DF 00 02 FC 9D", "8/9/3/4"});
    addRow({"code 8, smallest int", 8, INT_MIN, 2, 1, "01 03 1F 40 00 02 C2 0B", "8/9/3/4"});
    addRow({"code 13, largest int", 13, INT_MAX, 2, 1, "01 03 26 9E 00 04 2E AF", "8/13/3/8"});
    addRow({"code 13, smallest int", 13, INT_MIN, 2, 1, "01 03 25 E4 00 04 0F 32", "8/13/3/8"});
}

void TstReadRequest::negativeCountsBuildAnOrdinaryFrame_data()
{
    addColumns();
    addRow({"bits, -1", 2, 10, -1, 1, "01 01 07 DA FF F8 5C F7", "8/4/3/-1"});
    addRow({"bits, -6, where any reply length is accepted", 2, 10, -6, 1, "01 01 07 DA FF D0 5C E9", "8/-1/3/-6"});
    addRow({"bits, smallest int", 2, 10, INT_MIN, 1, "01 01 07 DA 00 00 1C 85", "8/-2147483643/3/-2147483648"});
    addRow({"words, -1", 8, 300, -1, 1, "01 03 2F 0C FF FF 8C AD", "8/131075/3/131070"});
    addRow({"words, smallest int", 8, 300, INT_MIN, 1, "01 03 2F 0C 00 00 8D 1D", "8/5/3/0"});
    addRow({"code 13, -1", 13, 0, -1, 1, "01 03 25 E4 FF FE CE 81", "8/131073/3/131068"});
    addRow({"code 13, smallest int", 13, 0, INT_MIN, 1, "01 03 25 E4 00 00 0E F1", "8/5/3/0"});
}

void TstReadRequest::countsAboveTheElementLimitBuildNothing_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::newRow("bits, one too many") << 2 << 1048577;
    QTest::newRow("bits, largest int") << 2 << INT_MAX;
    QTest::newRow("words, one too many") << 8 << 1048577;
    QTest::newRow("words, largest int") << 8 << INT_MAX;
    QTest::newRow("code 13, one too many") << 13 << 1048577;
    QTest::newRow("code 13, largest int") << 13 << INT_MAX;
}

void TstReadRequest::countsAboveTheElementLimitBuildNothing()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    checkNothingBuilt(readVar(devType, 0, count));
}

void TstReadRequest::recordCarriesEveryFieldOfTheEntry()
{
    DriverFixture driver;
    RW_VAR entry = readVar(9, 256, 1, 17);
    entry.connectNo = 11;
    entry.varId = 12;
    entry.rwFlag = 13;
    entry.hostWord3 = 14;
    entry.panelStation = 15;
    entry.resultCode = 16;
    entry.nameText = QStringLiteral("boiler");
    entry.addrText = QStringLiteral("256");
    entry.subIndex = -1;
    entry.hostWord13 = 18;
    entry.data = hex("AA BB");
    ReadRegister(&entry);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(fields(PLC_driver.protocolList.first().var),
             QStringLiteral("11,12,13,14,15,16,boiler,256,9,256,17,1,-1,18,AA BB"));
}

void TstReadRequest::trailingWordsAreZero()
{
    for (int devType : {2, 8}) {
        DriverFixture driver;
        const RW_VAR entry = readVar(devType, 0, 1);
        ReadRegister(&entry);
        QCOMPARE(PLC_driver.protocolList.size(), 1);
        const Protocol &protocol = PLC_driver.protocolList.first();
        QCOMPARE(protocol.extra20, 0);
        QCOMPARE(protocol.extra21, 0);
        QCOMPARE(protocol.extra22, 0);
    }
}

void TstReadRequest::buildersMayBeCalledByName()
{
    DriverFixture driver;
    const RW_VAR bits = readVar(2, 10, 2);
    ReadBool(&bits);
    QCOMPARE(frames(), QStringLiteral("01 01 07 DA 00 10 1D 49"));
    QCOMPARE(lengths(), QStringLiteral("8/7/3/2"));
    QCOMPARE(driver.settings.frameTotal, 1);

    PLC_driver.protocolList.clear();
    const RW_VAR dwords = readVar(13, 0, 3, 2);
    ReadAnalog(&dwords);
    QCOMPARE(frames(), QStringLiteral("02 03 25 E4 00 06 8E C0"));
    QCOMPARE(lengths(), QStringLiteral("8/17/3/12"));

    PLC_driver.protocolList.clear();
    const RW_VAR bitsInWords = readVar(15, 10, 1);
    ReadAnalog(&bitsInWords);
    QCOMPARE(frames(), QStringLiteral("01 03 00 0A 00 01 A4 08"));
    QCOMPARE(lengths(), QStringLiteral("8/7/3/2"));
}

void TstReadRequest::readIsNotMirroredAndLeavesItsListAlone()
{
    DriverFixture driver;
    RW_VAR entry = readVar(7, 3, 1);
    entry.data = hex("34 12");
    PLC_driver.readList.append(entry);
    ReadRegister(&PLC_driver.readList.first());
    QCOMPARE(summary(PLC_driver.readList), QStringLiteral("7/3/1@1"));
    QCOMPARE(int(PLC_driver.wordImage7[3]), 0);
}

void TstReadRequest::worksWithoutSettings()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    const RW_VAR entry = readVar(7, 0, 1);
    ReadRegister(&entry);
    QCOMPARE(frames(), QStringLiteral("01 03 00 00 00 01 84 0A"));
    QCOMPARE(lengths(), QStringLiteral("8/7/3/2"));
}

QTEST_APPLESS_MAIN(TstReadRequest)
#include "tst_read_request.moc"
