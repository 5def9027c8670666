// How often a steady cycle asks for heap memory, which a panel that runs for years should not do at all. Prints a line
// for each piece of work:
//     NAME ALLOCATIONS_PER_UNIT
#include "bench/driver_rig.h"
#include "bench/memory_line.h"
#include "proof/soak/heap_count.h"

#include <cstdio>

namespace {

enum { Words = DriverRig::Registers, Stored = 60000, WarmUp = 8, Passes = 10 };

template <class Work>
void count(const char *name, int units, Work work)
{
    const long long before = heapBlocksTaken();
    work();
    std::printf("%s %g\n", name, double(heapBlocksTaken() - before) / units);
}

template <class Master>
void countPasses(const char *name, Master &master, int blocks)
{
    // The list takes its room in the first of them.
    for (int i = 0; i < WarmUp; ++i)
        master.fullPass();
    count(name, Passes * blocks, [&] {
        for (int i = 0; i < Passes * blocks; ++i)
            master.transaction();
    });
}

void countReads(const char *name, DriverRig &rig, int blocks)
{
    QByteArray values(2 * Words, '\0');
    count(name, blocks, [&] {
        for (int i = 0; i < blocks; ++i)
            rig.driver().getRegisterData(0, 100, rig.addressOf(i), rig.stationOf(i), &values, Words);
    });
}

} // namespace

int main()
{
    // That it counts at all.
    count("one-block", 1, [] { QByteArray(Words, '\0').squeeze(); });
    {
        DriverRig rig(Storage::Image, DriverRig::ListLength, Words);
        countPasses("transaction/driver/image", rig, DriverRig::ListLength);
        countReads("read/image", rig, DriverRig::ListLength);
    }
    {
        DriverRig rig(Storage::Keyed, Stored / Words, Words);
        countPasses("transaction/driver/keyed", rig, Stored / Words);
        countReads("read/keyed", rig, Stored / Words);
    }
    MemoryMaster master(Words);
    countPasses("transaction/libmodbus", master, DriverRig::ListLength);
    return 0;
}
