/// Which blocks of the driver's read list a tag's value comes from.
#pragma once

#include "host/tags.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

/// A run of cells as the driver reads and stores them: bits of a bit area, words, or values of code 13.
struct CellRange {
    int station;
    int base;
    int first;
    int last;

    bool overlaps(const CellRange &other) const
    {
        return station == other.station && base == other.base && first <= other.last && other.first <= last;
    }
    bool operator==(const CellRange &other) const
    {
        return station == other.station && base == other.base && first == other.first && last == other.last;
    }
};

/// Blocks differ in where they begin; the multipliers keep stations and areas apart.
inline uint qHash(const CellRange &range, uint seed = 0)
{
    return seed ^ (uint(range.station) * 0x9E3779B1U + uint(range.base) * 0x85EBCA6BU + uint(range.first));
}

CellRange cellsOfTag(const Tag &tag);
/// The cells of a block of the driver's read lists.
CellRange cellsOfBlock(const RW_VAR &block);

class BlockMap {
public:
    BlockMap() = default;
    /// Tags that are not readable belong to no block.
    BlockMap(const QList<RW_VAR> &blocks, const QList<Tag> &tags);

    int blocks() const { return ranges.size(); }
    /// The block that a record of the read list is; -1 when it is none.
    int blockOf(const RW_VAR &block) const;
    const QVector<int> &tagsOfBlock(int block) const { return blockTags.at(block); }
    const QVector<int> &blocksOfTag(int tag) const { return tagBlocks.at(tag); }
    /// True when the blocks have every cell of the tag.
    bool isCovered(int tag) const { return covered.at(tag); }
    const CellRange &range(int block) const { return ranges.at(block); }
    /// Station and number of its blocks.
    const QMap<int, int> &blocksOfStations() const { return stationBlocks; }

private:
    QVector<CellRange> ranges;
    QVector<QVector<int>> blockTags;
    QVector<QVector<int>> tagBlocks;
    QVector<bool> covered;
    QHash<CellRange, int> index;
    QMap<int, int> stationBlocks;
};
