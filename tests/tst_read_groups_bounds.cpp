/// ReCreatReadVarList with block lengths, addresses and counts that no sensible host gives.
#include "driver/emerson_ec_series.h"

#include "tests/list_fixture.h"

#include <climits>

class TstReadGroupsBounds : public QObject {
    Q_OBJECT

private slots:
    void cyclicListHasNoCapOfItsOwn()
    {
        Descriptions descriptions;
        for (int i = 0; i < 1500; ++i)
            descriptions << description(7, qPrintable(QString::number(i * 40)), 1);
        for (int scope : {0, 1}) {
            DriverFixture driver;
            driver.settings.stationScope = scope;
            QCOMPARE(ReCreatReadVarList(descriptions), 1500);
            QCOMPARE(PLC_driver.readList.at(1499).address, 59960);
        }
    }

    void unusualBlockLengthsAreBorne_data()
    {
        QTest::addColumn<int>("scope");
        addBuildColumns();
        const Descriptions touching{description(8, "10", 2, 7), description(8, "11", 3, 7)};
        QTest::newRow("0: nothing is joined") << 0 << 0 << touching << "8/10/2@7 8/11/3@7";
        QTest::newRow("0: inside is still skipped")
            << 0 << 0 << Descriptions{description(8, "10", 5), description(8, "11", 2)} << "8/10/5@7";
        QTest::newRow("0: nothing is split") << 0 << 0 << Descriptions{description(8, "300", 100)} << "8/300/100@7";
        QTest::newRow("0: bits") << 0 << 0 << Descriptions{description(2, "5", 3), description(2, "6", 9)}
                                 << "2/0/1@7 2/0/2@7";
        QTest::newRow("0 per station: nothing is joined") << 1 << 0 << touching << "8/10/2@7 8/11/3@7";
        QTest::newRow("0 per station: nothing is split")
            << 1 << 0 << Descriptions{description(8, "300", 100, 7)} << "8/300/100@7";
        QTest::newRow("0 per station: bits") << 1 << 0 << Descriptions{description(2, "0", 32, 7)} << "2/0/1@7";
        QTest::newRow("1: words") << 0 << 1 << touching << "8/10/1@7 8/11/1@7 8/12/1@7 8/13/1@7";
        QTest::newRow("1: rounding makes a longer bit block")
            << 0 << 1 << Descriptions{description(2, "5", 10)} << "2/0/2@7";
        QTest::newRow("1: a word for each bit of 15")
            << 0 << 1 << Descriptions{description(15, "0.0", 3)} << "7/0/1@7 7/1/1@7 7/2/1@7";
        QTest::newRow("1 per station: words") << 1 << 1 << touching << "8/10/1@7 8/11/1@7 8/12/1@7 8/13/1@7";
        QTest::newRow("1 per station: bits") << 1 << 1 << Descriptions{description(2, "5", 10, 7)} << "2/0/1@7 2/8/1@7";
        for (int negative : {-1, -2, -10, INT_MIN}) {
            const Descriptions words{description(7, "1", 5, 7)}, bits{description(2, "0", 5, 7)};
            QTest::addRow("%d: words", negative) << 0 << negative << words << "";
            QTest::addRow("%d: bits", negative) << 0 << negative << bits << "";
            QTest::addRow("%d per station: words", negative) << 1 << negative << words << "";
            QTest::addRow("%d per station: bits", negative) << 1 << negative << bits << "";
        }
        QTest::newRow("-1 per station: smallest count") << 1 << -1 << Descriptions{description(7, "1", INT_MIN)} << "";
        QTest::newRow("largest: bits") << 0 << INT_MAX
                                       << Descriptions{description(4, "0", 1), description(4, "1008", 8)}
                                       << "4/0/127@7";
        QTest::newRow("eight times it leaves an int")
            << 0 << 268435456 << Descriptions{description(4, "0", 1), description(4, "1008", 8)} << "4/0/127@7";
    }
    void unusualBlockLengthsAreBorne()
    {
        QFETCH(int, scope);
        QFETCH(int, maxBlockLen);
        QFETCH(Descriptions, descriptions);
        QFETCH(QString, expected);
        DriverFixture driver;
        QCOMPARE(built(driver, scope, maxBlockLen, descriptions), expected);
    }

    void hostileAddressesAndCountsAreSafe_data()
    {
        QTest::addColumn<int>("scope");
        addBuildColumns();
        const Descriptions last{description(7, "2147483646", 5, 7)};
        QTest::newRow("merged past the last int")
            << 0 << 32 << Descriptions{description(7, "2147483640", 5), description(7, "2147483647", 5)}
            << "7/2147483640/12@7";
        const Descriptions farApart{description(7, "0", 1), description(7, "2147483647", 5)};
        QTest::newRow("far apart") << 0 << 32 << farApart << "7/0/1@7 7/2147483647/5@7";
        QTest::newRow("far apart, largest block") << 0 << INT_MAX << farApart << "7/0/1@7 7/2147483647/5@7";
        QTest::newRow("last bit") << 0 << 32 << Descriptions{description(2, "2147483647", 3)} << "2/2147483640/2@7";
        QTest::newRow("last bit inside a word")
            << 0 << 32 << Descriptions{description(15, "134217727.15", 1)} << "7/134217727/1@7";
        QTest::newRow("pieces beyond the last int are not made")
            << 0 << 1 << last << "7/2147483646/1@7 7/2147483647/1@7";
        QTest::newRow("the same per station") << 1 << 1 << last << "7/2147483646/1@7 7/2147483647/1@7";
        for (int scope : {0, 1}) {
            QTest::addRow("largest count, 8, scope %d", scope)
                << scope << INT_MAX << Descriptions{description(8, "255", INT_MAX, 7)}
                << "8/255/1@7 8/256/2147483646@7";
            QTest::addRow("largest count, 13, scope %d", scope)
                << scope << INT_MAX << Descriptions{description(13, "200", INT_MAX, 7)}
                << "13/0/56@7 13/56/1073741768@7";
            QTest::addRow("largest count, 15, scope %d", scope)
                << scope << INT_MAX << Descriptions{description(15, "0.0", INT_MAX, 7)} << "7/0/134217728@7";
        }
        QTest::newRow("largest count of bits")
            << 0 << INT_MAX << Descriptions{description(2, "5", INT_MAX)} << "2/0/256@7 2/2048/268435201@7";
        QTest::newRow("largest count of bits per station")
            << 1 << INT_MAX << Descriptions{description(2, "5", INT_MAX, 7)} << "2/0/256@7 2/2048/33554177@7";
        const struct {
            int code;
            const char *text;
            int count;
            const char *single, *perStation;
        } negative[] = {
            {7, "5", -3, "7/5/-3@7", "7/5/-3@7"},
            {7, "5", -32, "7/5/-32@7", ""},
            {7, "5", -40, "7/5/-40@7", ""},
            {7, "5", INT_MIN, "7/5/-2147483648@7", ""},
            {12, "6", -3, "7/6/-2@7", "7/6/-2@7"},
            {12, "6", INT_MIN, "7/6/-2147483646@7", ""},
            {13, "200", -3, "13/0/-1@7", "13/0/-1@7"},
            {13, "200", INT_MIN, "13/0/-1073741823@7", ""},
            {15, "20.0", -16, "7/20/0@7", ""},
            {15, "20.0", -40, "7/20/-1@7", "7/20/-1@7"},
            {2, "5", -14, "2/0/0@7", ""},
            {2, "5", -20, "2/0/-1@7", "2/0/0@7"},
            {2, "0", INT_MIN, "2/0/-268435455@7", ""},
        };
        for (const auto &row : negative) {
            const Descriptions one{description(row.code, row.text, row.count, 7)};
            QTest::addRow("%d counted %d", row.code, row.count) << 0 << 32 << one << row.single;
            QTest::addRow("%d counted %d per station", row.code, row.count) << 1 << 32 << one << row.perStation;
        }
        QTest::newRow("a negative count may shorten a block")
            << 0 << 32 << Descriptions{description(7, "10", 5), description(7, "20", -8)} << "7/10/2@7";
    }
    void hostileAddressesAndCountsAreSafe()
    {
        QFETCH(int, scope);
        QFETCH(int, maxBlockLen);
        QFETCH(Descriptions, descriptions);
        QFETCH(QString, expected);
        DriverFixture driver;
        QCOMPARE(built(driver, scope, maxBlockLen, descriptions), expected);
    }

    void countThatCannotBeRoundedUpStaysPositive_data()
    {
        QTest::addColumn<int>("scope");
        QTest::newRow("single station") << int(SingleStation);
        QTest::newRow("per station") << int(PerStation);
    }
    void countThatCannotBeRoundedUpStaysPositive()
    {
        QFETCH(int, scope);
        for (int code : {12, 14, 101}) {
            DriverFixture driver;
            built(driver, scope, INT_MAX, {description(code, "300", INT_MAX)});
            for (const RW_VAR &entry : PLC_driver.readList)
                QVERIFY2(entry.count > 0 && entry.address >= 300, qPrintable(summary(PLC_driver.readList)));
        }
    }

    void hugeCountsGiveABoundedList_data()
    {
        QTest::addColumn<int>("scope");
        QTest::addColumn<Descriptions>("descriptions");
        QTest::addColumn<int>("step");
        QTest::newRow("bits") << 0 << Descriptions{description(0, "0", INT_MAX)} << 8;
        QTest::newRow("bits per station") << 1 << Descriptions{description(0, "0", INT_MAX)} << 8;
        QTest::newRow("bits inside words") << 0 << Descriptions{description(15, "0.0", INT_MAX)} << 1;
        Descriptions three;
        for (int code : {7, 10, 11})
            three << description(code, "5", INT_MAX);
        QTest::newRow("words of three areas") << 0 << three << 1;
        QTest::newRow("words of three areas per station") << 1 << three << 1;
        const Descriptions oneLeft{description(7, "5", 1048575), description(10, "5", 2)};
        QTest::newRow("one place left") << 0 << oneLeft << 1;
        QTest::newRow("one place left per station") << 1 << oneLeft << 1;
    }
    void hugeCountsGiveABoundedList()
    {
        QFETCH(int, scope);
        QFETCH(Descriptions, descriptions);
        QFETCH(int, step);
        DriverFixture driver;
        driver.settings.stationScope = scope;
        driver.settings.maxBlockLen = 1;
        const int length = ReCreatReadVarList(descriptions);
        QCOMPARE(length, PLC_driver.readList.size());
        QCOMPARE(length, 1048576);
        QCOMPARE(PLC_driver.readList.at(0).count, 1);
        QCOMPARE(PLC_driver.readList.at(999).address, PLC_driver.readList.at(0).address + 999 * step);
    }
};

QTEST_APPLESS_MAIN(TstReadGroupsBounds)
#include "tst_read_groups_bounds.moc"
