// What the panel knows of its tags' values.
#include "host/panel.h"

namespace {

enum { AgesMicroseconds = 100000 };

} // namespace

void Panel::blockAnswered(const RW_VAR &var, qint64 at)
{
    const int block = blockMap.blockOf(var);
    if (block < 0)
        return;
    blocks[block].readAt = at;
    blocks[block].isGood = true;
    blocks[block].isServed = true;
    const qint64 now = channel.now();
    for (const int tag : blockMap.tagsOfBlock(block)) {
        qint64 oldest = at;
        bool isWhole = true;
        for (const int other : blockMap.blocksOfTag(tag)) {
            oldest = qMin(oldest, blocks.at(other).readAt);
            isWhole = isWhole && blocks.at(other).isGood;
        }
        if (isWhole)
            readTagFromImage(tag, oldest, now);
    }
}

void Panel::blockFailed(const RW_VAR &var, Reason reason, int exceptionCode)
{
    const int block = blockMap.blockOf(var);
    if (block < 0)
        return;
    blocks[block].isGood = false;
    blocks[block].isServed = true;
    // That a station on trial did not answer is no news.
    const bool isOff = !stationStates.value(var.station).isOn;
    for (const int tag : blockMap.tagsOfBlock(block))
        setQuality(tag, Quality::Bad, isOff ? Reason::StationOff : reason, isOff ? 0 : exceptionCode);
}

// A write may show in the image from its queueing on, and again when it is sent, before the PLC has it. A tag over
// several blocks then waits until all are read again, and a confirming read under way proves nothing.
void Panel::spoilCells(const CellRange &cells, int writeId)
{
    for (int block = 0; block < blocks.size(); ++block)
        if (blockMap.range(block).overlaps(cells))
            blocks[block].isGood = false;
    for (const WriteEntry &entry : ledger.openEntries())
        if (entry.id != writeId && entry.state == WriteState::Confirming
            && cellsOfTag(tagList.at(entry.tag)).overlaps(cells))
            spoiledReads.insert(entry.id);
}

void Panel::lookAtImage(int tag)
{
    const Tag &target = tagList.at(tag);
    const QVector<TagPiece> &pieces = looks.at(tag);
    if (pieces.size() == 1) {
        const TagPiece &piece = pieces.first();
        // The driver makes an array longer, never shorter.
        if (looked.size() > piece.bytes)
            looked.resize(piece.bytes);
        if (!session.getRegisterData(target.type, piece.address, target.station, &looked, piece.elements))
            looked.resize(0);
        return;
    }
    looked.resize(0);
    for (const TagPiece &piece : pieces) {
        QByteArray values;
        session.getRegisterData(target.type, piece.address, target.station, &values, piece.elements);
        looked += values;
    }
}

void Panel::readTagFromImage(int tag, qint64 readAt, qint64 now)
{
    TagValue &value = tagValues[tag];
    lookAtImage(tag);
    const bool isNew = looked != value.bytes;
    // A copy of its own: sharing would cost the next tag an allocation.
    if (isNew)
        value.bytes = QByteArray(looked.constData(), looked.size());
    value.readAt = readAt;
    const bool isStale = now - readAt > qint64(settings.staleAfter) * 1000;
    const Quality quality = isStale ? Quality::Uncertain : Quality::Good;
    if (value.quality != quality)
        setQuality(tag, quality, isStale ? Reason::Stale : Reason::None);
    else if (isNew)
        listener->valueChanged(tag);
}

void Panel::setQuality(int tag, Quality quality, Reason reason, int exceptionCode)
{
    TagValue &value = tagValues[tag];
    if (value.quality == quality && value.reason == reason && value.exceptionCode == exceptionCode)
        return;
    value.quality = quality;
    value.reason = reason;
    value.exceptionCode = exceptionCode;
    listener->valueChanged(tag);
}

void Panel::refreshAges()
{
    const qint64 now = channel.now();
    if (now - agesAt < AgesMicroseconds)
        return;
    agesAt = now;
    const qint64 limit = qint64(settings.staleAfter) * 1000;
    for (int tag = 0; tag < tagValues.size(); ++tag)
        if (tagValues.at(tag).quality == Quality::Good && now - tagValues.at(tag).readAt > limit)
            setQuality(tag, Quality::Uncertain, Reason::Stale);
}

bool Panel::isPassComplete() const
{
    for (int block = 0; block < blocks.size(); ++block)
        if (!blocks.at(block).isServed && stationStates.value(blockMap.range(block).station).isOn)
            return false;
    return true;
}

void Panel::expectPass()
{
    for (BlockState &block : blocks)
        block.isServed = false;
}
