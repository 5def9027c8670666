#include "host/block_map.h"

namespace {

enum { BitAreas = 7, BitsInWord = 16, SpecialBase = 13, ElementsInSpecial = 2, BitsInByte = 8 };

/// True when the ranges together have every cell of the wanted one.
bool covers(const QVector<CellRange> &ranges, const QVector<int> &chosen, const CellRange &wanted)
{
    int next = wanted.first;
    for (bool grows = true; grows && next <= wanted.last;) {
        grows = false;
        for (const int block : chosen) {
            if (ranges.at(block).first <= next && next <= ranges.at(block).last) {
                next = ranges.at(block).last + 1;
                grows = true;
            }
        }
    }
    return next > wanted.last;
}

} // namespace

CellRange cellsOfTag(const Tag &tag)
{
    const DeviceType &type = *findDeviceType(tag.type);
    CellRange range{tag.station, type.base, tag.element, tag.element + tag.elements - 1};
    switch (type.kind) {
    case ElementKind::Bit:
    case ElementKind::Word:
    case ElementKind::Pair:
        break;
    case ElementKind::Special:
        range.last = tag.element + tag.elements / ElementsInSpecial - 1;
        break;
    case ElementKind::BitInWord:
        range.first = tag.element / BitsInWord;
        range.last = (tag.element + tag.elements - 1) / BitsInWord;
        break;
    }
    return range;
}

CellRange cellsOfBlock(const RW_VAR &block)
{
    const int cells = block.devType < BitAreas ? block.count * BitsInByte : block.count;
    return {block.station, block.devType, block.address, block.address + cells - 1};
}

BlockMap::BlockMap(const QList<RW_VAR> &blocks, const QList<Tag> &tags)
    : blockTags(blocks.size()), tagBlocks(tags.size()), covered(tags.size())
{
    QHash<QPair<int, int>, QVector<int>> ofArea;
    for (const RW_VAR &block : blocks) {
        const CellRange range = cellsOfBlock(block);
        index.insert(range, ranges.size());
        ++stationBlocks[range.station];
        ofArea[{range.station, range.base}].append(ranges.size());
        ranges.append(range);
    }
    for (int tag = 0; tag < tags.size(); ++tag) {
        if (!tags.at(tag).isReadable)
            continue;
        const CellRange cells = cellsOfTag(tags.at(tag));
        for (const int block : ofArea.value({cells.station, cells.base})) {
            if (!ranges.at(block).overlaps(cells))
                continue;
            tagBlocks[tag].append(block);
            blockTags[block].append(tag);
        }
        covered[tag] = covers(ranges, tagBlocks.at(tag), cells);
    }
}

int BlockMap::blockOf(const RW_VAR &block) const
{
    return index.value(cellsOfBlock(block), -1);
}
