/// A cycle that has settled allocates nothing.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

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

class TstSteadyHeap : public QObject {
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
};

QTEST_APPLESS_MAIN(TstSteadyHeap)

#include "tst_steady_heap.moc"
