/// The Modbus number of every element: each area at the edges of its pieces, and addresses that no area has.
#include "frames/address_map.h"

#include "tests/driver_fixture.h"

#include <climits>

namespace {

struct MapRow {
    const char *name;
    int devType, address, modbus;
};

void addRows(const MapRow *rows, int count)
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("modbus");
    for (int i = 0; i < count; ++i)
        QTest::newRow(rows[i].name) << rows[i].devType << rows[i].address << rows[i].modbus;
}

void checkRow()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QTEST(get_type_add(devType, address), "modbus");
}

} // namespace

class TstAddressMap : public QObject {
    Q_OBJECT

private slots:
    void areasInOnePieceKeepOneOffset_data();
    void areasInOnePieceKeepOneOffset() { checkRow(); }
    void areasInTwoPiecesJumpAtTheirBoundary_data();
    void areasInTwoPiecesJumpAtTheirBoundary() { checkRow(); }
    void code13CountsTwoRegistersAnElement_data();
    void code13CountsTwoRegistersAnElement() { checkRow(); }
    void code13LeavesTheRegistersBetweenItsPiecesAlone();
    void derivedCodesShareTheMapOfTheirBaseArea();
    void coilAndRegisterAreasMayShareNumbers();
    void numbersThatAreNoCodesHaveNoArea_data();
    void numbersThatAreNoCodesHaveNoArea();
    void negativeAddressesTakeTheLowPiece_data();
    void negativeAddressesTakeTheLowPiece() { checkRow(); }
    void addressesBeyondTheAreaAreNeitherCheckedNorClipped_data();
    void addressesBeyondTheAreaAreNeitherCheckedNorClipped() { checkRow(); }
    void resultsBeyondAnIntKeepTheLow16BitsThatAFrameCarries_data();
    void resultsBeyondAnIntKeepTheLow16BitsThatAFrameCarries();
};

void TstAddressMap::areasInOnePieceKeepOneOffset_data()
{
    static const MapRow rows[] = {
        {"code 0, first", 0, 0, 1200},
        {"code 0, where code 3 would jump", 0, 256, 1456},
        {"code 0, where code 2 would jump", 0, 2048, 3248},
        {"code 1 starts at coil 0", 1, 0, 0},
        {"code 1, second", 1, 1, 1},
        {"code 1, where code 3 would jump", 1, 256, 256},
        {"code 1, where code 2 would jump", 1, 2048, 2048},
        {"code 7, first", 7, 0, 0},
        {"code 7", 7, 5, 5},
        {"code 7, where code 8 would jump", 7, 256, 256},
        {"code 10, first", 10, 0, 9500},
        {"code 10, before the jump of code 9", 10, 255, 9755},
        {"code 10, where code 9 would jump", 10, 256, 9756},
        {"code 11, first", 11, 0, 8500},
        {"code 11, where code 8 would jump", 11, 256, 8756},
        {"code 12, first", 12, 0, 0},
        {"code 12, where code 14 would jump", 12, 256, 256},
        {"code 15, first word", 15, 0, 0},
        {"code 15, where code 16 would jump", 15, 256, 256},
        {"code 17, first word", 17, 0, 8500},
        {"code 17", 17, 3, 8503},
        {"code 17, where code 16 would jump", 17, 256, 8756},
        {"code 100, first", 100, 0, 13000},
        {"code 100, where code 8 would jump", 100, 256, 13256},
        {"code 101, first", 101, 0, 13000},
        {"code 101", 101, 10, 13010},
        {"code 101, where code 14 would jump", 101, 256, 13256},
        {"code 102, first word", 102, 0, 13000},
        {"code 102, where code 16 would jump", 102, 256, 13256},
    };
    addRows(rows, int(sizeof rows / sizeof *rows));
}

void TstAddressMap::areasInTwoPiecesJumpAtTheirBoundary_data()
{
    static const MapRow rows[] = {
        {"code 2, first", 2, 0, 2000},
        {"code 2, last of the low piece", 2, 2047, 0x0FCF},
        {"code 2, first of the high piece", 2, 2048, 0x2EE0},
        {"code 2, second of the high piece", 2, 2049, 12001},
        {"code 3, first", 3, 0, 4400},
        {"code 3, last of the low piece", 3, 255, 0x122F},
        {"code 3, first of the high piece", 3, 256, 0x7530},
        {"code 3, second of the high piece", 3, 257, 30001},
        {"code 4, first", 4, 0, 6000},
        {"code 4, last of the low piece", 4, 1023, 0x1B6F},
        {"code 4, first of the high piece", 4, 1024, 0x7918},
        {"code 4, second of the high piece", 4, 1025, 31001},
        {"code 5, first", 5, 0, 8000},
        {"code 5, last of the low piece", 5, 255, 8255},
        {"code 5, first of the high piece", 5, 256, 11000},
        {"code 5, second of the high piece", 5, 257, 11001},
        {"code 6, first", 6, 0, 9200},
        {"code 6, last of the low piece", 6, 255, 9455},
        {"code 6, first of the high piece", 6, 256, 10000},
        {"code 6, second of the high piece", 6, 257, 10001},
        {"code 8, first", 8, 0, 8000},
        {"code 8, last of the low piece", 8, 255, 8255},
        {"code 8, first of the high piece", 8, 256, 12000},
        {"code 8, second of the high piece", 8, 257, 12001},
        {"code 9, first", 9, 0, 9000},
        {"code 9, last of the low piece", 9, 255, 9255},
        {"code 9, first of the high piece", 9, 256, 11000},
        {"code 9, second of the high piece", 9, 257, 11001},
        {"code 14, first", 14, 0, 8000},
        {"code 14, last of the low piece", 14, 255, 8255},
        {"code 14, first of the high piece", 14, 256, 12000},
        {"code 14, second of the high piece", 14, 257, 12001},
        {"code 16, first word", 16, 0, 8000},
        {"code 16, last word of the low piece", 16, 255, 8255},
        {"code 16, first word of the high piece", 16, 256, 12000},
        {"code 16, second word of the high piece", 16, 257, 12001},
    };
    addRows(rows, int(sizeof rows / sizeof *rows));
}

void TstAddressMap::code13CountsTwoRegistersAnElement_data()
{
    static const MapRow rows[] = {
        {"first", 13, 0, 9700},
        {"second", 13, 1, 9702},
        {"last of the low piece", 13, 55, 0x2652},
        {"first of the high piece", 13, 56, 0x2710},
        {"second of the high piece", 13, 57, 10002},
        {"well inside the high piece", 13, 100, 0x2768},
        {"where code 8 would jump", 13, 256, 10400},
    };
    addRows(rows, int(sizeof rows / sizeof *rows));
}

void TstAddressMap::code13LeavesTheRegistersBetweenItsPiecesAlone()
{
    for (int address = 0; address <= 2000; ++address) {
        const int modbus = get_type_add(13, address);
        QVERIFY2(modbus <= 9810 || modbus >= 10000, qPrintable(QString::number(address)));
    }
    QCOMPARE(get_type_add(13, 56) - get_type_add(13, 55), 190);
}

void TstAddressMap::derivedCodesShareTheMapOfTheirBaseArea()
{
    static const int pairs[][2] = {{12, 7}, {15, 7}, {14, 8}, {16, 8}, {17, 11}, {101, 100}, {102, 100}};
    for (const auto &pair : pairs) {
        for (int address = -300; address <= 3000; ++address) {
            if (get_type_add(pair[0], address) != get_type_add(pair[1], address))
                QFAIL(qPrintable(QString::fromLatin1("code %1, address %2").arg(pair[0]).arg(address)));
        }
    }
}

void TstAddressMap::coilAndRegisterAreasMayShareNumbers()
{
    QCOMPARE(get_type_add(5, 0), 8000);
    QCOMPARE(get_type_add(8, 0), 8000);
    QCOMPARE(get_type_add(5, 256), 11000);
    QCOMPARE(get_type_add(9, 256), 11000);
    QCOMPARE(get_type_add(6, 256), 10000);
    QCOMPARE(get_type_add(13, 56), 10000);
    QCOMPARE(get_type_add(2, 2048), 12000);
    QCOMPARE(get_type_add(8, 256), 12000);
}

void TstAddressMap::numbersThatAreNoCodesHaveNoArea_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::newRow("18 to 99, between the codes") << 18 << 99;
    QTest::newRow("103 to 1000") << 103 << 1000;
    QTest::newRow("low byte looks like a code") << 0x10000 << 0x10010;
    QTest::newRow("the largest ints") << INT_MAX - 10 << INT_MAX - 1;
    QTest::newRow("-300 to -1") << -300 << -1;
    QTest::newRow("the smallest ints") << INT_MIN << INT_MIN + 10;
}

void TstAddressMap::numbersThatAreNoCodesHaveNoArea()
{
    QFETCH(int, first);
    QFETCH(int, last);
    for (int devType = first; devType <= last; ++devType) {
        for (int address : {5, 0, 256, -1, INT_MAX, INT_MIN})
            QCOMPARE(get_type_add(devType, address), 0);
    }
    QCOMPARE(get_type_add(INT_MAX, 5), 0);
}

void TstAddressMap::negativeAddressesTakeTheLowPiece_data()
{
    static const MapRow rows[] = {
        {"code 0", 0, -1, 1199},
        {"code 1", 1, -1, -1},
        {"code 2", 2, -1, 1999},
        {"code 3", 3, -1, 4399},
        {"code 4", 4, -1, 5999},
        {"code 5", 5, -1, 7999},
        {"code 6", 6, -1, 9199},
        {"code 7", 7, -1, -1},
        {"code 8", 8, -3, 7997},
        {"code 9", 9, -1, 8999},
        {"code 9, result below 0", 9, -9001, -1},
        {"code 10", 10, -1, 9499},
        {"code 11", 11, -1, 8499},
        {"code 12", 12, -1, -1},
        {"code 13", 13, -1, 9698},
        {"code 13, result below 0", 13, -4851, -2},
        {"code 14", 14, -1, 7999},
        {"code 15", 15, -1, -1},
        {"code 16", 16, -1, 7999},
        {"code 17", 17, -1, 8499},
        {"code 100", 100, -1, 12999},
        {"code 101", 101, -1, 12999},
        {"code 102", 102, -1, 12999},
        {"code 1, smallest int", 1, INT_MIN, INT_MIN},
        {"code 2, smallest int", 2, INT_MIN, -2147481648},
        {"code 8, smallest int", 8, INT_MIN, -2147475648},
        {"code 102, smallest int", 102, INT_MIN, -2147470648},
    };
    addRows(rows, int(sizeof rows / sizeof *rows));
}

void TstAddressMap::addressesBeyondTheAreaAreNeitherCheckedNorClipped_data()
{
    static const MapRow rows[] = {
        {"code 3, sent as 4208", 3, 40000, 69744},
        {"code 0", 0, 65535, 66735},
        {"code 7", 7, 65536, 65536},
        {"code 8", 8, 100000, 111744},
        {"code 13", 13, 100000, 209888},
        {"code 100", 100, 1000000, 1013000},
        {"code 7, largest int", 7, INT_MAX, INT_MAX},
    };
    addRows(rows, int(sizeof rows / sizeof *rows));
}

void TstAddressMap::resultsBeyondAnIntKeepTheLow16BitsThatAFrameCarries_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("sent");
    QTest::newRow("code 0") << 0 << INT_MAX << 0x04AF;
    QTest::newRow("code 1") << 1 << INT_MAX << 0xFFFF;
    QTest::newRow("code 2") << 2 << INT_MAX << 0x26DF;
    QTest::newRow("code 3") << 3 << INT_MAX << 0x742F;
    QTest::newRow("code 4") << 4 << INT_MAX << 0x7517;
    QTest::newRow("code 5") << 5 << INT_MAX << 0x29F7;
    QTest::newRow("code 6") << 6 << INT_MAX << 0x260F;
    QTest::newRow("code 7") << 7 << INT_MAX << 0xFFFF;
    QTest::newRow("code 8") << 8 << INT_MAX << 0x2DDF;
    QTest::newRow("code 9") << 9 << INT_MAX << 0x29F7;
    QTest::newRow("code 10") << 10 << INT_MAX << 0x251B;
    QTest::newRow("code 11") << 11 << INT_MAX << 0x2133;
    QTest::newRow("code 12") << 12 << INT_MAX << 0xFFFF;
    QTest::newRow("code 13") << 13 << INT_MAX << 0x269E;
    QTest::newRow("code 13, doubling alone leaves an int") << 13 << 0x40000000 << 0x26A0;
    QTest::newRow("code 13, below the smallest int") << 13 << INT_MIN << 0x25E4;
    QTest::newRow("code 14") << 14 << INT_MAX << 0x2DDF;
    QTest::newRow("code 15") << 15 << INT_MAX << 0xFFFF;
    QTest::newRow("code 16") << 16 << INT_MAX << 0x2DDF;
    QTest::newRow("code 17") << 17 << INT_MAX << 0x2133;
    QTest::newRow("code 100") << 100 << INT_MAX << 0x32C7;
    QTest::newRow("code 101") << 101 << INT_MAX << 0x32C7;
    QTest::newRow("code 102") << 102 << INT_MAX << 0x32C7;
}

void TstAddressMap::resultsBeyondAnIntKeepTheLow16BitsThatAFrameCarries()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QTEST(get_type_add(devType, address) & 0xFFFF, "sent");
}

QTEST_APPLESS_MAIN(TstAddressMap)
#include "tst_address_map.moc"
