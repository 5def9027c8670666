/// Ctrl-C and its like as an event instead of a sudden end.
#pragma once

#include <QtCore/QSocketNotifier>

#include <functional>
#include <memory>

/// From its making SIGINT, SIGTERM and SIGHUP are told instead of ending the program.
class StopSignals {
public:
    explicit StopSignals(const std::function<void()> &told);
    ~StopSignals();
    StopSignals(const StopSignals &) = delete;
    StopSignals &operator=(const StopSignals &) = delete;

    bool hasCome() const { return come; }

private:
    std::unique_ptr<QSocketNotifier> notifier;
    int fd = -1;
    bool come = false;
};
