/// Compares the outcome of each transaction with what was done to the line, and the counters of both ends.
#pragma once

#include "findings.h"
#include "rig.h"

/// What is wrong with the line on purpose.
struct LineState {
    bool isPlugged = true;
    QSet<int> silentStations;
};

class LineWatch {
public:
    LineWatch(SoakRig &rig, Findings &findings);

    /// The user has done something to the line: the next requests may fail.
    void disturbed() { sinceTrouble = 0; }
    LineState state;

    void served(const RW_VAR &var, int list, const Transaction &transaction);
    /// Host, tap and PLC have counted the same.
    void compareCounters();

    bool isCalm() const { return sinceTrouble > Aftermath; }
    bool isInOrder() const { return isCalm() && state.isPlugged; }
    qint64 served() const { return transactions; }
    qint64 faultsDone() const { return faultCount; }
    QSet<int> faultKinds() const { return kinds; }
    qint64 unseen() const { return unseenFrames; }

private:
    enum { Aftermath = 2 }; ///< Requests behind a fault that it may still reach.

    FaultKind takeFault();
    bool isExplained(const RW_VAR &var, Outcome outcome, FaultKind fault) const;
    void compareFrames(const Transaction &transaction);
    qint64 framesSeen() const;

    SoakRig &rig;
    Findings &findings;
    qint64 sinceTrouble = 0;
    qint64 transactions = 0, faultCount = 0, unseenFrames = 0, seenBefore = 0, framesBefore = 0;
    qint64 lastDoneAt = 0;
    qint64 outcomes[int(Outcome::PortGone) + 1] = {};
    qint64 ofLists[3] = {};
    QMap<int, qint64> ofStations;
    QSet<int> kinds;
};
