/// Bytes of the host and bytes of replies as single elements of the image areas.
#include "image/element_access.h"

#include "tests/image_fixture.h"

#include <climits>

namespace {

void setColumns()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<QByteArray>("in");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("after");
}

void setRow(const char *name, int start, const char *in, int count, const char *after)
{
    QTest::newRow(name) << start << hex(in) << count << QString::fromLatin1(after);
}

template <class Area>
void checkSet(void (*routine)(int, Area *, const QByteArray &, int), Area *area)
{
    QFETCH(int, start);
    QFETCH(QByteArray, in);
    QFETCH(int, count);
    routine(start, area, in, count);
    QTEST(image(), "after");
}

void saveColumns()
{
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("dataOffset");
    QTest::addColumn<int>("dataLen");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("after");
}

void saveRow(const char *name, int address, int dataOffset, int dataLen, const char *reply, const char *after)
{
    QTest::newRow(name) << address << dataOffset << dataLen << hex(reply) << QString::fromLatin1(after);
}

template <class Area>
void checkSave(void (*routine)(const QByteArray &, Area *), Area *area)
{
    QFETCH(int, address);
    QFETCH(int, dataOffset);
    QFETCH(int, dataLen);
    QFETCH(QByteArray, reply);
    Protocol first, second;
    first.var = readVar(7, address, 1);
    first.dataOffset = dataOffset;
    first.dataLen = dataLen;
    second.var = readVar(7, 5000, 1);
    second.dataLen = 2;
    PLC_driver.protocolList << first << second;
    routine(reply, area);
    QTEST(image(), "after");
}

} // namespace

class TstElementAccessWrite : public QObject {
    Q_OBJECT

private slots:
    void bitsOfByteAreasAreSetOneByteEach_data();
    void bitsOfByteAreasAreSetOneByteEach();
    void bitsOfWordAreasAreSetOneByteEach_data();
    void bitsOfWordAreasAreSetOneByteEach();
    void onlyTheByteOneSetsABit_data();
    void onlyTheByteOneSetsABit();
    void wordsAreSetLowByteFirst_data();
    void wordsAreSetLowByteFirst();
    void pairsAreSetLowWordFirst_data();
    void pairsAreSetLowWordFirst();
    void valuesAreSetWhole_data();
    void valuesAreSetWhole();
    void elementsWithoutBytesKeepTheirValue();
    void repliedBytesAreSavedAtTheirAddress_data();
    void repliedBytesAreSavedAtTheirAddress();
    void repliedWordsAreSavedHighByteFirst_data();
    void repliedWordsAreSavedHighByteFirst();
    void repliedValuesAreSavedHighByteFirst_data();
    void repliedValuesAreSavedHighByteFirst();
    void elementsThatAShortReplyLacksKeepTheirValue();
};

void TstElementAccessWrite::bitsOfByteAreasAreSetOneByteEach_data()
{
    setColumns();
    setRow("bit 13 is bit 5 of element 1", 13, "01", 1, "bit0[1]=20");
    setRow("three bits", 13, "01 00 01", 3, "bit0[1]=a0");
    setRow("across two elements", 15, "01 01", 2, "bit0[1]=80 bit0[2]=01");
    setRow("bits without a byte are skipped", 8, "01", 3, "bit0[1]=01");
    setRow("bytes behind the count are not used", 8, "01 01 01", 2, "bit0[1]=03");
    setRow("count 0", 8, "01", 0, "");
    setRow("count -1", 8, "01", -1, "");
    setRow("largest count", 8, "01 01", INT_MAX, "bit0[1]=03");
    setRow("the last two bits and two beyond", 524278, "01 01 01 01", 4, "bit0[65534]=c0");
    setRow("three before the area", -3, "01 01 01 01 01", 5, "bit0[0]=03");
    setRow("largest start", INT_MAX, "01 01", 2, "");
    setRow("smallest start", INT_MIN, "01 01", INT_MAX, "");
}

void TstElementAccessWrite::bitsOfByteAreasAreSetOneByteEach()
{
    DriverFixture driver;
    checkSet(SetBitToUC, PLC_driver.bitImage0);
}

void TstElementAccessWrite::bitsOfWordAreasAreSetOneByteEach_data()
{
    setColumns();
    setRow("bit 3 of word 10", 163, "01", 1, "word7[10]=0008");
    setRow("across two words", 175, "01 01", 2, "word7[10]=8000 word7[11]=0001");
    setRow("bits without a byte are skipped", 160, "01", 3, "word7[10]=0001");
    setRow("count 0", 160, "01", 0, "");
    setRow("smallest count", 160, "01", INT_MIN, "");
    setRow("largest count", 160, "01 01", INT_MAX, "word7[10]=0003");
    setRow("the last two bits and two beyond", 1048558, "01 01 01 01", 4, "word7[65534]=c000");
    setRow("three before the area", -3, "01 01 01 01 01", 5, "word7[0]=0003");
    setRow("largest start", INT_MAX, "01 01", 2, "");
    setRow("smallest start", INT_MIN, "01 01", 2, "");
}

void TstElementAccessWrite::bitsOfWordAreasAreSetOneByteEach()
{
    DriverFixture driver;
    checkSet(SetBitToUS, PLC_driver.wordImage7);
}

void TstElementAccessWrite::onlyTheByteOneSetsABit_data()
{
    QTest::addColumn<QByteArray>("byte");
    QTest::addColumn<QString>("after");
    QTest::newRow("1 sets") << hex("01") << "bit0[1]=ff word7[10]=ffff";
    QTest::newRow("0 clears") << hex("00") << "bit0[1]=df word7[10]=fff7";
    QTest::newRow("2 clears") << hex("02") << "bit0[1]=df word7[10]=fff7";
    QTest::newRow("FF clears") << hex("FF") << "bit0[1]=df word7[10]=fff7";
    QTest::newRow("no byte keeps the bit") << hex("") << "bit0[1]=ff word7[10]=ffff";
}

void TstElementAccessWrite::onlyTheByteOneSetsABit()
{
    QFETCH(QByteArray, byte);
    DriverFixture driver;
    PLC_driver.bitImage0[1] = 0xFF;
    PLC_driver.wordImage7[10] = 0xFFFF;
    SetBitToUC(13, PLC_driver.bitImage0, byte, 1);
    SetBitToUS(163, PLC_driver.wordImage7, byte, 1);
    QTEST(image(), "after");
}

void TstElementAccessWrite::wordsAreSetLowByteFirst_data()
{
    setColumns();
    setRow("two words, low byte first", 10, "34 12 CD AB", 2, "word7[10]=1234 word7[11]=abcd");
    setRow("three words of a four-byte input", 10, "34 12 CD AB", 3, "word7[10]=1234 word7[11]=abcd");
    setRow("half a word is skipped", 10, "34 12 CD", 2, "word7[10]=1234");
    setRow("count 0", 10, "34 12", 0, "");
    setRow("count -1", 10, "34 12", -1, "");
    setRow("largest count", 10, "34 12", INT_MAX, "word7[10]=1234");
    setRow("the last word and one beyond", 65534, "34 12 CD AB", 2, "word7[65534]=1234");
    setRow("one before the area", -1, "34 12 CD AB", 2, "word7[0]=abcd");
    setRow("largest start", INT_MAX, "34 12 CD AB", 2, "");
    setRow("smallest start", INT_MIN, "34 12 CD AB", 2, "");
}

void TstElementAccessWrite::wordsAreSetLowByteFirst()
{
    DriverFixture driver;
    checkSet(SetWordToUS, PLC_driver.wordImage7);
}

void TstElementAccessWrite::pairsAreSetLowWordFirst_data()
{
    setColumns();
    setRow("one value, the high word to the lower address", 10, "44 33 22 11", 2, "word7[10]=1122 word7[11]=3344");
    setRow("count 1 writes nothing", 10, "44 33 22 11", 1, "");
    setRow("an odd last word is dropped", 10, "44 33 22 11 88 77 66 55", 3, "word7[10]=1122 word7[11]=3344");
    setRow("two values", 10, "44 33 22 11 88 77 66 55", 4,
           "word7[10]=1122 word7[11]=3344 word7[12]=5566 word7[13]=7788");
    setRow("a value short of a byte is skipped", 10, "44 33 22 11 88 77 66", 4, "word7[10]=1122 word7[11]=3344");
    setRow("count 0", 10, "44 33 22 11", 0, "");
    setRow("smallest count", 10, "44 33 22 11", INT_MIN, "");
    setRow("largest count", 10, "44 33 22 11", INT_MAX, "word7[10]=1122 word7[11]=3344");
    setRow("only the high word inside", 65534, "44 33 22 11", 2, "word7[65534]=1122");
    setRow("only the low word inside", -1, "44 33 22 11", 2, "word7[0]=3344");
    setRow("largest start", INT_MAX, "44 33 22 11", 2, "");
    setRow("smallest start", INT_MIN, "44 33 22 11", 2, "");
}

void TstElementAccessWrite::pairsAreSetLowWordFirst()
{
    DriverFixture driver;
    checkSet(SetWordToUI, PLC_driver.wordImage7);
}

void TstElementAccessWrite::valuesAreSetWhole_data()
{
    setColumns();
    setRow("count 1 writes one whole value", 10, "44 33 22 11", 1, "dword13[10]=11223344");
    setRow("the count is in values", 10, "44 33 22 11 88 77 66 55", 2, "dword13[10]=11223344 dword13[11]=55667788");
    setRow("a value short of a byte is skipped", 10, "44 33 22 11 88 77 66", 2, "dword13[10]=11223344");
    setRow("count 0", 10, "44 33 22 11", 0, "");
    setRow("count -1", 10, "44 33 22 11", -1, "");
    setRow("largest count", 10, "44 33 22 11", INT_MAX, "dword13[10]=11223344");
    setRow("the last value and one beyond", 65534, "44 33 22 11 88 77 66 55", 2, "dword13[65534]=11223344");
    setRow("one before the area", -1, "44 33 22 11 88 77 66 55", 2, "dword13[0]=55667788");
    setRow("largest start", INT_MAX, "44 33 22 11 88 77 66 55", 2, "");
    setRow("smallest start", INT_MIN, "44 33 22 11 88 77 66 55", 2, "");
}

void TstElementAccessWrite::valuesAreSetWhole()
{
    DriverFixture driver;
    checkSet(SetWordToUI_DCV, PLC_driver.dwordImage13);
}

void TstElementAccessWrite::elementsWithoutBytesKeepTheirValue()
{
    DriverFixture driver;
    PLC_driver.wordImage7[12] = 0x5555;
    PLC_driver.wordImage8[2] = PLC_driver.wordImage8[3] = 0x6666;
    PLC_driver.dwordImage13[1] = 0x77777777;
    SetWordToUS(10, PLC_driver.wordImage7, hex("01 00 02 00"), 3);
    SetWordToUI(0, PLC_driver.wordImage8, hex("01 00 02 00"), 4);
    SetWordToUI_DCV(0, PLC_driver.dwordImage13, hex("01 00 02 00"), 2);
    QCOMPARE(image(), QStringLiteral("word7[10]=0001 word7[11]=0002 word7[12]=5555 word8[0]=0002 word8[1]=0001 "
                                     "word8[2]=6666 word8[3]=6666 dword13[0]=00020001 dword13[1]=77777777"));
}

void TstElementAccessWrite::repliedBytesAreSavedAtTheirAddress_data()
{
    saveColumns();
    saveRow("whole bytes from the data offset", 16, 3, 2, "01 01 02 A5 5A 11 22", "bit0[2]=a5 bit0[3]=5a");
    saveRow("the low three address bits are dropped", 13, 3, 1, "01 01 01 A5 11 22", "bit0[1]=a5");
    saveRow("another data offset", 0, 1, 2, "01 02 03 04", "bit0[0]=02 bit0[1]=03");
    saveRow("length 0", 16, 3, 0, "01 01 02 A5 5A", "");
    saveRow("length -1", 16, 3, -1, "01 01 02 A5 5A", "");
    saveRow("reply one byte short", 16, 3, 2, "01 01 02 A5", "bit0[2]=a5");
    saveRow("reply ends before its data", 16, 3, 2, "01 01 02", "");
    saveRow("empty reply", 16, 3, 2, "", "");
    saveRow("largest length", 16, 3, INT_MAX, "01 01 02 A5 5A", "bit0[2]=a5 bit0[3]=5a");
    saveRow("largest offset", 16, INT_MAX, 2, "01 01 02 A5 5A", "");
    saveRow("the last element and one beyond", 524272, 3, 2, "01 01 02 A5 5A", "bit0[65534]=a5");
    saveRow("one element before the area", -8, 3, 2, "01 01 02 A5 5A", "bit0[0]=5a");
    saveRow("largest address", INT_MAX, 3, 2, "01 01 02 A5 5A", "");
    saveRow("smallest address", INT_MIN, 3, 2, "01 01 02 A5 5A", "");
}

void TstElementAccessWrite::repliedBytesAreSavedAtTheirAddress()
{
    DriverFixture driver;
    checkSave(SaveBitToUC, PLC_driver.bitImage0);
}

void TstElementAccessWrite::repliedWordsAreSavedHighByteFirst_data()
{
    saveColumns();
    saveRow("two words, high byte first", 100, 3, 4, "01 03 04 12 34 56 78 AA BB", "word7[100]=1234 word7[101]=5678");
    saveRow("another data offset", 0, 1, 2, "01 12 34", "word7[0]=1234");
    saveRow("an odd last byte is dropped", 100, 3, 3, "01 03 04 12 34 56 78", "word7[100]=1234");
    saveRow("length 1", 100, 3, 1, "01 03 04 12 34", "");
    saveRow("length 0", 100, 3, 0, "01 03 04 12 34", "");
    saveRow("smallest length", 100, 3, INT_MIN, "01 03 04 12 34", "");
    saveRow("reply one byte short", 100, 3, 4, "01 03 04 12 34 56", "word7[100]=1234");
    saveRow("reply exactly long enough", 100, 3, 4, "01 03 04 12 34 56 78", "word7[100]=1234 word7[101]=5678");
    saveRow("empty reply", 100, 3, 4, "", "");
    saveRow("largest length", 100, 3, INT_MAX, "01 03 04 12 34", "word7[100]=1234");
    saveRow("largest offset", 100, INT_MAX, 2, "01 03 04 12 34", "");
    saveRow("the last word and one beyond", 65534, 3, 4, "01 03 04 12 34 56 78", "word7[65534]=1234");
    saveRow("one before the area", -1, 3, 4, "01 03 04 12 34 56 78", "word7[0]=5678");
    saveRow("largest address", INT_MAX, 3, 4, "01 03 04 12 34 56 78", "");
    saveRow("smallest address", INT_MIN, 3, 4, "01 03 04 12 34 56 78", "");
}

void TstElementAccessWrite::repliedWordsAreSavedHighByteFirst()
{
    DriverFixture driver;
    checkSave(SaveWordToUS, PLC_driver.wordImage7);
}

void TstElementAccessWrite::repliedValuesAreSavedHighByteFirst_data()
{
    saveColumns();
    saveRow("65538 at element 5", 5, 3, 4, "01 03 04 00 01 00 02 AA BB", "dword13[5]=00010002");
    saveRow("two values", 5, 3, 8, "01 03 08 12 34 56 78 9A BC DE F0", "dword13[5]=12345678 dword13[6]=9abcdef0");
    saveRow("a rest of three bytes is dropped", 5, 3, 7, "01 03 08 12 34 56 78 9A BC DE F0", "dword13[5]=12345678");
    saveRow("length 3", 5, 3, 3, "01 03 04 12 34 56 78", "");
    saveRow("length -4", 5, 3, -4, "01 03 04 12 34 56 78", "");
    saveRow("reply one byte short", 5, 3, 8, "01 03 08 12 34 56 78 9A BC DE", "dword13[5]=12345678");
    saveRow("empty reply", 5, 3, 4, "", "");
    saveRow("largest length", 5, 3, INT_MAX, "01 03 04 12 34 56 78", "dword13[5]=12345678");
    saveRow("the last value and one beyond", 65534, 3, 8, "01 03 08 12 34 56 78 9A BC DE F0",
            "dword13[65534]=12345678");
    saveRow("one before the area", -1, 3, 8, "01 03 08 12 34 56 78 9A BC DE F0", "dword13[0]=9abcdef0");
    saveRow("largest address", INT_MAX, 3, 8, "01 03 08 12 34 56 78 9A BC DE F0", "");
    saveRow("smallest address", INT_MIN, 3, 4, "01 03 04 12 34 56 78", "");
}

void TstElementAccessWrite::repliedValuesAreSavedHighByteFirst()
{
    DriverFixture driver;
    checkSave(SaveWordToUI, PLC_driver.dwordImage13);
}

void TstElementAccessWrite::elementsThatAShortReplyLacksKeepTheirValue()
{
    DriverFixture driver;
    PLC_driver.bitImage0[3] = 0x55;
    PLC_driver.bitImage0[4] = 0x66;
    PLC_driver.wordImage7[1] = 0x5555;
    PLC_driver.dwordImage13[1] = 0x66666666;
    Protocol request;
    request.dataOffset = 3;
    request.var = readVar(0, 16, 1);
    request.dataLen = 3;
    PLC_driver.protocolList << request;
    SaveBitToUC(hex("01 01 03 A5"), PLC_driver.bitImage0);
    PLC_driver.protocolList[0].var.address = 0;
    PLC_driver.protocolList[0].dataLen = 4;
    SaveWordToUS(hex("01 03 04 12 34 56"), PLC_driver.wordImage7);
    PLC_driver.protocolList[0].dataLen = 8;
    SaveWordToUI(hex("01 03 08 12 34 56 78 9A BC DE"), PLC_driver.dwordImage13);
    QCOMPARE(image(), QStringLiteral("bit0[2]=a5 bit0[3]=55 bit0[4]=66 word7[0]=1234 word7[1]=5555 "
                                     "dword13[0]=12345678 dword13[1]=66666666"));
}

QTEST_APPLESS_MAIN(TstElementAccessWrite)
#include "tst_element_access_write.moc"
