#include "bench/process.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char KernelCores[] = "/sys/devices/virtual/workqueue/cpumask";

bool holdKernelWork(const std::string &mask)
{
    std::ofstream file(KernelCores);
    return bool(file << mask << std::flush);
}

double secondsOf(clockid_t clock)
{
    timespec time = {0, 0};
    ::clock_gettime(clock, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

[[noreturn]] void become(const std::vector<std::string> &command, int core, const std::string &output)
{
    // Whoever measures may be killed; nobody else would end this then.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    cpu_set_t cores;
    CPU_ZERO(&cores);
    if (core >= 0) {
        CPU_SET(core, &cores);
        ::sched_setaffinity(0, sizeof cores, &cores);
    }
    ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
    ::execvp(arguments[0], arguments.data());
    std::perror(arguments[0]);
    ::_exit(127);
}

} // namespace

Process::Process(const std::vector<std::string> &command, int core, const std::string &output) : m_pid(::fork())
{
    if (m_pid == 0)
        become(command, core, output);
    if (m_pid < 0)
        throw std::runtime_error("cannot start " + command.at(0));
}

Process::~Process()
{
    ::kill(m_pid, SIGKILL);
    while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

double Process::cpuSeconds() const
{
    clockid_t clock;
    return ::clock_getcpuclockid(m_pid, &clock) == 0 ? secondsOf(clock) : 0;
}

long Process::residentKiloBytes() const
{
    // Summed up page by page: the quick counters of the kernel may be off.
    std::ifstream file("/proc/" + std::to_string(m_pid) + "/smaps_rollup");
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, 4, "Rss:") == 0)
            return std::atol(line.c_str() + 4);
    return -1;
}

bool Process::isRunning() const
{
    siginfo_t info;
    info.si_pid = 0;
    return ::waitid(P_PID, id_t(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

void Process::interrupt()
{
    siginfo_t ignored;
    ::kill(m_pid, SIGINT);
    ::waitid(P_PID, id_t(m_pid), &ignored, WEXITED | WNOWAIT);
}

KernelWork::KernelWork(int core)
{
    std::string before;
    std::getline(std::ifstream(KernelCores), before);
    char mask[16];
    std::snprintf(mask, sizeof mask, "%x", 1U << core);
    int ends[2];
    if (before.empty() || ::pipe2(ends, O_CLOEXEC) != 0)
        return;
    if (!holdKernelWork(mask) || (m_keeper = ::fork()) < 0) {
        holdKernelWork(before);
        ::close(ends[0]);
        ::close(ends[1]);
        return;
    }
    if (m_keeper == 0) {
        // Out of the reach of Ctrl-C.
        ::setsid();
        ::close(ends[1]);
        char ignored;
        while (::read(ends[0], &ignored, 1) < 0 && errno == EINTR) {
        }
        ::_exit(holdKernelWork(before) ? 0 : 1);
    }
    ::close(ends[0]);
    m_line = ends[1];
}

KernelWork::~KernelWork()
{
    if (!isHeld())
        return;
    ::close(m_line);
    while (::waitpid(m_keeper, nullptr, 0) < 0 && errno == EINTR) {
    }
}

ScratchFolder::ScratchFolder()
{
    std::string path = (std::filesystem::temp_directory_path() / "ec-bench-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr)
        throw std::runtime_error("cannot make a folder " + path);
    m_path = path;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void ScratchFolder::write(const std::string &name, const std::string &text) const
{
    std::ofstream(path(name)) << text;
}

std::uint64_t answersIn(const std::string &path)
{
    std::uint64_t count = 0;
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char *>(&count), sizeof count);
    return count;
}

double now()
{
    return secondsOf(CLOCK_MONOTONIC);
}

void pause(double seconds)
{
    timespec time = {time_t(seconds), long((seconds - double(time_t(seconds))) * 1e9)};
    while (::nanosleep(&time, &time) != 0 && errno == EINTR) {
    }
}

bool waitForFile(const std::string &path)
{
    enum { Tries = 500 };
    for (int i = 0; i < Tries; ++i, pause(0.01))
        if (std::filesystem::exists(path))
            return true;
    return false;
}
