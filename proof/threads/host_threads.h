/// What a host's threads do while another runs the cycle: everything that may be called from any thread.
#pragma once

#include "proof/threads/exports.h"

#include <atomic>
#include <random>

/// The panel itself, and another panel: replies for that one take the remote way into the image.
enum { OwnPanel = 3, OtherPanel = 9 };

/// What the threads share. Flags and tallies are relaxed: anything stronger would order the threads and hide races.
struct Stress {
    Exports driver;
    COMINFO settings[2];            ///< Equal but for the driver's own words.
    bool settingsComeAndGo = false; ///< Null is given in between; settings read as 0 then.
    std::atomic<bool> running{false};
    std::atomic<qint64> turns[3] = {}; ///< Of each of the three threads below.
    std::atomic<qint64> done{0};       ///< Calls of RequestDoneCallback.
    std::atomic<qint64> failed{0};     ///< Calls of CommFailCallback.
};

/// A thread's own: its chances, its counts, and what it found wrong.
struct Worker {
    explicit Worker(unsigned seed) : random(seed) {}
    bool oneIn(unsigned chances) { return random() % chances == 0; }

    std::minstd_rand random;
    CallCounts calls;
    qint64 blocksRead = 0; ///< Blocks looked at.
    qint64 torn = 0;       ///< Those whose words were not of one moment.
};

/// The callbacks find it here: they are given no context.
extern Stress *stressInUse;

void readScreens(Stress &stress, Worker &self);
void writeValues(Stress &stress, Worker &self);
void setUpAgain(Stress &stress, Worker &self);

/// A finished read, for another panel, of the block that this one reads (code 8) or writes too (code 9): its reply is
/// stored without imageMutex.
RW_VAR otherPanelsBlock(int devType, int station);
