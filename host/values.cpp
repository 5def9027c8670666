#include "host/values.h"

#include "host/reply_guard.h"

QString qualityName(Quality quality)
{
    switch (quality) {
    case Quality::Good:
        return QStringLiteral("good");
    case Quality::Uncertain:
        return QStringLiteral("uncertain");
    case Quality::Bad:
        return QStringLiteral("bad");
    }
    return QString();
}

QString reasonName(Reason reason)
{
    switch (reason) {
    case Reason::None:
        return QString();
    case Reason::NeverRead:
        return QStringLiteral("never-read");
    case Reason::Stale:
        return QStringLiteral("stale");
    case Reason::Timeout:
        return QStringLiteral("timeout");
    case Reason::Crc:
        return QStringLiteral("crc");
    case Reason::Length:
        return QStringLiteral("length");
    case Reason::Exception:
        return QStringLiteral("exception");
    case Reason::StationOff:
        return QStringLiteral("station-off");
    case Reason::Port:
        return QStringLiteral("port");
    }
    return QString();
}

QString qualityText(const TagValue &value)
{
    QString text = qualityName(value.quality);
    if (value.reason == Reason::Exception)
        text += QString::fromLatin1(" (exception: %1)").arg(exceptionText(value.exceptionCode));
    else if (value.reason != Reason::None)
        text += QString::fromLatin1(" (%1)").arg(reasonName(value.reason));
    if (value.isPending)
        text += QStringLiteral(", pending");
    return text;
}
