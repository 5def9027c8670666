// Runs each piece of work between two marks for callgrind, and prints how many units of work it was:
//     NAME UNITS
// bench/instructions.py runs it and divides. Without callgrind it only does the work.
#include "bench/crc_peers.h"
#include "bench/memory_line.h"
#include "bench/workloads.h"

#include <cstdio>
#include <valgrind/callgrind.h>

namespace {

enum { Words = DriverRig::Registers, Stored = 60000, FrameBytes = 255, Passes = 10, Calls = 1000 };

/// Counts so many runs of the work, but not what is done between them. A unit is a part of one run. What happens only
/// the first time must have happened before.
template <class Work, class Between>
void count(const std::string &name, int units, int runs, Work work, Between between)
{
    for (int i = 0; i < runs; ++i) {
        CALLGRIND_TOGGLE_COLLECT;
        work();
        CALLGRIND_TOGGLE_COLLECT;
        between();
    }
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    std::printf("%s %d\n", name.c_str(), units * runs);
}

template <class Work>
void count(const std::string &name, int units, Work work)
{
    count(name, units, 1, work, [] {});
}

template <class Master>
void countPasses(const std::string &name, Master &master, int blocks, int passes)
{
    master.fullPass();
    count(name, passes * blocks, [&] {
        for (int i = 0; i < passes * blocks; ++i)
            master.transaction();
    });
    master.fullPass();
}

void countTransactions()
{
    for (const int registers : {1, 2, 4, 8, 16, 32, 48, 64, 80, 96, 112, 125}) {
        const std::string size = std::to_string(registers);
        DriverRig rig(Storage::Image, DriverRig::ListLength, registers);
        rig.fullPass(); // lets the list's memory settle
        countPasses("transaction/driver/image/" + size, rig, DriverRig::ListLength, Passes);
        MemoryMaster master(registers);
        countPasses("transaction/libmodbus/" + size, master, DriverRig::ListLength, Passes);
    }
    for (const int stored : {int(Words), 1000, 10000, 30000, int(Stored)}) {
        const int blocks = stored / Words;
        DriverRig rig(Storage::Keyed, blocks, Words);
        countPasses("transaction/driver/keyed/" + std::to_string(blocks * Words), rig, blocks, 1000 / blocks + 1);
    }
}

void countReads(const char *name, Storage storage, int blocks)
{
    DriverRig rig(storage, blocks, Words);
    rig.fullPass();
    QByteArray values;
    const auto read = [&] {
        for (int i = 0; i < blocks; ++i)
            rig.driver().getRegisterData(0, 100, rig.addressOf(i), rig.stationOf(i), &values, Words);
    };
    read();
    count(name, blocks, read);
}

void countChecksums()
{
    const QByteArray frame = replyOf(Words);
    unsigned char *const bytes = reinterpret_cast<unsigned char *>(const_cast<char *>(frame.constData()));
    DriverRig rig(Storage::Image, 1, 1);
    volatile unsigned sum = 0;
    const auto ours = [&] { sum = rig.driver().calCrc(bytes, FrameBytes); };
    const auto tables = [&] { sum = crcByTwoTables(bytes, FrameBytes); };
    const auto boosts = [&] { sum = crcByBoost(bytes, FrameBytes); };
    ours();
    tables();
    boosts();
    count("crc/driver", 1, ours);
    count("crc/two-tables", 1, tables);
    count("crc/boost", 1, boosts);
}

/// The state of the heap makes a difference of some percent to one run: the fewer units, the more runs.
int runsFor(int units)
{
    return qMax(2, 20000 / units);
}

void countRebuild(const char *order, bool inOrder, int number)
{
    DriverRig rig(Storage::Image, 1, 1);
    QList<VARDESC> variables = describe(number, inOrder);
    rig.driver().reCreatReadVarList(variables);
    count(
        std::string("rebuild/") + order + std::to_string(number), number, runsFor(number),
        [&] { rig.driver().reCreatReadVarList(variables); }, [] {});
}

void countRebuilds()
{
    for (const int number : {1000, 10000, 100000}) {
        countRebuild("in-order/", true, number);
        countRebuild("mixed/", false, number);
    }
    const QList<VARDESC> variables = describe(Calls, true);
    volatile int sum = 0;
    count("toInt", Calls, [&] {
        for (const VARDESC &variable : variables)
            sum = variable.addrText.toInt();
    });
}

void countBursts()
{
    Burst burst(Calls);
    for (const int calls : {10, 100, 300, int(Calls)}) {
        DriverRig rig(Storage::Image, 1, 1);
        const auto work = [&] { burst.run(rig, calls); };
        const auto drain = [&] { Burst::drain(rig); };
        work();
        drain();
        count("burst/" + std::to_string(calls), calls, runsFor(calls), work, drain);
    }
}

} // namespace

int main()
{
    countTransactions();
    countReads("read/image", Storage::Image, DriverRig::ListLength);
    countReads("read/keyed/125", Storage::Keyed, 1);
    countReads("read/keyed/60000", Storage::Keyed, Stored / Words);
    countChecksums();
    countRebuilds();
    countBursts();
    return 0;
}
