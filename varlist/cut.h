/// Arithmetic of list building: cutting by length, cutting at a boundary, and count conversions.
#pragma once

#include "driver/limits.h"
#include "driver/records.h"
#include "varlist/device_traits.h"

#include <algorithm>

/// A run of elements cut into pieces of at most maxLen, the last with the rest.
struct Cuts {
    int pieces;
    int whole; ///< Pieces of maxLen; after them one with the rest.
    int maxLen;
    int rest;

    int countOf(int piece) const { return piece < whole ? maxLen : rest; }
    qint64 offsetOf(int piece) const { return qint64(piece) * maxLen; }
};

/// A maxLen of 0 leaves the run whole; a negative one makes no piece.
inline Cuts cutsOf(int total, int maxLen)
{
    if (maxLen < 0)
        return {0, 0, maxLen, 0};
    const int whole = maxLen == 0 ? 0 : total / maxLen;
    const int rest = clampToInt(total - qint64(whole) * maxLen);
    return {whole + (rest != 0 ? 1 : 0), whole, maxLen, rest};
}

/// Rounded up to whole 32-bit values, two words each.
inline int roundUpToEven(int words)
{
    return clampToInt((qint64(words) + 1) / 2 * 2) & ~1;
}

/// Half as many, rounded up.
inline int halfRoundedUp(int count)
{
    return int((qint64(count) + 1) / 2);
}

/// Bytes that hold count bits from a bit address on; the block starts at the byte of that bit.
inline int bytesForBits(int bitAddress, int count)
{
    return clampToInt((qint64(bitAddress % 8) + count + 7) / 8);
}

/// Words that hold count bits of which the first is offset bits into a word.
inline int wordsForBits(int offset, int count)
{
    return clampToInt((qint64(offset) + count + 15) / 16);
}

/// Sets a copy of an entry that starts at an address to one of its pieces; step is the distance of two elements. False
/// when the piece would start outside an int.
template <class Entry>
bool setPiece(Entry &copy, int start, const Cuts &cuts, int piece, int step)
{
    const qint64 address = start + cuts.offsetOf(piece) * step;
    if (!fitsInt(address))
        return false;
    copy.address = int(address);
    copy.count = cuts.countOf(piece);
    return true;
}

/// Appends both parts of an entry that crosses a boundary.
inline void appendTwo(QList<RW_VAR> &out, const RW_VAR &head, const RW_VAR &tail)
{
    out.append(head);
    out.append(tail);
}

/// Cuts a list entry by entry. One in which nothing crosses a boundary is left as it stands.
inline void cutAll(QList<RW_VAR> &list, Boundary (*boundaryOf)(int devType), bool (*crosses)(const RW_VAR &, Boundary),
                   int (*append)(RW_VAR &, QList<RW_VAR> &, int boundary, int unit))
{
    const auto isCut = [&](const RW_VAR &entry) { return crosses(entry, boundaryOf(entry.devType)); };
    if (std::none_of(list.constBegin(), list.constEnd(), isCut))
        return;
    QList<RW_VAR> cut;
    for (int i = 0; i < list.size(); ++i) {
        const Boundary boundary = boundaryOf(list.at(i).devType);
        append(list[i], cut, boundary.address, boundary.unit);
    }
    list.swap(cut);
}
