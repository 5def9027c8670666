/// A program that runs beside the one that measures it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Process {
public:
    /// Starts a program with its arguments, on one core (-1: on any). What it prints goes into a file.
    Process(const std::vector<std::string> &command, int core, const std::string &output = "/dev/null");
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    /// Processor time of all its threads, user and system.
    double cpuSeconds() const;
    /// -1 when it cannot be known.
    long residentKiloBytes() const;
    bool isRunning() const;
    /// Asks it to end, and waits for that.
    void interrupt();

private:
    int m_pid;
};

/// Holds the kernel's own unbound work, a pseudo-terminal's among it, on one core as long as the object lives, and no
/// longer, however this program ends. Only root may ask for that.
class KernelWork {
public:
    explicit KernelWork(int core);
    ~KernelWork();
    KernelWork(const KernelWork &) = delete;
    KernelWork &operator=(const KernelWork &) = delete;
    bool isHeld() const { return m_line >= 0; }

private:
    int m_line = -1; ///< To the child that puts things back; it ends with this program too.
    int m_keeper = -1;
};

/// A folder for links and settings that goes with the object.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    std::string path(const std::string &name) const { return m_path + "/" + name; }
    void write(const std::string &name, const std::string &text) const;

private:
    std::string m_path;
};

/// Answers that a pty_slave has given, from its file.
std::uint64_t answersIn(const std::string &path);
/// Seconds of a clock that only goes forward.
double now();
void pause(double seconds);
/// False when the file did not appear within some seconds.
bool waitForFile(const std::string &path);
