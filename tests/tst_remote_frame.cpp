/// Requests in the remote format: the frame that describes a variable, the reply it expects, and the mirrored value.
#include "frames/remote_frame.h"

#include "tests/frame_fixture.h"

#include <climits>

namespace {

/// The fields that a remote frame carries, in the order of the frame.
RW_VAR remoteVar(int connectNo, int rwFlag, int panelStation, int station, int devType, int address, int count,
                 int subIndex, int hostWord13, const char *data = "")
{
    RW_VAR var;
    var.connectNo = connectNo;
    var.rwFlag = rwFlag;
    var.panelStation = panelStation;
    var.station = station;
    var.devType = devType;
    var.address = address;
    var.count = count;
    var.subIndex = subIndex;
    var.hostWord13 = hostWord13;
    var.data = hex(data);
    return var;
}

/// Settings in which every change by a builder shows.
void markSettings(DriverFixture &driver)
{
    driver.settings.remoteMode = 1;
    driver.settings.frameTotal = 77;
    driver.settings.frameDone = 66;
}

typedef void (*Builder)(const RW_VAR *);

/// Builds one frame, which starts a transaction, and compares it with a golden one.
void checkFrame(Builder build, const RW_VAR &var, const QString &frame, const QString &reply)
{
    DriverFixture driver;
    markSettings(driver);
    build(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    const Protocol &protocol = PLC_driver.protocolList.first();
    QCOMPARE(toHex(protocol.frame), frame);
    QCOMPARE(lengths(protocol), reply);
    QCOMPARE(fields(protocol.var), fields(var));
    QCOMPARE(protocol.extra20 | protocol.extra21 | protocol.extra22, 0);
    QCOMPARE(driver.settings.frameTotal, 1);
    QCOMPARE(driver.settings.frameDone, 0);
}

void checkNothingBuilt(Builder build, const RW_VAR &var)
{
    DriverFixture driver;
    markSettings(driver);
    build(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 0);
    QCOMPARE(driver.settings.frameTotal, 77);
    QCOMPARE(driver.settings.frameDone, 66);
    QCOMPARE(int(PLC_driver.wordImage7[3]), 0);
}

void addColumns()
{
    QTest::addColumn<RW_VAR>("var");
    QTest::addColumn<QString>("frame");
    QTest::addColumn<QString>("reply");
}

void addRow(const char *name, const RW_VAR &var, const char *frame, const char *reply)
{
    QTest::newRow(name) << var << QString::fromLatin1(frame) << QString::fromLatin1(reply);
}

} // namespace

class TstRemoteFrame : public QObject {
    Q_OBJECT

private slots:
    void readIs22BytesThatDescribeTheVariable_data();
    void readIs22BytesThatDescribeTheVariable();
    void readExpectsDataByTheKindOfItsCode_data();
    void readExpectsDataByTheKindOfItsCode();
    void readOfSpecial32BitsExpectsFourBytesAValue();
    void writeCarriesItsDataUnchanged_data();
    void writeCarriesItsDataUnchanged();
    void lengthByteOfALongWriteIsCutTo8Bits_data();
    void lengthByteOfALongWriteIsCutTo8Bits();
    void writeIsMirroredAtOnce_data();
    void writeIsMirroredAtOnce();
    void writeIsMirroredEvenWhileTheLinkFails();
    void writeIsMirroredIntoTheKeyedStoreForSeveralStations();
    void code0IsWrittenInTheRemoteFormat();
    void numbersThatAreNoCodesAreStillSent();
    void readIsNotMirrored();
    void recordCarriesEveryFieldOfTheEntry();
    void negativeCountsBuildAnOrdinaryFrame_data();
    void negativeCountsBuildAnOrdinaryFrame();
    void countsAboveTheElementLimitBuildNothing();
    void dataBeyondTheFrameLimitBuildsNothing();
    void worksWithoutSettings();
};

void TstRemoteFrame::readIs22BytesThatDescribeTheVariable_data()
{
    addColumns();
    addRow("all zero, checksum 22 is the length alone", remoteVar(0, 0, 0, 0, 0, 0, 0, 0, 0),
           "16 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 16", "22/0/0/0");
    addRow("every field at its place", remoteVar(3, 0, 2, 5, 13, 0x01020304, 2, -1, 0x0A0B0C0D),
           "16 03 00 02 05 00 0D 01 02 03 04 00 02 FF FF FF FF 0A 0B 0C 0D 63", "22/13/3/8");
    addRow("words", remoteVar(1, 0, 1, 5, 8, 300, 4, 0, 0),
           "16 01 00 01 05 00 08 00 00 01 2C 00 04 00 00 00 00 00 00 00 00 56", "22/13/3/8");
    addRow("broadcast", remoteVar(1, 0, 1, 0, 8, 300, 4, 0, 0),
           "16 01 00 01 00 00 08 00 00 01 2C 00 04 00 00 00 00 00 00 00 00 51", "22/0/0/0");
    addRow("station 256 is no broadcast", remoteVar(1, 0, 1, 256, 8, 300, 4, 0, 0),
           "16 01 00 01 00 00 08 00 00 01 2C 00 04 00 00 00 00 00 00 00 00 51", "22/13/3/8");
    addRow("only the low bytes are sent", remoteVar(0x1234, 0x101, 300, 261, 0x12345, -1, 0x12345, INT_MIN, INT_MAX),
           "16 34 01 2C 05 23 45 FF FF FF FF 23 45 80 00 00 00 7F FF FF FF 44", "22/149135/3/149130");
    addRow("negative fields", remoteVar(-1, -1, -1, -1, -1, INT_MIN, -1, -1, -1),
           "16 FF FF FF FF FF FF 80 00 00 00 FF FF FF FF FF FF FF FF FF FF 86", "22/3/3/-2");
}

void TstRemoteFrame::readIs22BytesThatDescribeTheVariable()
{
    QFETCH(RW_VAR, var);
    QFETCH(QString, frame);
    QFETCH(QString, reply);
    checkFrame(Remote_ReadVar, var, frame, reply);
}

void TstRemoteFrame::readExpectsDataByTheKindOfItsCode_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QString>("reply");
    const auto addCodes = [](std::initializer_list<int> devTypes, const char *reply) {
        for (int devType : devTypes)
            QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType))) << devType << QString::fromLatin1(reply);
    };
    addCodes({0, 1, 2, 3, 4, 5, 6}, "22/11/3/6");
    addCodes({7, 8, 9, 10, 11, 12}, "22/17/3/12");
    addCodes({13}, "22/29/3/24");
    addCodes({14, 15, 16, 17, 18, 99, 100, 101, 102, 103, 255, 256, INT_MAX}, "22/17/3/12");
    addCodes({-1, -13, INT_MIN}, "22/17/3/12");
}

void TstRemoteFrame::readExpectsDataByTheKindOfItsCode()
{
    QFETCH(int, devType);
    DriverFixture driver;
    const RW_VAR var = remoteVar(0, 0, 1, 5, devType, 10, 6, 0, 0);
    Remote_ReadVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QTEST(lengths(PLC_driver.protocolList.first()), "reply");
}

void TstRemoteFrame::readOfSpecial32BitsExpectsFourBytesAValue()
{
    DriverFixture driver;
    const RW_VAR var = readVar(13, 0, 2, 5);
    Remote_ReadVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(lengths(PLC_driver.protocolList.first()), QStringLiteral("22/13/3/8"));
    QCOMPARE(toHex(PLC_driver.protocolList.first().frame.mid(5, 2)), QStringLiteral("00 0D"));
}

void TstRemoteFrame::writeCarriesItsDataUnchanged_data()
{
    addColumns();
    addRow("no data", remoteVar(1, 1, 2, 5, 8, 300, 2, 0, 0),
           "16 01 01 02 05 00 08 00 00 01 2C 00 02 00 00 00 00 00 00 00 00 56", "22/8/0/0");
    addRow("two words, low byte first", remoteVar(1, 1, 2, 5, 8, 300, 2, 0, 0x11223344, "34 12 78 56"),
           "1A 01 01 02 05 00 08 00 00 01 2C 00 02 00 00 00 00 11 22 33 44 34 12 78 56 18", "26/8/0/0");
    addRow("broadcast", remoteVar(1, 1, 2, 0, 8, 300, 2, 0, 0x11223344, "34 12 78 56"),
           "1A 01 01 02 00 00 08 00 00 01 2C 00 02 00 00 00 00 11 22 33 44 34 12 78 56 13", "26/0/0/0");
    addRow("sum beyond a byte", remoteVar(11, 1, 255, 255, 102, INT_MAX, 65535, -1, -1, "FF FF FF FF FF FF FF FF"),
           "1E 0B 01 FF FF 00 66 7F FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF F8", "30/8/0/0");
}

void TstRemoteFrame::writeCarriesItsDataUnchanged()
{
    QFETCH(RW_VAR, var);
    QFETCH(QString, frame);
    QFETCH(QString, reply);
    checkFrame(Remote_WriteVar, var, frame, reply);
}

void TstRemoteFrame::lengthByteOfALongWriteIsCutTo8Bits_data()
{
    QTest::addColumn<RW_VAR>("var");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("head");
    QTest::addColumn<QString>("sum");
    QTest::addColumn<QString>("reply");
    const RW_VAR zeros = remoteVar(0, 1, 1, 5, 7, 0, 0, 0, 0);
    QTest::newRow("240 bytes, length 262")
        << remoteVar(1, 1, 2, 5, 8, 300, 120, 0, 0) << hex("34 12").repeated(120)
        << QStringLiteral("06 01 01 02 05 00 08 00 00 01 2C 00 78 00 00 00 00 00 00 00 00") << QStringLiteral("8C")
        << QStringLiteral("262/8/0/0");
    QTest::newRow("233 bytes, length 255")
        << zeros << QByteArray(233, '\0')
        << QStringLiteral("FF 00 01 01 05 00 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00") << QStringLiteral("0D")
        << QStringLiteral("255/8/0/0");
    QTest::newRow("234 bytes, length 256")
        << zeros << QByteArray(234, '\0')
        << QStringLiteral("00 00 01 01 05 00 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00") << QStringLiteral("0E")
        << QStringLiteral("256/8/0/0");
    QTest::newRow("65522 bytes, the longest frame")
        << zeros << QByteArray(65522, '\0')
        << QStringLiteral("08 00 01 01 05 00 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00") << QStringLiteral("16")
        << QStringLiteral("65544/8/0/0");
    QTest::newRow("65522 bytes, of which the last 20 count in the sum")
        << zeros << QByteArray(65502, '\0') + QByteArray(20, '\1')
        << QStringLiteral("08 00 01 01 05 00 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00") << QStringLiteral("2A")
        << QStringLiteral("65544/8/0/0");
}

void TstRemoteFrame::lengthByteOfALongWriteIsCutTo8Bits()
{
    QFETCH(RW_VAR, var);
    QFETCH(QByteArray, data);
    DriverFixture driver;
    var.data = data;
    Remote_WriteVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    const Protocol &protocol = PLC_driver.protocolList.first();
    QCOMPARE(protocol.frame.size(), data.size() + 22);
    QTEST(toHex(protocol.frame.left(21)), "head");
    QVERIFY(protocol.frame.mid(21, data.size()) == data);
    QTEST(toHex(protocol.frame.right(1)), "sum");
    QTEST(lengths(protocol), "reply");
}

void TstRemoteFrame::writeIsMirroredAtOnce_data()
{
    QTest::addColumn<RW_VAR>("var");
    QTest::addColumn<QString>("shown");
    QTest::newRow("bit") << writeVar(3, 13, 1, hex("01")) << QStringLiteral("bits 20");
    QTest::newRow("words") << writeVar(7, 3, 2, hex("34 12 78 56")) << QStringLiteral("words 1234 5678");
    QTest::newRow("32 bits") << writeVar(12, 3, 2, hex("78 56 34 12")) << QStringLiteral("words 1234 5678");
    QTest::newRow("special 32 bits") << writeVar(13, 3, 1, hex("78 56 34 12")) << QStringLiteral("dword 12345678");
    QTest::newRow("bit in a word") << writeVar(15, 53, 1, hex("01")) << QStringLiteral("words 20 0");
    QTest::newRow("broadcast") << writeVar(7, 3, 2, hex("34 12 78 56"), 0) << QStringLiteral("words 1234 5678");
}

void TstRemoteFrame::writeIsMirroredAtOnce()
{
    QFETCH(RW_VAR, var);
    DriverFixture driver;
    Remote_WriteVar(&var);
    QStringList shown;
    if (PLC_driver.bitImage3[1])
        shown << QStringLiteral("bits %1").arg(int(PLC_driver.bitImage3[1]), 0, 16);
    const unsigned short *words = PLC_driver.wordImage7;
    if (words[3] || words[4])
        shown << QStringLiteral("words %1 %2").arg(int(words[3]), 0, 16).arg(int(words[4]), 0, 16);
    if (PLC_driver.dwordImage13[3])
        shown << QStringLiteral("dword %1").arg(PLC_driver.dwordImage13[3], 0, 16);
    QTEST(shown.join(QStringLiteral(", ")), "shown");
}

void TstRemoteFrame::writeIsMirroredEvenWhileTheLinkFails()
{
    DriverFixture driver;
    PLC_driver.failFlag = true;
    const RW_VAR var = writeVar(7, 3, 1, hex("34 12"));
    Remote_WriteVar(&var);
    QCOMPARE(int(PLC_driver.wordImage7[3]), 0x1234);
    QVERIFY(PLC_driver.failFlag);
}

void TstRemoteFrame::writeIsMirroredIntoTheKeyedStoreForSeveralStations()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    const RW_VAR var = writeVar(13, 3, 1, hex("11 22 33 44"), 7);
    Remote_WriteVar(&var);
    QCOMPARE(PLC_driver.extendVarList.size(), 1);
    const EXTENDVAR &stored = PLC_driver.extendVarList.first();
    QCOMPARE(QStringLiteral("%1/%2/%3").arg(stored.station).arg(stored.devType).arg(stored.address),
             QStringLiteral("7/13/3"));
    QCOMPARE(toHex(stored.data), QStringLiteral("33 44 11 22"));
    QCOMPARE(PLC_driver.dwordImage13[3], 0u);
}

// Unlike the PLC's own format, which refuses to write it.
void TstRemoteFrame::code0IsWrittenInTheRemoteFormat()
{
    DriverFixture driver;
    const RW_VAR var = remoteVar(1, 1, 2, 5, 0, 13, 1, 0, 0, "01");
    Remote_WriteVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(toHex(PLC_driver.protocolList.first().frame),
             QStringLiteral("17 01 01 02 05 00 00 00 00 00 0D 00 01 00 00 00 00 00 00 00 00 01 2F"));
    QCOMPARE(int(PLC_driver.bitImage0[1]), 0x20);
}

void TstRemoteFrame::numbersThatAreNoCodesAreStillSent()
{
    for (int devType : {18, 99, 103, -1, INT_MIN, INT_MAX}) {
        DriverFixture driver;
        const RW_VAR var = remoteVar(1, 1, 2, 5, devType, 13, 1, 0, 0, "01");
        Remote_WriteVar(&var);
        QCOMPARE(PLC_driver.protocolList.size(), 1);
        QCOMPARE(lengths(PLC_driver.protocolList.first()), QStringLiteral("23/8/0/0"));
        QCOMPARE(int(PLC_driver.bitImage0[1]), 0);
    }
}

void TstRemoteFrame::readIsNotMirrored()
{
    DriverFixture driver;
    const RW_VAR var = remoteVar(1, 0, 2, 5, 7, 3, 1, 0, 0, "34 12");
    Remote_ReadVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(PLC_driver.protocolList.first().frame.size(), 22);
    QCOMPARE(int(PLC_driver.wordImage7[3]), 0);
}

void TstRemoteFrame::recordCarriesEveryFieldOfTheEntry()
{
    for (Builder build : {Builder(Remote_ReadVar), Builder(Remote_WriteVar)}) {
        DriverFixture driver;
        RW_VAR var = remoteVar(11, 13, 15, 17, 9, 256, 2, 21, 18, "01 02 03 04");
        var.varId = 12;
        var.hostWord3 = 14;
        var.resultCode = 16;
        var.nameText = QStringLiteral("pump");
        var.addrText = QStringLiteral("256");
        build(&var);
        QCOMPARE(PLC_driver.protocolList.size(), 1);
        QCOMPARE(fields(PLC_driver.protocolList.first().var),
                 QStringLiteral("11,12,13,14,15,16,pump,256,9,256,17,2,21,18,01 02 03 04"));
    }
}

void TstRemoteFrame::negativeCountsBuildAnOrdinaryFrame_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("frame");
    QTest::newRow("words, -1") << 7 << -1 << "16 01 00 01 05 00 07 00 00 00 64 FF FF 00 00 00 00 00 00 00 00 86";
    QTest::newRow("words, smallest int") << 7 << INT_MIN
                                         << "16 01 00 01 05 00 07 00 00 00 64 00 00 00 00 00 00 00 00 00 00 88";
    QTest::newRow("bits, -1") << 3 << -1 << "16 01 00 01 05 00 03 00 00 00 64 FF FF 00 00 00 00 00 00 00 00 82";
    QTest::newRow("bits, smallest int") << 3 << INT_MIN
                                        << "16 01 00 01 05 00 03 00 00 00 64 00 00 00 00 00 00 00 00 00 00 84";
    QTest::newRow("code 13, smallest int")
        << 13 << INT_MIN << "16 01 00 01 05 00 0D 00 00 00 64 00 00 00 00 00 00 00 00 00 00 8E";
}

void TstRemoteFrame::negativeCountsBuildAnOrdinaryFrame()
{
    QFETCH(int, devType);
    QFETCH(int, count);
    DriverFixture driver;
    const RW_VAR var = remoteVar(1, 0, 1, 5, devType, 100, count, 0, 0);
    Remote_ReadVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QTEST(toHex(PLC_driver.protocolList.first().frame), "frame");
    QCOMPARE(PLC_driver.protocolList.first().frameLen, 22);

    PLC_driver.protocolList.clear();
    RW_VAR write = var;
    write.data = hex("01 01 01 01");
    Remote_WriteVar(&write);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(lengths(PLC_driver.protocolList.first()), QStringLiteral("26/8/0/0"));
}

void TstRemoteFrame::countsAboveTheElementLimitBuildNothing()
{
    for (int devType : {3, 7, 13}) {
        for (int count : {1048577, 0x20000000, 0x40000000, INT_MAX}) {
            checkNothingBuilt(Remote_ReadVar, readVar(devType, 3, count));
            checkNothingBuilt(Remote_WriteVar, writeVar(devType, 3, count, hex("34 12")));
        }
    }
    checkFrame(Remote_ReadVar, remoteVar(1, 0, 1, 5, 7, 100, 1048576, 0, 0),
               QStringLiteral("16 01 00 01 05 00 07 00 00 00 64 00 00 00 00 00 00 00 00 00 00 88"),
               QStringLiteral("22/2097157/3/2097152"));
}

void TstRemoteFrame::dataBeyondTheFrameLimitBuildsNothing()
{
    checkNothingBuilt(Remote_WriteVar, writeVar(7, 3, 1, QByteArray(65523, '\x5A')));
    checkNothingBuilt(Remote_WriteVar, writeVar(7, 3, 1, QByteArray(1000000, '\x5A')));
}

void TstRemoteFrame::worksWithoutSettings()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    const RW_VAR var = remoteVar(1, 1, 2, 5, 0, 13, 1, 0, 0, "01");
    Remote_WriteVar(&var);
    QCOMPARE(PLC_driver.protocolList.size(), 1);
    QCOMPARE(toHex(PLC_driver.protocolList.first().frame),
             QStringLiteral("17 01 01 02 05 00 00 00 00 00 0D 00 01 00 00 00 00 00 00 00 00 01 2F"));
    QCOMPARE(int(PLC_driver.bitImage0[1]), 0x20);
}

QTEST_APPLESS_MAIN(TstRemoteFrame)
#include "tst_remote_frame.moc"
