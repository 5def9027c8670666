// What does not happen in every transaction: rebuilding the cyclic list, bursts of writes. Items are descriptions,
// calls.
#include "bench/workloads.h"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

enum { InOrder = 0, Mixed = 1, LongestBurst = 1000, Parsed = 1000 };

/// Pages that the system has had to hand out so far.
long pageFaults()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

void rebuild(benchmark::State &state)
{
    DriverRig rig(Storage::Image, 1, 1);
    const int count = int(state.range(1));
    QList<VARDESC> variables = describe(count, state.range(0) == InOrder);
    const int blocks = rig.driver().reCreatReadVarList(variables);
    const long faults = pageFaults();
    for (auto _ : state)
        if (rig.driver().reCreatReadVarList(variables) != blocks)
            state.SkipWithError("another list than before");
    state.counters["faults"] = benchmark::Counter(double(pageFaults() - faults), benchmark::Counter::kAvgIterations);
    state.SetItemsProcessed(state.iterations() * count);
}

/// The unit that a rebuild is told in: it has to parse each address at least.
void toInt(benchmark::State &state)
{
    const QList<VARDESC> variables = describe(Parsed, true);
    for (auto _ : state)
        for (const VARDESC &variable : variables)
            benchmark::DoNotOptimize(variable.addrText.toInt());
    state.SetItemsProcessed(state.iterations() * Parsed);
}

/// The median of the bursts, not their mean: another program may take the processor in the middle of one.
void burst(benchmark::State &state)
{
    DriverRig rig(Storage::Image, 1, 1);
    Burst writes(LongestBurst);
    const int calls = int(state.range(0));
    std::vector<double> times;
    writes.run(rig, calls);
    for (auto _ : state) {
        Burst::drain(rig);
        const auto start = std::chrono::steady_clock::now();
        writes.run(rig, calls);
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        state.SetIterationTime(times.back());
    }
    const auto middle = times.begin() + std::ptrdiff_t(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    state.counters["each_ns"] = *middle / calls * 1e9;
}

BENCHMARK(rebuild)
    ->Name("rebuild")
    ->ArgsProduct({{InOrder, Mixed}, {1000, 10000, 100000}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(toInt)->Name("toInt");
BENCHMARK(burst)->Name("burst")->Arg(10)->Arg(100)->Arg(300)->Arg(LongestBurst)->UseManualTime();

} // namespace
