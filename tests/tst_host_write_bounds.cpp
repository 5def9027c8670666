/// Host writes with counts and addresses beyond what a queue, an area or a frame can take.
#include "driver/emerson_ec_series.h"

#include "tests/host_fixture.h"

#include <climits>

class TstHostWriteBounds : public QObject {
    Q_OBJECT

private slots:
    void fullQueueDropsTheRest();
    void fullQueueTakesOnlyNewValuesOfItsEntries();
    void negativeCountsAreSafe_data();
    void negativeCountsAreSafe();
    void negativeCountsQueueNothing();
    void hugeCountsAreBounded_data();
    void hugeCountsAreBounded();
    void largestBlockHasNoFrame();
    void largestAddressesAreSafe();
};

void TstHostWriteBounds::fullQueueDropsTheRest()
{
    DriverFixture driver;
    QCOMPARE(writeRegister(3, "0", QByteArray(2000, '\1'), 2000), 1024);
    QCOMPARE(PLC_driver.writeList.size(), 1024);
    QCOMPARE(PLC_driver.writeList.last().address, 1023);
    QCOMPARE(writeRegister(7, "0", hex("34 12"), 1), 1024);
    QCOMPARE(PLC_driver.writeList.last().devType, 3);
}

// All but the head, which may be on the line.
void TstHostWriteBounds::fullQueueTakesOnlyNewValuesOfItsEntries()
{
    DriverFixture driver;
    driver.settings.maxBlockLen = 1;
    QCOMPARE(writeRegister(7, "100", hex("11 11").repeated(1024), 1024), 1024);
    QCOMPARE(writeRegister(7, "0", hex("22 22").repeated(1200), 1200), 1024);
    QCOMPARE(PLC_driver.writeList.size(), 1024);
    for (int i = 0; i < 1024; ++i) {
        const RW_VAR &var = PLC_driver.writeList.at(i);
        QCOMPARE(var.address, 100 + i);
        QCOMPARE(toHex(var.data), i == 0 ? QStringLiteral("11 11") : QStringLiteral("22 22"));
    }
    // Of two entries that are equal, the first.
    PLC_driver.writeList[900] = PLC_driver.writeList.at(40);
    QCOMPARE(writeRegister(7, "100", hex("33 33").repeated(1024), 1024), 1024);
    QCOMPARE(toHex(PLC_driver.writeList.at(40).data), QStringLiteral("33 33"));
    QCOMPARE(toHex(PLC_driver.writeList.at(900).data), QStringLiteral("22 22"));
}

void TstHostWriteBounds::negativeCountsAreSafe_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {0, 3, 7, 12, 13, 15, 101, 102})
        QTest::newRow(qPrintable(QStringLiteral("code %1").arg(devType))) << devType;
}

void TstHostWriteBounds::negativeCountsAreSafe()
{
    QFETCH(int, devType);
    for (int stationScope : {0, 1}) {
        for (int maxBlockLen : {32, 1, 0, -1, INT_MIN, INT_MAX}) {
            for (int count : {-1, -2, -33, INT_MIN, INT_MIN + 1}) {
                for (int remoteMode : {0, 1}) {
                    DriverFixture driver;
                    driver.settings.maxBlockLen = maxBlockLen;
                    driver.settings.stationScope = stationScope;
                    driver.settings.remoteMode = remoteMode;
                    PLC_driver.failFlag = true;
                    writeRegister(devType, devType == 15 || devType == 102 ? "0.0" : "200", hex("01 01 01 01"), count);
                    // Whatever a negative count queues, it carries no values and reaches no element.
                    QVERIFY(PLC_driver.writeList.size() <= 1);
                    for (const RW_VAR &var : qAsConst(PLC_driver.writeList))
                        QCOMPARE(var.data.size(), 0);
                    QCOMPARE(store(), QString());
                    const Protocol *sent = ComCommunication();
                    QVERIFY(sent == nullptr || sent->frame.size() <= 22);
                }
            }
        }
    }
}

void TstHostWriteBounds::negativeCountsQueueNothing()
{
    for (int devType : {3, 7, 12, 13, 15}) {
        DriverFixture driver;
        QCOMPARE(writeRegister(devType, devType == 15 ? "0.0" : "200", hex("01 01 01 01"), -1), 0);
        QCOMPARE(queue(), QString());
    }
}

void TstHostWriteBounds::hugeCountsAreBounded_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<QByteArray>("addrText");
    QTest::addColumn<int>("maxBlockLen");
    for (int maxBlockLen : {0, 1, 32, 1000000, INT_MAX}) {
        const QByteArray name = QByteArray::number(maxBlockLen);
        QTest::newRow("words in blocks of " + name) << 7 << QByteArray("0") << maxBlockLen;
        QTest::newRow("cut words in blocks of " + name) << 8 << QByteArray("0") << maxBlockLen;
        QTest::newRow("pairs in blocks of " + name) << 12 << QByteArray("0") << maxBlockLen;
        QTest::newRow("values in blocks of " + name) << 13 << QByteArray("200") << maxBlockLen;
    }
    QTest::newRow("bits") << 3 << QByteArray("0") << 32;
    QTest::newRow("word bits") << 15 << QByteArray("0.0") << 32;
    QTest::newRow("code 0") << 0 << QByteArray("0") << 32;
    QTest::newRow("the largest address") << 7 << QByteArray("2147483647") << 32;
}

void TstHostWriteBounds::hugeCountsAreBounded()
{
    QFETCH(int, devType);
    QFETCH(QByteArray, addrText);
    QFETCH(int, maxBlockLen);
    // Both counts become the largest allowed one at once. A million blocks of one element take long: once is enough.
    for (int count : maxBlockLen == 1 ? QList<int>{INT_MAX} : QList<int>{1048577, INT_MAX}) {
        DriverFixture driver;
        driver.settings.maxBlockLen = maxBlockLen;
        PLC_driver.failFlag = true;
        writeRegister(devType, addrText.constData(), hex("01 00 01 00"), count);
        checkWriteBounds();
    }
}

void TstHostWriteBounds::largestBlockHasNoFrame()
{
    DriverFixture driver;
    driver.settings.maxBlockLen = 0;
    QCOMPARE(writeRegister(7, "0", hex("34 12"), 1048577), 1);
    QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("7/0/1048576@1"));
    QCOMPARE(PLC_driver.writeList.first().data.size(), 2097152);
    QVERIFY(ComCommunication() == nullptr);
    QCOMPARE(image(), QString());
}

void TstHostWriteBounds::largestAddressesAreSafe()
{
    for (int stationScope : {0, 1}) {
        for (int remoteMode : {0, 1}) {
            for (int devType : {1, 3, 7, 8, 12, 13, 15, 16, 100, 101, 102}) {
                DriverFixture driver;
                driver.settings.stationScope = stationScope;
                driver.settings.remoteMode = remoteMode;
                driver.settings.maxBlockLen = 1;
                PLC_driver.failFlag = true;
                const bool dotted = devType == 15 || devType == 16 || devType == 102;
                writeRegister(devType,
                              devType == 1 ? "17777777777"
                              : dotted     ? "134217727.15"
                                           : "2147483647",
                              hex("01 01 01 01 01 01 01 01"), 4);
                QVERIFY(ComCommunication() != nullptr);
                QCOMPARE(image(), QString());
            }
        }
    }
}

QTEST_APPLESS_MAIN(TstHostWriteBounds)
#include "tst_host_write_bounds.moc"
