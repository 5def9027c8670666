#include "sim/fault_report.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

QByteArray jsonLine(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

QMap<QString, qint64> faultTotals(const QVector<FaultDone> &ledger)
{
    QMap<QString, qint64> totals;
    for (const FaultDone &done : ledger)
        ++totals[faultName(done.kind)];
    return totals;
}

QByteArray faultReport(const Faults &faults, const SlaveStatistics &counted, qint64 swallowedBytes)
{
    QByteArray lines;
    for (const FaultDone &done : faults.ledger())
        lines += jsonLine({{QStringLiteral("request"), done.request},
                           {QStringLiteral("fault"), faultName(done.kind)},
                           {QStringLiteral("station"), done.station},
                           {QStringLiteral("function"), done.function},
                           {QStringLiteral("bytes"), done.bytes}});
    QJsonObject totals;
    const QMap<QString, qint64> kinds = faultTotals(faults.ledger());
    for (auto kind = kinds.begin(); kind != kinds.end(); ++kind)
        totals.insert(kind.key(), kind.value());
    const QJsonObject statistics{{QStringLiteral("requests"), counted.requests},
                                 {QStringLiteral("replies"), counted.replies},
                                 {QStringLiteral("exceptions"), counted.exceptions},
                                 {QStringLiteral("broadcasts"), counted.broadcasts},
                                 {QStringLiteral("other_stations"), counted.otherStations},
                                 {QStringLiteral("garbage_bytes"), counted.garbageBytes},
                                 {QStringLiteral("swallowed_bytes"), swallowedBytes}};
    return lines + jsonLine({{QStringLiteral("faults"), totals}, {QStringLiteral("statistics"), statistics}});
}
