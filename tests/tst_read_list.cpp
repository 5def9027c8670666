/// The steps of list building: cutting to length, sorting, merging, cutting at boundaries.
#include "varlist/read_list.h"

#include "tests/elsewhere.h"
#include "tests/list_fixture.h"

#include <QtCore/QMap>
#include <QtCore/QMutexLocker>
#include <QtCore/QPair>

#include <algorithm>
#include <climits>

namespace {

struct Block {
    int address, count, mark = 0;
};

/// Variables that pieces come from, one a mark: their name is the mark's number.
const VARDESC *sourceOf(int devType, int mark)
{
    static QMap<QPair<int, int>, VARDESC> sources;
    VARDESC &source = sources[qMakePair(devType, mark)];
    source.devType = static_cast<unsigned char>(devType);
    source.nameText = mark != 0 ? QString::number(mark) : QString();
    return &source;
}

ReadPiece piece(int devType, const Block &block)
{
    return {block.address, block.count, sourceOf(devType, block.mark)};
}

ReadGroup pieces(int devType, const QList<Block> &list)
{
    ReadGroup group;
    for (const Block &block : list)
        group.push_back(piece(devType, block));
    return group;
}

/// "address/count", with "*mark" behind it when there is one.
QString blockText(int address, int count, const QString &mark)
{
    const QString text = QStringLiteral("%1/%2").arg(address).arg(count);
    return mark.isEmpty() ? text : text + QLatin1Char('*') + mark;
}

QString blocks(const ReadGroup &group)
{
    QStringList entries;
    for (const ReadPiece &piece : group)
        entries << blockText(piece.address, piece.count, piece.source->nameText);
    return entries.join(QLatin1Char(' '));
}

QString blocks(const QList<RW_VAR> &list)
{
    QStringList entries;
    for (const RW_VAR &var : list)
        entries << blockText(var.address, var.count, var.nameText);
    return entries.join(QLatin1Char(' '));
}

QList<RW_VAR> entries(int devType, std::initializer_list<Block> list)
{
    QList<RW_VAR> result;
    for (const Block &block : list) {
        result << readVar(devType, block.address, block.count);
        result.last().nameText = sourceOf(devType, block.mark)->nameText;
    }
    return result;
}

} // namespace

Q_DECLARE_METATYPE(QList<Block>)

class TstReadList : public QObject {
    Q_OBJECT

private slots:
    void addListReadVarAppendsTheRecordAsItIs()
    {
        DriverFixture driver;
        RW_VAR var = markedVar(55, -7, 1000, hex("0A 0B"));
        QCOMPARE(AddListReadVar(&var), 1);
        QCOMPARE(AddListReadVar(&var), 2);
        var.address = 1;
        QCOMPARE(blocks(PLC_driver.readList), QStringLiteral("-7/1000*name -7/1000*name"));
        QCOMPARE(marks(PLC_driver.readList.at(1)), QStringLiteral("2 3 1 5 6 8 name text 55 4 -1 9 0A 0B"));
    }

    void addListReadVarTakesNoLock()
    {
        DriverFixture driver;
        RW_VAR var = readVar(7, 1, 1);
        QMutexLocker locker(&PLC_driver.listMutex);
        int length = -1;
        Elsewhere call([&] { length = AddListReadVar(&var); });
        call.finish();
        locker.unlock();
        QCOMPARE(length, 1);
    }

    void addListReadVarWithoutRecordAddsNothing()
    {
        DriverFixture driver;
        QCOMPARE(AddListReadVar(nullptr), 0);
        QCOMPARE(PLC_driver.readList.size(), 0);
    }

    void whetherGroupCutsToLength_data()
    {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("maxLen");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("shorter") << 31 << 32 << 300 << 31 << "300/31";
        QTest::newRow("just as long") << 32 << 32 << 300 << 32 << "300/32";
        QTest::newRow("one longer") << 33 << 32 << 300 << 33 << "300/32 332/1";
        QTest::newRow("twice as long") << 64 << 32 << 300 << 64 << "300/32 332/32";
        QTest::newRow("three and a rest") << 100 << 32 << 300 << 100 << "300/32 332/32 364/32 396/4";
        QTest::newRow("uncut keeps the count, not the total") << 20 << 32 << 0 << 2 << "0/2";
        QTest::newRow("cut follows the total, not the count") << 40 << 32 << 0 << 3 << "0/32 32/8";
        QTest::newRow("no limit: one piece") << 5 << 0 << 7 << 2 << "7/5";
        QTest::newRow("no limit, no total") << 0 << 0 << 7 << 0 << "7/0";
        QTest::newRow("nothing") << 0 << 32 << 7 << 0 << "7/0";
        QTest::newRow("negative total") << -3 << 32 << 7 << -3 << "7/-3";
        QTest::newRow("smallest total") << INT_MIN << 32 << 7 << INT_MIN << "7/-2147483648";
        QTest::newRow("limit -1") << 5 << -1 << 7 << 5 << "";
        QTest::newRow("limit -1, above the total") << -5 << -1 << 7 << -5 << "";
        QTest::newRow("limit -2") << 5 << -2 << 7 << 5 << "";
        QTest::newRow("limit -10, longer than the total") << 5 << -10 << 7 << 5 << "";
        QTest::newRow("smallest limit") << 5 << INT_MIN << 7 << 5 << "";
        QTest::newRow("largest total and limit") << INT_MAX << INT_MAX << 7 << INT_MAX << "7/2147483647";
        QTest::newRow("one below the largest") << INT_MAX << INT_MAX - 1 << 0 << 0 << "0/2147483646 2147483646/1";
        QTest::newRow("no piece beyond the last int")
            << 96 << 32 << INT_MAX - 40 << 96 << "2147483607/32 2147483639/32";
        QTest::newRow("negative address") << 40 << 32 << -10 << 40 << "-10/32 22/8";
    }
    void whetherGroupCutsToLength()
    {
        QFETCH(int, total);
        QFETCH(int, maxLen);
        QFETCH(int, address);
        QFETCH(int, count);
        const ReadPiece entry = piece(8, {address, count});
        ReadGroup group;
        WhetherGroup(total, maxLen, &entry, &group);
        QTEST(blocks(group), "expected");
    }

    void whetherGroupAppendsPiecesOfOneVariableBehindTheOthers()
    {
        const ReadPiece entry = piece(8, {300, 40, 3});
        ReadGroup group = pieces(8, {{1, 1}});
        WhetherGroup(40, 32, &entry, &group);
        QCOMPARE(blocks(group), QStringLiteral("1/1 300/32*3 332/8*3"));
        QCOMPARE(group.at(2).source, entry.source);
    }

    void whetherGroupIsBounded()
    {
        const ReadPiece entry = piece(8, {0, 0});
        ReadGroup group;
        WhetherGroup(INT_MAX, 1, &entry, &group);
        QCOMPARE(group.size(), size_t(1048576));
        QCOMPARE(group.at(1000).address, 1000);
    }

    void whetherGroupMakesNoMoreThanThereIsRoomFor_data()
    {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("room");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole, room for one") << 5 << 1 << "7/5";
        QTest::newRow("whole, no room") << 5 << 0 << "";
        QTest::newRow("whole, less than none") << 5 << -1 << "";
        QTest::newRow("three pieces, room for two") << 70 << 2 << "7/32 39/32";
        QTest::newRow("three pieces, room for three") << 70 << 3 << "7/32 39/32 71/6";
        QTest::newRow("three pieces, no room") << 70 << 0 << "";
        QTest::newRow("three pieces, less than none") << 70 << -1 << "";
    }
    void whetherGroupMakesNoMoreThanThereIsRoomFor()
    {
        QFETCH(int, total);
        QFETCH(int, room);
        const ReadPiece entry = piece(8, {7, total});
        ReadGroup group;
        WhetherGroup(total, 32, &entry, &group, room);
        QTEST(blocks(group), "expected");
    }

    void sortIsAscendingAndStable_data()
    {
        QTest::addColumn<QList<Block>>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("none") << QList<Block>{} << "";
        QTest::newRow("one") << QList<Block>{{5, 1, 1}} << "5/1*1";
        QTest::newRow("two") << QList<Block>{{5, 1, 1}, {4, 1, 2}} << "4/1*2 5/1*1";
        QTest::newRow("falling") << QList<Block>{{9, 1, 1}, {7, 2, 2}, {5, 3, 3}, {3, 4, 4}}
                                 << "3/4*4 5/3*3 7/2*2 9/1*1";
        QTest::newRow("equal addresses keep their order, whatever their counts")
            << QList<Block>{{5, 9, 1}, {5, 1, 2}, {3, 4, 3}, {5, 5, 4}, {3, 1, 5}} << "3/4*3 3/1*5 5/9*1 5/1*2 5/5*4";
        QTest::newRow("ends of the int range") << QList<Block>{{INT_MAX, 1, 1}, {0, 1, 2}, {INT_MIN, 1, 3}, {-1, 1, 4}}
                                               << "-2147483648/1*3 -1/1*4 0/1*2 2147483647/1*1";
    }
    void sortIsAscendingAndStable()
    {
        QFETCH(QList<Block>, before);
        ReadGroup group = pieces(8, before);
        Bubble_Sort(&group);
        QTEST(blocks(group), "after");
    }

    void longGroupsAreSortedToo_data()
    {
        QTest::addColumn<int>("entries");
        QTest::addColumn<int>("step");
        for (int entries : {100, 127, 128, 129, 1000, 5000}) {
            for (int step : {-1, 37, 1 << 9, 77777, 1 << 20, INT_MAX})
                QTest::addRow("%d entries, steps of %d", entries, step) << entries << step;
        }
    }
    // The count numbers the entries, so that the order of equal addresses shows.
    void longGroupsAreSortedToo()
    {
        QFETCH(int, entries);
        QFETCH(int, step);
        ReadGroup group;
        for (int i = 0; i < entries; ++i)
            group.push_back(piece(8, {int(unsigned(i / 2 * 61 % 97) * unsigned(step)), i}));
        ReadGroup expected = group;
        std::stable_sort(expected.begin(), expected.end(),
                         [](const ReadPiece &left, const ReadPiece &right) { return left.address < right.address; });
        Bubble_Sort(&group);
        QCOMPARE(blocks(group), blocks(expected));
    }

    void wordEntriesMerge_data()
    {
        QTest::addColumn<QList<Block>>("group");
        QTest::addColumn<int>("maxLen");
        QTest::addColumn<QString>("expected");
        QTest::newRow("none") << QList<Block>{} << 32 << "";
        QTest::newRow("one") << QList<Block>{{10, 2}} << 32 << "10/2";
        QTest::newRow("one longer than a block stays whole") << QList<Block>{{10, 200}} << 32 << "10/200";
        QTest::newRow("a gap is read along") << QList<Block>{{10, 2}, {20, 3}} << 32 << "10/13";
        QTest::newRow("span as long as a block") << QList<Block>{{10, 2}, {20, 3}} << 13 << "10/13";
        QTest::newRow("span one too long") << QList<Block>{{10, 2}, {20, 3}} << 12 << "10/2 20/3";
        QTest::newRow("identical") << QList<Block>{{10, 2, 1}, {10, 2, 2}} << 32 << "10/2*1";
        QTest::newRow("inside") << QList<Block>{{10, 5}, {11, 2}} << 32 << "10/5";
        QTest::newRow("inside, same end") << QList<Block>{{10, 5}, {14, 1}} << 32 << "10/5";
        QTest::newRow("overlapping") << QList<Block>{{10, 5}, {14, 2}} << 32 << "10/6";
        QTest::newRow("overlapping, span one too long") << QList<Block>{{10, 5}, {14, 2}} << 5 << "10/5 14/2";
        QTest::newRow("inside a block that is too long") << QList<Block>{{10, 200}, {11, 100}} << 32 << "10/200";
        QTest::newRow("inside a block that has grown") << QList<Block>{{10, 1}, {11, 9}, {12, 1}} << 32 << "10/10";
        QTest::newRow("a negative count behind a block draws it in") << QList<Block>{{10, 3}, {13, -1}} << 32 << "10/2";
        QTest::newRow("the last block goes on growing")
            << QList<Block>{{0, 1}, {40, 1}, {50, 1}, {71, 1}, {72, 1}} << 32 << "0/1 40/32 72/1";
        QTest::newRow("past the last int") << QList<Block>{{INT_MAX - 7, 5}, {INT_MAX, 5}} << 32 << "2147483640/12";
        QTest::newRow("span beyond an int") << QList<Block>{{-10, 1}, {INT_MAX, 1}} << INT_MAX << "-10/1 2147483647/1";
        QTest::newRow("inside a block that ends beyond an int")
            << QList<Block>{{5, INT_MAX}, {INT_MAX, 5}} << 32 << "5/2147483647";
    }
    void wordEntriesMerge()
    {
        QFETCH(QList<Block>, group);
        QFETCH(int, maxLen);
        DriverFixture driver;
        ReadGroup sorted = pieces(8, group);
        QMutexLocker locker(&PLC_driver.listMutex);
        const int index = WordVarReCreat(&sorted, maxLen, 0);
        QTEST(blocks(PLC_driver.readList), "expected");
        QCOMPARE(index, PLC_driver.readList.size());
    }

    void bitEntriesMergeIntoBytes_data()
    {
        QTest::addColumn<QList<Block>>("group");
        QTest::addColumn<int>("maxBits");
        QTest::addColumn<QString>("expected");
        QTest::newRow("none") << QList<Block>{} << 256 << "";
        QTest::newRow("rounded down and up") << QList<Block>{{13, 5}} << 256 << "8/2";
        QTest::newRow("just a byte") << QList<Block>{{8, 8}} << 256 << "8/1";
        QTest::newRow("last bit of a byte and the next") << QList<Block>{{7, 2}} << 256 << "0/2";
        QTest::newRow("5 count 3 and 13 count 1") << QList<Block>{{5, 3}, {13, 1}} << 256 << "0/2";
        QTest::newRow("inside the rounded block") << QList<Block>{{5, 1, 1}, {6, 2, 2}} << 256 << "0/1*1";
        QTest::newRow("one bit beyond the rounded block") << QList<Block>{{5, 1}, {6, 3}} << 256 << "0/2";
        QTest::newRow("span counts from the rounded address") << QList<Block>{{5, 1}, {12, 2}} << 13 << "0/1 8/1";
        QTest::newRow("span as long as a block") << QList<Block>{{5, 1}, {12, 2}} << 14 << "0/2";
        QTest::newRow("four bytes counted as bits") << QList<Block>{{0, 4}} << 256 << "0/1";
        QTest::newRow("inside a block that has grown") << QList<Block>{{16, 1}, {17, 30}, {18, 1}} << 256 << "16/4";
        QTest::newRow("at the end of a block that has grown")
            << QList<Block>{{16, 1}, {17, 30}, {40, 8}} << 256 << "16/4";
        QTest::newRow("truncates toward zero") << QList<Block>{{5, -14}} << 256 << "0/0";
        QTest::newRow("negative") << QList<Block>{{5, -20}} << 256 << "0/-1";
        QTest::newRow("past the last int") << QList<Block>{{INT_MAX, 3}} << 256 << "2147483640/2";
        QTest::newRow("largest count") << QList<Block>{{5, INT_MAX}} << INT_MAX << "0/268435457";
        QTest::newRow("inside a block that ends beyond an int")
            << QList<Block>{{5, INT_MAX}, {INT_MAX, 5}} << 256 << "0/268435457";
        QTest::newRow("span beyond an int") << QList<Block>{{0, 1}, {INT_MAX, 2}} << INT_MAX << "0/1 2147483640/2";
    }
    void bitEntriesMergeIntoBytes()
    {
        QFETCH(QList<Block>, group);
        QFETCH(int, maxBits);
        DriverFixture driver;
        ReadGroup sorted = pieces(2, group);
        QMutexLocker locker(&PLC_driver.listMutex);
        const int index = BitVarReCreat(&sorted, maxBits, 0);
        QTEST(blocks(PLC_driver.readList), "expected");
        QCOMPARE(index, PLC_driver.readList.size());
    }

    void mergedBlocksFollowWhatIsInTheList()
    {
        DriverFixture driver;
        PLC_driver.readList = entries(2, {{0, 1}});
        ReadGroup words = pieces(8, {{10, 2, 5}, {20, 3, 6}}), bits = pieces(3, {{5, 3, 7}, {13, 1, 8}}), none;
        QMutexLocker locker(&PLC_driver.listMutex);
        QCOMPARE(WordVarReCreat(&words, 32, 1), 2);
        QCOMPARE(WordVarReCreat(&none, 32, 2), 2);
        QCOMPARE(BitVarReCreat(&bits, 256, 2), 3);
        QCOMPARE(BitVarReCreat(&none, 256, 3), 3);
        QCOMPARE(blocks(PLC_driver.readList), QStringLiteral("0/1 10/13*5 0/2*7"));
    }

    void readEntriesAreCutAtTheBoundaryOfTheirCode_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QList<Block>>("list");
        QTest::addColumn<QString>("expected");
        QTest::newRow("2") << 2 << QList<Block>{{2040, 1}, {2040, 2}, {2048, 2}} << "2040/1 2040/1 2048/1 2048/2";
        QTest::newRow("2, other boundaries") << 2 << QList<Block>{{248, 2}, {1016, 2}} << "248/2 1016/2";
        for (int code : {3, 5, 6}) {
            QTest::addRow("%d", code) << code << QList<Block>{{248, 1}, {248, 2}, {256, 2}}
                                      << "248/1 248/1 256/1 256/2";
            QTest::addRow("%d, other boundaries", code)
                << code << QList<Block>{{1016, 2}, {2040, 2}} << "1016/2 2040/2";
        }
        QTest::newRow("4") << 4 << QList<Block>{{1016, 1}, {1016, 2}, {1024, 2}} << "1016/1 1016/1 1024/1 1024/2";
        QTest::newRow("4, other boundaries") << 4 << QList<Block>{{248, 2}, {2040, 2}} << "248/2 2040/2";
        for (int code : {8, 9}) {
            QTest::addRow("%d", code) << code << QList<Block>{{250, 6}, {250, 10}, {256, 4}, {255, 2}}
                                      << "250/6 250/6 256/4 256/4 255/1 256/1";
            QTest::addRow("%d, another boundary", code) << code << QList<Block>{{50, 10}} << "50/10";
        }
        QTest::newRow("13") << 13 << QList<Block>{{50, 6}, {50, 10}, {56, 4}, {55, 2}}
                            << "50/6 50/6 56/4 56/4 55/1 56/1";
        QTest::newRow("13, another boundary") << 13 << QList<Block>{{250, 10}} << "250/10";
        for (int code : {-1, 0, 1, 7, 10, 11, 12, 14, 15, 16, 17, 18, 55, 99, 100, 101, 102, 103, INT_MAX, INT_MIN}) {
            QTest::addRow("%d is never cut", code)
                << code << QList<Block>{{-5, 10}, {50, 10}, {250, 10}, {1016, 10}, {2040, 10}}
                << "-5/10 50/10 250/10 1016/10 2040/10";
        }
        QTest::newRow("words are cut once") << 8 << QList<Block>{{0, 1000}} << "0/256 256/744";
        QTest::newRow("bits are cut once") << 2 << QList<Block>{{0, 1024}} << "0/256 2048/768";
        QTest::newRow("bits at an odd address") << 2 << QList<Block>{{2045, 2}} << "2045/0 2048/2";
        QTest::newRow("bits below 0") << 2 << QList<Block>{{-8, 300}} << "-8/257 2048/43";
        QTest::newRow("bits below 0, odd address") << 3 << QList<Block>{{-3, 34}} << "-3/32 256/2";
        QTest::newRow("words below 0") << 8 << QList<Block>{{-10, 300}} << "-10/266 256/34";
        QTest::newRow("largest count of words") << 8 << QList<Block>{{100, INT_MAX}} << "100/156 256/2147483491";
        QTest::newRow("largest count of bytes") << 2 << QList<Block>{{0, INT_MAX}} << "0/256 2048/2147483391";
        QTest::newRow("from the smallest bit on") << 2 << QList<Block>{{INT_MIN, 268435712}, {INT_MIN, 268435713}}
                                                  << "-2147483648/268435712 -2147483648/268435712 2048/1";
        QTest::newRow("words from the smallest on")
            << 8 << QList<Block>{{INT_MIN, INT_MAX}} << "-2147483648/2147483647";
        QTest::newRow("past the last int") << 8 << QList<Block>{{INT_MAX, 5}} << "2147483647/5";
        QTest::newRow("bits past the last int") << 2 << QList<Block>{{INT_MAX, 5}} << "2147483647/5";
        QTest::newRow("negative counts") << 8 << QList<Block>{{250, -3}, {300, -100}, {250, INT_MIN}}
                                         << "250/-3 300/-100 250/-2147483648";
        QTest::newRow("negative counts of bytes")
            << 2 << QList<Block>{{2040, -5}, {2056, -9}, {0, INT_MIN}} << "2040/-5 2056/-9 0/-2147483648";
    }
    void readEntriesAreCutAtTheBoundaryOfTheirCode()
    {
        QFETCH(int, devType);
        QFETCH(QList<Block>, list);
        QList<RW_VAR> vars;
        for (const Block &block : list)
            vars += entries(devType, {block});
        QCOMPARE(plcTypeShort(vars), 1);
        QTEST(blocks(vars), "expected");
        for (const RW_VAR &var : vars)
            QCOMPARE(var.devType, devType);
    }

    void cutKeepsTheOrderOfAMixedList()
    {
        QList<RW_VAR> list{readVar(9, 255, 2), readVar(7, 255, 2), readVar(3, 248, 2), readVar(13, 55, 2),
                           readVar(2, 0, 1)};
        QCOMPARE(plcTypeShort(list), 1);
        QCOMPARE(summary(list), QStringLiteral("9/255/1@1 9/256/1@1 7/255/2@1 3/248/1@1 3/256/1@1 13/55/1@1 13/56/1@1 "
                                               "2/0/1@1"));
        QList<RW_VAR> none;
        QCOMPARE(plcTypeShort(none), 1);
        QCOMPARE(none.size(), 0);
    }

    void bothHalvesCarryEveryField()
    {
        RW_VAR words = markedVar(8, 250, 10, hex("0A 0B")), bits = markedVar(3, 248, 2, hex("0A 0B"));
        QList<RW_VAR> list{words, bits};
        plcTypeShort(list);
        QCOMPARE(blocks(list), QStringLiteral("250/6*name 256/4*name 248/1*name 256/1*name"));
        for (int i = 0; i < list.size(); ++i) {
            QCOMPARE(marks(list.at(i)), i < 2 ? QStringLiteral("2 3 1 5 6 8 name text 8 4 -1 9 0A 0B")
                                              : QStringLiteral("2 3 1 5 6 8 name text 3 4 -1 9 0A 0B"));
        }
    }

    void oneEntryIsCutAtAGivenBoundary_data()
    {
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("boundary");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("expected");
        QTest::newRow("bytes of bits, crossing") << 1 << 120 << 4 << "1/1 96/3 120/1";
        QTest::newRow("bytes of bits, up to it") << 1 << 128 << 4 << "1/1 96/4";
        QTest::newRow("bytes of bits, odd boundary") << 1 << 115 << 4 << "1/1 96/2 115/2";
        QTest::newRow("words, crossing") << 2 << 98 << 4 << "1/1 96/2 98/2";
        QTest::newRow("words, up to it") << 2 << 100 << 4 << "1/1 96/4";
        QTest::newRow("words, behind it") << 2 << 96 << 4 << "1/1 96/4";
        QTest::newRow("unit 0") << 0 << 98 << 4 << "1/1 96/4";
        QTest::newRow("unit 3") << 3 << 98 << 4 << "1/1 96/4";
    }
    void oneEntryIsCutAtAGivenBoundary()
    {
        QFETCH(int, unit);
        QFETCH(int, boundary);
        QFETCH(int, count);
        RW_VAR entry = readVar(7, 96, count);
        QList<RW_VAR> out = entries(7, {{1, 1}});
        QCOMPARE(plcTypeShortAdd(entry, out, boundary, unit), 1);
        QTEST(blocks(out), "expected");
    }
};

QTEST_APPLESS_MAIN(TstReadList)
#include "tst_read_list.moc"
