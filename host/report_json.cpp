// timeText, valueObject, writeObject, eventObject, endObject
#include "host/report.h"

#include "host/reply_guard.h"
#include "host/tag_codec.h"

#include <QtCore/QDateTime>

namespace {

QString stateName(const WriteEntry &write)
{
    switch (write.state) {
    case WriteState::Queued:
        return write.isSent ? QStringLiteral("unknown") : QStringLiteral("not-sent");
    case WriteState::Confirming:
        return writeStateName(WriteState::Done);
    default:
        return writeStateName(write.state);
    }
}

} // namespace

QString timeText(qint64 moment, qint64 panelNow)
{
    return QDateTime::currentDateTimeUtc().addMSecs((moment - panelNow) / 1000).toString(Qt::ISODateWithMs);
}

QJsonObject valueObject(const Tag &tag, const TagValue &value)
{
    QJsonObject object{{QStringLiteral("tag"), tag.name},
                       {QStringLiteral("value"), value.bytes.isEmpty() ? QJsonValue() : valueJson(tag, value.bytes)},
                       {QStringLiteral("unit"), tag.unit},
                       {QStringLiteral("quality"), qualityName(value.quality)},
                       {QStringLiteral("reason"), reasonName(value.reason)},
                       {QStringLiteral("pending"), value.isPending}};
    if (value.reason == Reason::Exception)
        object.insert(QStringLiteral("exception"), exceptionText(value.exceptionCode));
    return object;
}

QJsonObject writeObject(const Tag &tag, const WriteEntry &write)
{
    QJsonObject object{{QStringLiteral("id"), write.id},
                       {QStringLiteral("tag"), tag.name},
                       {QStringLiteral("value"), valueJson(tag, write.bytes)},
                       {QStringLiteral("state"), stateName(write)}};
    if (write.state == WriteState::Reverted)
        object.insert(QStringLiteral("read_back"), valueJson(tag, write.readBack));
    if (write.reason != Reason::None)
        object.insert(QStringLiteral("reason"), reasonName(write.reason));
    if (write.reason == Reason::Exception)
        object.insert(QStringLiteral("exception"), exceptionText(write.exceptionCode));
    if (write.endedAt >= 0)
        object.insert(QStringLiteral("seconds"), double(write.endedAt - write.queuedAt) / 1e6);
    return object;
}

QJsonObject eventObject(const QString &name, qint64 moment, qint64 panelNow, QJsonObject fields)
{
    fields.insert(QStringLiteral("time"), timeText(moment, panelNow));
    fields.insert(QStringLiteral("event"), name);
    return fields;
}

QJsonObject eventObject(const PanelEvent &event, const QList<Tag> &tags, qint64 panelNow)
{
    const auto named = [&](const QString &name, const QJsonObject &fields) {
        return eventObject(name, event.moment, panelNow, fields);
    };
    switch (event.kind) {
    case PanelEvent::ValueChanged: {
        QJsonObject object = valueObject(tags.at(event.number), event.value);
        object.insert(QStringLiteral("time"), timeText(event.moment, panelNow));
        return object;
    }
    case PanelEvent::WriteEnded:
        return named(QStringLiteral("write"), writeObject(tags.at(event.write.tag), event.write));
    case PanelEvent::StationSwitched:
        return named(QStringLiteral("station"),
                     {{QStringLiteral("station"), event.number}, {QStringLiteral("on"), event.isOn}});
    case PanelEvent::StationAnswers:
        return named(QStringLiteral("station"),
                     {{QStringLiteral("station"), event.number}, {QStringLiteral("answers"), event.isOn}});
    case PanelEvent::PortChanged: {
        QJsonObject fields{{QStringLiteral("open"), event.isOn}};
        if (!event.text.isEmpty())
            fields.insert(QStringLiteral("error"), event.text);
        return named(QStringLiteral("port"), fields);
    }
    case PanelEvent::PassFinished:
        return named(QStringLiteral("pass"), {});
    case PanelEvent::ReadDone:
    case PanelEvent::Served:
        return {};
    }
    return {};
}

QJsonObject endObject(const PanelSnapshot &last, qint64 panelNow)
{
    return eventObject(QStringLiteral("end"), last.now, panelNow,
                       {{QStringLiteral("counters"), last.counters.toJson()}, {QStringLiteral("writes"), last.writes}});
}
