/// Replay: the calls of a trace made again on a fresh driver, and everything that comes back compared.
#pragma once

#include "host/session.h"

struct ReplayDifference {
    int line; ///< In the trace.
    QString expected;
    QString got;
};

struct ReplayReport {
    QVector<ReplayDifference> differences; ///< The first ones.
    qint64 differenceCount = 0;
    QStringList problems; ///< "line N: ...: expected ...", the first 100: lines that could not be replayed.
    qint64 problemCount = 0;
    qint64 calls = 0;         ///< Of the driver, those that gave nothing included.
    qint64 transactions = 0;  ///< Replies given to it.
    qint64 bytesCompared = 0; ///< Of frames and of the image.
    bool isComplete = false;  ///< The trace has its end, so the image was compared too.

    bool isSame() const { return differenceCount == 0 && problemCount == 0; }
};

/// Strictly in the order of the trace. No session may be active; a fresh driver is left behind. mostDifferences are
/// listed, all are counted.
ReplayReport replay(const QVector<TraceLine> &lines, const Plugin &plugin, int mostDifferences = 100);
