/// Grouping variables into block reads, and cutting blocks where the address map stops being contiguous.
#pragma once

#include "driver/limits.h"
#include "driver/records.h"
#include "varlist/cut.h"

/// Appends one variable to a group: as it stands when total <= maxLen, otherwise in pieces of maxLen, the last with the
/// rest. At most room pieces are made, and none whose address leaves an int.
void WhetherGroup(int total, int maxLen, RW_VAR *entry, QList<RW_VAR> *group, int room = ElementLimit);
/// Appends the pieces of one entry to a group; step is the distance of two elements in addresses.
void appendPieces(const RW_VAR &entry, const Cuts &cuts, int step, QList<RW_VAR> &group, int room);
/// Sorts by address; equal addresses keep their order.
void Bubble_Sort(QList<RW_VAR> *group);
/// Merges a sorted group of bit entries (bit addresses and bit counts) into blocks of bytes, appended to readList.
/// REQUIRES: listMutex held; index is the length of readList. Returns the new length.
int BitVarReCreat(QList<RW_VAR> *group, int maxBits, int index);
/// The same for word entries.
int WordVarReCreat(QList<RW_VAR> *group, int maxLen, int index);
/// Cuts the read entries that cross a boundary of their area. Always 1.
int plcTypeShort(QList<RW_VAR> &list);
/// Appends a read entry in one piece or cut in two: unit 1 = bit entry counted in bytes, 2 = word entry, 0 = never cut.
int plcTypeShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit);
