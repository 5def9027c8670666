/// Device-type codes: base types, address text, and what each code becomes in the lists.
#include "varlist/device_type.h"

#include "tests/driver_fixture.h"
#include "varlist/read_list.h"
#include "varlist/write_list.h"

#include <climits>

class TstDeviceType : public QObject {
    Q_OBJECT

private slots:
    void codeFoldsIntoItsBaseType_data();
    void codeFoldsIntoItsBaseType();
    void addressTextIsReadByTheRulesOfItsCode_data();
    void addressTextIsReadByTheRulesOfItsCode();
    void addressOutsideIntIsNotUsable_data();
    void addressOutsideIntIsNotUsable();
    void blanksAndSignsFollowTheStringClass_data();
    void blanksAndSignsFollowTheStringClass();
    void addressTextNeedsNeitherSettingsNorState();
    void cyclicReadCarriesTheBaseTypeAndConvertedCount_data();
    void cyclicReadCarriesTheBaseTypeAndConvertedCount();
    void cyclicGroupsAreReadInTheirFixedOrder();
    void aliasesShareTheBlocksOfTheirBaseType_data();
    void aliasesShareTheBlocksOfTheirBaseType();
    void readEntryIsCutAtTheBoundaryOfItsCode_data();
    void readEntryIsCutAtTheBoundaryOfItsCode();
    void writeEntryIsCutOnlyForThreeCodes_data();
    void writeEntryIsCutOnlyForThreeCodes();
};

void TstDeviceType::codeFoldsIntoItsBaseType_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("base");

    QTest::newRow("0") << 0 << 0;
    QTest::newRow("1") << 1 << 1;
    QTest::newRow("2") << 2 << 2;
    QTest::newRow("3") << 3 << 3;
    QTest::newRow("4") << 4 << 4;
    QTest::newRow("5") << 5 << 5;
    QTest::newRow("6") << 6 << 6;
    QTest::newRow("7") << 7 << 7;
    QTest::newRow("8") << 8 << 8;
    QTest::newRow("9") << 9 << 9;
    QTest::newRow("10") << 10 << 10;
    QTest::newRow("11") << 11 << 11;
    QTest::newRow("12, 32-bit form of 7") << 12 << 7;
    QTest::newRow("13 stands apart") << 13 << 13;
    QTest::newRow("14, 32-bit form of 8") << 14 << 8;
    QTest::newRow("15, bit in 7") << 15 << 7;
    QTest::newRow("16, bit in 8") << 16 << 8;
    QTest::newRow("17, bit in 11") << 17 << 11;
    QTest::newRow("100") << 100 << 100;
    QTest::newRow("101, 32-bit form of 100") << 101 << 100;
    QTest::newRow("102, bit in 100") << 102 << 100;
    QTest::newRow("18 is no code") << 18 << 0;
    QTest::newRow("55 is no code") << 55 << 0;
    QTest::newRow("99 is no code") << 99 << 0;
    QTest::newRow("103 is no code") << 103 << 0;
    QTest::newRow("255 is no code") << 255 << 0;
    QTest::newRow("-1 is no code") << -1 << 0;
    QTest::newRow("largest int is no code") << INT_MAX << 0;
    QTest::newRow("smallest int is no code") << INT_MIN << 0;
}

void TstDeviceType::codeFoldsIntoItsBaseType()
{
    QFETCH(int, devType);
    QFETCH(int, base);
    QCOMPARE(get_type(devType), base);
}

void TstDeviceType::addressTextIsReadByTheRulesOfItsCode_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("address");

    QTest::newRow("0 is octal") << 0 << "17" << 15;
    QTest::newRow("1 is octal") << 1 << "17" << 15;
    QTest::newRow("2 is decimal") << 2 << "17" << 17;
    QTest::newRow("3 is decimal") << 3 << "17" << 17;
    QTest::newRow("4 is decimal") << 4 << "17" << 17;
    QTest::newRow("5 is decimal") << 5 << "17" << 17;
    QTest::newRow("6 is decimal") << 6 << "17" << 17;
    QTest::newRow("7 is decimal") << 7 << "17" << 17;
    QTest::newRow("8 is decimal") << 8 << "17" << 17;
    QTest::newRow("9 is decimal") << 9 << "17" << 17;
    QTest::newRow("10 is decimal") << 10 << "17" << 17;
    QTest::newRow("11 is decimal") << 11 << "17" << 17;
    QTest::newRow("12 is decimal") << 12 << "17" << 17;
    QTest::newRow("13 is decimal minus 200") << 13 << "217" << 17;
    QTest::newRow("14 is decimal") << 14 << "17" << 17;
    QTest::newRow("15 is word.bit") << 15 << "1.1" << 17;
    QTest::newRow("16 is word.bit") << 16 << "1.1" << 17;
    QTest::newRow("17 is word.bit") << 17 << "1.1" << 17;
    QTest::newRow("100 is decimal") << 100 << "17" << 17;
    QTest::newRow("101 is decimal") << 101 << "17" << 17;
    QTest::newRow("102 is word.bit") << 102 << "1.1" << 17;
    QTest::newRow("any other value is decimal") << 55 << "17" << 17;
    QTest::newRow("so is 18") << 18 << "17" << 17;
    QTest::newRow("so is 103") << 103 << "17" << 17;
    QTest::newRow("so is a negative code") << -1 << "17" << 17;
    QTest::newRow("octal 8 fails") << 0 << "18" << -1;
    QTest::newRow("octal 9 fails") << 1 << "9" << -1;
    QTest::newRow("octal 777") << 1 << "777" << 511;
    QTest::newRow("decimal 8 and 9 are digits") << 2 << "89" << 89;
    QTest::newRow("leading zero is not octal") << 7 << "017" << 17;
    QTest::newRow("hexadecimal prefix fails") << 7 << "0x10" << -1;
    QTest::newRow("letters fail") << 7 << "abc" << -1;
    QTest::newRow("empty text fails") << 7 << "" << -1;
    QTest::newRow("empty octal text fails") << 0 << "" << -1;
    QTest::newRow("fraction fails") << 7 << "1.5" << -1;
    QTest::newRow("13 starts at 200") << 13 << "200" << 0;
    QTest::newRow("13 at 255") << 13 << "255" << 55;
    QTest::newRow("13 with a leading zero is not octal") << 13 << "0255" << 55;
    QTest::newRow("13 hexadecimal prefix fails") << 13 << "0x12C" << -1;
    QTest::newRow("13 below 200 is negative, not a failure") << 13 << "150" << -50;
    QTest::newRow("13 at 0") << 13 << "0" << -200;
    QTest::newRow("13 letters fail") << 13 << "abc" << -1;
    QTest::newRow("13 empty fails") << 13 << "" << -1;
    QTest::newRow("13 takes no dot") << 13 << "210.3" << -1;
    QTest::newRow("word 10 bit 3") << 15 << "10.3" << 163;
    QTest::newRow("16: word 10 bit 3") << 16 << "10.3" << 163;
    QTest::newRow("17: word 10 bit 3") << 17 << "10.3" << 163;
    QTest::newRow("102: word 10 bit 3") << 102 << "10.3" << 163;
    QTest::newRow("one part fails") << 15 << "10" << -1;
    QTest::newRow("three parts fail") << 15 << "1.2.3" << -1;
    QTest::newRow("empty middle part counts as a part") << 15 << "1..2" << -1;
    QTest::newRow("empty dotted text fails") << 15 << "" << -1;
    QTest::newRow("word that is no number counts as 0") << 15 << "x.3" << 3;
    QTest::newRow("bit that is no number counts as 0") << 15 << "1.x" << 16;
    QTest::newRow("bit number is not range-checked") << 15 << "1.20" << 36;
    QTest::newRow("missing bit counts as 0") << 15 << "12." << 192;
    QTest::newRow("missing word counts as 0") << 15 << ".5" << 5;
    QTest::newRow("a lone dot is 0") << 15 << "." << 0;
    QTest::newRow("dotted parts are decimal") << 15 << "010.011" << 171;
    QTest::newRow("14 takes no dot") << 14 << "10.3" << -1;
    QTest::newRow("12 takes no dot") << 12 << "10.3" << -1;
    QTest::newRow("101 takes no dot") << 101 << "10.3" << -1;
    QTest::newRow("sign is not checked") << 7 << "-5" << -5;
    QTest::newRow("octal sign is not checked") << 0 << "-17" << -15;
    QTest::newRow("dotted sign is not checked") << 15 << "-2.3" << -29;
}

void TstDeviceType::addressTextIsReadByTheRulesOfItsCode()
{
    QFETCH(int, devType);
    QFETCH(QString, text);
    QFETCH(int, address);
    QCOMPARE(StringAddressToInt(devType, text), address);
    QCOMPARE(PLCAddressChangeIntef(devType, text), address);
}

void TstDeviceType::addressOutsideIntIsNotUsable_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("address");

    QTest::newRow("largest decimal") << 7 << "2147483647" << INT_MAX;
    QTest::newRow("one more") << 7 << "2147483648" << -1;
    QTest::newRow("smallest decimal") << 7 << "-2147483648" << INT_MIN;
    QTest::newRow("one less") << 7 << "-2147483649" << -1;
    QTest::newRow("largest octal") << 0 << "17777777777" << INT_MAX;
    QTest::newRow("one more octal") << 0 << "20000000000" << -1;
    QTest::newRow("13: largest") << 13 << "2147483647" << 2147483447;
    QTest::newRow("13: smallest that fits") << 13 << "-2147483448" << INT_MIN;
    QTest::newRow("13: one less") << 13 << "-2147483449" << -1;
    QTest::newRow("13: smallest text") << 13 << "-2147483648" << -1;
    QTest::newRow("word.bit: largest") << 15 << "134217727.15" << INT_MAX;
    QTest::newRow("word.bit: next bit") << 15 << "134217727.16" << -1;
    QTest::newRow("word.bit: next word") << 16 << "134217728.0" << -1;
    QTest::newRow("word.bit: largest word text") << 17 << "2147483647.0" << -1;
    QTest::newRow("word.bit: largest bit text") << 102 << "0.2147483647" << INT_MAX;
    QTest::newRow("word.bit: both") << 102 << "1.2147483647" << -1;
    QTest::newRow("word.bit: smallest") << 15 << "-134217728.0" << INT_MIN;
    QTest::newRow("word.bit: one less") << 15 << "-134217728.-1" << -1;
    QTest::newRow("word.bit: word too long counts as 0") << 15 << "2147483648.3" << 3;
    QTest::newRow("word.bit: bit too long counts as 0") << 15 << "2.2147483648" << 32;
}

void TstDeviceType::addressOutsideIntIsNotUsable()
{
    QFETCH(int, devType);
    QFETCH(QString, text);
    QFETCH(int, address);
    QCOMPARE(StringAddressToInt(devType, text), address);
    QCOMPARE(PLCAddressChangeIntef(devType, text), address);
}

void TstDeviceType::blanksAndSignsFollowTheStringClass_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("blank before") << " 17";
    QTest::newRow("blank behind") << "17 ";
    QTest::newRow("tab and newline") << "\t17\n";
    QTest::newRow("blank inside") << "1 7";
    QTest::newRow("plus sign") << "+17";
    QTest::newRow("minus sign") << "-17";
    QTest::newRow("minus and blank") << "- 17";
    QTest::newRow("two signs") << "+-17";
    QTest::newRow("only a sign") << "-";
    QTest::newRow("only a blank") << " ";
    QTest::newRow("grouped thousands") << "1,000";
    QTest::newRow("exponent") << "1e3";
}

// What the string class makes of such text belongs to it, so it is asked here too.
void TstDeviceType::blanksAndSignsFollowTheStringClass()
{
    QFETCH(QString, text);
    bool usable = false;
    const int decimal = text.toInt(&usable, 10);
    QCOMPARE(StringAddressToInt(7, text), usable ? decimal : -1);
    QCOMPARE(StringAddressToInt(13, text), usable ? decimal - 200 : -1);
    QCOMPARE(StringAddressToInt(15, text + QStringLiteral(".1")), decimal * 16 + 1);
    const int octal = text.toInt(&usable, 8);
    QCOMPARE(StringAddressToInt(1, text), usable ? octal : -1);
}

void TstDeviceType::addressTextNeedsNeitherSettingsNorState()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    PLC_driver.listMutex.lock();
    PLC_driver.imageMutex.lock();
    const int address = PLCAddressChangeIntef(15, QStringLiteral("10.3"));
    PLC_driver.imageMutex.unlock();
    PLC_driver.listMutex.unlock();
    QCOMPARE(address, 163);
    QCOMPARE(PLCAddressChangeIntef(15, QString()), -1);
}

void TstDeviceType::cyclicReadCarriesTheBaseTypeAndConvertedCount_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("entry");

    QTest::newRow("0: bits to bytes") << 0 << QByteArray("17") << 3 << "0/8/2@1";
    QTest::newRow("1: bits to bytes") << 1 << QByteArray("17") << 3 << "1/8/2@1";
    QTest::newRow("2: bits to bytes") << 2 << QByteArray("15") << 3 << "2/8/2@1";
    QTest::newRow("3: bits to bytes") << 3 << QByteArray("15") << 3 << "3/8/2@1";
    QTest::newRow("4: bits to bytes") << 4 << QByteArray("15") << 3 << "4/8/2@1";
    QTest::newRow("5: bits to bytes") << 5 << QByteArray("15") << 3 << "5/8/2@1";
    QTest::newRow("6: bits to bytes") << 6 << QByteArray("15") << 3 << "6/8/2@1";
    QTest::newRow("7: as it stands") << 7 << QByteArray("15") << 3 << "7/15/3@1";
    QTest::newRow("8: as it stands") << 8 << QByteArray("15") << 3 << "8/15/3@1";
    QTest::newRow("9: as it stands") << 9 << QByteArray("15") << 3 << "9/15/3@1";
    QTest::newRow("10: as it stands") << 10 << QByteArray("15") << 3 << "10/15/3@1";
    QTest::newRow("11: as it stands") << 11 << QByteArray("15") << 3 << "11/15/3@1";
    QTest::newRow("12: rounded up to even") << 12 << QByteArray("15") << 3 << "7/15/4@1";
    QTest::newRow("13: halved") << 13 << QByteArray("215") << 3 << "13/15/2@1";
    QTest::newRow("14: rounded up to even") << 14 << QByteArray("15") << 3 << "8/15/4@1";
    QTest::newRow("15: bits to words") << 15 << QByteArray("16.3") << 3 << "7/16/1@1";
    QTest::newRow("16: bits to words") << 16 << QByteArray("16.3") << 3 << "8/16/1@1";
    QTest::newRow("17: bits to words") << 17 << QByteArray("16.3") << 3 << "11/16/1@1";
    QTest::newRow("100: as it stands") << 100 << QByteArray("15") << 3 << "100/15/3@1";
    QTest::newRow("101: rounded up to even") << 101 << QByteArray("15") << 3 << "100/15/4@1";
    QTest::newRow("102: bits to words") << 102 << QByteArray("16.3") << 3 << "100/16/1@1";
    QTest::newRow("13 below its offset is dropped") << 13 << QByteArray("150") << 3 << "";
    QTest::newRow("a negative address is dropped") << 7 << QByteArray("-5") << 3 << "";
}

void TstDeviceType::cyclicReadCarriesTheBaseTypeAndConvertedCount()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, text);
    QFETCH(int, count);
    QFETCH(QString, entry);
    DriverFixture driver;
    QList<VARDESC> descriptions{description(devType, text.constData(), count)};
    ReCreatReadVarList(descriptions);
    QCOMPARE(summary(PLC_driver.readList), entry);
}

void TstDeviceType::cyclicGroupsAreReadInTheirFixedOrder()
{
    DriverFixture driver;
    QList<VARDESC> descriptions;
    for (int code : {100, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0})
        descriptions << description(code, "0", 1);
    descriptions << description(13, "200", 1);
    QCOMPARE(ReCreatReadVarList(descriptions), 14);
    QCOMPARE(summary(PLC_driver.readList),
             QStringLiteral("0/0/1@1 1/0/1@1 2/0/1@1 3/0/1@1 4/0/1@1 5/0/1@1 6/0/1@1 "
                            "7/0/1@1 8/0/1@1 9/0/1@1 10/0/1@1 13/0/1@1 11/0/1@1 100/0/1@1"));
}

void TstDeviceType::aliasesShareTheBlocksOfTheirBaseType_data()
{
    QTest::addColumn<int>("base");
    QTest::addColumn<int>("alias");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("entry");
    QTest::newRow("12 with 7") << 7 << 12 << QByteArray("11") << "7/10/3@1";
    QTest::newRow("14 with 8") << 8 << 14 << QByteArray("11") << "8/10/3@1";
    QTest::newRow("101 with 100") << 100 << 101 << QByteArray("11") << "100/10/3@1";
    QTest::newRow("15 with 7") << 7 << 15 << QByteArray("11.0") << "7/10/2@1";
    QTest::newRow("16 with 8") << 8 << 16 << QByteArray("11.0") << "8/10/2@1";
    QTest::newRow("17 with 11") << 11 << 17 << QByteArray("11.0") << "11/10/2@1";
    QTest::newRow("102 with 100") << 100 << 102 << QByteArray("11.0") << "100/10/2@1";
}

void TstDeviceType::aliasesShareTheBlocksOfTheirBaseType()
{
    QFETCH(int, base);
    QFETCH(int, alias);
    QFETCH(QByteArray, text);
    QFETCH(QString, entry);
    DriverFixture driver;
    QList<VARDESC> descriptions{description(base, "10", 1), description(alias, text.constData(), 1)};
    ReCreatReadVarList(descriptions);
    QCOMPARE(summary(PLC_driver.readList), entry);
}

void TstDeviceType::readEntryIsCutAtTheBoundaryOfItsCode_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("entries");

    QTest::newRow("0: never") << 0 << 2040 << 4 << "0/2040/4@1";
    QTest::newRow("1: never") << 1 << 2040 << 4 << "1/2040/4@1";
    QTest::newRow("2: bit 2048") << 2 << 2040 << 4 << "2/2040/1@1 2/2048/3@1";
    QTest::newRow("3: bit 256") << 3 << 248 << 2 << "3/248/1@1 3/256/1@1";
    QTest::newRow("4: bit 1024") << 4 << 1008 << 4 << "4/1008/2@1 4/1024/2@1";
    QTest::newRow("5: bit 256") << 5 << 248 << 3 << "5/248/1@1 5/256/2@1";
    QTest::newRow("6: bit 256") << 6 << 240 << 4 << "6/240/2@1 6/256/2@1";
    QTest::newRow("7: never") << 7 << 250 << 10 << "7/250/10@1";
    QTest::newRow("8: word 256") << 8 << 250 << 10 << "8/250/6@1 8/256/4@1";
    QTest::newRow("9: word 256") << 9 << 250 << 10 << "9/250/6@1 9/256/4@1";
    QTest::newRow("10: never") << 10 << 250 << 10 << "10/250/10@1";
    QTest::newRow("11: never") << 11 << 250 << 10 << "11/250/10@1";
    QTest::newRow("12: never") << 12 << 250 << 10 << "12/250/10@1";
    QTest::newRow("13: element 56") << 13 << 50 << 10 << "13/50/6@1 13/56/4@1";
    QTest::newRow("14 is cut only once it has become 8") << 14 << 250 << 10 << "14/250/10@1";
    QTest::newRow("100: never") << 100 << 250 << 10 << "100/250/10@1";
    // Not even where addresses end.
    for (int code : {0, 1, 7, 10, 11, 12, 14, 15, 16, 17, 100, 101, 102, 55})
        QTest::newRow(qPrintable(QStringLiteral("%1: never, at the largest address").arg(code)))
            << code << 2147483640 << 16 << QStringLiteral("%1/2147483640/16@1").arg(code);
    for (int code : {12, 14, 15, 16, 17, 101, 102})
        QTest::newRow(qPrintable(QStringLiteral("%1: never, across all boundaries").arg(code)))
            << code << 50 << 3000 << QStringLiteral("%1/50/3000@1").arg(code);
    QTest::newRow("ends at the boundary") << 8 << 250 << 6 << "8/250/6@1";
    QTest::newRow("starts at the boundary") << 8 << 256 << 10 << "8/256/10@1";
}

void TstDeviceType::readEntryIsCutAtTheBoundaryOfItsCode()
{
    QFETCH(int, devType);
    QFETCH(int, address);
    QFETCH(int, count);
    QFETCH(QString, entries);
    QList<RW_VAR> list{readVar(devType, address, count)};
    QCOMPARE(plcTypeShort(list), 1);
    QCOMPARE(summary(list), entries);
}

void TstDeviceType::writeEntryIsCutOnlyForThreeCodes_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QString>("entries");

    for (int code : {0, 1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 14, 15, 16, 17, 100, 101, 102})
        QTest::newRow(qPrintable(QString::number(code))) << code << QStringLiteral("%1/50/210@1").arg(code);
    QTest::newRow("8 at 256") << 8 << "8/50/206@1 8/256/4@1";
    QTest::newRow("9 at 256") << 9 << "9/50/206@1 9/256/4@1";
    QTest::newRow("13 at 56") << 13 << "13/50/6@1 13/56/204@1";
}

void TstDeviceType::writeEntryIsCutOnlyForThreeCodes()
{
    QFETCH(int, devType);
    QFETCH(QString, entries);
    QList<RW_VAR> list{writeVar(devType, 50, 210, QByteArray(840, '\x11'))};
    QCOMPARE(plcWriteTypeShort(list), 1);
    QCOMPARE(summary(list), entries);
}

QTEST_APPLESS_MAIN(TstDeviceType)
#include "tst_device_type.moc"
