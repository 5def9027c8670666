// Writes and one-shot reads of the panel.
#include "host/panel.h"

namespace {

enum { SpecialElements = 2, BitsInWord = 16, OnceQueueLimit = 1024 };

/// The counts of the records that a write of the tag makes in the driver's queue, added up.
int queuedCount(const Tag &tag)
{
    return findDeviceType(tag.type)->kind == ElementKind::Special ? tag.elements / SpecialElements : tag.elements;
}

} // namespace

CellRange cellsOfWrite(const RW_VAR &write)
{
    const DeviceType *const type = findDeviceType(write.devType);
    if (!type)
        return {write.station, write.devType, write.address, write.address};
    if (type->kind == ElementKind::BitInWord)
        return {write.station, type->base, write.address / BitsInWord, write.address / BitsInWord};
    return {write.station, type->base, write.address, write.address + qMax(1, write.count) - 1};
}

int Panel::write(int tag, const QByteArray &bytes)
{
    const int id = ledger.begin(tag, bytes, channel.now());
    const Tag &target = tagList.at(tag);
    int taken = 0;
    for (const TagPiece &piece : requests.at(tag))
        if (session.setRegisterData(target.name, target.type, piece.address, target.station,
                                    bytes.mid(piece.byteOffset, piece.bytes), piece.elements, WriteRecord, id))
            ++taken;
    // While the last reply was bad the driver shows a write in its image as soon as it is queued.
    spoilCells(cellsOfTag(target), id);
    if (taken == 0)
        ledger.end(id, WriteState::Refused, channel.now());
    else
        ledger.queued(id, queuedCount(target), session.writeList(), channel.now());
    updatePending(tag);
    settleWrites();
    return id;
}

int Panel::readCells(int devType, const QString &address, int station, int count)
{
    const int id = ++lastReadId;
    session.readOnce(devType, address, station, count, ReadRecord, id);
    onceReads.insert(id);
    settleWrites();
    return id;
}

void Panel::onceReadDone(int id, bool isAnswered)
{
    if (onceReads.remove(id))
        listener->readDone(id, isAnswered);
}

// Brings the ledger up to date with the driver's queues, starts confirming reads, and tells about what has ended.
void Panel::settleWrites()
{
    if (!onceReads.isEmpty())
        findLostReads();
    if (ledger.hasOpen()) {
        ledger.afterNext(session.writeList(), session.onceReadList(), channel.now());
        for (const int id : ledger.takeAnswered())
            confirm(id);
    }
    // Named and const: a list without a name would be copied for the loop, at each turn.
    const QList<WriteEntry> ended = ledger.takeEnded();
    for (const WriteEntry &entry : ended) {
        spoiledReads.remove(entry.id);
        updatePending(entry.tag);
        listener->writeEnded(entry);
    }
}

void Panel::confirm(int id)
{
    const int tag = ledger.openEntry(id)->tag;
    const Tag &target = tagList.at(tag);
    if (!settings.confirmWrites || !target.isReadable || target.station == 0)
        return ledger.end(id, WriteState::Done, channel.now());
    ledger.startConfirming(id);
    for (const TagPiece &piece : requests.at(tag))
        session.readOnce(target.type, piece.address, target.station, piece.elements, ConfirmRecord, id);
    // A full queue drops pieces, and the callback of the last one left would speak for all.
    const QList<RW_VAR> queue = session.onceReadList();
    if (queue.size() >= OnceQueueLimit)
        spoiledReads.insert(id);
    ledger.afterNext(session.writeList(), queue, channel.now());
}

void Panel::confirmationRead(int id, bool isAnswered, qint64 at)
{
    const WriteEntry *const entry = ledger.openEntry(id);
    if (!entry)
        return;
    const int tag = entry->tag;
    const CellRange cells = cellsOfTag(tagList.at(tag));
    // Another write of the same cells that waits or was sent meanwhile may have changed them, in the PLC or in the
    // image: then nothing is known.
    bool isKnown = isAnswered && !spoiledReads.contains(id);
    for (const WriteEntry &other : ledger.openEntries())
        if (other.id > id && cellsOfTag(tagList.at(other.tag)).overlaps(cells))
            isKnown = false;
    if (!isKnown)
        return ledger.end(id, WriteState::Done, at);
    readTagFromImage(tag, at, channel.now());
    const QByteArray bytes = tagValues.at(tag).bytes;
    ledger.readBack(id, bytes);
    ledger.end(id, bytes == entry->bytes ? WriteState::Confirmed : WriteState::Reverted, at);
}

// One-shot reads of a station that is switched off are dropped without a callback.
void Panel::findLostReads()
{
    QSet<int> queued;
    const QList<RW_VAR> &waiting = session.onceReadList();
    for (const RW_VAR &record : waiting)
        if (record.connectNo == ReadRecord)
            queued.insert(record.varId);
    const QSet<int> lost = onceReads - queued;
    for (const int id : lost)
        onceReadDone(id, false);
}

void Panel::updatePending(int tag)
{
    bool isPending = false;
    for (const WriteEntry &entry : ledger.openEntries())
        isPending = isPending || entry.tag == tag;
    if (tagValues.at(tag).isPending == isPending)
        return;
    tagValues[tag].isPending = isPending;
    listener->valueChanged(tag);
}

bool Panel::isIdle() const
{
    return !ledger.hasOpen() && onceReads.isEmpty() && !session.isInFlight() && counted.writeLength == 0
           && counted.onceLength == 0;
}
