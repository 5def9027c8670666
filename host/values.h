/// What is known of every tag: its last bytes, how good they are, and how old.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

enum class Quality { Good, Uncertain, Bad };
enum class Reason { None, NeverRead, Stale, Timeout, Crc, Length, Exception, StationOff, Port };

struct TagValue {
    QByteArray bytes; ///< Host bytes as last read from the PLC; empty when never read.
    Quality quality = Quality::Bad;
    Reason reason = Reason::NeverRead;
    int exceptionCode = 0;  ///< With Reason::Exception.
    qint64 readAt = -1;     ///< Moment of the oldest answer that the bytes come from; -1 = never.
    bool isPending = false; ///< A write is on its way and not yet confirmed.
};

QString qualityName(Quality quality);
/// "never-read", "stale", "timeout", ...; empty for None.
QString reasonName(Reason reason);
/// "good", "uncertain (stale)", "bad (exception: illegal data address)", with "pending" when a write is on its way.
QString qualityText(const TagValue &value);
