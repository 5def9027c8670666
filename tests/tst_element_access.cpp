/// Single elements of the image areas as bytes of the host.
#include "image/element_access.h"

#include "image/areas.h"
#include "tests/image_fixture.h"

#include <climits>

namespace {

/// The values that the get rows read.
void fillImage()
{
    PLC_driver.bitImage0[0] = 0xFF;
    PLC_driver.bitImage0[1] = 0x26;
    PLC_driver.bitImage0[65534] = 0xC0;
    PLC_driver.bitImage1[0] = 0xFF;
    PLC_driver.bitImage6[65534] = 0xFF;
    PLC_driver.wordImage7[0] = 0xFFFF;
    PLC_driver.wordImage7[10] = 0x1234;
    PLC_driver.wordImage7[11] = 0xABCD;
    PLC_driver.wordImage7[12] = 0x5678;
    PLC_driver.wordImage7[13] = 0x9ABC;
    PLC_driver.wordImage7[65533] = 0x0102;
    PLC_driver.wordImage7[65534] = 0xC003;
    PLC_driver.wordImage8[0] = 0xFFFF;
    PLC_driver.wordImage10[65534] = 0xFFFF;
    PLC_driver.dwordImage13[10] = 0x11223344;
    PLC_driver.dwordImage13[11] = 0x55667788;
    PLC_driver.dwordImage13[65534] = 0xA1B2C3D4;
    PLC_driver.wordImage100[0] = 0xFFFF;
}

void getColumns()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("after");
}

void getRow(const char *name, int start, int count, const char *before, const char *after)
{
    QTest::newRow(name) << start << count << hex(before) << QString::fromLatin1(after);
}

template <class Area>
void checkGet(void (*routine)(QByteArray &, const Area *, int, int), const Area *area)
{
    QFETCH(int, start);
    QFETCH(int, count);
    QFETCH(QByteArray, before);
    fillImage();
    QByteArray out = before;
    routine(out, area, start, count);
    QTEST(toHex(out), "after");
}

} // namespace

class TstElementAccess : public QObject {
    Q_OBJECT

private slots:
    void everyAreaStartsAtZero();
    void areaBelongsToItsStorageCodeAlone();
    void newVariableListsAndFailuresKeepOldValues();
    void bitsOfByteAreasAreReadOneByteEach_data();
    void bitsOfByteAreasAreReadOneByteEach();
    void bitsOfWordAreasAreReadOneByteEach_data();
    void bitsOfWordAreasAreReadOneByteEach();
    void wordsAreReadLowByteFirst_data();
    void wordsAreReadLowByteFirst();
    void pairsAreReadLowWordFirst_data();
    void pairsAreReadLowWordFirst();
    void valuesAreReadTwoBytesApart_data();
    void valuesAreReadTwoBytesApart();
};

void TstElementAccess::everyAreaStartsAtZero()
{
    {
        DriverFixture used;
        for (int i : {0, 65534}) {
            PLC_driver.bitImage0[i] = PLC_driver.bitImage1[i] = PLC_driver.bitImage2[i] = PLC_driver.bitImage3[i] = 1;
            PLC_driver.bitImage4[i] = PLC_driver.bitImage5[i] = PLC_driver.bitImage6[i] = 1;
            PLC_driver.wordImage7[i] = PLC_driver.wordImage8[i] = PLC_driver.wordImage9[i] = 1;
            PLC_driver.wordImage10[i] = PLC_driver.wordImage11[i] = PLC_driver.wordImage100[i] = 1;
            PLC_driver.dwordImage13[i] = 1;
        }
    }
    DriverFixture driver;
    QCOMPARE(image(), QString());
    QCOMPARE(PLC_driver.extendVarList.size(), 0);
}

void TstElementAccess::areaBelongsToItsStorageCodeAlone()
{
    DriverFixture driver;
    QVERIFY(bitArea(0) == PLC_driver.bitImage0 && bitArea(1) == PLC_driver.bitImage1);
    QVERIFY(bitArea(2) == PLC_driver.bitImage2 && bitArea(3) == PLC_driver.bitImage3);
    QVERIFY(bitArea(4) == PLC_driver.bitImage4 && bitArea(5) == PLC_driver.bitImage5);
    QVERIFY(bitArea(6) == PLC_driver.bitImage6);
    QVERIFY(wordArea(7) == PLC_driver.wordImage7 && wordArea(8) == PLC_driver.wordImage8);
    QVERIFY(wordArea(9) == PLC_driver.wordImage9 && wordArea(10) == PLC_driver.wordImage10);
    QVERIFY(wordArea(11) == PLC_driver.wordImage11 && wordArea(100) == PLC_driver.wordImage100);
    for (int code : {INT_MIN, -1, 7, 8, 100, INT_MAX})
        QVERIFY(bitArea(code) == nullptr);
    for (int code : {INT_MIN, -1, 0, 6, 12, 13, 99, 101, INT_MAX})
        QVERIFY(wordArea(code) == nullptr);
}

void TstElementAccess::newVariableListsAndFailuresKeepOldValues()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x1234;
    PLC_driver.bitImage3[65534] = 0x80;
    QList<VARDESC> descriptions{description(7, "10", 1), description(3, "0", 1)};
    QCOMPARE(ReCreatReadVarList(descriptions), 2);
    QVERIFY(ComCommunication() != nullptr);
    QByteArray nothing;
    DataCom(&nothing, 0);
    QCOMPARE(DriverFixture::commFailures.size(), 1);
    QCOMPARE(image(), QStringLiteral("bit3[65534]=80 word7[10]=1234"));
}

void TstElementAccess::bitsOfByteAreasAreReadOneByteEach_data()
{
    getColumns();
    getRow("bit 13 is bit 5 of element 1", 13, 1, "", "01");
    getRow("three bits from bit 9", 9, 3, "", "01 01 00");
    getRow("across two elements", 7, 3, "", "01 00 01");
    getRow("bytes behind the last one stay", 9, 2, "AA BB CC DD", "01 01 CC DD");
    getRow("count 0", 9, 0, "AA", "AA");
    getRow("count -1", 9, -1, "AA", "AA");
    getRow("smallest count", 9, INT_MIN, "AA", "AA");
    getRow("the last two bits and two beyond", 524278, 4, "", "01 01 00 00");
    getRow("one past the area", 524280, 1, "", "00");
    getRow("three before the area", -3, 5, "", "00 00 00 01 01");
    getRow("a whole element before the area", -8, 9, "", "00 00 00 00 00 00 00 00 01");
    getRow("largest start", INT_MAX, 2, "", "00 00");
    getRow("smallest start", INT_MIN, 2, "", "00 00");
}

void TstElementAccess::bitsOfByteAreasAreReadOneByteEach()
{
    DriverFixture driver;
    checkGet(GetBitFromUC, PLC_driver.bitImage0);
}

void TstElementAccess::bitsOfWordAreasAreReadOneByteEach_data()
{
    getColumns();
    getRow("bits 2 to 5 of word 10", 162, 4, "", "01 00 01 01");
    getRow("bits 9 and 12 of word 10", 169, 4, "", "01 00 00 01");
    getRow("across two words", 175, 3, "", "00 01 00");
    getRow("bytes behind the last one stay", 162, 1, "AA BB", "01 BB");
    getRow("count 0", 162, 0, "AA", "AA");
    getRow("smallest count", 162, INT_MIN, "AA", "AA");
    getRow("the last two bits and two beyond", 1048558, 4, "", "01 01 00 00");
    getRow("three before the area", -3, 5, "", "00 00 00 01 01");
    getRow("largest start", INT_MAX, 2, "", "00 00");
    getRow("smallest start", INT_MIN, 2, "", "00 00");
}

void TstElementAccess::bitsOfWordAreasAreReadOneByteEach()
{
    DriverFixture driver;
    checkGet(GetBitFromUS, PLC_driver.wordImage7);
}

void TstElementAccess::wordsAreReadLowByteFirst_data()
{
    getColumns();
    getRow("two words, low byte first", 10, 2, "", "34 12 CD AB");
    getRow("bytes behind the last one stay", 10, 1, "AA BB CC DD EE", "34 12 CC DD EE");
    getRow("count 0", 10, 0, "AA BB", "AA BB");
    getRow("count -1", 10, -1, "AA BB", "AA BB");
    getRow("one before the area", -1, 2, "", "00 00 FF FF");
    getRow("the last word and one beyond", 65534, 2, "", "03 C0 00 00");
    getRow("largest start", INT_MAX, 2, "", "00 00 00 00");
    getRow("smallest start", INT_MIN, 2, "", "00 00 00 00");
}

void TstElementAccess::wordsAreReadLowByteFirst()
{
    DriverFixture driver;
    checkGet(GetWordFromUS, PLC_driver.wordImage7);
}

void TstElementAccess::pairsAreReadLowWordFirst_data()
{
    getColumns();
    getRow("one value, the high word at the lower address", 10, 2, "", "CD AB 34 12");
    getRow("count 1 gives only the second word", 10, 1, "", "CD AB");
    getRow("an odd last word is dropped", 10, 3, "", "CD AB 34 12");
    getRow("two values", 10, 4, "", "CD AB 34 12 BC 9A 78 56");
    getRow("bytes behind the last one stay", 10, 1, "01 02 03", "CD AB 03");
    getRow("count 0", 10, 0, "AA", "AA");
    getRow("count -1", 10, -1, "AA", "AA");
    getRow("count -4", 10, -4, "AA", "AA");
    getRow("the last pair", 65533, 2, "", "03 C0 02 01");
    getRow("only the high word inside", 65534, 2, "", "00 00 03 C0");
    getRow("count 1 with the second word beyond", 65534, 1, "", "00 00");
    getRow("only the low word inside", -1, 2, "", "FF FF 00 00");
    getRow("count 1 at -1 gives word 0", -1, 1, "", "FF FF");
    getRow("count 1 at the largest start", INT_MAX, 1, "", "00 00");
    getRow("a value at the largest start", INT_MAX, 2, "", "00 00 00 00");
    getRow("a value at the smallest start", INT_MIN, 2, "", "00 00 00 00");
}

void TstElementAccess::pairsAreReadLowWordFirst()
{
    DriverFixture driver;
    checkGet(GetWordFromUI, PLC_driver.wordImage7);
}

void TstElementAccess::valuesAreReadTwoBytesApart_data()
{
    getColumns();
    getRow("count 1 gives the two low bytes", 10, 1, "", "44 33");
    getRow("count 2 gives one whole value", 10, 2, "", "44 33 22 11");
    getRow("an odd last half is dropped", 10, 3, "", "44 33 22 11");
    getRow("a later value overlaps the one before", 10, 4, "", "44 33 88 77 66 55");
    getRow("three values overlap in eight bytes", 10, 6, "", "44 33 88 77 00 00 00 00");
    getRow("bytes behind the last one stay", 10, 2, "01 02 03 04 05", "44 33 22 11 05");
    getRow("count 0", 10, 0, "AA", "AA");
    getRow("count -2", 10, -2, "AA", "AA");
    getRow("the last value and one beyond", 65534, 4, "", "D4 C3 00 00 00 00");
    getRow("count 1 beyond", 65535, 1, "", "00 00");
    getRow("one before the area", -1, 2, "", "00 00 00 00");
    getRow("largest start", INT_MAX, 4, "", "00 00 00 00 00 00");
    getRow("smallest start", INT_MIN, 2, "", "00 00 00 00");
}

void TstElementAccess::valuesAreReadTwoBytesApart()
{
    DriverFixture driver;
    checkGet(GetWordFromUI_DCV, PLC_driver.dwordImage13);
}

QTEST_APPLESS_MAIN(TstElementAccess)
#include "tst_element_access.moc"
