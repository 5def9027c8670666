/// Bounds that keep any input from exhausting the machine, and the arithmetic that stays inside an int.
#pragma once

#include <QtCore/QtGlobal>

#include <limits>

enum {
    QueueLimit = 1024,      ///< Entries in the write queue and in the one-shot queue.
    StreakLimit = 5,        ///< Writes, or one-shot reads, served in a row.
    ElementLimit = 1048576, ///< Elements, or list entries, that one call makes at most.
    FrameLimit = 65535 + 9  ///< Bytes in the longest frame that is ever built.
};

inline bool fitsInt(qint64 value)
{
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

/// The nearest int.
inline int clampToInt(qint64 value)
{
    return int(qBound(qint64(std::numeric_limits<int>::min()), value, qint64(std::numeric_limits<int>::max())));
}
