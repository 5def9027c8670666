// The host as a process: ten of them on paced lines, and its memory with many tags.
#include "bench/process.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

enum { Lines = 10, Baud = 115200, Tags = 10000, LongestBlock = 122, AnyCore = -1 };

typedef std::vector<std::string> Command;

const char Header[] = "name,type,address,station,count,format,order,scale,unit,rw\n";

std::string settings(const std::string &port, int maxBlock)
{
    return "[line]\nport = \"" + port + "\"\nbaud = " + std::to_string(Baud)
           + "\nparity = \"even\"\nstop_bits = 1\nreply_timeout_ms = 1000\n[driver]\npath = \"" EC_DRIVER_PATH
             "\"\nmax_block_len = "
           + std::to_string(maxBlock) + "\nretries = 2\nstations = \"one\"\nstation = 1\n";
}

/// Words, bits and double words as a panel has them: nine requests a pass, which pty_paced.cpp makes too.
std::string usualTags()
{
    return std::string(Header)
           + "a,7,0,,40,uint16,,,,r\nb,8,250,,12,uint16,,,,r\nc,2,2040,,64,bit,,,,r\nd,13,250,,10,uint32,,,,r\n"
             "e,9,0,,5,int16,,,,r\n";
}

std::string manyTags()
{
    std::string tags = Header;
    for (int i = 0; i < Tags; ++i) {
        const std::string number = std::to_string(i);
        tags += "measured-value-" + number + ",100," + number + ",,,int16,,0.1,mm,rw\n";
    }
    return tags;
}

Command panel(const std::string &settingsFile, const std::string &tagFile)
{
    return {EC_BUILD_DIR "/ecpanel", "run", "--quiet", "--settings", settingsFile, "--tags", tagFile};
}

/// Words alone, ten of the longest blocks a pass.
std::string longTags()
{
    std::string tags = Header;
    for (int i = 0; i < 10; ++i)
        tags += "w" + std::to_string(i) + ",7," + std::to_string(i * LongestBlock) + ",," + std::to_string(LongestBlock)
                + ",uint16,,,,r\n";
    return tags;
}

/// Good answers in all, as a panel has counted them.
double goodAnswers(const std::string &report)
{
    static const char Key[] = "\"good\":";
    std::ifstream file(report);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::size_t counters = text.rfind("{\"counters\":{\"all\":");
    const std::size_t place = counters != std::string::npos ? text.find(Key, counters) : counters;
    return place != std::string::npos ? std::atof(text.c_str() + place + sizeof Key - 1) : 0;
}

/// Who reads on a paced line.
enum Reader {
    UsualPanel,   ///< ecpanel with the usual tags in blocks of 32 words.
    LongPanel,    ///< ecpanel with blocks as long as they get.
    PreparedReads ///< The reads of the usual tags by the shortest program that can do them.
};

/// A paced PLC and its master.
class PacedLine {
public:
    PacedLine(const ScratchFolder &folder, const std::string &name, Reader reader)
        : m_port(folder.path(name)), m_answers(folder.path(name + ".answers")), m_isPanel(reader != PreparedReads),
          m_plc({EC_BUILD_DIR "/ecsim", "run", "--pty", "--link", m_port, "--pace", "--baud", std::to_string(Baud),
                 "--station", "1", "--quiet"},
                AnyCore),
          m_isThere(waitForFile(m_port)),
          m_master(command(folder, name, reader), AnyCore, m_isPanel ? m_answers : "/dev/null")
    {
    }

    double cpuSeconds() const { return m_master.cpuSeconds(); }
    bool isRunning() const { return m_isThere && m_plc.isRunning() && m_master.isRunning(); }
    /// Ends the master. The number of its answers.
    double end()
    {
        m_master.interrupt();
        return m_isPanel ? goodAnswers(m_answers) : double(answersIn(m_answers));
    }

private:
    Command command(const ScratchFolder &folder, const std::string &name, Reader reader) const
    {
        if (!m_isPanel)
            return {EC_BUILD_DIR "/bench/pty_master", "paced", m_port, m_answers};
        folder.write(name + ".toml", settings(m_port, reader == LongPanel ? LongestBlock : 32));
        folder.write(name + ".csv", reader == LongPanel ? longTags() : usualTags());
        return panel(folder.path(name + ".toml"), folder.path(name + ".csv"));
    }

    const std::string m_port, m_answers;
    const bool m_isPanel;
    const Process m_plc;
    const bool m_isThere;
    Process m_master;
};

void tenLines(benchmark::State &state, Reader reader)
{
    const ScratchFolder folder;
    std::vector<std::unique_ptr<PacedLine>> lines;
    const double began = now();
    for (int i = 0; i < Lines; ++i)
        lines.push_back(std::make_unique<PacedLine>(folder, "line" + std::to_string(i), reader));
    const auto used = [&lines] {
        double seconds = 0;
        for (const auto &line : lines)
            seconds += line->cpuSeconds();
        return seconds;
    };
    pause(2);
    for (auto _ : state) {
        const double start = now(), before = used();
        pause(5);
        const double elapsed = now() - start;
        state.SetIterationTime(elapsed);
        state.counters["percent_of_core"] = 100 * (used() - before) / elapsed;
    }
    double answers = 0;
    for (const auto &line : lines) {
        const double good = line->isRunning() ? line->end() : 0;
        if (good < 1)
            return state.SkipWithError("a master or a PLC has ended, or nothing was answered");
        answers += good;
    }
    state.counters["per_second"] = answers / (now() - began);
}

void memory(benchmark::State &state)
{
    const ScratchFolder folder;
    const std::string port = folder.path("plc"), counter = folder.path("answers");
    const Process slave({EC_BUILD_DIR "/bench/pty_slave", port, counter}, AnyCore);
    if (!waitForFile(port))
        return state.SkipWithError("the slave did not start");
    folder.write("line.toml", settings(port, LongestBlock));
    folder.write("tags.csv", manyTags());
    const Process master(panel(folder.path("line.toml"), folder.path("tags.csv")), AnyCore);
    const Process empty({EC_BUILD_DIR "/bench/empty_qt"}, AnyCore);
    for (auto _ : state) {
        pause(4);
        state.SetIterationTime(4);
        if (!master.isRunning() || !empty.isRunning() || answersIn(counter) < 2 * Tags / LongestBlock)
            state.SkipWithError("a process has ended, or not every tag was read twice");
        state.counters["panel_kB"] = double(master.residentKiloBytes());
        state.counters["above_empty_kB"] = double(master.residentKiloBytes() - empty.residentKiloBytes());
    }
}

BENCHMARK_CAPTURE(tenLines, usual, UsualPanel)->Name("host/ten-lines")->Iterations(1)->Repetitions(3)->UseManualTime();
BENCHMARK_CAPTURE(tenLines, long, LongPanel)
    ->Name("host/ten-lines-long")
    ->Iterations(1)
    ->Repetitions(3)
    ->UseManualTime();
BENCHMARK_CAPTURE(tenLines, prepared, PreparedReads)
    ->Name("host/ten-lines-prepared")
    ->Iterations(1)
    ->Repetitions(3)
    ->UseManualTime();
BENCHMARK(memory)->Name("host/memory")->Iterations(1)->Repetitions(3)->UseManualTime();

} // namespace
