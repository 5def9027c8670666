#include "findings.h"

#include <cstdio>

namespace {

const char *const Names[Findings::Checks] = {"good values compared with the cells that were read",
                                             "live values between request and reply",
                                             "one-shot reads ended, and compared",
                                             "writes ended once, in a state that has a cause",
                                             "cells of the PLC compared after writes",
                                             "outcomes on the line compared with the faults done",
                                             "counters of host, line and PLC compared",
                                             "moments in order, ages within bounds",
                                             "queues within bounds",
                                             "memory samples within bounds"};

} // namespace

void Findings::found(Check check, const QString &text)
{
    ++bad[check];
    if (wrong() <= MostShown)
        std::printf("WRONG at %.6f s: %s: %s\n", double(moment) / 1e6, Names[check], qPrintable(text));
    std::fflush(stdout);
}

qint64 Findings::wrong() const
{
    qint64 sum = 0;
    for (const qint64 one : bad)
        sum += one;
    return sum;
}

// A check that never looked has not passed.
int Findings::passed() const
{
    int count = 0;
    for (int check = 0; check < Checks; ++check)
        count += seen[check] > 0 && bad[check] == 0;
    return count;
}

void Findings::print() const
{
    for (int check = 0; check < Checks; ++check)
        std::printf("  %-55s %12lld looks, %lld wrong\n", Names[check], seen[check], bad[check]);
}
