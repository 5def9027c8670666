/// Host reads that name nothing, too much or something outside an area, and their locks.
#include "driver/emerson_ec_series.h"

#include "image/store_lock.h"
#include "tests/elsewhere.h"
#include "tests/host_fixture.h"

#include <climits>

class TstHostReadBounds : public QObject {
    Q_OBJECT

private slots:
    void keyedValuesBeyondAnIntAreZero();
    void firstArgumentIsNotUsed();
    void unknownCodesLeaveTheArray_data();
    void unknownCodesLeaveTheArray();
    void unusableAddressReturnsZeroAndLeavesTheArray_data();
    void unusableAddressReturnsZeroAndLeavesTheArray();
    void missingArrayReturnsZero();
    void missingSettingsMeanImageMode();
    void sharedCopiesOfTheArrayStayAsTheyWere();
    void addressesOutsideTheAreaReadAsZero_data();
    void addressesOutsideTheAreaReadAsZero();
    void largestKeyedAddressIsSafe_data();
    void largestKeyedAddressIsSafe();
    void largestAllowedCountIsRead();
    void hugeCountsAreBounded_data();
    void hugeCountsAreBounded();
    void readWaitsForTheImageLockAndTheStoreLock_data();
    void readWaitsForTheImageLockAndTheStoreLock();
    void unusableAddressNeedsNoLock();
};

void TstHostReadBounds::firstArgumentIsNotUsed()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x1234;
    for (int unused : {INT_MIN, -1, 0, 1, INT_MAX}) {
        QByteArray values;
        QCOMPARE(GetRegisterData(unused, 7, QStringLiteral("10"), 1, &values, 1), 1);
        QCOMPARE(toHex(values), QStringLiteral("34 12"));
    }
}

void TstHostReadBounds::unknownCodesLeaveTheArray_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {18, 99, 103, -1, INT_MIN, INT_MAX})
        QTest::newRow(qPrintable(QString::number(devType))) << devType;
}

void TstHostReadBounds::unknownCodesLeaveTheArray()
{
    QFETCH(int, devType);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        QByteArray values = hex("AA BB CC");
        QCOMPARE(readRegister(devType, "10", &values, 2), 1);
        QCOMPARE(toHex(values), QStringLiteral("AA BB CC"));
    }
}

void TstHostReadBounds::unusableAddressReturnsZeroAndLeavesTheArray_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::newRow("no octal digit") << 0 << QByteArray("18");
    QTest::newRow("letters") << 7 << QByteArray("abc");
    QTest::newRow("empty") << 7 << QByteArray();
    QTest::newRow("negative") << 7 << QByteArray("-5");
    QTest::newRow("code 13 below 200") << 13 << QByteArray("150");
    QTest::newRow("code 14 with a bit") << 14 << QByteArray("10.3");
    QTest::newRow("code 15 without a bit") << 15 << QByteArray("10");
    QTest::newRow("code 15 with three parts") << 15 << QByteArray("1.2.3");
    QTest::newRow("code 15 beyond an int") << 15 << QByteArray("134217728.0");
    QTest::newRow("code 13 below the smallest int") << 13 << QByteArray("-2147483600");
    QTest::newRow("unknown code, letters") << 55 << QByteArray("abc");
}

void TstHostReadBounds::unusableAddressReturnsZeroAndLeavesTheArray()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        QByteArray values = hex("AA BB CC");
        QCOMPARE(readRegister(devType, addrText.constData(), &values, 1), 0);
        QCOMPARE(toHex(values), QStringLiteral("AA BB CC"));
        QCOMPARE(store(), QString());
    }
}

void TstHostReadBounds::missingArrayReturnsZero()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        QCOMPARE(readRegister(7, "10", nullptr, 1), 0);
        QCOMPARE(readRegister(7, "abc", nullptr, 1), 0);
    }
}

void TstHostReadBounds::missingSettingsMeanImageMode()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    PLC_driver.wordImage7[10] = 0x1234;
    QByteArray values;
    QCOMPARE(readRegister(7, "10", &values, 1), 1);
    QCOMPARE(toHex(values), QStringLiteral("34 12"));
}

void TstHostReadBounds::sharedCopiesOfTheArrayStayAsTheyWere()
{
    DriverFixture driver;
    PLC_driver.wordImage7[10] = 0x1234;
    QByteArray values = hex("AA BB CC");
    const QByteArray shared = values;
    readRegister(7, "10", &values, 1);
    QCOMPARE(toHex(values), QStringLiteral("34 12 CC"));
    QCOMPARE(toHex(shared), QStringLiteral("AA BB CC"));
}

void TstHostReadBounds::addressesOutsideTheAreaReadAsZero_data()
{
    readColumns();
    overRow("the last word and one beyond", 100, "65534", 2, "AA AA AA AA AA", "01 C0 00 00 AA");
    overRow("the last word and many beyond, over old bytes", 100, "65534", 6, "AA AA AA AA AA AA AA AA AA AA AA AA",
            "01 C0 00 00 00 00 00 00 00 00 00 00");
    overRow("a word beyond", 100, "65535", 1, "AA AA", "00 00");
    overRow("the largest word", 100, "2147483647", 2, "AA AA AA AA", "00 00 00 00");
    overRow("half a pair beyond", 101, "65534", 2, "", "00 00 01 C0");
    overRow("the largest pair", 101, "2147483647", 2, "AA", "00 00 00 00");
    overRow("the largest pair, count 1", 101, "2147483647", 1, "AA", "00 00");
    overRow("the last word bits", 102, "65534.14", 4, "", "01 01 00 00");
    overRow("the largest word bit", 102, "134217727.15", 2, "", "00 00");
    overRow("a bit beyond", 3, "524280", 2, "AA AA", "00 00");
    overRow("the largest bit", 0, "17777777777", 2, "AA AA", "00 00");
    overRow("the largest value", 13, "2147483647", 2, "", "00 00 00 00");
}

void TstHostReadBounds::addressesOutsideTheAreaReadAsZero()
{
    DriverFixture driver;
    fillImage();
    PLC_driver.bitImage4[0] = 0xFF;
    checkHostRead();
}

void TstHostReadBounds::largestKeyedAddressIsSafe_data()
{
    readColumns();
    readRow("word", 7, "2147483647", 2, "34 12 00 00");
    readRow("pair", 12, "2147483646", 2, "34 12 78 56");
    readRow("pair whose low word has no address", 12, "2147483647", 2, "00 00 34 12");
    readRow("bit", 3, "2147483647", 2, "01 00");
    readRow("word bit", 15, "134217727.15", 2, "01 00");
    readRow("value", 13, "2147483647", 4, "11 22 33 44 00 00 00 00");
}

void TstHostReadBounds::largestKeyedAddressIsSafe()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 7, INT_MAX, "34 12") << record(7, 7, INT_MAX - 1, "78 56")
                             << record(7, 3, INT_MAX - 7, "80") << record(7, 7, 134217727, "00 80")
                             << record(7, 13, INT_MAX - 200, "33 44 11 22");
    checkHostRead();
    // No address beyond an int comes round to the other end.
    for (const EXTENDVAR &each : qAsConst(PLC_driver.extendVarList))
        QVERIFY(each.address >= 0);
}

void TstHostReadBounds::largestAllowedCountIsRead()
{
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        PLC_driver.bitImage3[65534] = 0x80;
        PLC_driver.extendVarList << record(7, 3, 524272, "80");
        QByteArray values;
        QCOMPARE(readRegister(3, "0", &values, stationScope == 0 ? 1048577 : 1048576), 1);
        QCOMPARE(values.size(), 1048576);
        QCOMPARE(values.count('\1'), 1);
        QCOMPARE(values.indexOf('\1'), 524279);
    }
}

void TstHostReadBounds::hugeCountsAreBounded_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::newRow("bits") << 3 << QByteArray("0");
    QTest::newRow("words") << 7 << QByteArray("0");
    QTest::newRow("pairs") << 12 << QByteArray("0");
    QTest::newRow("values") << 13 << QByteArray("200");
    QTest::newRow("word bits") << 15 << QByteArray("0.0");
    QTest::newRow("the largest address") << 100 << QByteArray("2147483647");
}

void TstHostReadBounds::hugeCountsAreBounded()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        // The second, larger call asks for the records of the first again.
        for (int count : {1048577, INT_MAX}) {
            QByteArray values;
            QCOMPARE(readRegister(devType, addrText.constData(), &values, count), 1);
            QVERIFY2(values.size() <= 2 * 1048576 + 4, qPrintable(QString::number(values.size())));
            QVERIFY(PLC_driver.extendVarList.size() <= 1048576);
        }
    }
}

void TstHostReadBounds::readWaitsForTheImageLockAndTheStoreLock_data()
{
    QTest::addColumn<bool>("imageLock");
    QTest::newRow("image lock") << true;
    QTest::newRow("store lock") << false;
}

void TstHostReadBounds::readWaitsForTheImageLockAndTheStoreLock()
{
    QFETCH(bool, imageLock);
    for (int stationScope : {0, 1}) {
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        PLC_driver.extendVarList << record(7, 7, 10, "34 12");
        QMutex &held = imageLock ? PLC_driver.imageMutex : storeMutex;
        QByteArray values;
        held.lock();
        Elsewhere reader([&values] { readRegister(7, "10", &values, 1); });
        const bool waited = reader.isHeldUp();
        if (waited)
            PLC_driver.wordImage7[10] = 0x1234;
        held.unlock();
        reader.finish();
        QVERIFY(waited);
        QCOMPARE(toHex(values), QStringLiteral("34 12"));
    }
}

void TstHostReadBounds::unusableAddressNeedsNoLock()
{
    DriverFixture driver;
    QByteArray values;
    int returned = -1;
    PLC_driver.imageMutex.lock();
    Elsewhere reader([&] { returned = readRegister(7, "abc", &values, 1); });
    reader.finish();
    PLC_driver.imageMutex.unlock();
    QCOMPARE(returned, 0);
}

// Code 13 starts 200 below its text, so that a long array goes past the largest address.
void TstHostReadBounds::keyedValuesBeyondAnIntAreZero()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    PLC_driver.extendVarList << record(7, 13, INT_MAX, "11 22 33 44");
    QByteArray values(4 * 202, '\xAA');
    QCOMPARE(GetRegisterData(0, 13, QStringLiteral("2147483647"), 7, &values, 2 * 202), 1);
    QCOMPARE(toHex(values.mid(4 * 200)), QStringLiteral("33 44 11 22 00 00 00 00"));
}

QTEST_APPLESS_MAIN(TstHostReadBounds)
#include "tst_host_read_bounds.moc"
