/// Every write from its beginning to its one end, and what the PLC has afterwards; one-shot reads as well.
#pragma once

#include "findings.h"
#include "line_watch.h"
#include "value_watch.h"

class WriteWatch {
public:
    WriteWatch(SoakRig &rig, Findings &findings, const LineWatch &line, const ValueWatch &values);

    void write(int tag, const QByteArray &bytes);
    void ended(const WriteEntry &entry);
    /// Of a tag that is read in one piece.
    void read(int tag);
    void readDone(int id, bool isAnswered);
    /// A request that the driver has given up: it may purge writes.
    void givenUp(int station) { failedStations.insert(station); }
    void afterStep();
    /// Nothing waits too long, nothing is unaccounted.
    void lookAtQueues();
    void lookAtEnd();

    qint64 count(WriteState state) const { return states[int(state)]; }
    qint64 begun() const { return writesBegun; }
    qint64 reads() const { return readsBegun; }
    qint64 readsAnswered() const { return readsGood; }

private:
    struct OpenWrite {
        int tag;
        qint64 since;
        bool isOvertaken = false; ///< There is a newer one of the tag.
        bool metFullQueue = false;
    };
    struct OpenRead {
        int tag;
        qint64 since;
    };

    bool hasCause(const WriteEntry &entry, const OpenWrite &write) const;
    bool isQueueFull() const;
    void settle(int tag);
    void settleUnits(int tag, int station, const QList<WriteEntry> &group);

    SoakRig &rig;
    Findings &findings;
    const LineWatch &line;
    const ValueWatch &values;
    QHash<int, OpenWrite> open;
    QHash<int, OpenRead> openReads;
    QVector<int> openOfTag;
    QVector<QList<WriteEntry>> groups;         ///< Ended writes of each tag, until none of it is open.
    QHash<QPair<int, int>, QVector<int>> held; ///< By tag and station: what the PLC has, a unit each.
    QVector<int> endedTags;                    ///< Of this step.
    QSet<int> failedStations;                  ///< In this step.
    qint64 states[WriteStates] = {};
    qint64 writesBegun = 0, readsBegun = 0, readsGood = 0;
};
