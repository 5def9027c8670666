// Transactions over a pseudo-terminal: every master against the same slave, both on one core.
#include "bench/process.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <functional>

namespace {

enum { OneCore = 0, Blocks = 10, Registers = 122 }; // 122 is the longest block that ecpanel takes

const char Settings[] = "[line]\nport = \"%PORT%\"\nbaud = 921600\nparity = \"none\"\nstop_bits = 1\n"
                        "reply_timeout_ms = 1000\nlate_window_ms = 1\nsilence_us = 0\n"
                        "[driver]\npath = \"" EC_DRIVER_PATH "\"\nmax_block_len = 122\nretries = 2\n"
                        "stations = \"one\"\nstation = 1\n";

typedef std::vector<std::string> Command;
typedef std::function<Command(const ScratchFolder &, const std::string &)> MakeCommand;

MakeCommand own(const char *peer)
{
    return [peer](const ScratchFolder &, const std::string &port) {
        return Command{EC_BUILD_DIR "/bench/pty_master", peer, port, std::to_string(Registers)};
    };
}

Command pymodbus(const ScratchFolder &, const std::string &port)
{
    return {"/usr/bin/python3", EC_SOURCE_DIR "/bench/pty_pymodbus.py", port, std::to_string(Registers)};
}

/// The whole host: guard, counters and ledger on, trace off.
Command ecpanel(const ScratchFolder &folder, const std::string &port)
{
    std::string settings = Settings;
    settings.replace(settings.find("%PORT%"), 6, port);
    folder.write("line.toml", settings);
    std::string tags = "name,type,address,station,count,format,order,scale,unit,rw\n";
    for (int block = 0; block < Blocks; ++block)
        tags += "block" + std::to_string(block) + ",7," + std::to_string(block * Registers) + ",,"
                + std::to_string(Registers) + ",uint16,,,,r\n";
    folder.write("tags.csv", tags);
    return {EC_BUILD_DIR "/ecpanel", "run", "--quiet", "--settings", folder.path("line.toml"), "--tags",
            folder.path("tags.csv")};
}

struct Rates {
    double perSecond = 0, perCpuSecond = 0;
};

/// Clocks are read outside of the counter, so that a pause between the two can only make a rate look lower.
Rates ratesFor(double seconds, const std::string &counter, const Process &master)
{
    const double start = now(), cpu = master.cpuSeconds();
    const std::uint64_t answers = answersIn(counter);
    pause(seconds);
    const double done = double(answersIn(counter) - answers);
    const double elapsed = now() - start, used = master.cpuSeconds() - cpu;
    // A master that hardly came to run tells nothing: an answer may be to a request from before.
    return {done / elapsed, used > 0.001 ? done / used : 0};
}

void transactions(benchmark::State &state, const MakeCommand &make)
{
    enum { WarmUp = 300, Windows = 20 };
    const ScratchFolder folder;
    const std::string port = folder.path("plc"), counter = folder.path("answers");
    const Process slave({EC_BUILD_DIR "/bench/pty_slave", port, counter}, OneCore);
    if (!waitForFile(port))
        return state.SkipWithError("the slave did not start");
    const Process master(make(folder, port), OneCore);
    for (int i = 0; i < 500 && answersIn(counter) < WarmUp; ++i)
        pause(0.01);
    for (auto _ : state) {
        const double start = now(), cpu = master.cpuSeconds();
        const std::uint64_t answers = answersIn(counter);
        Rates best;
        for (int i = 0; i < Windows; ++i) {
            const Rates rates = ratesFor(0.05, counter, master);
            best.perSecond = std::max(best.perSecond, rates.perSecond);
            best.perCpuSecond = std::max(best.perCpuSecond, rates.perCpuSecond);
        }
        const double done = double(answersIn(counter) - answers), elapsed = now() - start;
        const double used = master.cpuSeconds() - cpu;
        if (!master.isRunning() || !slave.isRunning() || done < 1)
            return state.SkipWithError("master or slave has ended");
        state.SetIterationTime(elapsed / done);
        state.counters["mean_cpu_ns"] = used / done * 1e9;
        state.counters["mean_per_second"] = done / elapsed;
        state.counters["per_second"] = best.perSecond;
        state.counters["per_cpu_second"] = best.perCpuSecond;
    }
}

/// Leaves out the slow mode that masters fall into for whole turns; the median stands beside it.
double bestOf(const std::vector<double> &values)
{
    return *std::max_element(values.begin(), values.end());
}

void addCase(const char *name, const MakeCommand &make, int repetitions)
{
    benchmark::RegisterBenchmark(name, [make](benchmark::State &state) { transactions(state, make); })
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->ComputeStatistics("best", bestOf)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

const bool Added = [] {
    enum { Many = 15, Few = 5 };
    addCase("pty/raw", own("raw"), Many);
    addCase("pty/driver", own("driver"), Many);
    addCase("pty/ecpanel", ecpanel, Many);
    addCase("pty/libmodbus", own("libmodbus"), Many);
    addCase("pty/serialbus", own("serialbus"), Few);
    addCase("pty/pymodbus", pymodbus, Few);
    return true;
}();

} // namespace
