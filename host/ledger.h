/// The truth about every write: each ends in exactly one state.
///
/// The driver drops some writes without a callback. The ledger finds them by looking at the driver's queues after each
/// call that may change them.
#pragma once

#include "host/session.h"
#include "host/values.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>

enum class WriteState {
    Queued,            ///< Open: in the driver's queue, or on the line.
    Confirming,        ///< Open: answered, and a read of it is on its way.
    Confirmed,         ///< Answered, and read back as written.
    Done,              ///< Answered, not read back.
    Failed,            ///< Sent, and finally not answered well.
    Superseded,        ///< A newer write of the same cells took its place in the queue.
    Purged,            ///< Dropped by the driver because another write failed.
    DroppedQueueFull,  ///< The queue had no room for all of it.
    DroppedStationOff, ///< Its turn came while its station was switched off.
    Reverted,          ///< Answered, and read back different.
    Refused            ///< The driver did not take it.
};
enum { WriteStates = int(WriteState::Refused) + 1 };
/// "queued", "confirmed", "dropped-queue-full", ...
QString writeStateName(WriteState state);
bool isOpenState(WriteState state);

struct WriteEntry {
    int id = 0; ///< From 1; the varId of its records in the driver.
    int tag = 0;
    QByteArray bytes;
    WriteState state = WriteState::Queued;
    Reason reason = Reason::None; ///< With Failed: why.
    int exceptionCode = 0;        ///< With Reason::Exception.
    bool isSent = false;          ///< At least a part of it has gone out.
    QByteArray readBack;          ///< With Confirmed and Reverted: what the PLC has.
    qint64 queuedAt = 0;
    qint64 endedAt = -1;

    int left = 0;                          ///< Elements that the driver's queue still holds.
    WriteState worst = WriteState::Queued; ///< Bad end of a part of it, at worst; Queued while there is none.
};

/// Where the driver's records of the panel come from: their connectNo.
enum RecordOrigin { WriteRecord = 0, ConfirmRecord = 1, ReadRecord = 2 };

class Ledger {
public:
    /// A write of a tag that is about to be queued. Returns its id.
    int begin(int tag, const QByteArray &bytes, qint64 now);
    /// After the SetRegisterData calls of that write, elements in the driver's count in all: finds what the queue did
    /// not take, and older writes whose place it took.
    void queued(int id, int elements, const QList<RW_VAR> &writeList, qint64 now);
    /// A record of the write list goes out.
    void sent(const RW_VAR &record);
    /// After ComCommunication: what is gone from the queues belonged to switched-off stations.
    void afterNext(const QList<RW_VAR> &writeList, const QList<RW_VAR> &onceList, qint64 now);
    /// After DataCom, with the record served when it came from the write list, and what became of it. Of what is gone
    /// otherwise the driver has let go because of the failure.
    void afterAnswer(const RW_VAR *servedWrite, bool isFinished, bool isGood, Reason reason, int exceptionCode,
                     const QList<RW_VAR> &writeList, const QList<RW_VAR> &onceList, qint64 now);
    /// Writes that were answered and wait for the panel to say whether they are read back: startConfirming or end.
    QList<int> takeAnswered();
    void startConfirming(int id);
    void readBack(int id, const QByteArray &bytes);
    /// Ends an answered or confirming write.
    void end(int id, WriteState state, qint64 now);

    bool hasOpen() const { return !open.isEmpty(); }
    bool hasConfirming() const { return confirming > 0; }
    /// Null when it is not open.
    const WriteEntry *openEntry(int id) const;
    const QMap<int, WriteEntry> &openEntries() const { return open; }
    /// Ended since the last call, in the order of ending: to be called after each of the calls above.
    QList<WriteEntry> takeEnded();
    /// Writes that have ended in a state since the start.
    qint64 count(WriteState state) const { return counts[int(state)]; }
    qint64 begun() const { return lastId; }
    QJsonObject toJson() const;

private:
    void account(const QList<RW_VAR> &writeList, WriteState gone, qint64 now);
    void settle(qint64 now);
    void loseConfirmations(const QList<RW_VAR> &onceList, qint64 now);

    QMap<int, WriteEntry> open;
    QList<int> answered;
    QList<WriteEntry> ended;
    int confirming = 0;
    int lastId = 0;
    qint64 counts[WriteStates] = {};
};
