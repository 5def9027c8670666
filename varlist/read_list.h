/// Grouping variables into block reads, and cutting blocks where the address map stops being contiguous.
#pragma once

#include "driver/limits.h"
#include "driver/records.h"
#include "varlist/cut.h"

#include <vector>

/// A variable to read, or a piece of a long one, on its way into a block.
struct ReadPiece {
    int address; ///< Bit address of a bit entry, otherwise word address.
    int count;
    const VARDESC *source; ///< What the host asked for; outlives the piece.
};

/// Pieces that may share blocks.
typedef std::vector<ReadPiece> ReadGroup;

/// Appends one variable to a group: as it stands when total <= maxLen, otherwise in pieces of maxLen, the last with the
/// rest. At most room pieces are made, and none whose address leaves an int.
void WhetherGroup(int total, int maxLen, const ReadPiece *entry, ReadGroup *group, int room = ElementLimit);
/// Appends the pieces of one entry to a group; step is the distance of two elements in addresses.
void appendPieces(const ReadPiece &entry, const Cuts &cuts, int step, ReadGroup &group, int room);
/// Sorts by address; equal addresses keep their order.
void Bubble_Sort(ReadGroup *group);
/// Merges a sorted group of bit entries (bit addresses and bit counts) into blocks of bytes, appended to readList. A
/// block is a read of its first entry's code and station. REQUIRES: listMutex held; index is the length of readList.
/// Returns the new length.
int BitVarReCreat(ReadGroup *group, int maxBits, int index);
/// The same for word entries.
int WordVarReCreat(ReadGroup *group, int maxLen, int index);
/// Makes room for rotations of readList, which are slower without. REQUIRES: listMutex held.
void reserveTurn();
/// Moves the head to the end. REQUIRES: listMutex held, readList not empty.
void rotateReadList();
/// True for a read entry that crosses a boundary of its area.
bool isCutWhenRead(const RW_VAR &entry);
/// Cuts the read entries that cross a boundary of their area. Always 1.
int plcTypeShort(QList<RW_VAR> &list);
/// Appends a read entry in one piece or cut in two: unit 1 = bit entry counted in bytes, 2 = word entry, 0 = never cut.
int plcTypeShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit);
