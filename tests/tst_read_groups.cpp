/// ReCreatReadVarList: the host's descriptions become the cyclic read list.
#include "driver/emerson_ec_series.h"

#include "tests/elsewhere.h"
#include "tests/list_fixture.h"

#include <QtCore/QMutexLocker>

namespace {

VARDESC named(const char *name, VARDESC desc)
{
    desc.nameText = QString::fromLatin1(name);
    return desc;
}

} // namespace

class TstReadGroups : public QObject {
    Q_OBJECT

private slots:
    void numbersThatAreNoCodesHaveGroupsOfTheirOwn()
    {
        for (int stationScope : {1, -1}) {
            DriverFixture driver;
            driver.settings.stationScope = stationScope;
            QList<VARDESC> descriptions{description(0, "0", 8, 7), description(50, "0", 2, 7),
                                        description(60, "2", 2, 7)};
            ReCreatReadVarList(descriptions);
            QCOMPARE(summary(PLC_driver.readList), QStringLiteral("0/0/1@7 50/0/2@7 60/2/2@7"));
        }
    }

    void oneVariableBecomesByCode_data()
    {
        QTest::addColumn<VARDESC>("desc");
        QTest::addColumn<QString>("inOneStation");
        QTest::addColumn<QString>("perStation");
        const struct {
            int code;
            const char *text;
            int count;
            const char *inOneStation, *perStation, *why;
        } rows[] = {
            {0, "17", 3, "0/8/2@7", "0/8/1@7", "octal text"},
            {1, "20", 8, "1/16/1@7", "1/16/1@7", "octal text"},
            {2, "17", 3, "2/16/1@7", "2/16/1@7", "decimal text"},
            {2, "0", 32, "2/0/4@7", "2/0/1@7", "bytes counted as bits once more per station"},
            {2, "7", 58, "2/0/9@7", "2/0/2@7", "bits before the first count"},
            {2, "0", 320, "2/0/32@7 2/256/8@7", "2/0/4@7 2/256/1@7", "longer than a block"},
            {3, "30", 200, "3/24/26@7", "3/24/4@7", ""},
            {3, "248", 128, "3/248/1@7 3/256/15@7", "3/248/1@7 3/256/1@7", "cut at 256"},
            {4, "8", 72, "4/8/9@7", "4/8/2@7", ""},
            {5, "7", 10, "5/0/3@7", "5/0/1@7", ""},
            {6, "0", 256, "6/0/32@7", "6/0/4@7", "longest block"},
            {7, "5", 3, "7/5/3@7", "7/5/3@7", ""},
            {8, "6", 3, "8/6/3@7", "8/6/3@7", ""},
            {8, "300", 100, "8/300/32@7 8/332/32@7 8/364/32@7 8/396/4@7", "8/300/32@7 8/332/32@7 8/364/32@7 8/396/4@7",
             "longer than a block"},
            {9, "7", 3, "9/7/3@7", "9/7/3@7", ""},
            {10, "8", 3, "10/8/3@7", "10/8/3@7", ""},
            {11, "9", 3, "11/9/3@7", "11/9/3@7", ""},
            {100, "10", 3, "100/10/3@7", "100/10/3@7", ""},
            {12, "6", 3, "7/6/4@7", "7/6/4@7", "odd count"},
            {12, "6", 4, "7/6/4@7", "7/6/4@7", "even count"},
            {14, "6", 1, "8/6/2@7", "8/6/2@7", ""},
            {101, "6", 5, "100/6/6@7", "100/6/6@7", ""},
            {13, "250", 20, "13/50/6@7 13/56/4@7", "13/50/6@7 13/56/4@7", "cut at 56"},
            {13, "200", 3, "13/0/2@7", "13/0/2@7", "odd count"},
            {15, "0.0", 20, "7/0/2@7", "7/0/2@7", ""},
            {15, "0.0", 32, "7/0/2@7", "7/0/2@7", "bit count just a block"},
            {15, "0.0", 40, "7/0/32@7 7/32/8@7", "7/0/3@7", "split by its bit count in one station"},
            {15, "20.0", 16, "7/20/2@7", "7/20/2@7", "remainder of the word number"},
            {15, "0.15", 16, "7/0/1@7", "7/0/1@7", "bit number without weight"},
            {16, "3.5", 2, "8/3/1@7", "8/3/1@7", ""},
            {16, "255.0", 16, "8/255/1@7 8/256/1@7", "8/255/1@7 8/256/1@7", "cut as 8"},
            {17, "15.0", 2, "11/15/2@7", "11/15/2@7", ""},
            {102, "16.15", 1, "100/16/1@7", "100/16/1@7", ""},
            {102, "1.20", 1, "100/2/1@7", "100/2/1@7", "bit number above 15"},
            {102, "20.0", 40, "100/20/32@7 100/52/8@7", "100/20/3@7", "split by its bit count in one station"},
            {18, "5", 3, "", "18/5/3@7", "no code: kept per station only"},
            {55, "5", 3, "", "55/5/3@7", "no code: kept per station only"},
            {55, "5", 70, "", "55/5/32@7 55/37/32@7 55/69/6@7", "no code, longer than a block"},
            {99, "5", 3, "", "99/5/3@7", "no code: kept per station only"},
            {103, "5", 3, "", "103/5/3@7", "no code: kept per station only"},
            {255, "5", 3, "", "255/5/3@7", "no code: kept per station only"},
            {7, "5", 0, "7/5/0@7", "", "no words: an empty entry in one station"},
            {2, "0", 0, "2/0/0@7", "", "no bits: an empty entry in one station"},
            {2, "5", 0, "2/0/1@7", "2/0/1@7", "no bits, unaligned"},
            {15, "0.0", 0, "7/0/0@7", "", "no bits"},
            {15, "1.0", 0, "7/1/1@7", "7/1/1@7", "no bits, word 1"},
            {0, "18", 1, "", "", "no octal digit"},
            {7, "abc", 1, "", "", "no number"},
            {7, "-5", 1, "", "", "negative"},
            {13, "150", 1, "", "", "below the first address"},
            {12, "10.3", 1, "", "", "dotted"},
            {15, "10", 1, "", "", "not dotted"},
        };
        for (const auto &row : rows) {
            QTest::addRow("%d at %s, %d: %s", row.code, row.text, row.count, row.why)
                << description(row.code, row.text, row.count, 7) << row.inOneStation << row.perStation;
        }
    }
    void oneVariableBecomesByCode()
    {
        QFETCH(VARDESC, desc);
        DriverFixture driver;
        QTEST(built(driver, SingleStation, 32, {desc}), "inOneStation");
        QTEST(built(driver, PerStation, 32, {desc}), "perStation");
    }

    void singleStationMergesAndSplits_data()
    {
        addBuildColumns();
        const Descriptions apart{description(8, "10", 2), description(8, "20", 3)};
        QTest::newRow("a gap is read along") << 32 << apart << "8/10/13@7";
        QTest::newRow("a span just as long as a block") << 13 << apart << "8/10/13@7";
        QTest::newRow("a span one too long") << 12 << apart << "8/10/2@7 8/20/3@7";
        QTest::newRow("input in falling order") << 32 << Descriptions{apart[1], apart[0]} << "8/10/13@7";
        QTest::newRow("identical") << 32 << Descriptions{apart[0], apart[0]} << "8/10/2@7";
        QTest::newRow("inside, same end")
            << 32 << Descriptions{description(8, "10", 5), description(8, "12", 3)} << "8/10/5@7";
        QTest::newRow("one beyond the end")
            << 32 << Descriptions{description(8, "10", 5), description(8, "12", 4)} << "8/10/6@7";
        QTest::newRow("adjacent") << 32 << Descriptions{description(8, "10", 5), description(8, "15", 1)} << "8/10/6@7";
        QTest::newRow("a third opens a block")
            << 32 << (apart + Descriptions{description(8, "25", 20)}) << "8/10/13@7 8/25/20@7";
        QTest::newRow("codes of one base")
            << 32 << Descriptions{description(15, "9.3", 1), description(12, "4", 1), description(7, "1", 1)}
            << "7/1/9@7";
        QTest::newRow("stations of the descriptions do not count")
            << 32 << Descriptions{description(7, "1", 1, 3), description(7, "2", 1, 4)} << "7/1/2@7";
        QTest::newRow("two bits") << 32 << Descriptions{description(2, "5", 3), description(2, "13", 1)} << "2/0/2@7";
        QTest::newRow("two bits, one byte allowed")
            << 1 << Descriptions{description(2, "5", 3), description(2, "13", 1)} << "2/0/1@7 2/8/1@7";
        QTest::newRow("bits inside a rounded block")
            << 32 << Descriptions{description(2, "5", 1), description(2, "6", 2)} << "2/0/1@7";
        QTest::newRow("bits over a gap") << 32 << Descriptions{description(4, "3", 2), description(4, "200", 9)}
                                         << "4/0/27@7";
        QTest::newRow("bits, a span one too long")
            << 32 << Descriptions{description(4, "0", 1), description(4, "256", 1)} << "4/0/1@7 4/256/1@7";
        QTest::newRow("bits, a span just as long as a block")
            << 32 << Descriptions{description(4, "0", 1), description(4, "255", 1)} << "4/0/32@7";
        QTest::newRow("bits longer than a block")
            << 4 << Descriptions{description(2, "0", 72)} << "2/0/4@7 2/32/4@7 2/64/1@7";
        QTest::newRow("32-bit split by its even count")
            << 4 << Descriptions{description(12, "10", 5)} << "7/10/4@7 7/14/2@7";
        QTest::newRow("13 split by its halved count")
            << 4 << Descriptions{description(13, "200", 11)} << "13/0/4@7 13/4/2@7";
        QTest::newRow("a bit block over its boundary")
            << 32 << Descriptions{description(3, "248", 16)} << "3/248/1@7 3/256/1@7";
        QTest::newRow("merged over the boundary, then cut")
            << 32 << Descriptions{description(14, "250", 1), description(8, "260", 2)} << "8/250/6@7 8/256/6@7";
        QTest::newRow("the unusable are left out")
            << 32 << Descriptions{description(7, "x", 1), description(7, "1", 1), description(55, "2", 1)} << "7/1/1@7";
    }
    void singleStationMergesAndSplits()
    {
        QFETCH(int, maxBlockLen);
        QFETCH(Descriptions, descriptions);
        QFETCH(QString, expected);
        DriverFixture driver;
        QCOMPARE(built(driver, SingleStation, maxBlockLen, descriptions), expected);
    }

    void singleStationListStandsInGroupOrder()
    {
        DriverFixture driver;
        Descriptions descriptions;
        for (int code : {100, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0})
            descriptions << description(code, "0", 1);
        descriptions << description(13, "200", 1);
        QCOMPARE(built(driver, SingleStation, 32, descriptions),
                 QStringLiteral("0/0/1@7 1/0/1@7 2/0/1@7 3/0/1@7 4/0/1@7 5/0/1@7 6/0/1@7 7/0/1@7 8/0/1@7 9/0/1@7 "
                                "10/0/1@7 13/0/1@7 11/0/1@7 100/0/1@7"));
    }

    void perStationMergesByStationAndBaseType_data()
    {
        addBuildColumns();
        QTest::newRow("blocks stand in the order their keys were first seen")
            << 32
            << Descriptions{description(8, "10", 2, 2), description(7, "1", 1, 1), description(8, "5", 1, 1),
                            description(7, "4", 1, 2), description(8, "20", 3, 2)}
            << "8/10/13@2 7/1/1@1 8/5/1@1 7/4/1@2";
        QTest::newRow("a span one too long")
            << 12 << Descriptions{description(8, "20", 3, 2), description(8, "10", 2, 2)} << "8/10/2@2 8/20/3@2";
        QTest::newRow("15 longer than a block")
            << 32 << Descriptions{description(15, "0.0", 600)} << "7/0/32@1 7/32/6@1";
        QTest::newRow("codes of one base")
            << 32 << Descriptions{description(15, "9.3", 1), description(12, "4", 1), description(7, "1", 1)}
            << "7/1/9@1";
        QTest::newRow("identical") << 32 << Descriptions{description(8, "10", 2), description(8, "10", 2)}
                                   << "8/10/2@1";
        QTest::newRow("bits over a gap, bytes counted as bits")
            << 32 << Descriptions{description(2, "0", 32), description(2, "64", 32)} << "2/0/9@1";
        QTest::newRow("station 255 code 0 meets station 0 code 1")
            << 32 << Descriptions{description(0, "0", 8, 255), description(1, "20", 8, 0)} << "0/0/3@255";
        QTest::newRow("station 0 code 1 comes first by address")
            << 32 << Descriptions{description(0, "20", 8, 255), description(1, "0", 8, 0)} << "1/0/3@0";
        QTest::newRow("the newest comes first at one address")
            << 32 << Descriptions{description(0, "0", 8, 255), description(1, "0", 8, 0)} << "1/0/1@0";
        QTest::newRow("station 254 code 0 keeps its own key")
            << 32 << Descriptions{description(0, "0", 8, 254), description(1, "20", 8, 0)} << "0/0/1@254 1/16/1@0";
        QTest::newRow("lowest address is bits: all merged as bits")
            << 32 << Descriptions{description(6, "0", 8, 255), description(7, "16", 3, 0)} << "6/0/3@255";
        QTest::newRow("lowest address is words: all merged as words")
            << 32 << Descriptions{description(7, "0", 3, 0), description(6, "16", 8, 255)} << "7/0/17@0";
    }
    void perStationMergesByStationAndBaseType()
    {
        QFETCH(int, maxBlockLen);
        QFETCH(Descriptions, descriptions);
        QFETCH(QString, expected);
        DriverFixture driver;
        QCOMPARE(built(driver, PerStation, maxBlockLen, descriptions), expected);
    }

    void blockTakesTheTextsOfTheOldestInOneStationOfTheNewestPerStation()
    {
        DriverFixture driver;
        const Descriptions twins{named("old", description(8, "10", 2)), named("new", description(8, "10", 2))};
        built(driver, SingleStation, 32, twins);
        QCOMPARE(PLC_driver.readList.first().nameText, QStringLiteral("old"));
        built(driver, PerStation, 32, twins);
        QCOMPARE(PLC_driver.readList.first().nameText, QStringLiteral("new"));
    }

    void entryFieldsComeFromSettingsAndDescription_data()
    {
        QTest::addColumn<int>("scope");
        QTest::newRow("single station") << int(SingleStation);
        QTest::newRow("per station") << int(PerStation);
    }
    void entryFieldsComeFromSettingsAndDescription()
    {
        QFETCH(int, scope);
        DriverFixture driver;
        driver.settings.remoteMode = 6;
        driver.settings.ownStation = 4;
        QCOMPARE(built(driver, scope, 32, {named("Level", description(16, "3.5", 2, 7))}), QStringLiteral("8/3/1@7"));
        const RW_VAR &entry = PLC_driver.readList.first();
        QCOMPARE(entry.connectNo, 0);
        QCOMPARE(entry.varId, -1);
        QCOMPARE(entry.rwFlag, 0);
        QCOMPARE(entry.hostWord3, 6);
        QCOMPARE(entry.panelStation, 4);
        QCOMPARE(entry.resultCode, 0);
        QCOMPARE(entry.nameText, QStringLiteral("Level"));
        QCOMPARE(entry.addrText, QStringLiteral("3.5"));
        QCOMPARE(entry.subIndex, 0);
        QCOMPARE(entry.hostWord13, 0);
        QCOMPARE(entry.data, QByteArray());
    }

    void everyScopeButZeroIsPerStation()
    {
        DriverFixture driver;
        for (int scope : {1, 2, -1, INT_MAX, INT_MIN})
            QCOMPARE(built(driver, scope, 32, {description(8, "10", 2, 3)}), QStringLiteral("8/10/2@3"));
    }

    void eachCallReplacesTheList()
    {
        DriverFixture driver;
        QCOMPARE(built(driver, SingleStation, 32, {description(8, "10", 2)}), QStringLiteral("8/10/2@7"));
        QCOMPARE(built(driver, SingleStation, 32, {description(9, "20", 1)}), QStringLiteral("9/20/1@7"));
    }

    void rebuildStartsANewPass_data()
    {
        QTest::addColumn<Descriptions>("descriptions");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("finishFlag");
        QTest::addColumn<int>("passCount");
        QTest::newRow("usable") << Descriptions{description(7, "1", 1)} << 1 << 0 << 0;
        QTest::newRow("nothing usable") << Descriptions{description(7, "x", 1)} << 0 << 0 << 0;
        QTest::newRow("an empty list empties and leaves the rest") << Descriptions{} << 0 << 1 << 5;
    }
    void rebuildStartsANewPass()
    {
        QFETCH(Descriptions, descriptions);
        DriverFixture driver;
        PLC_driver.readList << readVar(8, 1, 1);
        driver.settings.finishFlag = 1;
        PLC_driver.passCount = 5;
        QTEST(ReCreatReadVarList(descriptions), "length");
        QTEST(PLC_driver.readList.size(), "length");
        QTEST(driver.settings.finishFlag, "finishFlag");
        QTEST(PLC_driver.passCount, "passCount");
        QVERIFY(isFree(PLC_driver.listMutex));
    }

    void rebuildWaitsForTheListLock()
    {
        DriverFixture driver;
        Descriptions descriptions{description(7, "1", 1)};
        QMutexLocker locker(&PLC_driver.listMutex);
        int length = -1;
        Elsewhere call([&] { length = ReCreatReadVarList(descriptions); });
        const bool waited = call.isHeldUp();
        const int before = waited ? PLC_driver.readList.size() : -1;
        locker.unlock();
        call.finish();
        QVERIFY(waited);
        QCOMPARE(before, 0);
        QCOMPARE(length, 1);
    }

    void withoutSettingsEverySettingIsZero()
    {
        DriverFixture driver;
        SetComInfo(nullptr);
        Descriptions descriptions{description(8, "20", 100, 9), description(8, "10", 2, 9)};
        QCOMPARE(ReCreatReadVarList(descriptions), 2);
        QCOMPARE(summary(PLC_driver.readList), QStringLiteral("8/10/2@0 8/20/100@0"));
    }
};

QTEST_APPLESS_MAIN(TstReadGroups)
#include "tst_read_groups.moc"
