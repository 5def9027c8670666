/// The one-shot read queue: what is queued already, what cuts it, its cap and its lock.
#include "driver/emerson_ec_series.h"

#include "tests/elsewhere.h"
#include "tests/list_fixture.h"

#include <QtCore/QMutexLocker>

#include <climits>

class TstOnceListQueue : public QObject {
    Q_OBJECT

private slots:
    void unusableAddressQueuesNothingAndTakesNoLock_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("no number") << 7 << QByteArray("abc");
        QTest::newRow("empty") << 7 << QByteArray();
        QTest::newRow("negative") << 7 << QByteArray("-5");
        QTest::newRow("13 below its first address") << 13 << QByteArray("150");
        QTest::newRow("no octal digit") << 0 << QByteArray("18");
        QTest::newRow("15 without a dot") << 15 << QByteArray("10");
        QTest::newRow("no code, no number") << 55 << QByteArray("x");
    }
    void unusableAddressQueuesNothingAndTakesNoLock()
    {
        QFETCH(int, devType);
        QFETCH(QByteArray, text);
        DriverFixture driver;
        queueOnceReads(2);
        RW_VAR var = onceVar(devType, text.constData(), 3, 99);
        QMutexLocker locker(&PLC_driver.listMutex);
        int returned = -1;
        Elsewhere call([&] { returned = AddListOnceReadVar(&var, 0); });
        call.finish();
        locker.unlock();
        QCOMPARE(returned, 0);
        QCOMPARE(PLC_driver.onceReadList.size(), 2);
    }

    void queueingWaitsForTheListLock_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("converting") << 0;
        QTest::newRow("appending") << 1;
    }
    void queueingWaitsForTheListLock()
    {
        QFETCH(int, mode);
        DriverFixture driver;
        QMutexLocker locker(&PLC_driver.listMutex);
        int returned = -1;
        Elsewhere call([&] { returned = askOnce(onceVar(7, "5", 1), mode); });
        const bool waited = call.isHeldUp();
        const int before = waited ? PLC_driver.onceReadList.size() : -1;
        locker.unlock();
        call.finish();
        QVERIFY(waited);
        QCOMPARE(before, 0);
        QCOMPARE(returned, 1);
        QVERIFY(isFree(PLC_driver.listMutex));
    }

    void readQueuedAlreadyIsNotQueuedAgain_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("count");
        QTest::newRow("bits") << 2 << QByteArray("13") << 5;
        QTest::newRow("words") << 7 << QByteArray("5") << 3;
        QTest::newRow("three pieces") << 7 << QByteArray("5") << 70;
        QTest::newRow("bit inside a word") << 15 << QByteArray("2.5") << 20;
        QTest::newRow("no code") << 55 << QByteArray("12") << 3;
    }
    void readQueuedAlreadyIsNotQueuedAgain()
    {
        QFETCH(int, devType);
        QFETCH(QByteArray, text);
        QFETCH(int, count);
        DriverFixture driver;
        const int length = askOnce(onceVar(devType, text.constData(), count));
        const QString once = summary(PLC_driver.onceReadList);
        QCOMPARE(askOnce(onceVar(devType, text.constData(), count)), length);
        QCOMPARE(summary(PLC_driver.onceReadList), once);
    }

    void sameReadIsConnectionVariableStationCodeAddressAndCount_data()
    {
        QTest::addColumn<RW_VAR>("var");
        QTest::addColumn<int>("length");
        RW_VAR var = onceVar(7, "5", 4);
        var.nameText = QStringLiteral("other name");
        var.panelStation = 8;
        QTest::newRow("all equal") << var << 1;
        var.connectNo = 1;
        QTest::newRow("other connection") << var << 2;
        var.connectNo = 2;
        var.varId = 1;
        QTest::newRow("other variable") << var << 2;
        QTest::newRow("other station") << onceVar(7, "5", 4, 0, 2) << 2;
        QTest::newRow("other station, below") << onceVar(7, "5", 4, 0, 0) << 2;
        QTest::newRow("other code") << onceVar(8, "5", 4) << 2;
        QTest::newRow("other code, below") << onceVar(-1, "5", 4, 5) << 2;
        QTest::newRow("other address") << onceVar(7, "6", 4) << 2;
        QTest::newRow("other address, below") << onceVar(7, "4", 4) << 2;
        QTest::newRow("other count") << onceVar(7, "5", 3) << 2;
        QTest::newRow("other count, above") << onceVar(7, "5", 5) << 2;
        var = onceVar(7, "5", 4);
        ++var.connectNo;
        QTest::newRow("other connection, above") << var << 2;
        var = onceVar(7, "5", 4);
        ++var.varId;
        QTest::newRow("other variable, above") << var << 2;
        QTest::newRow("another code that becomes the same read") << onceVar(12, "5", 3) << 1;
    }
    void sameReadIsConnectionVariableStationCodeAddressAndCount()
    {
        QFETCH(RW_VAR, var);
        DriverFixture driver;
        driver.settings.stationScope = 1;
        QCOMPARE(askOnce(onceVar(7, "5", 4)), 1);
        QTEST(askOnce(var), "length");
    }

    void headOfTheQueueCountsAsQueuedToo()
    {
        DriverFixture driver;
        askOnce(onceVar(7, "5", 3));
        askOnce(onceVar(8, "5", 3));
        QCOMPARE(askOnce(onceVar(7, "5", 3)), 2);
        QCOMPARE(askOnce(onceVar(8, "5", 3)), 2);
    }

    void readThatWasCutAtABoundaryIsQueuedAgain()
    {
        DriverFixture driver;
        QCOMPARE(askOnce(onceVar(8, "250", 10)), 2);
        QCOMPARE(askOnce(onceVar(8, "250", 10)), 4);
        QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("8/250/6@1 8/256/4@1 8/250/6@1 8/256/4@1"));
    }

    void modeOneAppendsTheRecordAsItIs()
    {
        DriverFixture driver;
        RW_VAR var = onceVar(8, "abc", 10, 250, 9);
        var.subIndex = -1;
        var.hostWord13 = 9;
        QCOMPARE(AddListOnceReadVar(&var, 1), 1);
        QCOMPARE(AddListOnceReadVar(&var, 1), 2);
        var.address = 1;
        QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("8/250/10@9 8/250/10@9"));
        QCOMPARE(PLC_driver.onceReadList.at(1).subIndex, -1);
        QCOMPARE(PLC_driver.onceReadList.at(1).hostWord13, 9);
        PLC_driver.onceReadList.clear();
        queueOnceReads(1024);
        QCOMPARE(AddListOnceReadVar(&var, 1), 1025);
    }

    void everyOtherModeConverts()
    {
        for (int mode : {0, 2, -1, INT_MAX, INT_MIN}) {
            DriverFixture driver;
            QCOMPARE(askOnce(onceVar(2, "13", 5), mode), 1);
            QCOMPARE(askOnce(onceVar(2, "13", 5), mode), 1);
            QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("2/8/2@1"));
        }
    }

    void readOfNothingStillCutsTheQueue()
    {
        DriverFixture driver;
        QCOMPARE(askOnce(onceVar(8, "250", 10, 250), 1), 1);
        QCOMPARE(askOnce(onceVar(7, "5", 0)), 2);
        QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("8/250/6@1 8/256/4@1"));
    }

    void queueIsFullAt1024()
    {
        DriverFixture driver;
        queueOnceReads(1022);
        QCOMPARE(askOnce(onceVar(7, "5", 96)), 1024);
        QCOMPARE(PLC_driver.onceReadList.at(1022).address, 5);
        QCOMPARE(PLC_driver.onceReadList.at(1023).address, 37);
        QCOMPARE(askOnce(onceVar(7, "5", 1)), 1024);
        QCOMPARE(PLC_driver.onceReadList.size(), 1024);
    }

    void cutAtABoundaryMayPassTheCap()
    {
        DriverFixture driver;
        queueOnceReads(1023);
        QCOMPARE(askOnce(onceVar(8, "250", 10)), 1025);
        QCOMPARE(askOnce(onceVar(7, "5", 1)), 1025);
    }

    void withoutRecordNothingIsQueued()
    {
        DriverFixture driver;
        queueOnceReads(2);
        QCOMPARE(AddListOnceReadVar(nullptr, 0), 0);
        QCOMPARE(AddListOnceReadVar(nullptr, 1), 0);
        QCOMPARE(PLC_driver.onceReadList.size(), 2);
    }
};

QTEST_APPLESS_MAIN(TstOnceListQueue)
#include "tst_once_list_queue.moc"
