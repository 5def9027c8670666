// AddListReadVar and the shaping of block reads
#include "varlist/read_list.h"

#include "driver/emerson_ec_series.h"
#include "driver/settings.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace {

enum { SortedByBytes = 128 }; // entries for which that is worth its tables

// Of readList; listMutex. Where the last rotation has left the head: elsewhere, somebody else has changed the list.
int rotations = 0; // since the last whole turn
QList<RW_VAR>::const_iterator headPlace;

bool beforeByAddress(const ReadPiece &left, const ReadPiece &right)
{
    return left.address < right.address;
}

/// A list that others have changed may begin anywhere, without the room that a turn takes.
void moveToItsOwnRoom(QList<RW_VAR> &list)
{
    QList<RW_VAR> roomy;
    roomy.reserve(2 * list.size());
    roomy.append(list);
    list.swap(roomy);
    rotations = 0;
}

/// A byte of the address; the highest one so that negative addresses come first.
unsigned addressByte(const ReadPiece &piece, int byte)
{
    return (unsigned(piece.address) ^ 0x80000000u) >> 8 * byte & 0xFF;
}

/// Sorts by the lowest byte, then by the next, and so on: a cost for each entry that does not grow with their number.
void sortByBytes(ReadGroup &group)
{
    ReadGroup sorted(group.size());
    for (int byte = 0; byte < 4; ++byte) {
        size_t ends[256] = {};
        for (const ReadPiece &piece : group)
            ++ends[addressByte(piece, byte)];
        if (ends[addressByte(group.front(), byte)] == group.size())
            continue;
        std::partial_sum(std::begin(ends), std::end(ends), std::begin(ends));
        // From the back, so that equal ones keep their order.
        for (auto piece = group.crbegin(); piece != group.crend(); ++piece)
            sorted[--ends[addressByte(*piece, byte)]] = *piece;
        group.swap(sorted);
    }
}

/// The block that a piece opens.
RW_VAR blockOf(const ReadPiece &piece)
{
    const VARDESC &source = *piece.source;
    const DeviceTraits &traits = deviceTraits(source.devType);
    RW_VAR block;
    block.varId = -1;
    block.hostWord3 = setting(&COMINFO::remoteMode);
    block.panelStation = setting(&COMINFO::ownStation);
    block.nameText = source.nameText;
    block.addrText = source.addrText;
    block.devType = traits.kind == Kind::None ? source.devType : traits.base;
    block.station = setting(&COMINFO::stationScope) == 0 ? setting(&COMINFO::plcStation) : source.station;
    return block;
}

/// Appends blocks of a sorted group to readList. An entry's addresses count single elements; a block's count is in
/// units of PerCount elements and its address a multiple of that. Gaps inside a block are simply read with it.
template <int PerCount>
int mergeGroup(const ReadGroup &group, int maxSpan, int index)
{
    qint64 start = 0;
    qint64 end = 0;
    bool isFirst = true;
    for (const ReadPiece &piece : group) {
        const qint64 pieceEnd = qint64(piece.address) + piece.count;
        const qint64 span = pieceEnd - start;
        if (!isFirst && end > piece.address && end >= pieceEnd)
            continue;
        if (!isFirst && span <= maxSpan) {
            RW_VAR &block = PLC_driver.readList[index - 1];
            block.count = clampToInt((span + PerCount - 1) / PerCount);
            end = start + qint64(block.count) * PerCount;
            continue;
        }
        isFirst = false;
        RW_VAR block = blockOf(piece);
        block.address = piece.address - piece.address % PerCount;
        block.count = clampToInt((qint64(piece.address % PerCount) + piece.count + PerCount - 1) / PerCount);
        AddListReadVar(&block);
        ++index;
        start = block.address;
        end = start + qint64(block.count) * PerCount;
    }
    return index;
}

qint64 elementsPerCount(int unit)
{
    return unit == 1 ? 8 : 1;
}

bool crossesWhenRead(const RW_VAR &entry, Boundary boundary)
{
    return (boundary.unit == 1 || boundary.unit == 2) && entry.address < boundary.address
           && entry.address + entry.count * elementsPerCount(boundary.unit) > boundary.address;
}

} // namespace

extern "C" int AddListReadVar(RW_VAR *var)
{
    if (var == nullptr)
        return 0;
    PLC_driver.readList.append(*var);
    return PLC_driver.readList.size();
}

void appendPieces(const ReadPiece &entry, const Cuts &cuts, int step, ReadGroup &group, int room)
{
    ReadPiece piece = entry;
    for (int i = 0; i < qMin(cuts.pieces, room) && setPiece(piece, entry.address, cuts, i, step); ++i)
        group.push_back(piece);
}

void WhetherGroup(int total, int maxLen, const ReadPiece *entry, ReadGroup *group, int room)
{
    if (maxLen < 0 || room <= 0)
        return;
    if (total <= maxLen)
        group->push_back(*entry);
    else
        appendPieces(*entry, cutsOf(total, maxLen), 1, *group, room);
}

void Bubble_Sort(ReadGroup *group)
{
    // Screens mostly list their variables in order.
    if (std::is_sorted(group->begin(), group->end(), beforeByAddress))
        return;
    if (group->size() < SortedByBytes)
        std::stable_sort(group->begin(), group->end(), beforeByAddress);
    else
        sortByBytes(*group);
}

int BitVarReCreat(ReadGroup *group, int maxBits, int index)
{
    return mergeGroup<8>(*group, maxBits, index);
}

int WordVarReCreat(ReadGroup *group, int maxLen, int index)
{
    return mergeGroup<1>(*group, maxLen, index);
}

void reserveTurn()
{
    PLC_driver.readList.reserve(2 * PLC_driver.readList.size());
    rotations = 0;
    headPlace = PLC_driver.readList.constBegin();
}

// A list moves its head to the end in constant time as long as there is room behind its last entry. A whole turn
// backwards leaves the order as it is, and gives back the room that a turn has used up.
void rotateReadList()
{
    QList<RW_VAR> &list = PLC_driver.readList;
    const int size = list.size();
    list.reserve(2 * size);
    if (list.constBegin() != headPlace)
        moveToItsOwnRoom(list);
    list.move(0, size - 1);
    if (++rotations >= size) {
        for (int i = 0; i < size; ++i)
            list.move(size - 1, 0);
        rotations = 0;
    }
    headPlace = list.constBegin();
}

bool isCutWhenRead(const RW_VAR &entry)
{
    return crossesWhenRead(entry, readBoundary(entry.devType));
}

int plcTypeShort(QList<RW_VAR> &list)
{
    cutAll(list, readBoundary, crossesWhenRead, plcTypeShortAdd);
    return 1;
}

int plcTypeShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit)
{
    if (!crossesWhenRead(entry, {boundary, unit})) {
        out.append(entry);
        return 1;
    }
    const int shift = unit == 1 ? 3 : 0;
    const qint64 end = entry.address + entry.count * elementsPerCount(unit);
    RW_VAR head = entry;
    head.count = clampToInt((qint64(boundary) - entry.address) >> shift);
    RW_VAR tail = entry;
    tail.address = boundary;
    tail.count = clampToInt((end - boundary + elementsPerCount(unit) - 1) >> shift);
    appendTwo(out, head, tail);
    return 1;
}
