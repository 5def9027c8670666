/// The keyed store: one record a key, found from the front, whatever happened to the list from outside.
#include "image/extend_store.h"

#include "tests/image_fixture.h"

#include <climits>
#include <random>

namespace {

/// Four records that the driver made itself: addresses 10, 20, 30 and 40 of code 7 on station 1.
void makeFour()
{
    for (int address : {10, 20, 30, 40})
        ExtendFindSameVar(1, 7, address);
}

/// Data of the record of code 7 on station 1 at an address.
QString dataOf(int address)
{
    return toHex(*KeyedRecords(1, 7).dataAt(address));
}

/// "position position ..." of records of code 7 on station 1, looked up one after the other.
QString positionsOf(const QList<int> &addresses)
{
    KeyedRecords records(1, 7);
    QStringList positions;
    for (int address : addresses) {
        records.dataAt(address);
        positions += QString::number(records.last());
    }
    return positions.join(QLatin1Char(' '));
}

/// A plain search from the front: the first record with the key, or the place where it will be appended.
int firstWithKey(const QList<EXTENDVAR> &list, int station, int devType, int address)
{
    for (int i = 0; i < list.size(); ++i) {
        const EXTENDVAR &var = list.at(i);
        if (var.station == station && var.devType == devType && var.address == address)
            return i;
    }
    return list.size();
}

} // namespace

class TstExtendStore : public QObject {
    Q_OBJECT

private slots:
    void newKeyReturnsFormerListSizeAndHoldsTwoZeroBytes();
    void sameKeyReturnsSameIndex();
    void allThreeKeyPartsCount();
    void extremeKeysAreKeysLikeOthers();
    void firstMatchWins();
    void dataAreChangedInPlace();
    void recordsAppendedFromOutsideAreFound();
    void listClearedOutsideIsNoticed();
    void listClearedAndFilledToTheSameSizeOutsideIsNoticed();
    void entryRemovedAtTheFrontIsNoticed();
    void entryRemovedAtTheEndIsNoticed();
    void keyEditedInPlaceIsNoticed();
    void keyEditedInPlaceToAnEarlierDuplicateIsNoticed();
    void keyEditedInTheMiddleToAnEarlierDuplicateIsNoticed();
    void duplicateInsertedAtTheFrontIsNoticed();
    void entriesSwappedAreNoticed();
    void listReplacedByAnEditedCopyIsNoticed();
    void listReplacedByAnEqualCopyIsNoticed();
    void changeFollowedByAReplacementIsNoticed();
    void recordThatIsFoundHasTheKey_data();
    void recordThatIsFoundHasTheKey();
    void manyKeysKeepTheirIndices();
    void neighboursAreFoundInAnyOrder();
    void neighbourIsNotTakenForAnEarlierRecordWithItsKey();
    void neighbourWithAnotherKeyIsNotTaken_data();
    void neighbourWithAnotherKeyIsNotTaken();
    void bitsLieEightToARecord();
    void addressBeyondAnIntHasNoRecord();
    void randomChangesFromOutsideNeverMislead();
};

void TstExtendStore::newKeyReturnsFormerListSizeAndHoldsTwoZeroBytes()
{
    DriverFixture driver;
    QCOMPARE(ExtendFindSameVar(1, 7, 100), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 101), 1);
    QCOMPARE(ExtendFindSameVar(2, 0, 8), 2);
    QCOMPARE(store(), QStringLiteral("1/7/100=00 00, 1/7/101=00 00, 2/0/8=00 00"));
}

void TstExtendStore::sameKeyReturnsSameIndex()
{
    DriverFixture driver;
    makeFour();
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 0);
    QCOMPARE(PLC_driver.extendVarList.size(), 4);
}

void TstExtendStore::allThreeKeyPartsCount()
{
    DriverFixture driver;
    QCOMPARE(ExtendFindSameVar(1, 7, 8), 0);
    QCOMPARE(ExtendFindSameVar(2, 7, 8), 1);
    QCOMPARE(ExtendFindSameVar(1, 8, 8), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 9), 3);
    QCOMPARE(ExtendFindSameVar(7, 1, 8), 4);
    QCOMPARE(ExtendFindSameVar(8, 7, 1), 5);
    QCOMPARE(ExtendFindSameVar(1, 7, 8), 0);
}

void TstExtendStore::extremeKeysAreKeysLikeOthers()
{
    DriverFixture driver;
    QCOMPARE(ExtendFindSameVar(INT_MAX, 7, INT_MIN), 0);
    QCOMPARE(ExtendFindSameVar(-1, -1, -1), 1);
    QCOMPARE(ExtendFindSameVar(0, 0, 0), 2);
    QCOMPARE(ExtendFindSameVar(INT_MIN, INT_MAX, INT_MAX), 3);
    QCOMPARE(ExtendFindSameVar(INT_MAX, 7, INT_MIN), 0);
    QCOMPARE(ExtendFindSameVar(-1, -1, -1), 1);
    QCOMPARE(ExtendFindSameVar(0, 0, 0), 2);
    QCOMPARE(ExtendFindSameVar(INT_MIN, INT_MAX, INT_MAX), 3);
}

void TstExtendStore::firstMatchWins()
{
    DriverFixture driver;
    PLC_driver.extendVarList << record(1, 7, 10) << record(1, 7, 20) << record(1, 7, 10) << record(1, 7, 20);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 0);
    QCOMPARE(PLC_driver.extendVarList.size(), 4);
}

void TstExtendStore::dataAreChangedInPlace()
{
    DriverFixture driver;
    makeFour();
    {
        KeyedRecords records(1, 7);
        *records.dataAt(30) = hex("34 12");
        QCOMPARE(records.last(), 2);
    }
    PLC_driver.extendVarList[1].data = hex("78 56");
    QCOMPARE(dataOf(30), QStringLiteral("34 12"));
    QCOMPARE(dataOf(20), QStringLiteral("78 56"));
    QCOMPARE(store(), QStringLiteral("1/7/10=00 00, 1/7/20=78 56, 1/7/30=34 12, 1/7/40=00 00"));
}

void TstExtendStore::recordsAppendedFromOutsideAreFound()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList << record(1, 7, 50, "34 12") << record(1, 7, 60);
    QCOMPARE(ExtendFindSameVar(1, 7, 60), 5);
    QCOMPARE(ExtendFindSameVar(1, 7, 50), 4);
    QCOMPARE(ExtendFindSameVar(1, 7, 70), 6);
}

void TstExtendStore::listClearedOutsideIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.clear();
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 1);
    QCOMPARE(store(), QStringLiteral("1/7/40=00 00, 1/7/10=00 00"));
}

void TstExtendStore::listClearedAndFilledToTheSameSizeOutsideIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.clear();
    PLC_driver.extendVarList << record(1, 7, 40) << record(1, 7, 30) << record(1, 7, 20) << record(1, 7, 15);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 15), 3);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 4);
}

void TstExtendStore::entryRemovedAtTheFrontIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.removeFirst();
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 3);
    QCOMPARE(store(), QStringLiteral("1/7/20=00 00, 1/7/30=00 00, 1/7/40=00 00, 1/7/10=00 00"));
}

void TstExtendStore::entryRemovedAtTheEndIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.removeLast();
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 50), 3);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 4);
}

void TstExtendStore::keyEditedInPlaceIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList[1].address = 99;
    QCOMPARE(ExtendFindSameVar(1, 7, 99), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 4);
    PLC_driver.extendVarList[3].station = 5;
    QCOMPARE(ExtendFindSameVar(5, 7, 40), 3);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 5);
    PLC_driver.extendVarList[0].devType = 8;
    QCOMPARE(ExtendFindSameVar(1, 8, 10), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 6);
}

void TstExtendStore::keyEditedInPlaceToAnEarlierDuplicateIsNoticed()
{
    DriverFixture driver;
    makeFour();
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 3);
    PLC_driver.extendVarList[0].address = 40;
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 4);
}

void TstExtendStore::keyEditedInTheMiddleToAnEarlierDuplicateIsNoticed()
{
    DriverFixture driver;
    makeFour();
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 3);
    PLC_driver.extendVarList[1].address = 40;
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 4);
}

void TstExtendStore::duplicateInsertedAtTheFrontIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.prepend(record(1, 7, 30, "34 12"));
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 0);
    QCOMPARE(dataOf(30), QStringLiteral("34 12"));
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 4);
    QCOMPARE(ExtendFindSameVar(1, 7, 50), 5);
}

void TstExtendStore::entriesSwappedAreNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.move(3, 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 3);
    QCOMPARE(PLC_driver.extendVarList.size(), 4);
}

void TstExtendStore::listReplacedByAnEditedCopyIsNoticed()
{
    DriverFixture driver;
    makeFour();
    QList<EXTENDVAR> copy = PLC_driver.extendVarList;
    copy[0].address = 20;
    copy[1].address = 10;
    PLC_driver.extendVarList = copy;
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 20), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 3);
    QCOMPARE(PLC_driver.extendVarList.size(), 4);
    QCOMPARE(copy.size(), 4);
}

void TstExtendStore::listReplacedByAnEqualCopyIsNoticed()
{
    DriverFixture driver;
    makeFour();
    QList<EXTENDVAR> copy = PLC_driver.extendVarList;
    copy.detach();
    PLC_driver.extendVarList = copy;
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 2);
    QCOMPARE(ExtendFindSameVar(1, 7, 50), 4);
    QCOMPARE(copy.size(), 4);
}

void TstExtendStore::changeFollowedByAReplacementIsNoticed()
{
    DriverFixture driver;
    makeFour();
    PLC_driver.extendVarList.removeFirst();
    PLC_driver.extendVarList.removeFirst();
    *KeyedRecords(1, 7).dataAt(30) = hex("AA BB");
    QCOMPARE(ExtendFindSameVar(1, 7, 30), 0);
    QCOMPARE(ExtendFindSameVar(1, 7, 40), 1);
    QCOMPARE(ExtendFindSameVar(1, 7, 10), 2);
    QCOMPARE(store(), QStringLiteral("1/7/30=AA BB, 1/7/40=00 00, 1/7/10=00 00"));
}

void TstExtendStore::recordThatIsFoundHasTheKey_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("station");
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::newRow("another address, above") << 0 << 1 << 7 << 99;
    QTest::newRow("another address, below") << 0 << 1 << 7 << 5;
    QTest::newRow("another code, above") << 0 << 1 << 8 << 10;
    QTest::newRow("another code, below") << 0 << 1 << 6 << 10;
    QTest::newRow("another station, above") << 0 << 2 << 7 << 10;
    QTest::newRow("another station, below") << 0 << 0 << 7 << 10;
    QTest::newRow("a record behind the first") << 1 << 1 << 7 << 99;
    QTest::newRow("the last record") << 3 << 1 << 7 << 99;
}

// Written through a reference that is older than the last look-up, which the list itself cannot tell.
void TstExtendStore::recordThatIsFoundHasTheKey()
{
    QFETCH(int, position);
    QFETCH(int, station);
    QFETCH(int, devType);
    QFETCH(int, address);
    DriverFixture driver;
    makeFour();
    EXTENDVAR &record = PLC_driver.extendVarList[position];
    const int former = record.address;
    QCOMPARE(ExtendFindSameVar(1, 7, former), position);
    record.station = station;
    record.devType = devType;
    record.address = address;
    QCOMPARE(ExtendFindSameVar(1, 7, former), 4);
    QCOMPARE(ExtendFindSameVar(station, devType, address), position);
}

void TstExtendStore::neighboursAreFoundInAnyOrder()
{
    DriverFixture driver;
    QCOMPARE(positionsOf({10, 11, 12, 13}), QStringLiteral("0 1 2 3"));
    QCOMPARE(positionsOf({11, 10, 13, 12, 12, 10}), QStringLiteral("1 0 3 2 2 0"));
    // A hole, then one in the middle that is made last.
    QCOMPARE(positionsOf({20, 22, 21, 22, 23}), QStringLiteral("4 5 6 5 7"));
    QCOMPARE(positionsOf({-5, INT_MAX, INT_MIN, 13}), QStringLiteral("8 9 10 3"));
}

void TstExtendStore::neighbourIsNotTakenForAnEarlierRecordWithItsKey()
{
    DriverFixture driver;
    PLC_driver.extendVarList << record(1, 7, 11) << record(1, 7, 10) << record(1, 7, 11) << record(1, 7, 12);
    QCOMPARE(positionsOf({10, 11, 12}), QStringLiteral("1 0 3"));
    PLC_driver.extendVarList.removeFirst();
    QCOMPARE(positionsOf({10, 11, 12}), QStringLiteral("0 1 2"));
}

void TstExtendStore::neighbourWithAnotherKeyIsNotTaken_data()
{
    QTest::addColumn<int>("station");
    QTest::addColumn<int>("devType");
    QTest::addColumn<int>("address");
    QTest::newRow("a lower station") << 4 << 9 << 11;
    QTest::newRow("a higher station") << 6 << 9 << 11;
    QTest::newRow("a lower code") << 5 << 8 << 11;
    QTest::newRow("a higher code") << 5 << 10 << 11;
    QTest::newRow("a lower address") << 5 << 9 << 9;
    QTest::newRow("a higher address") << 5 << 9 << 12;
}

void TstExtendStore::neighbourWithAnotherKeyIsNotTaken()
{
    QFETCH(int, station);
    QFETCH(int, devType);
    QFETCH(int, address);
    DriverFixture driver;
    PLC_driver.extendVarList << record(5, 9, 10) << record(station, devType, address);
    KeyedRecords records(5, 9);
    records.dataAt(10);
    records.dataAt(11);
    QCOMPARE(records.last(), 2);
    QCOMPARE(PLC_driver.extendVarList.at(2).address, 11);
}

void TstExtendStore::bitsLieEightToARecord()
{
    DriverFixture driver;
    KeyedRecords records(1, 2);
    for (int address : {0, 8, 16, 8, 24})
        records.dataAt(address);
    QCOMPARE(records.last(), 3);
    QCOMPARE(store(), QStringLiteral("1/2/0=00 00, 1/2/8=00 00, 1/2/16=00 00, 1/2/24=00 00"));
}

void TstExtendStore::addressBeyondAnIntHasNoRecord()
{
    DriverFixture driver;
    KeyedRecords records(1, 7);
    QVERIFY(records.dataAt(qint64(INT_MAX) + 1) == nullptr);
    QVERIFY(records.dataAt(qint64(INT_MIN) - 1) == nullptr);
    QCOMPARE(records.last(), -1);
    QVERIFY(records.dataAt(INT_MIN) != nullptr);
    QCOMPARE(records.last(), 0);
}

void TstExtendStore::manyKeysKeepTheirIndices()
{
    DriverFixture driver;
    int wrong = 0;
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < 20000; ++i)
            wrong += ExtendFindSameVar(1 + i % 4, i % 2 ? 7 : 100, i / 4) != i;
    }
    QCOMPARE(wrong, 0);
    QCOMPARE(PLC_driver.extendVarList.size(), 20000);
    // Backwards too, so that no answer rests on the order of asking.
    for (int i = 19999; i >= 0; --i)
        wrong += ExtendFindSameVar(1 + i % 4, i % 2 ? 7 : 100, i / 4) != i;
    QCOMPARE(wrong, 0);
}

void TstExtendStore::randomChangesFromOutsideNeverMislead()
{
    DriverFixture driver;
    std::mt19937 random(20240607);
    const auto upTo = [&random](int limit) { return int(random() % unsigned(limit)); };
    QList<EXTENDVAR> &list = PLC_driver.extendVarList;
    for (int step = 0; step < 20000; ++step) {
        const int change = upTo(40);
        if (change == 0 && !list.isEmpty())
            list[upTo(list.size())].address = upTo(12);
        else if (change == 1 && !list.isEmpty())
            list.removeAt(upTo(list.size()));
        else if (change == 2)
            list.insert(upTo(list.size() + 1), record(upTo(2), 7, upTo(12)));
        else if (change == 3 && list.size() > 1)
            list.move(upTo(list.size()), upTo(list.size()));
        else if (change == 4 && upTo(20) == 0)
            list.clear();
        else if (change == 5 && !list.isEmpty())
            list[upTo(list.size())].station = upTo(2);
        const int station = upTo(2), devType = upTo(2) ? 7 : 8, address = upTo(12);
        const int expected = firstWithKey(list, station, devType, address);
        const int sizeAfter = qMax(list.size(), expected + 1);
        const int found = ExtendFindSameVar(station, devType, address);
        if (found != expected || list.size() != sizeAfter)
            QFAIL(qPrintable(QString::fromLatin1("step %1, change %2: %3/%4/%5 found at %6 of %7, first is %8")
                                 .arg(step)
                                 .arg(change)
                                 .arg(station)
                                 .arg(devType)
                                 .arg(address)
                                 .arg(found)
                                 .arg(list.size())
                                 .arg(expected)));
    }
}

QTEST_APPLESS_MAIN(TstExtendStore)
#include "tst_extend_store.moc"
