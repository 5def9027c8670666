/// A cycle that has settled: nothing is allocated for it, and the list goes round for ever.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <algorithm>
#include <atomic>

// Counts what the whole process allocates, Qt included. The sanitizers bring an allocator of their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define COUNTS_ALLOCATIONS 0
#else
#define COUNTS_ALLOCATIONS 1
#endif

namespace {

std::atomic<int> allocations{0};

}

#if COUNTS_ALLOCATIONS
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

void *malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    ++allocations;
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    ++allocations;
    return __libc_realloc(block, size);
}
}
#endif

namespace {

/// A list of reads of one word each, and a good reply to each.
struct Cycle {
    DriverFixture driver;
    QList<QByteArray> replies;

    Cycle(int entries, int stationScope, int remoteMode)
    {
        driver.settings.stationScope = stationScope;
        driver.settings.remoteMode = remoteMode;
        driver.settings.ownStation = remoteMode != 0 ? 2 : 1;
        for (RW_VAR var : wordReads(0, entries)) {
            var.addrText = QString::number(var.address);
            var.subIndex = -1;
            AddListReadVar(&var);
        }
        for (int i = 0; i < entries; ++i)
            replies += goodReplyTo(*ComCommunication());
    }
    void turn()
    {
        for (QByteArray &reply : replies)
            turnOnce(reply);
    }
    static void turnOnce(QByteArray &reply)
    {
        ComCommunication();
        DataCom(&reply, reply.size());
    }
};

QList<int> addresses()
{
    QList<int> result;
    for (const RW_VAR &var : PLC_driver.readList)
        result += var.address;
    return result;
}

} // namespace

class TstSteadyCycle : public QObject {
    Q_OBJECT

private slots:
    void steadyTransactionAllocatesNothing_data()
    {
        QTest::addColumn<int>("entries");
        QTest::addColumn<int>("stationScope");
        QTest::addColumn<int>("remoteMode");
        for (int entries : {1, 2, 3, 100}) {
            QTest::addRow("%d reads, one PLC", entries) << entries << 0 << 0;
            QTest::addRow("%d reads, several PLCs", entries) << entries << 1 << 0;
            QTest::addRow("%d reads, remote, one PLC", entries) << entries << 0 << 1;
            QTest::addRow("%d reads, remote, several PLCs", entries) << entries << 1 << 1;
        }
    }
    void steadyTransactionAllocatesNothing()
    {
        QFETCH(int, entries);
        QFETCH(int, stationScope);
        QFETCH(int, remoteMode);
        Cycle cycle(entries, stationScope, remoteMode);
        for (int i = 0; i < 4; ++i)
            cycle.turn();
        const int before = allocations;
        for (int i = 0; i < 25; ++i)
            cycle.turn();
        QCOMPARE(int(allocations) - before, 0);
        QCOMPARE(PLC_driver.result.resultCode, 1);
    }

    void allocationsAreSeen()
    {
#if COUNTS_ALLOCATIONS
        const int before = allocations;
        QByteArray bytes(100, 'a');
        QVERIFY(int(allocations) - before > 0);
        QCOMPARE(bytes.size(), 100);
#else
        QSKIP("a sanitizer has its own allocator");
#endif
    }

    void readingIntoTheSameArrayAllocatesNothing_data()
    {
        QTest::addColumn<int>("stationScope");
        QTest::newRow("one PLC") << 0;
        QTest::newRow("several PLCs") << 1;
    }
    void readingIntoTheSameArrayAllocatesNothing()
    {
        QFETCH(int, stationScope);
        DriverFixture driver;
        driver.settings.stationScope = stationScope;
        const QString address = QStringLiteral("100");
        QByteArray values;
        QCOMPARE(GetRegisterData(0, 7, address, 1, &values, 125), 1);
        const int before = allocations;
        for (int i = 0; i < 100; ++i)
            GetRegisterData(0, 7, address, 1, &values, 125);
        QCOMPARE(int(allocations) - before, 0);
        QCOMPARE(values, QByteArray(250, '\0'));
    }

    void listGoesRoundInItsOrder_data()
    {
        QTest::addColumn<int>("entries");
        for (int entries : {1, 2, 3, 4, 5, 7, 8, 16, 100})
            QTest::addRow("%d", entries) << entries;
    }
    void listGoesRoundInItsOrder()
    {
        QFETCH(int, entries);
        Cycle cycle(entries, 0, 0);
        QList<int> expected = addresses();
        for (int i = 0; i < 10 * entries + 3; ++i) {
            Cycle::turnOnce(cycle.replies[0]);
            std::rotate(expected.begin(), expected.begin() + 1, expected.end());
            QCOMPARE(addresses(), expected);
        }
    }

    void listGoesOnWhateverIsDoneToItMeanwhile()
    {
        Cycle cycle(5, 0, 0);
        QList<int> expected = addresses();
        QList<RW_VAR> copy;
        for (int i = 0; i < 400; ++i) {
            switch (i % 41) {
            case 7:
                copy = PLC_driver.readList;
                break;
            case 11:
                PLC_driver.readList.append(PLC_driver.readList.at(2));
                expected.append(expected.at(2));
                break;
            case 19:
                PLC_driver.readList.removeAt(3);
                expected.removeAt(3);
                break;
            case 23:
                PLC_driver.readList = copy;
                expected = addresses();
                break;
            }
            Cycle::turnOnce(cycle.replies[0]);
            std::rotate(expected.begin(), expected.begin() + 1, expected.end());
            QCOMPARE(addresses(), expected);
        }
    }

    // The record of the last answered frame is used again; what somebody else still holds of it stays as it is.
    void frameThatTheHostHasKeptIsNotWrittenOver()
    {
        Cycle cycle(2, 0, 0);
        const QByteArray kept = ComCommunication()->frame;
        const QByteArray bytes(kept.constData(), kept.size());
        cycle.turn();
        cycle.turn();
        QCOMPARE(kept, bytes);
    }

    void nothingIsInFlightBehindAnAnsweredFrame()
    {
        Cycle cycle(2, 0, 0);
        Cycle::turnOnce(cycle.replies[0]);
        QCOMPARE(PLC_driver.protocolList.size(), 0);
        PLC_driver.readList.clear();
        QVERIFY(ComCommunication() == nullptr);
        QCOMPARE(PLC_driver.protocolList.size(), 0);
    }

    void recordThatIsUsedAgainIsFilledWhole()
    {
        Cycle cycle(1, 0, 0);
        Protocol *const first = ComCommunication();
        first->extra20 = first->extra21 = first->extra22 = 77;
        first->frame.append("more");
        Cycle::turnOnce(cycle.replies[0]);
        const Protocol *const second = ComCommunication();
        QCOMPARE(second->extra20 | second->extra21 | second->extra22, 0);
        QCOMPARE(second->frame.size(), 8);
        QCOMPARE(second->frameLen, 8);
    }
};

QTEST_APPLESS_MAIN(TstSteadyCycle)

#include "tst_steady_cycle.moc"
