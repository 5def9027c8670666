#include "host/interrupt.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace {

std::atomic<bool> interrupted{false};
std::atomic<int> lostOutput{0};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

void noteSignal(int)
{
    interrupted = true;
}

} // namespace

void catchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    // Not restarted: a write to a reader that has stopped reading has to return.
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signalNumber, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool isInterrupted()
{
    return interrupted;
}

void noteOutputLost(int errorNumber)
{
    int none = 0;
    lostOutput.compare_exchange_strong(none, errorNumber);
}

int outputError()
{
    return lostOutput;
}

bool shouldStop()
{
    return interrupted || lostOutput != 0;
}
