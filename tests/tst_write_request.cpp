/// Modbus write requests: the frames, the replies they expect, and what the image shows of the value.
#include "frames/write_request.h"

#include "driver/emerson_ec_series.h"
#include "tests/frame_fixture.h"
#include "tests/image_fixture.h"

#include <climits>

namespace {

/// One write of every code that can be written, and what the image shows of it.
void everyCode()
{
    addWriteColumns();
    QTest::addColumn<QString>("shown");
    struct CodeRow {
        int devType, address, count;
        const char *data, *built, *reply, *shown;
    };
    static const CodeRow rows[] = {
        {1, 3, 1, "01", "01 05 00 03 FF 00 7C 3A", "8/8/0/0", "bit1[0]=08"},
        {2, 3, 1, "01", "01 05 07 D3 FF 00 7C B7", "8/8/0/0", "bit2[0]=08"},
        {3, 3, 1, "01", "01 05 11 33 FF 00 79 09", "8/8/0/0", "bit3[0]=08"},
        {4, 3, 1, "01", "01 05 17 73 FF 00 78 55", "8/8/0/0", "bit4[0]=08"},
        {5, 3, 1, "01", "01 05 1F 43 FF 00 7A 3A", "8/8/0/0", "bit5[0]=08"},
        {6, 3, 1, "01", "01 05 23 F3 FF 00 77 8D", "8/8/0/0", "bit6[0]=08"},
        {7, 3, 2, "34 12 78 56", "01 10 00 03 00 02 04 12 34 56 78 C8 8E", "13/8/0/0", "word7[3]=1234 word7[4]=5678"},
        {8, 3, 2, "34 12 78 56", "01 10 1F 43 00 02 04 12 34 56 78 40 8E", "13/8/0/0", "word8[3]=1234 word8[4]=5678"},
        {9, 3, 2, "34 12 78 56", "01 10 23 2B 00 02 04 12 34 56 78 46 01", "13/8/0/0", "word9[3]=1234 word9[4]=5678"},
        {10, 3, 2, "34 12 78 56", "01 10 25 1F 00 02 04 12 34 56 78 6F 46", "13/8/0/0",
         "word10[3]=1234 word10[4]=5678"},
        {11, 3, 2, "34 12 78 56", "01 10 21 37 00 02 04 12 34 56 78 5E 38", "13/8/0/0",
         "word11[3]=1234 word11[4]=5678"},
        {12, 3, 2, "78 56 34 12", "01 10 00 03 00 02 04 12 34 56 78 C8 8E", "13/8/0/0", "word7[3]=1234 word7[4]=5678"},
        {13, 3, 2, "78 56 34 12 F0 DE BC 9A", "01 10 25 EA 00 04 08 12 34 56 78 9A BC DE F0 B0 0B", "17/8/0/0",
         "dword13[3]=12345678 dword13[4]=9abcdef0"},
        {14, 3, 2, "78 56 34 12", "01 10 1F 43 00 02 04 12 34 56 78 40 8E", "13/8/0/0", "word8[3]=1234 word8[4]=5678"},
        {15, 53, 1, "01", "01 03 00 03 00 01 74 0A + 01 06 00 03 00 00 79 CA", "8/7/3/2 + 8/8/0/0", "word7[3]=0020"},
        {16, 53, 1, "01", "01 03 1F 43 00 01 72 0A + 01 06 1F 43 00 00 7F CA", "8/7/3/2 + 8/8/0/0", "word8[3]=0020"},
        {17, 53, 1, "01", "01 03 21 37 00 01 3F F8 + 01 06 21 37 00 00 32 38", "8/7/3/2 + 8/8/0/0", "word11[3]=0020"},
        {100, 3, 2, "34 12 78 56", "01 10 32 CB 00 02 04 12 34 56 78 88 19", "13/8/0/0",
         "word100[3]=1234 word100[4]=5678"},
        {101, 3, 2, "78 56 34 12", "01 10 32 CB 00 02 04 12 34 56 78 88 19", "13/8/0/0",
         "word100[3]=1234 word100[4]=5678"},
        {102, 53, 1, "01", "01 03 32 CB 00 01 FB 4C + 01 06 32 CB 00 00 F6 8C", "8/7/3/2 + 8/8/0/0", "word100[3]=0020"},
    };
    for (const CodeRow &row : rows) {
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(row.devType)))
            << row.devType << row.address << row.count << 1 << hex(row.data) << QString::fromLatin1(row.built)
            << QString::fromLatin1(row.reply) << QString::fromLatin1(row.shown);
    }
}

} // namespace

class TstWriteRequest : public QObject {
    Q_OBJECT

private slots:
    void workedExamplesAreBuiltAsOnTheWire_data();
    void workedExamplesAreBuiltAsOnTheWire() { checkBuiltWrite(); }
    void everyCodeHasItsBuilderAndIsMirroredAtOnce_data() { everyCode(); }
    void everyCodeHasItsBuilderAndIsMirroredAtOnce();
    void nothingIsMirroredWhileTheLinkFails_data() { everyCode(); }
    void nothingIsMirroredWhileTheLinkFails();
    void mirrorsIntoTheKeyedStoreForSeveralStations();
    void buildersByNameDoNotMirror();
    void bitOfAWordIsCompletedWithTheWordThatWasRead();
    void numbersThatCannotBeWrittenDoNothingAtAll_data();
    void numbersThatCannotBeWrittenDoNothingAtAll();
    void code0IsRefusedAlthoughItCanBeRead();
    void coilIsOnOnlyForExactlyOne_data();
    void coilIsOnOnlyForExactlyOne() { checkBuiltWrite(); }
    void singleRegisterWinsOverTheKindOfTheCode_data();
    void singleRegisterWinsOverTheKindOfTheCode() { checkBuiltWrite(); }
    void writesGoToTheirSideOfABoundary_data();
    void writesGoToTheirSideOfABoundary() { checkBuiltWrite(); }
    void bitInWordAddressesItsWord_data();
    void bitInWordAddressesItsWord() { checkBuiltWrite(); }
    void broadcastExpectsNoReplyExceptForABitInAWord_data();
    void broadcastExpectsNoReplyExceptForABitInAWord() { checkBuiltWrite(); }
    void recordCarriesEveryFieldOfTheEntry();
    void bitInWordRecordsReadThenWriteTheWord();
    void code13MayBeWrittenAsRegistersByName();
    void bitInAWordWrittenByNameIsAPlainWord();
    void worksWithoutSettings();
};

void TstWriteRequest::workedExamplesAreBuiltAsOnTheWire_data()
{
    addWriteColumns();
    addWriteRow({"coil on", 3, 5, 1, 1, "01", "01 05 11 35 FF 00 99 08", "8/8/0/0"});
    addWriteRow({"coil off", 3, 5, 1, 1, "00", "01 05 11 35 00 00 D8 F8", "8/8/0/0"});
    addWriteRow({"one register", 7, 100, 1, 1, "34 12", "01 06 00 64 12 34 C5 62", "8/8/0/0"});
    addWriteRow({"two registers", 10, 0, 2, 1, "34 12 78 56", "01 10 25 1C 00 02 04 12 34 56 78 2F 53", "13/8/0/0"});
    addWriteRow(
        {"32 bits, high word first", 12, 0, 2, 1, "78 56 34 12", "01 10 00 00 00 02 04 12 34 56 78 88 9B", "13/8/0/0"});
    addWriteRow({"special 32 bits", 13, 56, 1, 1, "78 56 34 12", "01 10 27 10 00 02 04 12 34 56 78 36 66", "13/8/0/0"});
    addWriteRow({"bit 3 of word 10", 15, 163, 1, 1, "01", "01 03 00 0A 00 01 A4 08 + 01 06 00 0A 00 00 A9 C8",
                 "8/7/3/2 + 8/8/0/0"});
}

void TstWriteRequest::everyCodeHasItsBuilderAndIsMirroredAtOnce()
{
    checkBuiltWrite();
    DriverFixture driver;
    const RW_VAR entry = writeOfTheRow();
    WriteRegister(&entry);
    QTEST(image(), "shown");
    QCOMPARE(store(), QString());
}

// While replies are bad the host-write path mirrors when it queues the write; the builder must not do it again.
void TstWriteRequest::nothingIsMirroredWhileTheLinkFails()
{
    DriverFixture driver;
    PLC_driver.failFlag = true;
    const RW_VAR entry = writeOfTheRow();
    WriteRegister(&entry);
    QTEST(frames(), "built");
    QTEST(lengths(), "reply");
    QCOMPARE(image() + store(), QString());
    QVERIFY(PLC_driver.failFlag);
}

void TstWriteRequest::mirrorsIntoTheKeyedStoreForSeveralStations()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    const RW_VAR entry = writeVar(10, 3, 2, hex("34 12 78 56"), 7);
    WriteRegister(&entry);
    QCOMPARE(image(), QString());
    QCOMPARE(store(), QStringLiteral("7/10/3=34 12, 7/10/4=78 56"));
}

void TstWriteRequest::buildersByNameDoNotMirror()
{
    DriverFixture driver;
    const RW_VAR coil = writeVar(3, 3, 1, hex("01"));
    const RW_VAR registers = writeVar(10, 3, 2, hex("34 12 78 56"));
    const RW_VAR dword = writeVar(13, 3, 1, hex("78 56 34 12"));
    const RW_VAR bit = writeVar(15, 53, 1, hex("01"));
    WriteBool(&coil);
    QCOMPARE(frames(), QStringLiteral("01 05 11 33 FF 00 79 09"));
    PLC_driver.protocolList.clear();
    WriteAnalog(&registers);
    QCOMPARE(frames(), QStringLiteral("01 10 25 1F 00 02 04 12 34 56 78 6F 46"));
    PLC_driver.protocolList.clear();
    WriteAnalog_Bit(&bit);
    QCOMPARE(frames(), QStringLiteral("01 03 00 03 00 01 74 0A + 01 06 00 03 00 00 79 CA"));
    QCOMPARE(driver.settings.frameTotal, 2);
    PLC_driver.protocolList.clear();
    WriteAnalogDword(&dword);
    QCOMPARE(lengths(), QStringLiteral("13/8/0/0"));
    QCOMPARE(driver.settings.frameTotal, 1);
    QCOMPARE(image() + store(), QString());
}

void TstWriteRequest::bitOfAWordIsCompletedWithTheWordThatWasRead()
{
    DriverFixture driver;
    PLC_driver.writeList.append(writeVar(15, 163, 1, hex("01")));
    const Protocol *read = ComCommunication();
    QVERIFY(read);
    QCOMPARE(toHex(read->frame), QStringLiteral("01 03 00 0A 00 01 A4 08"));
    QByteArray reply = hex("01 03 02 00 00 B8 44");
    DataCom(&reply, 7);
    const Protocol *write = ComCommunication();
    QVERIFY(write);
    QCOMPARE(toHex(write->frame), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
    QCOMPARE(write->frameLen, 8);
}

void TstWriteRequest::numbersThatCannotBeWrittenDoNothingAtAll_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {0, 18, 55, 99, 103, 255, 256, 0x10002, INT_MAX, -1, -100, INT_MIN})
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType))) << devType;
}

void TstWriteRequest::numbersThatCannotBeWrittenDoNothingAtAll()
{
    QFETCH(int, devType);
    checkNoWriteIsBuilt(writeVar(devType, 3, 1, hex("01 00 00 00")));
}

void TstWriteRequest::code0IsRefusedAlthoughItCanBeRead()
{
    checkNoWriteIsBuilt(writeVar(0, 0, 1, hex("01")));
}

void TstWriteRequest::coilIsOnOnlyForExactlyOne_data()
{
    addWriteColumns();
    addWriteRow({"2 is off", 3, 5, 1, 1, "02", "01 05 11 35 00 00 D8 F8", "8/8/0/0"});
    addWriteRow({"FF is off", 3, 5, 1, 1, "FF", "01 05 11 35 00 00 D8 F8", "8/8/0/0"});
    addWriteRow({"no byte is off", 3, 5, 1, 1, "", "01 05 11 35 00 00 D8 F8", "8/8/0/0"});
    addWriteRow({"only the first byte counts", 3, 5, 2, 1, "00 01", "01 05 11 35 00 00 D8 F8", "8/8/0/0"});
    addWriteRow({"count is not used", 3, 5, 9, 1, "01", "01 05 11 35 FF 00 99 08", "8/8/0/0"});
    addWriteRow({"count 0 still writes one coil", 3, 5, 0, 1, "01", "01 05 11 35 FF 00 99 08", "8/8/0/0"});
}

void TstWriteRequest::singleRegisterWinsOverTheKindOfTheCode_data()
{
    addWriteColumns();
    addWriteRow({"code 7", 7, 3, 1, 1, "34 12", "01 06 00 03 12 34 74 BD", "8/8/0/0"});
    addWriteRow({"code 8", 8, 3, 1, 1, "34 12", "01 06 1F 43 12 34 72 BD", "8/8/0/0"});
    addWriteRow({"code 9", 9, 3, 1, 1, "34 12", "01 06 23 2B 12 34 FF 31", "8/8/0/0"});
    addWriteRow({"code 10", 10, 3, 1, 1, "34 12", "01 06 25 1F 12 34 BE 77", "8/8/0/0"});
    addWriteRow({"code 11", 11, 3, 1, 1, "34 12", "01 06 21 37 12 34 3F 4F", "8/8/0/0"});
    addWriteRow({"code 100", 100, 3, 1, 1, "34 12", "01 06 32 CB 12 34 FB FB", "8/8/0/0"});
    addWriteRow({"code 12 loses its high word", 12, 3, 1, 1, "78 56 34 12", "01 06 00 03 56 78 46 48", "8/8/0/0"});
    addWriteRow({"code 14 loses its high word", 14, 3, 1, 1, "78 56 34 12", "01 06 1F 43 56 78 40 48", "8/8/0/0"});
    addWriteRow({"code 101 loses its high word", 101, 3, 1, 1, "78 56 34 12", "01 06 32 CB 56 78 C9 0E", "8/8/0/0"});
    addWriteRow({"code 13 never", 13, 55, 1, 1, "78 56 34 12", "01 10 26 52 00 02 04 12 34 56 78 BE 1F", "13/8/0/0"});
}

void TstWriteRequest::writesGoToTheirSideOfABoundary_data()
{
    addWriteColumns();
    addWriteRow({"code 3, last of the low piece", 3, 255, 1, 1, "01", "01 05 12 2F FF 00 B8 8B", "8/8/0/0"});
    addWriteRow({"code 3, first of the high piece", 3, 256, 1, 1, "01", "01 05 75 30 FF 00 96 39", "8/8/0/0"});
    addWriteRow({"code 16, last bit of the low piece", 16, 4095, 1, 1, "01",
                 "01 03 20 3F 00 01 BF C6 + 01 06 20 3F 00 00 B2 06", "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"code 16, first bit of the high piece", 16, 4096, 1, 1, "01",
                 "01 03 2E E0 00 01 8C D4 + 01 06 2E E0 00 00 81 14", "8/7/3/2 + 8/8/0/0"});
}

void TstWriteRequest::bitInWordAddressesItsWord_data()
{
    addWriteColumns();
    addWriteRow({"bit 15 is in word 0", 15, 15, 1, 1, "01", "01 03 00 00 00 01 84 0A + 01 06 00 00 00 00 89 CA",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"bit 16 is in word 1", 15, 16, 1, 1, "01", "01 03 00 01 00 01 D5 CA + 01 06 00 01 00 00 D8 0A",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"the value is not in the frame yet", 15, 16, 1, 1, "00",
                 "01 03 00 01 00 01 D5 CA + 01 06 00 01 00 00 D8 0A", "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"count is not used", 15, 16, 40, 1, "01", "01 03 00 01 00 01 D5 CA + 01 06 00 01 00 00 D8 0A",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow(
        {"code 17", 17, 63, 1, 1, "01", "01 03 21 37 00 01 3F F8 + 01 06 21 37 00 00 32 38", "8/7/3/2 + 8/8/0/0"});
    addWriteRow(
        {"code 102", 102, 32, 1, 1, "01", "01 03 32 CA 00 01 AA 8C + 01 06 32 CA 00 00 A7 4C", "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"-1 truncates to word 0", 15, -1, 1, 1, "01", "01 03 00 00 00 01 84 0A + 01 06 00 00 00 00 89 CA",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"-17 truncates to word -1", 15, -17, 1, 1, "01", "01 03 FF FF 00 01 84 2E + 01 06 FF FF 00 00 89 EE",
                 "8/7/3/2 + 8/8/0/0"});
}

void TstWriteRequest::broadcastExpectsNoReplyExceptForABitInAWord_data()
{
    addWriteColumns();
    addWriteRow({"coil", 3, 5, 1, 0, "01", "00 05 11 35 FF 00 98 D9", "8/0/0/0"});
    addWriteRow({"one register", 7, 100, 1, 0, "34 12", "00 06 00 64 12 34 C4 B3", "8/0/0/0"});
    addWriteRow({"registers", 10, 0, 2, 0, "34 12 78 56", "00 10 25 1C 00 02 04 12 34 56 78 2B AF", "13/0/0/0"});
    addWriteRow({"code 13", 13, 56, 1, 0, "78 56 34 12", "00 10 27 10 00 02 04 12 34 56 78 32 9A", "13/0/0/0"});
    addWriteRow({"bit in a word", 15, 163, 1, 0, "01", "00 03 00 0A 00 01 A5 D9 + 00 06 00 0A 00 00 A8 19",
                 "8/7/3/2 + 8/8/0/0"});
    addWriteRow({"station 256 is none", 3, 5, 1, 256, "01", "00 05 11 35 FF 00 98 D9", "8/8/0/0"});
    addWriteRow({"station 256 is none, registers", 10, 0, 2, 256, "34 12 78 56",
                 "00 10 25 1C 00 02 04 12 34 56 78 2B AF", "13/8/0/0"});
    addWriteRow({"station 300 is sent as 44", 7, 100, 1, 300, "34 12", "2C 06 00 64 12 34 C3 1F", "8/8/0/0"});
    addWriteRow({"station -1 is sent as 255", 3, 5, 1, -1, "01", "FF 05 11 35 FF 00 8C D6", "8/8/0/0"});
}

void TstWriteRequest::recordCarriesEveryFieldOfTheEntry()
{
    for (int devType : {3, 9, 12, 13}) {
        DriverFixture driver;
        RW_VAR entry = writeVar(devType, 256, 2, hex("01 02 03 04"), 17);
        entry.connectNo = 11;
        entry.varId = 12;
        entry.rwFlag = 13;
        entry.hostWord3 = 14;
        entry.panelStation = 15;
        entry.resultCode = 16;
        entry.nameText = QStringLiteral("valve");
        entry.addrText = QStringLiteral("256");
        entry.subIndex = 21;
        entry.hostWord13 = 18;
        WriteRegister(&entry);
        QCOMPARE(PLC_driver.protocolList.size(), 1);
        const Protocol &protocol = PLC_driver.protocolList.first();
        QCOMPARE(fields(protocol.var),
                 QStringLiteral("11,12,13,14,15,16,valve,256,%1,256,17,2,21,18,01 02 03 04").arg(devType));
        QCOMPARE(protocol.extra20 | protocol.extra21 | protocol.extra22, 0);
    }
}

void TstWriteRequest::bitInWordRecordsReadThenWriteTheWord()
{
    DriverFixture driver;
    RW_VAR entry = writeVar(15, 163, 1, hex("01"), 17);
    entry.connectNo = 11;
    entry.varId = 12;
    entry.rwFlag = 13;
    entry.hostWord3 = 14;
    entry.panelStation = 15;
    entry.resultCode = 16;
    entry.nameText = QStringLiteral("flag");
    entry.addrText = QStringLiteral("10.3");
    entry.subIndex = 21;
    entry.hostWord13 = 18;
    PLC_driver.writeList.append(entry);
    WriteRegister(&PLC_driver.writeList.first());
    QCOMPARE(PLC_driver.protocolList.size(), 2);
    const Protocol &read = PLC_driver.protocolList.at(0);
    const Protocol &write = PLC_driver.protocolList.at(1);
    QCOMPARE(fields(read.var), QStringLiteral("11,12,0,14,15,16,flag,10.3,15,10,17,1,-1,18,01"));
    QCOMPARE(fields(write.var), QStringLiteral("11,12,1,14,15,16,flag,10.3,15,10,17,1,0,18,01"));
    QCOMPARE(read.extra20 | read.extra21 | read.extra22, 0);
    QCOMPARE(write.extra20 | write.extra21 | write.extra22, 0);
    // The head still names the bit: the second frame is completed from it.
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("15/163/1@17"));
}

void TstWriteRequest::code13MayBeWrittenAsRegistersByName()
{
    DriverFixture driver;
    const RW_VAR entry = writeVar(13, 56, 2, hex("78 56 34 12"));
    WriteAnalog(&entry);
    QCOMPARE(frames(), QStringLiteral("01 10 27 10 00 02 04 12 34 56 78 36 66"));
    QCOMPARE(lengths(), QStringLiteral("13/8/0/0"));
    QCOMPARE(image() + store(), QString());
}

void TstWriteRequest::bitInAWordWrittenByNameIsAPlainWord()
{
    DriverFixture driver;
    const RW_VAR entry = writeVar(15, 100, 2, hex("34 12 78 56"));
    WriteAnalog(&entry);
    QCOMPARE(frames(), QStringLiteral("01 10 00 64 00 02 04 12 34 56 78 8F 40"));
}

void TstWriteRequest::worksWithoutSettings()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    const RW_VAR entry = writeVar(3, 5, 1, hex("01"));
    WriteRegister(&entry);
    QCOMPARE(frames(), QStringLiteral("01 05 11 35 FF 00 99 08"));
    QCOMPARE(image(), QStringLiteral("bit3[0]=20"));
}

QTEST_APPLESS_MAIN(TstWriteRequest)
#include "tst_write_request.moc"
