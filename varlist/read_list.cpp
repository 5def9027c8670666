// AddListReadVar and the shaping of block reads
#include "varlist/read_list.h"

#include "driver/emerson_ec_series.h"

#include <algorithm>

namespace {

bool beforeByAddress(const RW_VAR &left, const RW_VAR &right)
{
    return left.address < right.address;
}

/// Appends blocks of a sorted group to readList. An entry's addresses count single elements; a block's count is in
/// units of perCount elements and its address a multiple of that. Gaps inside a block are simply read with it.
int mergeGroup(const QList<RW_VAR> &group, int maxSpan, int index, int perCount)
{
    qint64 start = 0;
    qint64 end = 0;
    for (int i = 0; i < group.size(); ++i) {
        const RW_VAR &var = group.at(i);
        const qint64 varEnd = qint64(var.address) + var.count;
        const qint64 span = varEnd - start;
        if (i > 0 && end > var.address && end >= varEnd)
            continue;
        if (i > 0 && span <= maxSpan) {
            RW_VAR &block = PLC_driver.readList[index - 1];
            block.count = clampToInt((span + perCount - 1) / perCount);
            end = start + qint64(block.count) * perCount;
            continue;
        }
        RW_VAR block = var;
        block.address = var.address - var.address % perCount;
        block.count = clampToInt((qint64(var.address % perCount) + var.count + perCount - 1) / perCount);
        AddListReadVar(&block);
        ++index;
        start = block.address;
        end = start + qint64(block.count) * perCount;
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

void appendPieces(const RW_VAR &entry, const Cuts &cuts, int step, QList<RW_VAR> &group, int room)
{
    RW_VAR piece = entry;
    for (int i = 0; i < qMin(cuts.pieces, room) && setPiece(piece, entry.address, cuts, i, step); ++i)
        group.append(piece);
}

void WhetherGroup(int total, int maxLen, RW_VAR *entry, QList<RW_VAR> *group, int room)
{
    if (maxLen < 0 || room <= 0)
        return;
    if (total <= maxLen)
        group->append(*entry);
    else
        appendPieces(*entry, cutsOf(total, maxLen), 1, *group, room);
}

void Bubble_Sort(QList<RW_VAR> *group)
{
    std::stable_sort(group->begin(), group->end(), beforeByAddress);
}

int BitVarReCreat(QList<RW_VAR> *group, int maxBits, int index)
{
    return mergeGroup(*group, maxBits, index, 8);
}

int WordVarReCreat(QList<RW_VAR> *group, int maxLen, int index)
{
    return mergeGroup(*group, maxLen, index, 1);
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
