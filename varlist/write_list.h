/// The write queue.
#pragma once

#include "driver/records.h"

#include <QtCore/QHash>

/// What makes two writes the same: a newer one replaces the older in the queue.
struct WriteKey {
    int station, devType, address, count;
};

/// Queues writes, each in place of an equal one or behind the others. REQUIRES: listMutex held as long as it lives, and
/// nobody else changes the queue meanwhile.
class WriteQueuer {
public:
    /// Returns the length of the queue.
    int add(const RW_VAR &var);

private:
    int findInFullQueue(const WriteKey &key);

    int m_scans = 0;
    QHash<WriteKey, int> m_positions; ///< First positions in a full queue, whose keys stay as they are.
};

/// Cuts the write entries, with their data, that cross a boundary of their area. Always 1. REQUIRES: listMutex held
/// when the list is the write queue.
int plcWriteTypeShort(QList<RW_VAR> &list);
/// Appends a write entry in one piece or cut in two: unit 2 = 2 data bytes an element, 1 = 4 of them, 0 = never cut.
int plcTypeWriteShortAdd(RW_VAR &entry, QList<RW_VAR> &out, int boundary, int unit);
