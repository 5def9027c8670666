/// How much memory this process has, and whether it grows.
#pragma once

#include "findings.h"

class MemoryWatch {
public:
    /// What may be added to the most of the warm-up. A block lost in 50,000 transactions of the long run is found, and
    /// a byte lost in 100. The resident size moves by itself: pages are first touched, and blocks come to lie apart.
    enum { MostBlocks = 1000, MostResident = 512 * 1024 };

    explicit MemoryWatch(Findings &findings) : findings(findings) {}

    /// To be taken when nothing is queued: a full queue is no leak.
    void sample(bool isWarm);
    qint64 resident() const { return lastResident; }
    qint64 blocks() const { return lastBlocks; }
    QString report() const;

private:
    Findings &findings;
    qint64 lastResident = 0, lastBlocks = 0;
    qint64 warmResident = 0, warmBlocks = 0; ///< The most of the warm-up.
    qint64 mostResident = 0, mostBlocks = 0; ///< The most of the time behind it.
    qint64 samples = 0;
};
