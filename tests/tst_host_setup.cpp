/// Setting the driver up and switching stations off and on.
#include "driver/station.h"

#include "tests/driver_fixture.h"
#include "tests/elsewhere.h"

#include <climits>

namespace {

/// Keys and values of the station map, "3=0 7=0".
QString switchedOff()
{
    QStringList entries;
    for (auto it = PLC_driver.disabledStations.constBegin(); it != PLC_driver.disabledStations.constEnd(); ++it)
        entries << QStringLiteral("%1=%2").arg(it.key()).arg(it.value());
    return entries.join(QLatin1Char(' '));
}

QList<int> wordsOf(const COMINFO &info)
{
    const int *words = reinterpret_cast<const int *>(&info);
    QList<int> list;
    for (size_t i = 0; i < sizeof(COMINFO) / sizeof(int); ++i)
        list << words[i];
    return list;
}

/// Settings whose word i holds 100 + i.
COMINFO numberedSettings()
{
    COMINFO info;
    int *words = reinterpret_cast<int *>(&info);
    for (int i = 0; i < 19; ++i)
        words[i] = 100 + i;
    return info;
}

int otherCalls = 0;
void otherRequestDone(int, int, int, int)
{
    ++otherCalls;
}
void otherCommFail(QList<RW_VAR> &, int, int)
{
    ++otherCalls;
}

} // namespace

class TstHostSetup : public QObject {
    Q_OBJECT

private slots:
    void settingsAreKeptAndTwoOfTheirWordsCleared();
    void settingsStayTheHosts();
    void missingSettingsAreNoCrash();
    void missingSettingsStartFromZeroEachTime();
    void hostMemoryIsKeptInItsThreePointers();
    void callbacksAreRegisteredAndReplaced();
    void finishQueryIsAlwaysOne();
    void finishQueryIsOneBeforeSettings();
    void stationSwitchChangesOnlyItsStations_data();
    void stationSwitchChangesOnlyItsStations();
    void twiceSwitchedOffNeedsOnlyOneSwitchOn();
    void switchedOffStationIsFound();
    void stationQueryWaitsForTheStationMutex();
    void stationSwitchWaitsForTheStationMutex();
    void stationSwitchTakesNeitherOtherMutex();
    void setUpTakesNoLock();
};

void TstHostSetup::settingsAreKeptAndTwoOfTheirWordsCleared()
{
    DriverFixture driver;
    COMINFO info = numberedSettings();
    SetComInfo(&info);
    QVERIFY(PLC_driver.comInfo == &info);
    QCOMPARE(wordsOf(info),
             (QList<int>{100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 0, 111, 112, 0, 114, 115, 116, 117, 118}));
    SetComInfo(&driver.settings);
}

void TstHostSetup::settingsStayTheHosts()
{
    DriverFixture driver;
    COMINFO other;
    other.ownStation = other.channelNo = 8;
    SetComInfo(&other);
    QVERIFY(ComCommunication() == nullptr);
    QCOMPARE(other.finishFlag, 1);
    QCOMPARE(driver.settings.finishFlag, 0);
    SetComInfo(&driver.settings);
    QVERIFY(ComCommunication() == nullptr);
    QCOMPARE(driver.settings.finishFlag, 1);
}

void TstHostSetup::missingSettingsAreNoCrash()
{
    DriverFixture driver;
    SetComInfo(nullptr);
    QVERIFY(PLC_driver.comInfo == nullptr);
    QVERIFY(ComCommunication() == nullptr);
    QByteArray reply;
    QCOMPARE(DataCom(&reply, 0)->resultCode, 1);
}

// Idle, the driver notes a finished pass in its stand-in for the settings; taking them away once more forgets that.
void TstHostSetup::missingSettingsStartFromZeroEachTime()
{
    DriverFixture driver;
    RW_VAR var = readVar(7, 0, 1, 0);
    var.panelStation = 0;
    QByteArray nothing;
    SetComInfo(nullptr);
    QVERIFY(ComCommunication() == nullptr);
    QCOMPARE(AddListReadVar(&var), 1);
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&nothing, 0)->resultCode, 1);
    QCOMPARE(PLC_driver.passCount, 0);

    SetComInfo(nullptr);
    QVERIFY(ComCommunication() != nullptr);
    QCOMPARE(DataCom(&nothing, 0)->resultCode, 1);
    QCOMPARE(PLC_driver.passCount, 1);
}

void TstHostSetup::hostMemoryIsKeptInItsThreePointers()
{
    DriverFixture driver;
    int bits = 1, words = 2, third = 3;
    FlashLocalRegister(&bits, &words, &third);
    QVERIFY(LB == &bits);
    QVERIFY(LW == &words);
    QVERIFY(RWI == &third);
    QCOMPARE(bits + words + third, 6);
    FlashLocalRegister(nullptr, nullptr, nullptr);
    QVERIFY(LB == nullptr && LW == nullptr && RWI == nullptr);
}

void TstHostSetup::callbacksAreRegisteredAndReplaced()
{
    DriverFixture driver;
    RegistCallBackFuncIntf(otherRequestDone, otherCommFail);
    QVERIFY(PLC_driver.requestDoneCallback == otherRequestDone);
    QVERIFY(PLC_driver.commFailCallback == otherCommFail);
    otherCalls = 0;
    PLC_driver.writeList << writeVar(7, 0, 1, hex("34 12"));
    QVERIFY(ComCommunication() != nullptr);
    QByteArray nothing;
    DataCom(&nothing, 0);
    QCOMPARE(otherCalls, 2);
    QCOMPARE(DriverFixture::requestsDone.size() + DriverFixture::commFailures.size(), 0);
}

// The flag itself is the host's to read: the query never looks at it.
void TstHostSetup::finishQueryIsAlwaysOne()
{
    DriverFixture driver;
    driver.settings.finishFlag = 0;
    QCOMPARE(QueryFinishFlag(), 1);
    driver.settings.finishFlag = 7;
    QCOMPARE(QueryFinishFlag(), 1);
    QCOMPARE(driver.settings.finishFlag, 7);
}

void TstHostSetup::finishQueryIsOneBeforeSettings()
{
    {
        DriverFixture driver;
    }
    QVERIFY(PLC_driver.comInfo == nullptr);
    QCOMPARE(QueryFinishFlag(), 1);
}

void TstHostSetup::stationSwitchChangesOnlyItsStations_data()
{
    QTest::addColumn<int>("station");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("afterwards");

    // Stations 3 and 7 are off before each row.
    QTest::newRow("another off") << 5 << 0 << "3=0 5=0 7=0";
    QTest::newRow("off again leaves one entry") << 3 << 0 << "3=0 7=0";
    QTest::newRow("on") << 3 << 1 << "7=0";
    QTest::newRow("on for a station that is on") << 5 << 1 << "3=0 7=0";
    QTest::newRow("mode 7 does nothing") << 3 << 7 << "3=0 7=0";
    QTest::newRow("mode 2 does nothing") << 5 << 2 << "3=0 7=0";
    QTest::newRow("negative mode does nothing") << 3 << -1 << "3=0 7=0";
    QTest::newRow("negative mode for a station that is on") << 5 << -1 << "3=0 7=0";
    QTest::newRow("broadcast station 0 off") << 0 << 0 << "0=0 3=0 7=0";
    QTest::newRow("negative station, mode 0: all on") << -1 << 0 << "";
    QTest::newRow("negative station, mode 1: all on") << -5 << 1 << "";
    QTest::newRow("negative station, mode 7: all on") << -1 << 7 << "";
    QTest::newRow("smallest station: all on") << INT_MIN << 0 << "";
    QTest::newRow("largest station off") << INT_MAX << 0 << "3=0 7=0 2147483647=0";
}

void TstHostSetup::stationSwitchChangesOnlyItsStations()
{
    QFETCH(int, station);
    QFETCH(int, mode);
    QFETCH(QString, afterwards);
    DriverFixture driver;
    EnCommStation(3, 0);
    EnCommStation(7, 0);
    QCOMPARE(switchedOff(), QStringLiteral("3=0 7=0"));
    EnCommStation(station, mode);
    QCOMPARE(switchedOff(), afterwards);
}

void TstHostSetup::twiceSwitchedOffNeedsOnlyOneSwitchOn()
{
    DriverFixture driver;
    EnCommStation(3, 0);
    EnCommStation(3, 0);
    QCOMPARE(switchedOff(), QStringLiteral("3=0"));
    EnCommStation(3, 1);
    QCOMPARE(switchedOff(), QString());
    EnCommStation(3, 7);
    QCOMPARE(switchedOff(), QString());
}

void TstHostSetup::switchedOffStationIsFound()
{
    DriverFixture driver;
    QVERIFY(!Ethernetcontains(0));
    EnCommStation(0, 0);
    EnCommStation(12, 0);
    QVERIFY(Ethernetcontains(0));
    QVERIFY(Ethernetcontains(12));
    QVERIFY(!Ethernetcontains(1));
    QVERIFY(!Ethernetcontains(-1));
    EnCommStation(-1, 0);
    QVERIFY(!Ethernetcontains(0));
    QVERIFY(!Ethernetcontains(12));
    QVERIFY(isFree(PLC_driver.stationMutex));
}

void TstHostSetup::stationQueryWaitsForTheStationMutex()
{
    DriverFixture driver;
    EnCommStation(3, 0);
    PLC_driver.stationMutex.lock();
    bool found = false;
    Elsewhere query([&found] { found = Ethernetcontains(3); });
    const bool waited = query.isHeldUp();
    PLC_driver.stationMutex.unlock();
    query.finish();
    QVERIFY(found);
    QVERIFY(waited);
}

void TstHostSetup::stationSwitchWaitsForTheStationMutex()
{
    DriverFixture driver;
    PLC_driver.stationMutex.lock();
    Elsewhere switching([] { EnCommStation(3, 0); });
    const bool waited = switching.isHeldUp();
    PLC_driver.stationMutex.unlock();
    switching.finish();
    QVERIFY(waited);
    QCOMPARE(switchedOff(), QStringLiteral("3=0"));
}

void TstHostSetup::stationSwitchTakesNeitherOtherMutex()
{
    DriverFixture driver;
    PLC_driver.listMutex.lock();
    PLC_driver.imageMutex.lock();
    bool found = false;
    Elsewhere switching([&found] {
        EnCommStation(3, 0);
        found = Ethernetcontains(3);
    });
    switching.finish();
    PLC_driver.imageMutex.unlock();
    PLC_driver.listMutex.unlock();
    QVERIFY(found);
}

void TstHostSetup::setUpTakesNoLock()
{
    DriverFixture driver;
    COMINFO info;
    PLC_driver.listMutex.lock();
    PLC_driver.imageMutex.lock();
    PLC_driver.stationMutex.lock();
    int finishFlag = -1;
    Elsewhere settingUp([&] {
        SetComInfo(&info);
        FlashLocalRegister(nullptr, nullptr, nullptr);
        RegistCallBackFuncIntf(otherRequestDone, otherCommFail);
        finishFlag = QueryFinishFlag();
    });
    settingUp.finish();
    PLC_driver.stationMutex.unlock();
    PLC_driver.imageMutex.unlock();
    PLC_driver.listMutex.unlock();
    QCOMPARE(finishFlag, 1);
    QVERIFY(PLC_driver.comInfo == &info);
    SetComInfo(&driver.settings);
}

QTEST_APPLESS_MAIN(TstHostSetup)
#include "tst_host_setup.moc"
