/// One-shot reads: how the request of a host becomes the pieces in the queue.
#include "driver/emerson_ec_series.h"

#include "tests/list_fixture.h"

#include <climits>

namespace {

/// What becomes of one read asked into an empty queue.
QString queued(DriverFixture &driver, int maxBlockLen, const RW_VAR &var)
{
    driver.settings.maxBlockLen = maxBlockLen;
    const int length = askOnce(var);
    if (length != PLC_driver.onceReadList.size())
        return QStringLiteral("returned %1, not the length of the queue").arg(length);
    return summary(PLC_driver.onceReadList);
}

} // namespace

class TstOnceList : public QObject {
    Q_OBJECT

private slots:
    void oneReadBecomesByCode_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("callerAddress");
        QTest::addColumn<QString>("expected");
        const struct {
            int code;
            const char *text;
            int count, callerAddress;
            const char *expected, *why;
        } rows[] = {
            {0, "17", 3, 99, "0/8/2@1", "octal text"},
            {1, "20", 8, 99, "1/16/1@1", "octal text"},
            {2, "13", 5, 99, "2/8/2@1", ""},
            {2, "0", 32, 99, "2/0/4@1", "bytes are not counted as bits again"},
            {3, "30", 8, 99, "3/24/2@1", ""},
            {3, "250", 16, 99, "3/248/1@1 3/256/2@1", "cut at 256"},
            {4, "1016", 16, 99, "4/1016/1@1 4/1024/1@1", "cut at 1024"},
            {5, "7", 10, 99, "5/0/3@1", ""},
            {6, "0", 256, 99, "6/0/32@1", "longest block"},
            {7, "5", 3, 99, "7/5/3@1", ""},
            {7, "5", 70, 99, "7/5/32@1 7/37/32@1 7/69/6@1", "longer than a block"},
            {8, "6", 3, 99, "8/6/3@1", ""},
            {8, "250", 10, 99, "8/250/6@1 8/256/4@1", "cut at 256"},
            {9, "7", 3, 99, "9/7/3@1", ""},
            {10, "8", 3, 99, "10/8/3@1", ""},
            {11, "9", 3, 99, "11/9/3@1", ""},
            {100, "10", 3, 99, "100/10/3@1", ""},
            {12, "6", 3, 99, "7/6/4@1", "odd count"},
            {14, "254", 4, 99, "8/254/2@1 8/256/2@1", "cut as 8"},
            {101, "6", 5, 99, "100/6/6@1", "odd count"},
            {13, "200", 3, 99, "13/0/2@1", "odd count"},
            {13, "250", 20, 99, "13/50/6@1 13/56/4@1", "cut at 56"},
            {15, "2.5", 20, 100, "7/6/2@1", "offset of the text, word of the caller"},
            {15, "2.0", 16, 32, "7/2/1@1", "offset of the bit, not of the word number"},
            {15, "0.0", 40, 0, "7/0/3@1", "split by words, not bits"},
            {15, "0.15", 2, -17, "7/-1/2@1", "caller's address divided toward zero"},
            {15, "2.0", 600, 0, "7/0/32@1 7/32/6@1", "longer than a block"},
            {16, "0.0", 32, 4080, "8/255/1@1 8/256/1@1", "cut as 8"},
            {17, "1.15", 2, 31, "11/1/2@1", ""},
            {102, "1.20", 1, 47, "100/2/1@1", "bit number above 15"},
            {18, "12", 3, 99, "18/99/3@1", "no code: caller's address"},
            {55, "12", 70, 99, "55/99/32@1 55/131/32@1 55/163/6@1", "no code: caller's address"},
            {99, "12", 3, 99, "99/99/3@1", "no code: caller's address"},
            {103, "12", 3, 99, "103/99/3@1", "no code: caller's address"},
            {-1, "12", 3, 99, "-1/99/3@1", "no code: caller's address"},
            {7, "5", 0, 99, "", "no words"},
            {2, "8", 0, 99, "", "no bits, byte-aligned"},
            {2, "5", 0, 99, "2/0/1@1", "no bits, unaligned"},
        };
        for (const auto &row : rows) {
            QTest::addRow("%d at %s, %d: %s", row.code, row.text, row.count, row.why)
                << row.code << QByteArray(row.text) << row.count << row.callerAddress << row.expected;
        }
    }
    void oneReadBecomesByCode()
    {
        QFETCH(int, devType);
        QFETCH(QByteArray, text);
        QFETCH(int, count);
        QFETCH(int, callerAddress);
        DriverFixture driver;
        QTEST(queued(driver, 32, onceVar(devType, text.constData(), count, callerAddress)), "expected");
    }

    void blockLengthCutsReads_data()
    {
        QTest::addColumn<int>("maxBlockLen");
        QTest::addColumn<int>("devType");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("3: just as long") << 3 << 3 << 16 << "3/248/1@1 3/256/2@1";
        QTest::newRow("2: bit pieces are 16 apart") << 2 << 3 << 16 << "3/248/1@1 3/256/1@1 3/264/1@1";
        QTest::newRow("1: bits") << 1 << 3 << 16 << "3/248/1@1 3/256/1@1 3/264/1@1";
        QTest::newRow("1: words") << 1 << 7 << 3 << "7/250/1@1 7/251/1@1 7/252/1@1";
        QTest::newRow("2: words, twice as many") << 2 << 7 << 4 << "7/250/2@1 7/252/2@1";
        QTest::newRow("0: one piece") << 0 << 7 << 70 << "7/250/70@1";
        QTest::newRow("0: bits, one piece") << 0 << 2 << 700 << "2/248/88@1";
        QTest::newRow("0: none") << 0 << 7 << 0 << "";
        QTest::newRow("largest") << INT_MAX << 7 << 70 << "7/250/70@1";
        for (int negative : {-1, -2, -10, -100, INT_MIN}) {
            QTest::addRow("%d: words", negative) << negative << 7 << 5 << "";
            QTest::addRow("%d: bits", negative) << negative << 2 << 5 << "";
            QTest::addRow("%d: smallest count", negative) << negative << 7 << INT_MIN << "";
        }
    }
    void blockLengthCutsReads()
    {
        QFETCH(int, maxBlockLen);
        QFETCH(int, devType);
        QFETCH(int, count);
        QFETCH(QString, expected);
        DriverFixture driver;
        QCOMPARE(queued(driver, maxBlockLen, onceVar(devType, "250", count)), expected);
    }

    void stationIsThatOfTheSettingsOrOfTheCaller_data()
    {
        QTest::addColumn<int>("stationScope");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one station") << 0 << "7/5/3@7";
        QTest::newRow("several stations") << 1 << "7/5/3@9";
        QTest::newRow("any other scope") << -4 << "7/5/3@9";
    }
    void stationIsThatOfTheSettingsOrOfTheCaller()
    {
        QFETCH(int, stationScope);
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        driver.settings.plcStation = 7;
        QTEST(queued(driver, 32, onceVar(7, "5", 3, 0, 9)), "expected");
    }

    void callersRecordBecomesTheLastPiece_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("third piece") << 7 << QByteArray("5") << 70 << "7/69/6@7";
        QTest::newRow("only piece") << 12 << QByteArray("6") << 3 << "7/6/4@7";
        QTest::newRow("before the cut at 256") << 8 << QByteArray("250") << 10 << "8/250/10@7";
        QTest::newRow("bits") << 2 << QByteArray("13") << 5 << "2/8/2@7";
        QTest::newRow("second piece of bits") << 4 << QByteArray("0") << 264 << "4/256/1@7";
        QTest::newRow("bit inside a word") << 17 << QByteArray("1.15") << 2 << "11/3/2@7";
    }
    void callersRecordBecomesTheLastPiece()
    {
        QFETCH(int, devType);
        QFETCH(QByteArray, text);
        QFETCH(int, count);
        QFETCH(QString, expected);
        DriverFixture driver;
        driver.settings.plcStation = 7;
        RW_VAR var = onceVar(devType, text.constData(), count, 50);
        var.subIndex = -1;
        var.hostWord13 = 8;
        // The second time every piece is queued already; the record changes all the same.
        for (int time = 0; time < 2; ++time) {
            RW_VAR asked = var;
            AddListOnceReadVar(&asked, 0);
            QCOMPARE(summary({asked}), expected);
            QCOMPARE(asked.subIndex, 0);
            QCOMPARE(asked.hostWord13, 0);
        }
    }

    void queuedPiecesCarryTheOtherFields()
    {
        DriverFixture driver;
        RW_VAR var = onceVar(8, "250", 10);
        var.rwFlag = 4;
        var.hostWord3 = 5;
        var.panelStation = 6;
        var.resultCode = 8;
        var.nameText = QStringLiteral("name");
        var.subIndex = -1;
        var.hostWord13 = 9;
        var.data = hex("0A");
        QCOMPARE(askOnce(var), 2);
        for (const RW_VAR &piece : PLC_driver.onceReadList) {
            QCOMPARE(piece.connectNo, 2);
            QCOMPARE(piece.varId, 3);
            QCOMPARE(piece.rwFlag, 4);
            QCOMPARE(piece.hostWord3, 5);
            QCOMPARE(piece.panelStation, 6);
            QCOMPARE(piece.resultCode, 8);
            QCOMPARE(piece.nameText, QStringLiteral("name"));
            QCOMPARE(piece.addrText, QStringLiteral("250"));
            QCOMPARE(piece.subIndex, 0);
            QCOMPARE(piece.hostWord13, 0);
            QCOMPARE(piece.data, hex("0A"));
        }
    }

    void hostileAddressesAndCountsAreSafe_data()
    {
        QTest::addColumn<int>("maxBlockLen");
        QTest::addColumn<RW_VAR>("var");
        QTest::addColumn<QString>("expected");
        QTest::newRow("last word") << 32 << onceVar(7, "2147483647", 5) << "7/2147483647/5@1";
        QTest::newRow("last bit") << 32 << onceVar(2, "2147483647", 3) << "2/2147483640/2@1";
        QTest::newRow("largest count") << INT_MAX << onceVar(8, "255", INT_MAX) << "8/255/1@1 8/256/2147483646@1";
        QTest::newRow("largest count of pairs") << INT_MAX << onceVar(12, "5", INT_MAX) << "7/5/2147483646@1";
        QTest::newRow("largest count of bits") << INT_MAX << onceVar(2, "5", INT_MAX) << "2/0/256@1 2/2048/268435201@1";
        QTest::newRow("largest count of 13")
            << INT_MAX << onceVar(13, "200", INT_MAX) << "13/0/56@1 13/56/1073741768@1";
        QTest::newRow("largest count of bits inside words")
            << INT_MAX << onceVar(15, "0.15", INT_MAX) << "7/0/134217729@1";
        QTest::newRow("caller's largest address") << 32 << onceVar(15, "0.0", 1, INT_MAX) << "7/134217727/1@1";
        QTest::newRow("caller's smallest address") << 32 << onceVar(15, "0.0", 1, INT_MIN) << "7/-134217728/1@1";
        QTest::newRow("no code, caller's smallest address")
            << 32 << onceVar(INT_MIN, "0", 1, INT_MIN) << "-2147483648/-2147483648/1@1";
        QTest::newRow("-3") << 32 << onceVar(7, "5", -3) << "7/5/-3@1";
        QTest::newRow("-32") << 32 << onceVar(7, "5", -32) << "";
        QTest::newRow("-40") << 32 << onceVar(7, "5", -40) << "";
        QTest::newRow("smallest count") << 32 << onceVar(7, "5", INT_MIN) << "";
        QTest::newRow("no block length, -3") << 0 << onceVar(7, "5", -3) << "7/5/-3@1";
        QTest::newRow("-14 bits, toward zero") << 32 << onceVar(2, "5", -14) << "";
        QTest::newRow("-20 bits") << 32 << onceVar(2, "5", -20) << "2/0/-1@1";
        QTest::newRow("12 counted -3") << 32 << onceVar(12, "6", -3) << "7/6/-2@1";
        QTest::newRow("13 counted -3") << 32 << onceVar(13, "200", -3) << "13/0/-1@1";
        QTest::newRow("15 counted -36") << 32 << onceVar(15, "0.5", -36) << "7/0/-1@1";
    }
    void hostileAddressesAndCountsAreSafe()
    {
        QFETCH(int, maxBlockLen);
        QFETCH(RW_VAR, var);
        DriverFixture driver;
        QTEST(queued(driver, maxBlockLen, var), "expected");
    }

    void countThatCannotBeRoundedUpStaysPositive()
    {
        for (int code : {12, 14, 101}) {
            DriverFixture driver;
            queued(driver, INT_MAX, onceVar(code, "300", INT_MAX));
            for (const RW_VAR &entry : PLC_driver.onceReadList)
                QVERIFY2(entry.count > 0 && entry.address >= 300, qPrintable(summary(PLC_driver.onceReadList)));
        }
    }

    void hugeCountFillsTheQueueAndNoMore_data()
    {
        QTest::addColumn<RW_VAR>("var");
        QTest::newRow("words") << onceVar(7, "5", INT_MAX);
        QTest::newRow("bits") << onceVar(0, "0", INT_MAX);
        QTest::newRow("past the last int") << onceVar(7, "2147483000", INT_MAX);
        QTest::newRow("bits inside words") << onceVar(15, "0.0", INT_MAX);
    }
    void hugeCountFillsTheQueueAndNoMore()
    {
        QFETCH(RW_VAR, var);
        DriverFixture driver;
        driver.settings.maxBlockLen = 1;
        const int length = AddListOnceReadVar(&var, 0);
        QCOMPARE(length, PLC_driver.onceReadList.size());
        QVERIFY2(length >= 648 && length <= 1024, qPrintable(QString::number(length)));
        for (const RW_VAR &piece : PLC_driver.onceReadList)
            QVERIFY(piece.count == 1 && piece.address >= 0);
    }

    // The caller's record goes through all of them, whatever the queue takes.
    void oneCallMakesAtMostAMillionPieces()
    {
        DriverFixture driver;
        driver.settings.maxBlockLen = 1;
        RW_VAR var = onceVar(7, "5", INT_MAX);
        QCOMPARE(AddListOnceReadVar(&var, 0), 1024);
        QCOMPARE(summary(QList<RW_VAR>{var}), QStringLiteral("7/1048580/1@1"));
    }

    void withoutSettingsEverySettingIsZero()
    {
        DriverFixture driver;
        SetComInfo(nullptr);
        QCOMPARE(askOnce(onceVar(7, "5", 100, 0, 9)), 1);
        QCOMPARE(summary(PLC_driver.onceReadList), QStringLiteral("7/5/100@0"));
    }
};

QTEST_APPLESS_MAIN(TstOnceList)
#include "tst_once_list.moc"
