#include "host/ledger.h"

namespace {

/// A part that was superseded is no loss: a real one counts.
bool isMilder(WriteState state)
{
    return state == WriteState::Queued || state == WriteState::Superseded;
}

/// Elements that a queue holds of each write, or pieces of each confirming read.
QMap<int, int> elementsById(const QList<RW_VAR> &queue, int connectNo)
{
    QMap<int, int> elements;
    for (const RW_VAR &record : queue)
        if (record.connectNo == connectNo)
            elements[record.varId] += record.count;
    return elements;
}

} // namespace

QString writeStateName(WriteState state)
{
    switch (state) {
    case WriteState::Queued:
        return QStringLiteral("queued");
    case WriteState::Confirming:
        return QStringLiteral("confirming");
    case WriteState::Confirmed:
        return QStringLiteral("confirmed");
    case WriteState::Done:
        return QStringLiteral("done");
    case WriteState::Failed:
        return QStringLiteral("failed");
    case WriteState::Superseded:
        return QStringLiteral("superseded");
    case WriteState::Purged:
        return QStringLiteral("purged");
    case WriteState::DroppedQueueFull:
        return QStringLiteral("dropped-queue-full");
    case WriteState::DroppedStationOff:
        return QStringLiteral("dropped-station-off");
    case WriteState::Reverted:
        return QStringLiteral("reverted");
    case WriteState::Refused:
        return QStringLiteral("refused");
    }
    return QString();
}

bool isOpenState(WriteState state)
{
    return state == WriteState::Queued || state == WriteState::Confirming;
}

int Ledger::begin(int tag, const QByteArray &bytes, qint64 now)
{
    WriteEntry entry;
    entry.id = ++lastId;
    entry.tag = tag;
    entry.bytes = bytes;
    entry.queuedAt = now;
    open.insert(entry.id, entry);
    return entry.id;
}

void Ledger::queued(int id, int elements, const QList<RW_VAR> &writeList, qint64 now)
{
    const QMap<int, int> inQueue = elementsById(writeList, WriteRecord);
    WriteEntry &entry = open[id];
    entry.left = inQueue.value(id);
    if (entry.left < elements)
        entry.worst = WriteState::DroppedQueueFull;
    account(writeList, WriteState::Superseded, now);
}

void Ledger::sent(const RW_VAR &record)
{
    const auto found = record.connectNo == WriteRecord ? open.find(record.varId) : open.end();
    if (found != open.end())
        found->isSent = true;
}

void Ledger::readBack(int id, const QByteArray &bytes)
{
    const auto found = open.find(id);
    if (found != open.end())
        found->readBack = bytes;
}

void Ledger::afterNext(const QList<RW_VAR> &writeList, const QList<RW_VAR> &onceList, qint64 now)
{
    account(writeList, WriteState::DroppedStationOff, now);
    loseConfirmations(onceList, now);
}

void Ledger::afterAnswer(const RW_VAR *servedWrite, bool isFinished, bool isGood, Reason reason, int exceptionCode,
                         const QList<RW_VAR> &writeList, const QList<RW_VAR> &onceList, qint64 now)
{
    const auto served =
        servedWrite && isFinished && servedWrite->connectNo == WriteRecord ? open.find(servedWrite->varId) : open.end();
    if (served != open.end()) {
        served->left -= servedWrite->count;
        if (!isGood && isMilder(served->worst)) {
            served->worst = WriteState::Failed;
            served->reason = reason;
            served->exceptionCode = exceptionCode;
        }
    }
    account(writeList, WriteState::Purged, now);
    loseConfirmations(onceList, now);
}

// What a write has fewer of in the queue than the ledger knows is gone without a callback.
void Ledger::account(const QList<RW_VAR> &writeList, WriteState gone, qint64 now)
{
    const QMap<int, int> inQueue = elementsById(writeList, WriteRecord);
    for (WriteEntry &entry : open) {
        if (entry.state != WriteState::Queued)
            continue;
        const int left = inQueue.value(entry.id);
        if (left < entry.left && isMilder(entry.worst))
            entry.worst = gone;
        entry.left = left;
    }
    settle(now);
}

void Ledger::settle(qint64 now)
{
    QList<QPair<int, WriteState>> over;
    for (const WriteEntry &entry : qAsConst(open)) {
        if (entry.state != WriteState::Queued || entry.left > 0 || answered.contains(entry.id))
            continue;
        if (entry.worst == WriteState::Queued)
            answered.append(entry.id);
        else
            over.append({entry.id, entry.worst});
    }
    for (const auto &one : qAsConst(over))
        end(one.first, one.second, now);
}

// A confirming read that is gone without a callback will not come back: the write was answered, and no more is known.
void Ledger::loseConfirmations(const QList<RW_VAR> &onceList, qint64 now)
{
    if (confirming == 0)
        return;
    const QMap<int, int> inQueue = elementsById(onceList, ConfirmRecord);
    for (const int id : open.keys())
        if (open.value(id).state == WriteState::Confirming && !inQueue.contains(id))
            end(id, WriteState::Done, now);
}

QList<int> Ledger::takeAnswered()
{
    QList<int> ids;
    ids.swap(answered);
    return ids;
}

void Ledger::startConfirming(int id)
{
    open[id].state = WriteState::Confirming;
    ++confirming;
}

void Ledger::end(int id, WriteState state, qint64 now)
{
    const auto found = open.find(id);
    if (found == open.end())
        return;
    WriteEntry entry = found.value();
    open.erase(found);
    answered.removeAll(id);
    confirming -= entry.state == WriteState::Confirming;
    entry.state = state;
    entry.endedAt = now;
    ++counts[int(state)];
    ended.append(entry);
}

const WriteEntry *Ledger::openEntry(int id) const
{
    const auto found = open.find(id);
    return found == open.end() ? nullptr : &found.value();
}

QList<WriteEntry> Ledger::takeEnded()
{
    QList<WriteEntry> entries;
    entries.swap(ended);
    return entries;
}

QJsonObject Ledger::toJson() const
{
    QJsonObject object{{QStringLiteral("writes"), lastId}, {QStringLiteral("open"), open.size()}};
    for (int state = 0; state < WriteStates; ++state)
        if (!isOpenState(WriteState(state)))
            object.insert(writeStateName(WriteState(state)), counts[state]);
    return object;
}
