/// The driver object as constructed, its member order, and the words of the records that cross the boundary.
#include "driver/driver_object.h"
#include "tests/exchange_fixture.h"

#include <cstddef>
#include <cstring>

namespace {

/// Where a field stands on a 32-bit target and on a 64-bit machine.
struct Place {
    const char *field;
    size_t actual;
    size_t on32;
    size_t on64;
};

void addPlaces(const QList<Place> &places)
{
    QTest::addColumn<int>("actual");
    QTest::addColumn<int>("expected");
    for (const Place &place : places)
        QTest::newRow(place.field) << int(place.actual) << int(sizeof(void *) == 4 ? place.on32 : place.on64);
}

qint64 offsetInDriver(const volatile void *member)
{
    return reinterpret_cast<quintptr>(member) - reinterpret_cast<quintptr>(&PLC_driver);
}

struct Area {
    const char *name;
    void *begin;
    qint64 bytes;
};

template <class Element, size_t Count>
Area area(const char *name, Element (&elements)[Count])
{
    return Area{name, elements, qint64(sizeof(elements))};
}

QList<Area> areasInOrder()
{
    Emerson_EC_Series &d = PLC_driver;
    return {
        area("bitImage0", d.bitImage0),       area("bitImage1", d.bitImage1),      area("bitImage2", d.bitImage2),
        area("bitImage3", d.bitImage3),       area("bitImage4", d.bitImage4),      area("bitImage5", d.bitImage5),
        area("bitImage6", d.bitImage6),       area("wordImage7", d.wordImage7),    area("wordImage8", d.wordImage8),
        area("wordImage11", d.wordImage11),   area("wordImage9", d.wordImage9),    area("wordImage10", d.wordImage10),
        area("dwordImage13", d.dwordImage13), area("wordImage100", d.wordImage100)};
}

/// Names of the areas that hold anything but zeros.
QStringList dirtyAreas()
{
    QStringList dirty;
    for (const Area &each : areasInOrder()) {
        const QByteArray bytes = QByteArray::fromRawData(static_cast<const char *>(each.begin), int(each.bytes));
        if (bytes.count('\0') != bytes.size())
            dirty << QString::fromLatin1(each.name);
    }
    return dirty;
}

/// A driver whose every member has been used, then destroyed and constructed anew in the same memory.
void useEverythingAndConstructAnew()
{
    DriverFixture driver;
    Emerson_EC_Series &d = PLC_driver;
    const RW_VAR var = writeVar(7, 1, 1, hex("34 12"));
    d.readList << var;
    d.writeList << var;
    d.onceReadList << var;
    d.spareList << var;
    d.protocolList << Protocol();
    d.extendVarList << EXTENDVAR();
    d.disabledStations.insert(3, 0);
    d.result = var;
    d.result.connectNo = d.result.varId = d.result.hostWord3 = d.result.resultCode = d.result.subIndex = 9;
    d.result.nameText = d.result.addrText = QStringLiteral("text");
    d.servedList = d.writeStreak = d.onceStreak = d.passCount = 4;
    d.failFlag = true;
    for (const Area &each : areasInOrder())
        std::memset(each.begin, 0x5A, size_t(each.bytes));
}

} // namespace

class TstDriverObject : public QObject {
    Q_OBJECT

private slots:
    void libraryLoadsWithADriverReadyForUse();
    void libraryLoadsWithSettingsOfItsOwn();
    void constructionStartsWithEmptyLists();
    void constructionStartsWithoutSettingsOrCallbacks();
    void constructionStartsWithAnEmptyResult();
    void constructionStartsWithNoRequestServed();
    void mutexesAreFreeAndNonRecursive();
    void constructionZeroesEveryArea();
    void destructionCallsNobodyBack();
    void membersStandInTheirFixedOrder_data();
    void membersStandInTheirFixedOrder();
    void areaHasItsElementsAndNothingBetween_data();
    void areaHasItsElementsAndNothingBetween();
    void lastAreaIsTheLastMember();
    void variableRecordHasItsWords_data();
    void variableRecordHasItsWords();
    void pendingFrameRecordHasItsWords_data();
    void pendingFrameRecordHasItsWords();
    void keyedRecordHasItsWords_data();
    void keyedRecordHasItsWords();
    void hostDescriptionHasItsWords_data();
    void hostDescriptionHasItsWords();
    void settingsWordHasItsIndex_data();
    void settingsWordHasItsIndex();
    void newRecordsHaveDefinedValues();
};

// First, before any fixture has made the driver anew.
void TstDriverObject::libraryLoadsWithADriverReadyForUse()
{
    QVERIFY(PLC_driver.comInfo == nullptr);
    QCOMPARE(PLC_driver.servedList, 100);
    QVERIFY(PLC_driver.readList.isEmpty() && PLC_driver.writeList.isEmpty() && PLC_driver.protocolList.isEmpty());
    QCOMPARE(dirtyAreas(), QStringList());
}

// Second, for the same reason: no retry has been counted, and no pass is finished.
void TstDriverObject::libraryLoadsWithSettingsOfItsOwn()
{
    RW_VAR var = readVar(7, 0, 1, 1);
    var.panelStation = 0;
    QCOMPARE(AddListReadVar(&var), 1);
    QCOMPARE(answerWell(), 1);
    QCOMPARE(PLC_driver.passCount, 1);
    QCOMPARE(timeOut(), 41);
    QCOMPARE(PLC_driver.passCount, 0);
}

void TstDriverObject::constructionStartsWithEmptyLists()
{
    useEverythingAndConstructAnew();
    QCOMPARE(PLC_driver.readList.size(), 0);
    QCOMPARE(PLC_driver.writeList.size(), 0);
    QCOMPARE(PLC_driver.onceReadList.size(), 0);
    QCOMPARE(PLC_driver.spareList.size(), 0);
    QCOMPARE(PLC_driver.protocolList.size(), 0);
    QCOMPARE(PLC_driver.extendVarList.size(), 0);
    QCOMPARE(PLC_driver.disabledStations.size(), 0);
}

void TstDriverObject::constructionStartsWithoutSettingsOrCallbacks()
{
    useEverythingAndConstructAnew();
    QVERIFY(PLC_driver.comInfo == nullptr);
    QVERIFY(PLC_driver.requestDoneCallback == nullptr);
    QVERIFY(PLC_driver.commFailCallback == nullptr);
}

void TstDriverObject::constructionStartsWithAnEmptyResult()
{
    useEverythingAndConstructAnew();
    const RW_VAR &r = PLC_driver.result;
    const QList<int> words{r.connectNo, r.varId,   r.rwFlag,  r.hostWord3, r.panelStation, r.resultCode,
                           r.devType,   r.address, r.station, r.count,     r.subIndex,     r.hostWord13};
    QCOMPARE(words, (QList<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    QVERIFY(r.nameText.isEmpty());
    QVERIFY(r.addrText.isEmpty());
    QVERIFY(r.data.isEmpty());
}

void TstDriverObject::constructionStartsWithNoRequestServed()
{
    useEverythingAndConstructAnew();
    QCOMPARE(PLC_driver.servedList, 100);
    QCOMPARE(PLC_driver.writeStreak, 0);
    QCOMPARE(PLC_driver.onceStreak, 0);
    QCOMPARE(PLC_driver.passCount, 0);
    QCOMPARE(PLC_driver.failFlag, false);
}

void TstDriverObject::mutexesAreFreeAndNonRecursive()
{
    useEverythingAndConstructAnew();
    for (QMutex *mutex : {&PLC_driver.listMutex, &PLC_driver.imageMutex, &PLC_driver.stationMutex}) {
        QVERIFY(!mutex->isRecursive());
        QVERIFY(mutex->tryLock());
        QVERIFY(!mutex->tryLock());
        mutex->unlock();
        QVERIFY(mutex->tryLock());
        mutex->unlock();
    }
}

void TstDriverObject::constructionZeroesEveryArea()
{
    useEverythingAndConstructAnew();
    QCOMPARE(dirtyAreas(), QStringList());
}

void TstDriverObject::destructionCallsNobodyBack()
{
    {
        DriverFixture driver;
        PLC_driver.writeList << writeVar(7, 0, 1, hex("34 12"));
        QVERIFY(ComCommunication() != nullptr);
    }
    QCOMPARE(DriverFixture::requestsDone.size(), 0);
    QCOMPARE(DriverFixture::commFailures.size(), 0);
}

void TstDriverObject::membersStandInTheirFixedOrder_data()
{
    const Emerson_EC_Series &d = PLC_driver;
    const QList<QPair<const char *, qint64>> members{
        {"comInfo", offsetInDriver(&d.comInfo)},
        {"readList", offsetInDriver(&d.readList)},
        {"writeList", offsetInDriver(&d.writeList)},
        {"onceReadList", offsetInDriver(&d.onceReadList)},
        {"spareList", offsetInDriver(&d.spareList)},
        {"protocolList", offsetInDriver(&d.protocolList)},
        {"extendVarList", offsetInDriver(&d.extendVarList)},
        {"disabledStations", offsetInDriver(&d.disabledStations)},
        {"requestDoneCallback", offsetInDriver(&d.requestDoneCallback)},
        {"commFailCallback", offsetInDriver(&d.commFailCallback)},
        {"listMutex", offsetInDriver(&d.listMutex)},
        {"imageMutex", offsetInDriver(&d.imageMutex)},
        {"stationMutex", offsetInDriver(&d.stationMutex)},
        {"result", offsetInDriver(&d.result)},
    };
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<int>("words");
    for (int i = 0; i < members.size(); ++i)
        QTest::newRow(members.at(i).first) << members.at(i).second << i;

    const qint64 behindResult = offsetInDriver(&d.result) + qint64(sizeof(RW_VAR));
    QTest::newRow("servedList behind result") << offsetInDriver(&d.servedList) - behindResult << 0;
    QTest::newRow("writeStreak") << offsetInDriver(&d.writeStreak) - offsetInDriver(&d.servedList) - 4 << 0;
    QTest::newRow("onceStreak") << offsetInDriver(&d.onceStreak) - offsetInDriver(&d.writeStreak) - 4 << 0;
    QTest::newRow("passCount") << offsetInDriver(&d.passCount) - offsetInDriver(&d.onceStreak) - 4 << 0;
    QTest::newRow("failFlag") << offsetInDriver(&d.failFlag) - offsetInDriver(&d.passCount) - 4 << 0;
    QTest::newRow("first area") << offsetInDriver(d.bitImage0) - offsetInDriver(&d.failFlag) - 1 << 0;
}

// Each member in front of the records is one pointer-sized word.
void TstDriverObject::membersStandInTheirFixedOrder()
{
    QFETCH(qint64, offset);
    QFETCH(int, words);
    QCOMPARE(offset, qint64(words) * qint64(sizeof(void *)));
}

void TstDriverObject::areaHasItsElementsAndNothingBetween_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("bytes");

    QTest::newRow("first") << 0 << "bitImage0" << 65535;
    QTest::newRow("second") << 1 << "bitImage1" << 65535;
    QTest::newRow("third") << 2 << "bitImage2" << 65535;
    QTest::newRow("fourth") << 3 << "bitImage3" << 65535;
    QTest::newRow("fifth") << 4 << "bitImage4" << 65535;
    QTest::newRow("sixth") << 5 << "bitImage5" << 65535;
    QTest::newRow("seventh") << 6 << "bitImage6" << 65535;
    QTest::newRow("eighth") << 7 << "wordImage7" << 131070;
    QTest::newRow("ninth") << 8 << "wordImage8" << 131070;
    QTest::newRow("tenth is code 11, before 9 and 10") << 9 << "wordImage11" << 131070;
    QTest::newRow("eleventh") << 10 << "wordImage9" << 131070;
    QTest::newRow("twelfth") << 11 << "wordImage10" << 131070;
    QTest::newRow("thirteenth") << 12 << "dwordImage13" << 262140;
    QTest::newRow("last") << 13 << "wordImage100" << 131070;
}

void TstDriverObject::areaHasItsElementsAndNothingBetween()
{
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(int, bytes);
    const QList<Area> areas = areasInOrder();
    QCOMPARE(areas.size(), 14);
    QCOMPARE(QString::fromLatin1(areas.at(index).name), name);
    QCOMPARE(areas.at(index).bytes, qint64(bytes));
    if (index == 0)
        return;
    const Area &before = areas.at(index - 1);
    const qint64 gap = offsetInDriver(areas.at(index).begin) - offsetInDriver(before.begin) - before.bytes;
    QVERIFY2(gap >= 0 && gap < 4, qPrintable(QStringLiteral("gap of %1 bytes").arg(gap)));
}

void TstDriverObject::lastAreaIsTheLastMember()
{
    const qint64 end = offsetInDriver(PLC_driver.wordImage100) + 131070;
    QVERIFY(end <= qint64(sizeof(Emerson_EC_Series)));
    QVERIFY(qint64(sizeof(Emerson_EC_Series)) - end < qint64(sizeof(void *)));
}

void TstDriverObject::variableRecordHasItsWords_data()
{
    addPlaces({{"0 connectNo", offsetof(RW_VAR, connectNo), 0, 0},
               {"1 varId", offsetof(RW_VAR, varId), 4, 4},
               {"2 rwFlag", offsetof(RW_VAR, rwFlag), 8, 8},
               {"3 hostWord3", offsetof(RW_VAR, hostWord3), 12, 12},
               {"4 panelStation", offsetof(RW_VAR, panelStation), 16, 16},
               {"5 resultCode", offsetof(RW_VAR, resultCode), 20, 20},
               {"6 nameText", offsetof(RW_VAR, nameText), 24, 24},
               {"7 addrText", offsetof(RW_VAR, addrText), 28, 32},
               {"8 devType", offsetof(RW_VAR, devType), 32, 40},
               {"9 address", offsetof(RW_VAR, address), 36, 44},
               {"10 station", offsetof(RW_VAR, station), 40, 48},
               {"11 count", offsetof(RW_VAR, count), 44, 52},
               {"12 subIndex", offsetof(RW_VAR, subIndex), 48, 56},
               {"13 hostWord13", offsetof(RW_VAR, hostWord13), 52, 60},
               {"14 data", offsetof(RW_VAR, data), 56, 64},
               {"size", sizeof(RW_VAR), 60, 72}});
}

void TstDriverObject::variableRecordHasItsWords()
{
    QFETCH(int, actual);
    QFETCH(int, expected);
    QCOMPARE(actual, expected);
}

void TstDriverObject::pendingFrameRecordHasItsWords_data()
{
    addPlaces({{"0 frame", offsetof(Protocol, frame), 0, 0},
               {"1 frameLen", offsetof(Protocol, frameLen), 4, 8},
               {"2 replyLen", offsetof(Protocol, replyLen), 8, 12},
               {"3 dataOffset", offsetof(Protocol, dataOffset), 12, 16},
               {"4 dataLen", offsetof(Protocol, dataLen), 16, 20},
               {"5-19 var", offsetof(Protocol, var), 20, 24},
               {"20 extra20", offsetof(Protocol, extra20), 80, 96},
               {"21 extra21", offsetof(Protocol, extra21), 84, 100},
               {"22 extra22", offsetof(Protocol, extra22), 88, 104},
               {"size", sizeof(Protocol), 92, 112}});
}

void TstDriverObject::pendingFrameRecordHasItsWords()
{
    variableRecordHasItsWords();
}

void TstDriverObject::keyedRecordHasItsWords_data()
{
    addPlaces({{"0 station", offsetof(EXTENDVAR, station), 0, 0},
               {"1 devType", offsetof(EXTENDVAR, devType), 4, 4},
               {"2 address", offsetof(EXTENDVAR, address), 8, 8},
               {"3 data", offsetof(EXTENDVAR, data), 12, 16},
               {"size", sizeof(EXTENDVAR), 16, 24}});
}

void TstDriverObject::keyedRecordHasItsWords()
{
    variableRecordHasItsWords();
}

void TstDriverObject::hostDescriptionHasItsWords_data()
{
    addPlaces({{"byte 0", offsetof(VARDESC, hostByte0), 0, 0},
               {"devType byte", offsetof(VARDESC, devType), 1, 1},
               {"station byte", offsetof(VARDESC, station), 2, 2},
               {"hostWord1", offsetof(VARDESC, hostWord1), 4, 4},
               {"addrText", offsetof(VARDESC, addrText), 8, 8},
               {"nameText", offsetof(VARDESC, nameText), 12, 16},
               {"count", offsetof(VARDESC, count), 16, 24},
               {"size", sizeof(VARDESC), 20, 32}});
}

void TstDriverObject::hostDescriptionHasItsWords()
{
    variableRecordHasItsWords();
}

void TstDriverObject::settingsWordHasItsIndex_data()
{
    addPlaces({{"0", offsetof(COMINFO, hostWord0), 0, 0},
               {"1", offsetof(COMINFO, hostWord1), 4, 4},
               {"2", offsetof(COMINFO, hostWord2), 8, 8},
               {"3", offsetof(COMINFO, hostWord3), 12, 12},
               {"4 maxBlockLen", offsetof(COMINFO, maxBlockLen), 16, 16},
               {"5", offsetof(COMINFO, hostWord5), 20, 20},
               {"6 plcStation", offsetof(COMINFO, plcStation), 24, 24},
               {"7 retryLimit", offsetof(COMINFO, retryLimit), 28, 28},
               {"8 retryCount", offsetof(COMINFO, retryCount), 32, 32},
               {"9 stationScope", offsetof(COMINFO, stationScope), 36, 36},
               {"10", offsetof(COMINFO, hostWord10), 40, 40},
               {"11 frameTotal", offsetof(COMINFO, frameTotal), 44, 44},
               {"12 frameDone", offsetof(COMINFO, frameDone), 48, 48},
               {"13", offsetof(COMINFO, hostWord13), 52, 52},
               {"14 remoteMode", offsetof(COMINFO, remoteMode), 56, 56},
               {"15 ownStation", offsetof(COMINFO, ownStation), 60, 60},
               {"16 writeMode", offsetof(COMINFO, writeMode), 64, 64},
               {"17 finishFlag", offsetof(COMINFO, finishFlag), 68, 68},
               {"18 channelNo", offsetof(COMINFO, channelNo), 72, 72},
               {"size", sizeof(COMINFO), 76, 76}});
}

void TstDriverObject::settingsWordHasItsIndex()
{
    variableRecordHasItsWords();
}

void TstDriverObject::newRecordsHaveDefinedValues()
{
    const Protocol protocol;
    QCOMPARE(protocol.extra20 | protocol.extra21 | protocol.extra22, 0);
    QCOMPARE(protocol.frameLen | protocol.replyLen | protocol.dataOffset | protocol.dataLen, 0);
    QCOMPARE(toHex(EXTENDVAR().data), QStringLiteral("00 00"));
}

QTEST_APPLESS_MAIN(TstDriverObject)
#include "tst_driver_object.moc"
