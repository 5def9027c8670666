// The checksum of the longest frame, by three means.
#include "bench/crc_peers.h"
#include "bench/driver_rig.h"

#include <benchmark/benchmark.h>

namespace {

enum { FrameBytes = 255 };

template <class Function>
void checksum(benchmark::State &state, Function crcOf)
{
    QByteArray frame = replyOf(DriverRig::Registers);
    unsigned char *const bytes = reinterpret_cast<unsigned char *>(frame.data());
    // Over a frame and its seal it is 0.
    if (crcOf(bytes, FrameBytes) != 0)
        return state.SkipWithError("a wrong checksum");
    for (auto _ : state) {
        benchmark::DoNotOptimize(crcOf(bytes, FrameBytes));
        benchmark::ClobberMemory();
    }
}

void driver(benchmark::State &state)
{
    DriverRig rig(Storage::Image, 1, 1);
    checksum(state, rig.driver().calCrc);
}

void twoTables(benchmark::State &state)
{
    checksum(state, crcByTwoTables);
}

void boosts(benchmark::State &state)
{
    checksum(state, crcByBoost);
}

BENCHMARK(driver)->Name("crc/driver");
BENCHMARK(twoTables)->Name("crc/two-tables");
BENCHMARK(boosts)->Name("crc/boost");

} // namespace
