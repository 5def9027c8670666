/// The write queue.
#pragma once

#include "varlist/request_queue.h"

/// Queues a write in place of an equal one, or behind the others. Returns the length of the queue. REQUIRES: listMutex
/// held, within a use of writeQueue.
int mergeWrite(const RW_VAR &var);
/// Cuts the write entries, with their data, that cross a boundary of their area. Always 1. REQUIRES: listMutex held
/// when the list is the write queue.
int plcWriteTypeShort(QList<RW_VAR> &list);
/// Appends a write entry in one piece or cut in two: unit 2 = 2 data bytes an element, 1 = 4 of them, 0 = never cut.
int plcTypeWriteShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit);
