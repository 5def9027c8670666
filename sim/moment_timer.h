/// Microseconds since the start, and a timer that goes off at one of them.
#pragma once

#include <QtCore/QSocketNotifier>

#include <functional>
#include <memory>

/// Finer than a QTimer, which knows milliseconds: bytes at 115200 baud come every 95 microseconds.
class MomentTimer {
public:
    explicit MomentTimer(std::function<void()> elapsed);
    ~MomentTimer();
    MomentTimer(const MomentTimer &) = delete;
    MomentTimer &operator=(const MomentTimer &) = delete;

    bool isValid() const { return fd >= 0; }
    /// Microseconds since the start.
    qint64 now() const;
    /// Goes off once at a moment, at once when that has passed; -1 = not at all.
    void setMoment(qint64 moment);

private:
    const std::function<void()> elapsed;
    std::unique_ptr<QSocketNotifier> notifier;
    int fd = -1;
    qint64 start = 0;
    qint64 set = -1;
};
