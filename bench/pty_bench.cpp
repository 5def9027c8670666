// Transactions over a pseudo-terminal: every master against the same slave, both on one core, and the kernel's
// work for them too: where it wakes on another core, every master is several times slower, for whole turns.
#include "bench/process.h"

#include <benchmark/benchmark.h>

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

void transactions(benchmark::State &state, const MakeCommand &make)
{
    enum { WarmUp = 300 };
    const KernelWork kernel(OneCore);
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
        pause(1);
        const double done = double(answersIn(counter) - answers), elapsed = now() - start;
        const double used = master.cpuSeconds() - cpu;
        if (!master.isRunning() || !slave.isRunning() || done < 1)
            return state.SkipWithError("master or slave has ended");
        state.SetIterationTime(elapsed / done);
        state.counters["cpu_ns"] = used / done * 1e9;
        state.counters["per_second"] = done / elapsed;
        state.counters["kernel_held"] = kernel.isHeld() ? 1 : 0;
    }
}

void addCase(const char *name, const MakeCommand &make, int repetitions)
{
    benchmark::RegisterBenchmark(name, [make](benchmark::State &state) { transactions(state, make); })
        ->Iterations(1)
        ->Repetitions(repetitions)
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
