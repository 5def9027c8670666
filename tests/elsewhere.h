/// Calls in a thread of their own, for tests of what waits for a lock and what does not.
#pragma once

#include <QtCore/QMutex>

#include <atomic>
#include <functional>
#include <thread>

/// Whether nobody holds a mutex.
bool isFree(QMutex &mutex);

/// A call in a thread of its own. Unlock what it may wait for before anything that can end the test slot early: the
/// destructor waits for the call.
class Elsewhere {
public:
    explicit Elsewhere(std::function<void()> call);
    ~Elsewhere();
    Elsewhere(const Elsewhere &) = delete;
    Elsewhere &operator=(const Elsewhere &) = delete;

    /// True once the call sleeps in the middle, as it does behind a lock; false once it has ended. No clock decides.
    bool isHeldUp() const;
    /// Waits for the end of the call, however long that takes.
    void finish();

private:
    std::atomic<int> threadId;
    std::atomic<bool> ended;
    std::thread thread;
};
