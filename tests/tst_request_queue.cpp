/// Both queues against a plain reading of their rules that goes through the whole list each time, whoever changes them.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <algorithm>
#include <functional>
#include <random>

namespace {

/// "connectNo.varId code@station address/count=data" of each entry.
QString told(const QList<RW_VAR> &list)
{
    QStringList entries;
    for (const RW_VAR &var : list)
        entries += QStringLiteral("%1.%2 %3@%4 %5/%6=%7")
                       .arg(var.connectNo)
                       .arg(var.varId)
                       .arg(var.devType)
                       .arg(var.station)
                       .arg(var.address)
                       .arg(var.count)
                       .arg(QString::fromLatin1(var.data.toHex()));
    return entries.join(QLatin1Char('\n'));
}

bool isSameWrite(const RW_VAR &left, const RW_VAR &right)
{
    return left.station == right.station && left.devType == right.devType && left.address == right.address
           && left.count == right.count;
}

bool isSameRead(const RW_VAR &left, const RW_VAR &right)
{
    return isSameWrite(left, right) && left.connectNo == right.connectNo && left.varId == right.varId;
}

void addWrite(QList<RW_VAR> &list, const RW_VAR &var)
{
    for (int i = 1; i < list.size(); ++i) {
        if (isSameWrite(list.at(i), var)) {
            list[i] = var;
            return;
        }
    }
    if (list.size() < 1024)
        list += var;
}

void addRead(QList<RW_VAR> &list, const RW_VAR &var)
{
    const bool isQueued =
        std::any_of(list.constBegin(), list.constEnd(), [&](const RW_VAR &queued) { return isSameRead(queued, var); });
    if (!isQueued && list.size() < 1024)
        list += var;
}

/// Words of code 8 are cut at 256, with two bytes of data each where they are written.
void cut(QList<RW_VAR> &list)
{
    QList<RW_VAR> result;
    for (const RW_VAR &var : list) {
        RW_VAR head = var, tail = var;
        if (var.devType != 8 || var.address >= 256 || var.address + var.count <= 256) {
            result += var;
            continue;
        }
        head.count = 256 - var.address;
        head.data = var.data.left(2 * head.count);
        tail.address = 256;
        tail.count = var.count - head.count;
        tail.data = var.data.mid(2 * head.count);
        result << head << tail;
    }
    list = result;
}

/// Random uses of one queue, by the driver and from outside, each done to the reference as well.
class Game {
public:
    Game(unsigned seed, bool writes) : random(seed), writes(writes) {}

    void play(int moves)
    {
        for (int i = 0; i < moves; ++i) {
            const int kind = number(20);
            move(kind);
            QVERIFY2(told(queue()) == told(expected),
                     qPrintable(QStringLiteral("move %1 of kind %2\n%3\ninstead of\n%4")
                                    .arg(i)
                                    .arg(kind)
                                    .arg(told(queue()), told(expected))));
        }
    }

private:
    QList<RW_VAR> &queue() { return writes ? PLC_driver.writeList : PLC_driver.onceReadList; }
    int number(int below) { return int(random() % unsigned(below)); }

    /// Few enough different ones that they often meet.
    RW_VAR request()
    {
        RW_VAR var = readVar(number(3) == 0 ? 7 : 8, 250 + number(9), 1 + number(4), 1);
        var.connectNo = number(2);
        var.varId = number(2);
        var.addrText = QString::number(var.address);
        if (writes) {
            var.rwFlag = 1;
            for (int i = 0; i < 2 * var.count; ++i)
                var.data += static_cast<char>(number(256));
        }
        return var;
    }

    void move(int kind)
    {
        RW_VAR var = request();
        if (kind < 8)
            add(var);
        else if (kind < 10)
            addAsItIs(var);
        else if (kind < 14)
            answerHead();
        else
            changeFromOutside(kind, var);
    }

    void add(RW_VAR &var)
    {
        if (!writes) {
            addRead(expected, var);
            cut(expected);
            AddListOnceReadVar(&var, 0);
        } else if (number(2) == 0) {
            addWrite(expected, var);
            AddListWriteVar(&var, 0);
        } else {
            addWrite(expected, var);
            cut(expected);
            SetRegisterData(QString(), var.devType, var.addrText, 1, &var.data, var.count, var.connectNo, var.varId);
        }
    }

    void addAsItIs(RW_VAR &var)
    {
        expected += var;
        if (writes)
            AddListWriteVar(&var, 1);
        else
            AddListOnceReadVar(&var, 1);
    }

    void answerHead()
    {
        PLC_driver.writeStreak = PLC_driver.onceStreak = 0;
        if (expected.isEmpty())
            return;
        answerWell();
        expected.removeFirst();
    }

    void changeFromOutside(int kind, const RW_VAR &var)
    {
        const int place = expected.isEmpty() ? 0 : number(expected.size());
        const auto both = [&](const std::function<void(QList<RW_VAR> &)> &change) {
            change(expected);
            change(queue());
        };
        if (kind == 14)
            both([&](QList<RW_VAR> &list) { list.insert(place, var); });
        else if (kind == 15)
            kept = queue();
        else if (kind == 16 && number(8) == 0)
            both([](QList<RW_VAR> &list) { list.clear(); });
        else if (expected.isEmpty())
            return;
        else if (kind == 17)
            both([&](QList<RW_VAR> &list) { list.removeAt(place); });
        else if (kind == 18)
            both([&](QList<RW_VAR> &list) { list[place] = var; });
        else if (kind == 19)
            both([&](QList<RW_VAR> &list) { list.move(place, list.size() - 1); });
    }

    std::mt19937 random;
    const bool writes;
    QList<RW_VAR> expected;
    QList<RW_VAR> kept; ///< Shares the queue's memory, as a host's copy does.
};

void gameRows(unsigned firstSeed, unsigned lastSeed)
{
    QTest::addColumn<unsigned>("seed");
    QTest::addColumn<bool>("writes");
    for (unsigned seed = firstSeed; seed <= lastSeed; ++seed) {
        QTest::addRow("writes, seed %u", seed) << seed << true;
        QTest::addRow("one-shot reads, seed %u", seed) << seed << false;
    }
}

void playGame(int moves)
{
    QFETCH(unsigned, seed);
    QFETCH(bool, writes);
    DriverFixture driver;
    Game(seed, writes).play(moves);
}

QList<RW_VAR> fullQueue()
{
    QList<RW_VAR> list;
    for (int i = 0; i < 1024; ++i)
        list += wordWrite(i);
    return list;
}

} // namespace

typedef int RW_VAR::*RequestPart;
Q_DECLARE_METATYPE(RequestPart)

class TstRequestQueue : public QObject {
    Q_OBJECT

private slots:
    void queueIsWhatItsRulesMakeOfIt_data() { gameRows(1, 12); }
    void queueIsWhatItsRulesMakeOfIt() { playGame(400); }

    // Short enough to be run against each seeded fault of the driver.
    void queueIsWhatItsRulesMakeOfItInAShortGame_data() { gameRows(101, 104); }
    void queueIsWhatItsRulesMakeOfItInAShortGame() { playGame(60); }

    void fullQueueReplacesButDoesNotGrow()
    {
        DriverFixture driver;
        PLC_driver.writeList = fullQueue();
        RW_VAR known = wordWrite(5), fresh = wordWrite(5000);
        known.data = hex("12 34");
        QCOMPARE(AddListWriteVar(&known, 0), 1024);
        QCOMPARE(AddListWriteVar(&fresh, 0), 1024);
        QCOMPARE(toHex(PLC_driver.writeList.at(5).data), QStringLiteral("12 34"));
        // The head of a full queue is not compared, and what equals it has no room.
        RW_VAR head = wordWrite(0);
        head.data = hex("56 78");
        QCOMPARE(AddListWriteVar(&head, 0), 1024);
        QVERIFY(PLC_driver.writeList.at(0).data != head.data);
    }

    // The index, kept from use to use, must follow the entries to their new places.
    void entriesAreFoundBehindAnsweredOnes_data()
    {
        QTest::addColumn<bool>("writes");
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("answered");
        QTest::addColumn<bool>("looked");
        for (int before = 1; before <= 6; ++before) {
            for (int answered = 0; answered <= before; ++answered) {
                for (bool writes : {true, false}) {
                    for (bool looked : {true, false})
                        QTest::addRow("%s, %d of %d answered%s", writes ? "writes" : "one-shot reads", answered, before,
                                      looked ? ", each looked at before" : "")
                            << writes << before << answered << looked;
                }
            }
        }
    }
    void entriesAreFoundBehindAnsweredOnes()
    {
        QFETCH(bool, writes);
        QFETCH(int, before);
        QFETCH(int, answered);
        QFETCH(bool, looked);
        DriverFixture driver;
        const auto add = [writes](int address) {
            RW_VAR var = writes ? wordWrite(address) : readVar(7, address, 1);
            var.addrText = QString::number(address);
            return writes ? AddListWriteVar(&var, 0) : AddListOnceReadVar(&var, 0);
        };
        for (int address = 0; address < before; ++address)
            add(address);
        if (looked && before > 1)
            QCOMPARE(add(before - 1), before);
        for (int i = 0; i < answered; ++i) {
            PLC_driver.writeStreak = PLC_driver.onceStreak = 0;
            QCOMPARE(answerWell(), 1);
        }
        // Each that still waits, but for a write that has become the head, is found; what was answered is not.
        const int waiting = before - answered;
        for (int address = before - 1; address >= before - waiting + (writes ? 1 : 0); --address)
            QCOMPARE(add(address), waiting);
        for (int address = 0; address < answered; ++address)
            QCOMPARE(add(address), waiting + address + 1);
        // And once more, in places that the index has just learnt.
        for (int address = before - waiting + (writes ? 1 : 0); address < before; ++address)
            QCOMPARE(add(address), before);
        for (int address = waiting == 0 && writes ? 1 : 0; address < answered; ++address)
            QCOMPARE(add(address), before);
    }

    // A finished write waits uncut until the next value of a host is queued.
    void piecesOfALaterCutAreFound()
    {
        for (bool isLast : {true, false}) {
            DriverFixture driver;
            RW_VAR head = wordWrite(0), crossing = writeVar(8, 254, 4, QByteArray(8, 'a')), other = wordWrite(10);
            AddListWriteVar(&head, 0);
            AddListWriteVar(&crossing, 0);
            if (!isLast)
                AddListWriteVar(&other, 0);
            QByteArray value(2, 'b');
            SetRegisterData(QString(), 7, QStringLiteral("20"), 1, &value, 1, 0, 0);
            const int length = isLast ? 4 : 5;
            QCOMPARE(PLC_driver.writeList.size(), length);
            for (int address : {254, 256}) {
                RW_VAR piece = writeVar(8, address, 2, QByteArray(4, 'c'));
                QCOMPARE(AddListWriteVar(&piece, 0), length);
            }
            QCOMPARE(AddListWriteVar(&crossing, 0), length + 1);
        }
    }

    void entryThatHasBecomeTheHeadIsNotReplaced()
    {
        DriverFixture driver;
        for (int address : {1, 2, 3}) {
            RW_VAR var = wordWrite(address);
            AddListWriteVar(&var, 0);
        }
        answerWell();
        RW_VAR second = wordWrite(2);
        QCOMPARE(AddListWriteVar(&second, 0), 3);
        QCOMPARE(AddListWriteVar(&second, 0), 3);
    }

    // A key changed through a reference that is older than the last use, which the list itself cannot tell.
    void entryThatIsReplacedHasTheKey()
    {
        DriverFixture driver;
        PLC_driver.writeList = fullQueue().mid(0, 4);
        RW_VAR var = wordWrite(3);
        QCOMPARE(AddListWriteVar(&var, 0), 4);
        const_cast<RW_VAR &>(PLC_driver.writeList.at(2)).address = 77;
        RW_VAR old = wordWrite(2);
        QCOMPARE(AddListWriteVar(&old, 0), 5);
        QCOMPARE(PLC_driver.writeList.at(2).address, 77);
        QCOMPARE(PLC_driver.writeList.at(4).address, 2);
    }

    void eachPartOfTheKeyCounts_data()
    {
        QTest::addColumn<RequestPart>("part");
        QTest::addColumn<bool>("writes");
        QTest::addColumn<int>("change");
        const struct {
            const char *name;
            RequestPart part;
            bool alsoWrites;
        } parts[] = {{"station", &RW_VAR::station, true},      {"devType", &RW_VAR::devType, true},
                     {"address", &RW_VAR::address, true},      {"count", &RW_VAR::count, true},
                     {"connectNo", &RW_VAR::connectNo, false}, {"varId", &RW_VAR::varId, false}};
        for (const auto &part : parts) {
            for (int change : {-1, 1}) {
                QTest::addRow("one-shot reads, %s by %d", part.name, change) << part.part << false << change;
                if (part.alsoWrites)
                    QTest::addRow("writes, %s by %d", part.name, change) << part.part << true << change;
            }
        }
    }
    // Changed as above: the index still leads there, so the parts themselves must be compared.
    void eachPartOfTheKeyCounts()
    {
        QFETCH(RequestPart, part);
        QFETCH(bool, writes);
        QFETCH(int, change);
        DriverFixture driver;
        QList<RW_VAR> &list = writes ? PLC_driver.writeList : PLC_driver.onceReadList;
        const auto add = [writes](int address) {
            RW_VAR var = writes ? wordWrite(address, 5) : readVar(7, address, 1, 5);
            var.devType = 10;
            var.connectNo = var.varId = 5;
            var.addrText = QString::number(address);
            if (writes)
                AddListWriteVar(&var, 0);
            else
                AddListOnceReadVar(&var, 0);
        };
        for (int address : {10, 20, 30, 20})
            add(address);
        QCOMPARE(list.size(), 3);
        const_cast<RW_VAR &>(list.at(1)).*part += change;
        add(20);
        QCOMPARE(list.size(), 4);
        QCOMPARE(list.at(3).address, 20);
    }

    void headRemovedUnderAChangedKeyIsForgotten()
    {
        DriverFixture driver;
        for (int address : {1, 2, 3, 4}) {
            RW_VAR var = wordWrite(address);
            AddListWriteVar(&var, 0);
        }
        const_cast<RW_VAR &>(PLC_driver.writeList.at(1)).address = 9;
        answerWell();
        answerWell();
        RW_VAR var = wordWrite(2);
        QCOMPARE(AddListWriteVar(&var, 0), 3);
        QCOMPARE(AddListWriteVar(&var, 0), 3);
    }
};

QTEST_APPLESS_MAIN(TstRequestQueue)

#include "tst_request_queue.moc"
