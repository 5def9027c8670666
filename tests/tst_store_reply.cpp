/// Replies on their way into the image, in both storage modes.
#include "image/store_reply.h"

#include "driver/emerson_ec_series.h"
#include "tests/exchange_fixture.h"
#include "tests/image_fixture.h"

#include <climits>

namespace {

void storeColumns()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("dataLen");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("after");
}

void storeRow(const char *name, int devType, int address, int dataLen, const char *reply, const char *after)
{
    QTest::newRow(name) << devType << address << dataLen << withCrc(reply) << QString::fromLatin1(after);
}

/// The same without a CRC, for replies whose very last byte matters.
void bareRow(const char *name, int devType, int address, int dataLen, const char *reply, const char *after)
{
    QTest::newRow(name) << devType << address << dataLen << hex(reply) << QString::fromLatin1(after);
}

} // namespace

class TstStoreReply : public QObject {
    Q_OBJECT

private slots:
    void imageModeStoresByCode_data();
    void imageModeStoresByCode();
    void pairsComeBackLeastSignificantByteFirst();
    void replyTooShortForItsWordLeavesTheWordOfABit();
    void wordBitReadIsTakenFromFixedPositionsInImageMode();
    void acknowledgementOfARemoteBitWriteIsStoredAtTheFixedPositions();
    void replyTooShortForTheWordLeavesTheImageAlone();
    void missingReplyToARemoteBroadcastLeavesTheImageAlone();
    void keyedModeStoresByCode_data();
    void keyedModeStoresByCode();
    void keyedModeReplacesOldBytes_data();
    void keyedModeReplacesOldBytes();
    void keyedWordBitLengthBelowTwoCutsTheFirstRecordOfTheStore_data();
    void keyedWordBitLengthBelowTwoCutsTheFirstRecordOfTheStore();
    void keyedWordBitLengthBelowTwoIsSafeInAnEmptyStore();
    void storageModeIsChosenAtEachReply();
    void dataPlaceComesFromTheRequestAlone_data();
    void dataPlaceComesFromTheRequestAlone();
    void wordOfAWriteThatIsGoneGoesBackAsItCame();
};

void TstStoreReply::imageModeStoresByCode_data()
{
    const char *data = "01 03 04 12 34 56 78";
    storeColumns();
    storeRow("0", 0, 104, 4, data, "bit0[13]=12 bit0[14]=34 bit0[15]=56 bit0[16]=78");
    storeRow("1", 1, 104, 4, data, "bit1[13]=12 bit1[14]=34 bit1[15]=56 bit1[16]=78");
    storeRow("2", 2, 104, 4, data, "bit2[13]=12 bit2[14]=34 bit2[15]=56 bit2[16]=78");
    storeRow("3", 3, 104, 4, data, "bit3[13]=12 bit3[14]=34 bit3[15]=56 bit3[16]=78");
    storeRow("4", 4, 104, 4, data, "bit4[13]=12 bit4[14]=34 bit4[15]=56 bit4[16]=78");
    storeRow("5", 5, 104, 4, data, "bit5[13]=12 bit5[14]=34 bit5[15]=56 bit5[16]=78");
    storeRow("6", 6, 104, 4, data, "bit6[13]=12 bit6[14]=34 bit6[15]=56 bit6[16]=78");
    storeRow("7", 7, 100, 4, data, "word7[100]=1234 word7[101]=5678");
    storeRow("8", 8, 100, 4, data, "word8[100]=1234 word8[101]=5678");
    storeRow("9", 9, 100, 4, data, "word9[100]=1234 word9[101]=5678");
    storeRow("10", 10, 100, 4, data, "word10[100]=1234 word10[101]=5678");
    storeRow("11", 11, 100, 4, data, "word11[100]=1234 word11[101]=5678");
    storeRow("12 word by word like 7", 12, 100, 4, data, "word7[100]=1234 word7[101]=5678");
    storeRow("13", 13, 100, 4, data, "dword13[100]=12345678");
    storeRow("13, 65538 at element 5", 13, 5, 4, "01 03 04 00 01 00 02", "dword13[5]=00010002");
    storeRow("14 word by word like 8", 14, 100, 4, data, "word8[100]=1234 word8[101]=5678");
    storeRow("15 only its first word", 15, 100, 4, data, "word7[100]=1234");
    storeRow("16 only its first word", 16, 100, 4, data, "word8[100]=1234");
    storeRow("17 only its first word", 17, 100, 4, data, "word11[100]=1234");
    storeRow("100", 100, 100, 4, data, "word100[100]=1234 word100[101]=5678");
    storeRow("101 is deliberately not stored", 101, 100, 4, data, "");
    storeRow("102 only its first word", 102, 100, 4, data, "word100[100]=1234");
    storeRow("18", 18, 100, 4, data, "");
    storeRow("99", 99, 100, 4, data, "");
    storeRow("103", 103, 100, 4, data, "");
    storeRow("-1", -1, 100, 4, data, "");
    storeRow("acknowledgement without data", 7, 100, 0, "01 06 00 64 12 34", "");
    bareRow("bits one byte short", 3, 104, 2, "01 01 02 12", "bit3[13]=12");
    bareRow("words one byte short", 7, 100, 4, "01 03 04 12 34 56", "word7[100]=1234");
    bareRow("words exactly long enough", 7, 100, 4, "01 03 04 12 34 56 78", "word7[100]=1234 word7[101]=5678");
    bareRow("value one byte short", 13, 100, 4, "01 03 04 12 34 56", "");
    bareRow("empty reply", 7, 100, 4, "", "");
    storeRow("the last word and one beyond", 100, 65534, 4, data, "word100[65534]=1234");
    storeRow("word bit beyond the area", 15, 65535, 2, data, "");
    storeRow("word bit before the area", 15, -1, 2, data, "");
}

void TstStoreReply::imageModeStoresByCode()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, dataLen);
    QFETCH(QByteArray, reply);
    DriverFixture driver;
    readInFlight(devType, address, dataLen, 7);
    storeReply(reply);
    QTEST(image(), "after");
    QCOMPARE(store(), QString());
}

void TstStoreReply::pairsComeBackLeastSignificantByteFirst()
{
    DriverFixture driver;
    readInFlight(12, 100, 4);
    storeReply(withCrc("01 03 04 12 34 56 78"));
    QByteArray values;
    QCOMPARE(GetRegisterData(0, 12, QStringLiteral("100"), 1, &values, 2), 1);
    QCOMPARE(toHex(values), QStringLiteral("78 56 34 12"));
}

void TstStoreReply::replyTooShortForItsWordLeavesTheWordOfABit()
{
    for (const char *reply : {"", "01", "01 03 02 12"}) {
        DriverFixture driver;
        PLC_driver.wordImage7[10] = 0x0400;
        readInFlight(15, 10, 2);
        storeReply(hex(reply));
        QCOMPARE(image(), QStringLiteral("word7[10]=0400"));
    }
}

void TstStoreReply::wordBitReadIsTakenFromFixedPositionsInImageMode()
{
    DriverFixture driver;
    readInFlight(15, 10, 0);
    PLC_driver.protocolList.first().dataOffset = 5;
    storeReply(withCrc("01 03 04 12 34 56 78"));
    QCOMPARE(image(), QStringLiteral("word7[10]=1234"));
}

void TstStoreReply::acknowledgementOfARemoteBitWriteIsStoredAtTheFixedPositions()
{
    DriverFixture driver;
    readInFlight(15, 163, 0);
    PLC_driver.protocolList.first().var.rwFlag = 1;
    PLC_driver.protocolList.first().dataOffset = 0;
    storeReply(withCrc("01 06 00 0A 00 08"));
    QCOMPARE(image(), QStringLiteral("word7[163]=0a00"));
}

void TstStoreReply::replyTooShortForTheWordLeavesTheImageAlone()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x5555;
    readInFlight(15, 10, 2, 1, -1);
    writeBehind();
    storeReply(hex("01 03 02 12"));
    QCOMPARE(image(), QStringLiteral("word7[10]=5555"));
    storeReply(QByteArray());
    QCOMPARE(image(), QStringLiteral("word7[10]=5555"));
    QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame.left(4)), QStringLiteral("01 06 00 0A"));
}

void TstStoreReply::missingReplyToARemoteBroadcastLeavesTheImageAlone()
{
    for (int devType : {3, 7, 13, 15}) {
        DriverFixture driver;
        PLC_driver.wordImage7[10] = 0x5555;
        readInFlight(devType, 10, 0, 0, -1);
        PLC_driver.protocolList.first().replyLen = 0;
        PLC_driver.protocolList.first().var.panelStation = 2;
        QCOMPARE(DataCom(nullptr, 0)->resultCode, 1);
        QCOMPARE(image(), QStringLiteral("word7[10]=5555"));
    }
}

void TstStoreReply::keyedModeStoresByCode_data()
{
    const char *data = "01 03 04 12 34 56 78";
    storeColumns();
    storeRow("0", 0, 104, 2, data, "7/0/104=12, 7/0/112=34");
    storeRow("1", 1, 104, 2, data, "7/1/104=12, 7/1/112=34");
    storeRow("2", 2, 104, 2, data, "7/2/104=12, 7/2/112=34");
    storeRow("3", 3, 104, 2, data, "7/3/104=12, 7/3/112=34");
    storeRow("4", 4, 104, 2, data, "7/4/104=12, 7/4/112=34");
    storeRow("5", 5, 104, 2, data, "7/5/104=12, 7/5/112=34");
    storeRow("6", 6, 104, 2, data, "7/6/104=12, 7/6/112=34");
    storeRow("7", 7, 100, 4, data, "7/7/100=34 12, 7/7/101=78 56");
    storeRow("8", 8, 100, 4, data, "7/8/100=34 12, 7/8/101=78 56");
    storeRow("9", 9, 100, 4, data, "7/9/100=34 12, 7/9/101=78 56");
    storeRow("10", 10, 100, 4, data, "7/10/100=34 12, 7/10/101=78 56");
    storeRow("11", 11, 100, 4, data, "7/11/100=34 12, 7/11/101=78 56");
    storeRow("100", 100, 100, 4, data, "7/100/100=34 12, 7/100/101=78 56");
    storeRow("12 is not stored", 12, 100, 4, data, "");
    storeRow("14 is not stored", 14, 100, 4, data, "");
    storeRow("101 is not stored", 101, 100, 4, data, "");
    storeRow("13, the high word first", 13, 5, 4, data, "7/13/5=34 12 78 56");
    storeRow("13, two values", 13, 5, 8, "01 03 08 11 22 33 44 55 66 77 88", "7/13/5=22 11 44 33, 7/13/6=66 55 88 77");
    storeRow("15 under its base type", 15, 10, 2, data, "7/7/10=34 12");
    storeRow("16 under its base type", 16, 10, 2, data, "7/8/10=34 12");
    storeRow("17 under its base type", 17, 10, 2, data, "7/11/10=34 12");
    storeRow("102 under its base type", 102, 10, 2, data, "7/100/10=34 12");
    storeRow("15, the last word gets the length of all", 15, 10, 4, data, "7/7/10=34 12, 7/7/11=78 56 00 00");
    storeRow("15, an odd length", 15, 10, 3, data, "7/7/10=34 12 00");
    storeRow("18", 18, 100, 4, data, "");
    storeRow("99", 99, 100, 4, data, "");
    storeRow("103", 103, 100, 4, data, "");
    storeRow("-1", -1, 100, 4, data, "");
    storeRow("bits, length 0", 3, 104, 0, data, "");
    storeRow("bits, the request's address as it stands", 3, 13, 2, data, "7/3/13=12, 7/3/21=34");
    storeRow("words, length 1", 7, 100, 1, data, "");
    storeRow("words, an odd length", 7, 100, 3, data, "7/7/100=34 12");
    storeRow("13, length 3", 13, 5, 3, data, "");
    storeRow("13, length 7", 13, 5, 7, "01 03 08 11 22 33 44 55 66 77 88", "7/13/5=22 11 44 33");
    bareRow("bits one byte short", 3, 104, 2, "01 01 02 12", "7/3/104=12, 7/3/112=00");
    bareRow("words one byte short", 7, 100, 4, "01 03 04 12 34 56", "7/7/100=34 12, 7/7/101=00 00");
    bareRow("13 one byte short", 13, 5, 4, "01 03 04 12 34 56", "7/13/5=00 00 00 00");
    bareRow("13 exactly long enough", 13, 5, 4, "01 03 04 12 34 56 78", "7/13/5=34 12 78 56");
    bareRow("15 one byte short", 15, 10, 2, "01 03 02 12", "7/7/10=00 00");
    bareRow("empty reply", 7, 100, 2, "", "7/7/100=00 00");
    bareRow("words to the very end", 7, 100, 4, "01 03 04 12 34 56 78", "7/7/100=34 12, 7/7/101=78 56");
}

void TstStoreReply::keyedModeStoresByCode()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, dataLen);
    QFETCH(QByteArray, reply);
    DriverFixture driver;
    driver.settings.stationScope = 1;
    readInFlight(devType, address, dataLen, 7);
    storeReply(reply);
    QTEST(store(), "after");
    QCOMPARE(image(), QString());
}

void TstStoreReply::keyedModeReplacesOldBytes_data()
{
    storeColumns();
    const char *data = "01 03 04 12 34 56 78";
    storeRow("bits shrink to one byte", 3, 104, 1, data, "7/3/104=12, 7/7/100=AA BB CC DD, 7/13/5=AA BB");
    storeRow("words shrink to two bytes", 7, 100, 2, data, "7/3/104=AA BB, 7/7/100=34 12, 7/13/5=AA BB");
    storeRow("values grow to four bytes", 13, 5, 4, data, "7/3/104=AA BB, 7/7/100=AA BB CC DD, 7/13/5=34 12 78 56");
    storeRow("word bits", 15, 100, 2, data, "7/3/104=AA BB, 7/7/100=34 12, 7/13/5=AA BB");
    bareRow("bits of a short reply", 3, 104, 1, "01", "7/3/104=00, 7/7/100=AA BB CC DD, 7/13/5=AA BB");
    bareRow("words of a short reply", 7, 100, 2, "01", "7/3/104=AA BB, 7/7/100=00 00, 7/13/5=AA BB");
    bareRow("values of a short reply", 13, 5, 4, "01", "7/3/104=AA BB, 7/7/100=AA BB CC DD, 7/13/5=00 00 00 00");
    bareRow("word bits of a short reply", 15, 100, 2, "01", "7/3/104=AA BB, 7/7/100=00 00, 7/13/5=AA BB");
}

void TstStoreReply::keyedModeReplacesOldBytes()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, dataLen);
    QFETCH(QByteArray, reply);
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 3, 104, "AA BB") << record(7, 7, 100, "AA BB CC DD")
                             << record(7, 13, 5, "AA BB");
    readInFlight(devType, address, dataLen, 7);
    storeReply(reply);
    QTEST(store(), "after");
}

void TstStoreReply::keyedWordBitLengthBelowTwoCutsTheFirstRecordOfTheStore_data()
{
    QTest::addColumn<int>("dataLen");
    QTest::addColumn<QString>("after");
    QTest::newRow("length 1") << 1 << "3/100/9=AA, 7/7/10=CC DD";
    QTest::newRow("length 0") << 0 << "3/100/9=, 7/7/10=CC DD";
}

void TstStoreReply::keyedWordBitLengthBelowTwoCutsTheFirstRecordOfTheStore()
{
    QFETCH(int, dataLen);
    for (int devType : {15, 16, 17, 102}) {
        DriverFixture driver;
        driver.settings.stationScope = 1;
        PLC_driver.extendVarList << record(3, 100, 9, "AA BB") << record(7, 7, 10, "CC DD");
        readInFlight(devType, 10, dataLen, 7);
        storeReply(withCrc("01 03 02 12 34"));
        QTEST(store(), "after");
    }
}

void TstStoreReply::keyedWordBitLengthBelowTwoIsSafeInAnEmptyStore()
{
    for (int dataLen : {1, 0, -1, INT_MIN}) {
        DriverFixture driver;
        driver.settings.stationScope = 1;
        PLC_driver.writeList << writeVar(15, 163, 1, hex("01"));
        readInFlight(15, 10, 0, 1, -1);
        PLC_driver.protocolList.first().dataLen = dataLen;
        writeBehind();
        storeReply(withCrc("01 03 02 12 34"));
        QCOMPARE(store(), QString());
        // No word was read, so the bit goes into a word of 0.
        QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
    }
}

void TstStoreReply::storageModeIsChosenAtEachReply()
{
    DriverFixture driver;
    readInFlight(7, 100, 2, 7);
    storeReply(withCrc("01 03 02 12 34"));
    driver.settings.stationScope = -1;
    storeReply(withCrc("01 03 02 56 78"));
    QCOMPARE(image(), QStringLiteral("word7[100]=1234"));
    QCOMPARE(store(), QStringLiteral("7/7/100=78 56"));
}

// The host may have put anything into protocolList: data before the reply are none.
void TstStoreReply::dataPlaceComesFromTheRequestAlone_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("dataOffset");
    QTest::addColumn<int>("dataLen");
    QTest::addColumn<QString>("after");
    QTest::newRow("words, offset 0") << 7 << 0 << 4 << "word7[104]=0103 word7[105]=0412";
    QTest::newRow("words, offset -1") << 7 << -1 << 2 << "";
    QTest::newRow("words, offset -6, more than came") << 7 << -6 << 14 << "";
    QTest::newRow("bits, offset 0") << 2 << 0 << 2 << "bit2[13]=01 bit2[14]=03";
    QTest::newRow("bits, offset -1") << 2 << -1 << 1 << "";
    QTest::newRow("bits, offset -6, more than came") << 2 << -6 << 13 << "";
    QTest::newRow("values, offset -1") << 13 << -1 << 4 << "";
}

void TstStoreReply::dataPlaceComesFromTheRequestAlone()
{
    QFETCH(int, devType);
    QFETCH(int, dataOffset);
    QFETCH(int, dataLen);
    DriverFixture driver;
    readInFlight(devType, 104, dataLen);
    PLC_driver.protocolList.first().dataOffset = dataOffset;
    storeReply(hex("01 03 04 12 34 56 78"));
    QTEST(image(), "after");
}

void TstStoreReply::wordOfAWriteThatIsGoneGoesBackAsItCame()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        readInFlight(15, 10, 2, 1, -1);
        writeBehind();
        PLC_driver.writeList.clear();
        storeReply(withCrc("01 03 02 FF FF"));
        QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame.mid(4, 2)), QStringLiteral("FF FF"));
    }
}

QTEST_APPLESS_MAIN(TstStoreReply)
#include "tst_store_reply.moc"
