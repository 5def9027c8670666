/// The write queue: what is merged, what is dropped, where a write is cut.
#include "varlist/write_list.h"

#include "tests/elsewhere.h"
#include "tests/list_fixture.h"

#include <QtCore/QMutexLocker>

#include <climits>

namespace {

/// "address/count:data" of each entry.
QString blocks(const QList<RW_VAR> &list)
{
    QStringList entries;
    for (const RW_VAR &var : list) {
        const QString bytes = QString::fromLatin1(var.data.toHex());
        entries << QStringLiteral("%1/%2:%3").arg(var.address).arg(var.count).arg(bytes);
    }
    return entries.join(QLatin1Char(' '));
}

/// The bytes first, first + 1, ... as many as count.
QByteArray counted(int first, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(first + i));
    return bytes;
}

int queueWrite(RW_VAR var, int mode = 0)
{
    return AddListWriteVar(&var, mode);
}

/// Three queued writes, A at 10, B at 20 and C at 30.
void queueAbc()
{
    queueWrite(writeVar(7, 10, 1, hex("A1 A2")));
    queueWrite(writeVar(7, 20, 1, hex("B1 B2")));
    queueWrite(writeVar(7, 30, 1, hex("C1 C2")));
}

/// A queue of length different writes; the one at position i is at address i.
void queueMany(int length)
{
    for (int i = 0; i < length; ++i)
        PLC_driver.writeList << writeVar(7, i, 1, hex("00 00"));
}

} // namespace

class TstWriteList : public QObject {
    Q_OBJECT

private slots:
    void newestValueReplacesAnEqualQueuedWriteInPlace()
    {
        DriverFixture driver;
        queueAbc();
        QCOMPARE(queueWrite(writeVar(7, 20, 1, hex("D1 D2"))), 3);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:d1d2 30/1:c1c2"));
        QCOMPARE(queueWrite(writeVar(7, 30, 1, hex("E1 E2"))), 3);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:d1d2 30/1:e1e2"));
    }

    void headOfTheQueueIsNeverReplaced()
    {
        DriverFixture driver;
        queueAbc();
        QCOMPARE(queueWrite(writeVar(7, 10, 1, hex("D1 D2"))), 4);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:b1b2 30/1:c1c2 10/1:d1d2"));
        QCOMPARE(queueWrite(writeVar(7, 10, 1, hex("E1 E2"))), 4);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:b1b2 30/1:c1c2 10/1:e1e2"));
    }

    void secondIdenticalWriteIsAppendedThirdReplacesIt()
    {
        DriverFixture driver;
        QCOMPARE(queueWrite(writeVar(7, 10, 1, hex("A1 A2"))), 1);
        QCOMPARE(queueWrite(writeVar(7, 10, 1, hex("A1 A2"))), 2);
        QCOMPARE(queueWrite(writeVar(7, 10, 1, hex("B1 B2"))), 2);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 10/1:b1b2"));
    }

    void replacementOverwritesEveryField()
    {
        DriverFixture driver;
        queueAbc();
        PLC_driver.writeList[1].station = 4;
        QCOMPARE(queueWrite(markedVar(7, 20, 1, hex("D1"))), 3);
        QCOMPARE(marks(PLC_driver.writeList.at(1)), QStringLiteral("2 3 1 5 6 8 name text 7 4 -1 9 D1"));
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:d1 30/1:c1c2"));
    }

    void onlyTheFirstMatchIsReplaced()
    {
        DriverFixture driver;
        queueAbc();
        queueWrite(writeVar(7, 20, 1, hex("B3 B4")), 1);
        QCOMPARE(queueWrite(writeVar(7, 20, 1, hex("D1 D2"))), 4);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:d1d2 30/1:c1c2 20/1:b3b4"));
    }

    void matchNeedsStationCodeAddressAndCount_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("station");
        QTest::addColumn<int>("length");
        QTest::newRow("all equal") << 7 << 20 << 1 << 1 << 3;
        QTest::newRow("other station") << 7 << 20 << 1 << 2 << 4;
        QTest::newRow("other station, below") << 7 << 20 << 1 << 0 << 4;
        QTest::newRow("other code") << 8 << 20 << 1 << 1 << 4;
        QTest::newRow("other code, below") << 6 << 20 << 1 << 1 << 4;
        QTest::newRow("other code of the same area") << 12 << 20 << 1 << 1 << 4;
        QTest::newRow("other address") << 7 << 21 << 1 << 1 << 4;
        QTest::newRow("other address, below") << 7 << 19 << 1 << 1 << 4;
        QTest::newRow("other count") << 7 << 20 << 2 << 1 << 4;
        QTest::newRow("other count, below") << 7 << 20 << 0 << 1 << 4;
    }
    void matchNeedsStationCodeAddressAndCount()
    {
        QFETCH(int, devType);
        QFETCH(int, address);
        QFETCH(int, count);
        QFETCH(int, station);
        DriverFixture driver;
        queueAbc();
        QTEST(queueWrite(writeVar(devType, address, count, hex("D1 D2"), station)), "length");
        QTEST(PLC_driver.writeList.size(), "length");
    }

    void modeOneAppendsWithoutAnyCheck()
    {
        DriverFixture driver;
        queueAbc();
        QCOMPARE(queueWrite(writeVar(7, 20, 1, hex("D1 D2")), 1), 4);
        QCOMPARE(blocks(PLC_driver.writeList), QStringLiteral("10/1:a1a2 20/1:b1b2 30/1:c1c2 20/1:d1d2"));
        PLC_driver.writeList.clear();
        queueMany(1024);
        QCOMPARE(queueWrite(writeVar(7, 5000, 1, hex("D1 D2")), 1), 1025);
        QCOMPARE(PLC_driver.writeList.at(1024).address, 5000);
    }

    void everyOtherModeMerges_data()
    {
        QTest::addColumn<int>("mode");
        for (int mode : {0, 2, -1, INT_MAX, INT_MIN})
            QTest::addRow("%d", mode) << mode;
    }
    void everyOtherModeMerges()
    {
        QFETCH(int, mode);
        DriverFixture driver;
        queueAbc();
        QCOMPARE(queueWrite(writeVar(7, 20, 1, hex("D1 D2")), mode), 3);
        QCOMPARE(PLC_driver.writeList.at(1).data, hex("D1 D2"));
    }

    void queueIsFullAt1024()
    {
        DriverFixture driver;
        queueMany(1023);
        QCOMPARE(queueWrite(writeVar(7, 5000, 1, hex("D1 D2"))), 1024);
        QCOMPARE(queueWrite(writeVar(7, 5001, 1, hex("D1 D2"))), 1024);
        QCOMPARE(PLC_driver.writeList.size(), 1024);
        QCOMPARE(PLC_driver.writeList.last().address, 5000);
    }

    void fullQueueStillTakesAReplacementAtFive()
    {
        DriverFixture driver;
        queueMany(1024);
        QCOMPARE(queueWrite(writeVar(7, 5, 1, hex("D1 D2"))), 1024);
        QCOMPARE(PLC_driver.writeList.at(5).data, hex("D1 D2"));
    }

    void fullQueueDropsAWriteThatOnlyTheHeadMatches()
    {
        DriverFixture driver;
        queueMany(1024);
        QCOMPARE(queueWrite(writeVar(7, 0, 1, hex("D1 D2"))), 1024);
        QCOMPARE(PLC_driver.writeList.size(), 1024);
        QCOMPARE(PLC_driver.writeList.at(0).data, hex("00 00"));
    }

    void overfullQueueReportsItsLength()
    {
        DriverFixture driver;
        queueMany(1030);
        QCOMPARE(queueWrite(writeVar(7, 5000, 1, hex("D1 D2"))), 1030);
        QCOMPARE(PLC_driver.writeList.size(), 1030);
    }

    void queuedWriteIsACopyAndIsNotCutYet()
    {
        DriverFixture driver;
        RW_VAR var = writeVar(8, 250, 10, counted(1, 20));
        QCOMPARE(AddListWriteVar(&var, 0), 1);
        var.address = 0;
        var.data.clear();
        QCOMPARE(summary(PLC_driver.writeList), QStringLiteral("8/250/10@1"));
        QCOMPARE(PLC_driver.writeList.first().data.size(), 20);
    }

    void withoutRecordNothingIsQueued()
    {
        DriverFixture driver;
        queueAbc();
        QCOMPARE(AddListWriteVar(nullptr, 0), 0);
        QCOMPARE(AddListWriteVar(nullptr, 1), 0);
        QCOMPARE(PLC_driver.writeList.size(), 3);
    }

    void queueingWaitsForTheListLock_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("merging") << 0;
        QTest::newRow("appending") << 1;
    }
    void queueingWaitsForTheListLock()
    {
        QFETCH(int, mode);
        DriverFixture driver;
        QMutexLocker locker(&PLC_driver.listMutex);
        int length = -1;
        Elsewhere call([&] { length = queueWrite(writeVar(7, 1, 1, hex("01")), mode); });
        const bool waited = call.isHeldUp();
        const int before = waited ? PLC_driver.writeList.size() : -1;
        locker.unlock();
        call.finish();
        QVERIFY(waited);
        QCOMPARE(before, 0);
        QCOMPARE(length, 1);
        QVERIFY(isFree(PLC_driver.listMutex));
    }

    void writesAreCutAtTheBoundaryOfTheirCode_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("count");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("expected");
        for (int code : {8, 9}) {
            QTest::addRow("%d, crossing 256", code)
                << code << 250 << 10 << counted(1, 20) << "250/6:0102030405060708090a0b0c 256/4:0d0e0f1011121314";
            QTest::addRow("%d, up to 256", code)
                << code << 250 << 6 << counted(1, 12) << "250/6:0102030405060708090a0b0c";
            QTest::addRow("%d, from 256", code) << code << 256 << 2 << counted(1, 4) << "256/2:01020304";
            QTest::addRow("%d, one each", code) << code << 255 << 2 << counted(1, 4) << "255/1:0102 256/1:0304";
            QTest::addRow("%d, at 56", code) << code << 55 << 2 << counted(1, 4) << "55/2:01020304";
        }
        QTest::newRow("13, crossing 56")
            << 13 << 50 << 10 << counted(1, 40)
            << "50/6:0102030405060708090a0b0c0d0e0f101112131415161718 56/4:191a1b1c1d1e1f202122232425262728";
        QTest::newRow("13, up to 56") << 13 << 54 << 2 << counted(1, 8) << "54/2:0102030405060708";
        QTest::newRow("13, from 56") << 13 << 56 << 2 << counted(1, 8) << "56/2:0102030405060708";
        QTest::newRow("13, one each") << 13 << 55 << 2 << counted(1, 8) << "55/1:01020304 56/1:05060708";
        QTest::newRow("13, at 256") << 13 << 255 << 2 << counted(1, 8) << "255/2:0102030405060708";
        for (int code :
             {-1, 0, 1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 14, 15, 16, 17, 18, 55, 100, 101, 102, 103, INT_MAX, INT_MIN}) {
            for (int address : {-1, 55, 255, 1023, 2047}) {
                QTest::addRow("%d is never cut, at %d", code, address)
                    << code << address << 2 << counted(1, 4) << QStringLiteral("%1/2:01020304").arg(address);
            }
        }
        QTest::newRow("words are cut once") << 8 << 255 << 300 << counted(1, 4) << "255/1:0102 256/299:0304";
        QTest::newRow("too few bytes") << 8 << 250 << 10 << counted(1, 5) << "250/6:0102030405 256/4:";
        QTest::newRow("no bytes") << 13 << 50 << 10 << QByteArray() << "50/6: 56/4:";
        QTest::newRow("spare bytes go along with the end")
            << 9 << 255 << 2 << counted(1, 7) << "255/1:0102 256/1:0304050607";
        QTest::newRow("below 0") << 8 << -1 << 258 << counted(1, 4) << "-1/257:01020304 256/1:";
        QTest::newRow("largest count") << 8 << 255 << INT_MAX << counted(1, 4) << "255/1:0102 256/2147483646:0304";
        QTest::newRow("more bytes than an int counts")
            << 13 << -2147483000 << INT_MAX << counted(1, 8) << "-2147483000/2147483056:0102030405060708 56/591:";
        QTest::newRow("more bytes than an int counts, words")
            << 8 << -2147483000 << INT_MAX << counted(1, 8) << "-2147483000/2147483256:0102030405060708 256/391:";
        QTest::newRow("last address") << 8 << INT_MAX << 2 << counted(1, 4) << "2147483647/2:01020304";
        QTest::newRow("smallest address")
            << 13 << INT_MIN << INT_MAX << counted(1, 4) << "-2147483648/2147483647:01020304";
        QTest::newRow("negative count") << 8 << 250 << -3 << counted(1, 4) << "250/-3:01020304";
        QTest::newRow("smallest count") << 13 << 50 << INT_MIN << counted(1, 4) << "50/-2147483648:01020304";
        QTest::newRow("negative count behind the boundary") << 8 << 300 << -100 << counted(1, 4) << "300/-100:01020304";
    }
    void writesAreCutAtTheBoundaryOfTheirCode()
    {
        QFETCH(int, devType);
        QFETCH(int, address);
        QFETCH(int, count);
        QFETCH(QByteArray, data);
        QList<RW_VAR> list{writeVar(devType, address, count, data)};
        QCOMPARE(plcWriteTypeShort(list), 1);
        QTEST(blocks(list), "expected");
        for (const RW_VAR &var : list)
            QCOMPARE(var.devType, devType);
    }

    void cutKeepsTheOrderOfTheQueue()
    {
        QList<RW_VAR> list{writeVar(8, 255, 2, counted(1, 4)), writeVar(7, 255, 2, counted(1, 4)),
                           writeVar(13, 55, 2, counted(1, 8)), writeVar(9, 10, 1, counted(1, 2))};
        QCOMPARE(plcWriteTypeShort(list), 1);
        QCOMPARE(summary(list), QStringLiteral("8/255/1@1 8/256/1@1 7/255/2@1 13/55/1@1 13/56/1@1 9/10/1@1"));
        QList<RW_VAR> none;
        QCOMPARE(plcWriteTypeShort(none), 1);
        QCOMPARE(none.size(), 0);
    }

    void bothHalvesCarryEveryField()
    {
        QList<RW_VAR> list{markedVar(8, 250, 10, counted(1, 20))};
        plcWriteTypeShort(list);
        QCOMPARE(summary(list), QStringLiteral("8/250/6@4 8/256/4@4"));
        QCOMPARE(marks(list.at(0)),
                 QStringLiteral("2 3 1 5 6 8 name text 8 4 -1 9 01 02 03 04 05 06 07 08 09 0A 0B 0C"));
        QCOMPARE(marks(list.at(1)), QStringLiteral("2 3 1 5 6 8 name text 8 4 -1 9 0D 0E 0F 10 11 12 13 14"));
    }

    void oneWriteIsCutAtAGivenBoundary_data()
    {
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("boundary");
        QTest::addColumn<QString>("expected");
        QTest::newRow("unit 1: four bytes an element, not bits")
            << 1 << 11 << "1/1:aa 10/1:01020304 11/2:05060708090a0b0c";
        QTest::newRow("unit 2: two bytes an element") << 2 << 11 << "1/1:aa 10/1:0102 11/2:030405060708090a0b0c";
        QTest::newRow("unit 1, up to it") << 1 << 13 << "1/1:aa 10/3:0102030405060708090a0b0c";
        QTest::newRow("unit 2, from it") << 2 << 10 << "1/1:aa 10/3:0102030405060708090a0b0c";
        QTest::newRow("unit 0") << 0 << 11 << "1/1:aa 10/3:0102030405060708090a0b0c";
        QTest::newRow("unit 3") << 3 << 11 << "1/1:aa 10/3:0102030405060708090a0b0c";
    }
    void oneWriteIsCutAtAGivenBoundary()
    {
        QFETCH(int, unit);
        QFETCH(int, boundary);
        RW_VAR entry = writeVar(7, 10, 3, counted(1, 12));
        QList<RW_VAR> out{writeVar(7, 1, 1, hex("AA"))};
        QCOMPARE(plcTypeWriteShortAdd(entry, out, boundary, unit), 1);
        QTEST(blocks(out), "expected");
    }
};

QTEST_APPLESS_MAIN(TstWriteList)
#include "tst_write_list.moc"
