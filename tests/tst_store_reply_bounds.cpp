/// Replies and requests that no PLC and no host sends, and the locks of storing.
#include "image/store_reply.h"

#include "driver/emerson_ec_series.h"
#include "image/store_lock.h"
#include "tests/elsewhere.h"
#include "tests/exchange_fixture.h"
#include "tests/image_fixture.h"

#include <climits>

class TstStoreReplyBounds : public QObject {
    Q_OBJECT

private slots:
    void hostileRecordsAreSafe_data();
    void hostileRecordsAreSafe();
    void hugeKeyedLengthsAreBounded_data();
    void hugeKeyedLengthsAreBounded();
    void localReplyWaitsForTheImageLockWithoutTheListLock();
    void remoteReplyIsStoredWithoutTheImageLock_data();
    void remoteReplyIsStoredWithoutTheImageLock();
    void remoteReplyWaitsForTheLockOfTheStore();
};

void TstStoreReplyBounds::hostileRecordsAreSafe_data()
{
    QTest::addColumn<int>("devType");
    for (int devType : {0, 3, 6, 7, 11, 12, 13, 15, 16, 17, 100, 101, 102, 103, -1, INT_MIN, INT_MAX})
        QTest::newRow(qPrintable(QString::number(devType))) << devType;
}

void TstStoreReplyBounds::hostileRecordsAreSafe()
{
    QFETCH(int, devType);
    DriverFixture driver;
    PLC_driver.writeList << writeVar(15, INT_MIN, 1, hex("01"));
    readInFlight(devType, 0, 0, 1, -1);
    writeBehind();
    for (int stationScope : {0, 1}) {
        driver.settings.stationScope = stationScope;
        for (int address : {INT_MIN, INT_MIN + 1, -16, -1, 65534, 65535, 524279, INT_MAX - 1, INT_MAX}) {
            for (int dataOffset : {INT_MIN, -3, -1, 0, 3, 4, INT_MAX}) {
                for (int dataLen : {INT_MIN, -1, 0, 1, 2, 4, 16}) {
                    for (const char *reply : {"", "01", "01 03 02 12", "01 03 02 12 34", "01 03 04 12 34 56 78 9A"}) {
                        Protocol &read = PLC_driver.protocolList[0];
                        read.var.address = address;
                        read.dataOffset = dataOffset;
                        read.dataLen = dataLen;
                        storeReply(hex(reply));
                    }
                }
            }
        }
    }
    for (const char *frame : {"", "01", "01 06 00 0A", "01 06 00 0A 00", "01 06 00 0A 00 00 A9"}) {
        for (int stationScope : {0, 1}) {
            driver.settings.stationScope = stationScope;
            PLC_driver.protocolList[1].frame = hex(frame);
            storeReply(withCrc("01 03 02 12 34"));
            const QByteArray head = hex(frame).left(4);
            QCOMPARE(toHex(PLC_driver.protocolList.at(1).frame.left(head.size())), toHex(head));
            QVERIFY(PLC_driver.protocolList.at(1).frame.size() <= 8);
        }
    }
    QVERIFY(PLC_driver.extendVarList.size() <= 16 * 9 + 1);
    for (const EXTENDVAR &var : qAsConst(PLC_driver.extendVarList))
        QVERIFY(var.data.size() <= 16);
}

void TstStoreReplyBounds::hugeKeyedLengthsAreBounded_data()
{
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("dataLen");
    QTest::newRow("bits") << 3 << 1100000;
    QTest::newRow("words") << 7 << 2200000;
    QTest::newRow("values") << 13 << 4400000;
    QTest::newRow("word bits") << 15 << 2200000;
}

void TstStoreReplyBounds::hugeKeyedLengthsAreBounded()
{
    QFETCH(int, devType);
    QFETCH(int, dataLen);
    DriverFixture driver;
    driver.settings.stationScope = 1;
    readInFlight(devType, 0, dataLen);
    storeReply(withCrc("01 03 04 12 34 56 78"));
    QCOMPARE(PLC_driver.extendVarList.size(), 1048576);
    qint64 bytes = 0;
    for (const EXTENDVAR &var : qAsConst(PLC_driver.extendVarList))
        bytes += var.data.size();
    QVERIFY2(bytes <= 2 * 4 * 1048576, qPrintable(QString::number(bytes)));
}

void TstStoreReplyBounds::localReplyWaitsForTheImageLockWithoutTheListLock()
{
    DriverFixture driver;
    readInFlight(7, 100, 2);
    QByteArray reply = withCrc("01 03 02 12 34");
    int resultCode = -1;
    PLC_driver.imageMutex.lock();
    Elsewhere communication([&] { resultCode = DataCom(&reply, 7)->resultCode; });
    const bool waited = communication.isHeldUp();
    const QString before = !waited ? QStringLiteral("not looked at") : image();
    const bool listFree = isFree(PLC_driver.listMutex);
    PLC_driver.imageMutex.unlock();
    communication.finish();
    QVERIFY(waited);
    QVERIFY(listFree);
    QCOMPARE(before, QString());
    QCOMPARE(resultCode, 1);
    QCOMPARE(image(), QStringLiteral("word7[100]=1234"));
}

void TstStoreReplyBounds::remoteReplyIsStoredWithoutTheImageLock_data()
{
    QTest::addColumn<int>("stationScope");
    QTest::newRow("image mode") << 0;
    QTest::newRow("keyed mode") << 1;
}

void TstStoreReplyBounds::remoteReplyIsStoredWithoutTheImageLock()
{
    QFETCH(int, stationScope);
    DriverFixture driver;
    driver.settings.stationScope = stationScope;
    readInFlight(7, 100, 2, 7, -1);
    PLC_driver.protocolList.first().var.panelStation = 2;
    QByteArray reply = withCrc("01 03 02 12 34");
    int resultCode = -1;
    PLC_driver.imageMutex.lock();
    Elsewhere communication([&] { resultCode = DataCom(&reply, 7)->resultCode; });
    communication.finish();
    PLC_driver.imageMutex.unlock();
    QCOMPARE(resultCode, 1);
    QCOMPARE(image(), stationScope ? QString() : QStringLiteral("word7[100]=1234"));
    QCOMPARE(store(), stationScope ? QStringLiteral("7/7/100=34 12") : QString());
}

void TstStoreReplyBounds::remoteReplyWaitsForTheLockOfTheStore()
{
    DriverFixture driver;
    driver.settings.stationScope = 1;
    readInFlight(7, 100, 2, 7, -1);
    PLC_driver.protocolList.first().var.panelStation = 2;
    QByteArray reply = withCrc("01 03 02 12 34");
    storeMutex.lock();
    Elsewhere communication([&] { DataCom(&reply, 7); });
    const bool waited = communication.isHeldUp();
    const QString before = !waited ? QStringLiteral("not looked at") : store();
    storeMutex.unlock();
    communication.finish();
    QVERIFY(waited);
    QCOMPARE(before, QString());
    QCOMPARE(store(), QStringLiteral("7/7/100=34 12"));
}

QTEST_APPLESS_MAIN(TstStoreReplyBounds)
#include "tst_store_reply_bounds.moc"
