// A transaction's own cost, reads of what was stored, and what the machine needs at least to move as many bytes.
#include "bench/driver_rig.h"
#include "bench/memory_line.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

namespace {

enum { Words = DriverRig::Registers };

void driverTransaction(benchmark::State &state, Storage storage, int blocks, int registers)
{
    DriverRig rig(storage, blocks, registers);
    rig.fullPass();
    for (auto _ : state)
        rig.transaction();
    rig.fullPass();
}

void imageTransaction(benchmark::State &state)
{
    driverTransaction(state, Storage::Image, DriverRig::ListLength, int(state.range(0)));
}

/// range(0) values in the store, all of them read again and again.
void keyedTransaction(benchmark::State &state)
{
    driverTransaction(state, Storage::Keyed, int(state.range(0)) / Words, Words);
}

/// The same after a host that has asked for single values from all over: no two neighbours of a block are neighbours in
/// the store.
void scatteredTransaction(benchmark::State &state)
{
    enum { Stored = 60000 };
    DriverRig rig(Storage::Keyed, Stored / Words, Words);
    rig.askForEachWord();
    rig.fullPass();
    for (auto _ : state)
        rig.transaction();
    rig.fullPass();
}

void libmodbusTransaction(benchmark::State &state)
{
    MemoryMaster master(int(state.range(0)));
    master.fullPass();
    for (auto _ : state)
        master.transaction();
    master.fullPass();
}

void read(benchmark::State &state, Storage storage, int blocks)
{
    DriverRig rig(storage, blocks, Words);
    rig.fullPass();
    QByteArray values(2 * Words, '\0');
    int block = 0;
    for (auto _ : state) {
        rig.driver().getRegisterData(0, 100, rig.addressOf(block), rig.stationOf(block), &values, Words);
        block = block + 1 < blocks ? block + 1 : 0;
    }
    if (values != valuesOf(Words))
        state.SkipWithError("wrong values");
}

void imageRead(benchmark::State &state)
{
    read(state, Storage::Image, DriverRig::ListLength);
}

void keyedRead(benchmark::State &state)
{
    read(state, Storage::Keyed, int(state.range(0)) / Words);
}

void memoryRead(benchmark::State &state)
{
    const QByteArray bytes = valuesOf(Words);
    for (auto _ : state) {
        std::uint64_t sum = 0;
        for (int i = 0; i + 8 <= bytes.size(); i += 8) {
            std::uint64_t word;
            std::memcpy(&word, bytes.constData() + i, sizeof word);
            sum += word;
        }
        benchmark::DoNotOptimize(sum);
    }
}

void memoryCopy(benchmark::State &state)
{
    const QByteArray bytes = valuesOf(Words);
    QByteArray copy(bytes.size(), '\0');
    for (auto _ : state) {
        std::memcpy(copy.data(), bytes.constData(), size_t(bytes.size()));
        benchmark::ClobberMemory();
    }
}

BENCHMARK(imageTransaction)->Name("transaction/driver/image")->Arg(1)->Arg(Words);
BENCHMARK(libmodbusTransaction)->Name("transaction/libmodbus")->Arg(1)->Arg(Words);
BENCHMARK(keyedTransaction)
    ->Name("transaction/driver/keyed")
    ->Arg(Words)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(30000)
    ->Arg(60000);
BENCHMARK(scatteredTransaction)->Name("transaction/driver/scattered");
BENCHMARK(imageRead)->Name("read/image");
BENCHMARK(keyedRead)->Name("read/keyed")->Arg(Words)->Arg(60000);
BENCHMARK(memoryRead)->Name("limit/memory-read");
BENCHMARK(memoryCopy)->Name("limit/memcpy");

} // namespace
