#include "host/commands/watch_state.h"

#include "host/report.h"

namespace {

// Those with which something is wrong come first: the line may end before all are named.
QString stationsText(const QMap<int, StationState> &stations, qint64 now)
{
    QStringList off, on;
    for (auto station = stations.begin(); station != stations.end(); ++station) {
        if (station->isOn && !station->isAnswering)
            off << QString::fromLatin1("%1 NO ANSWER").arg(station.key());
        else if (station->isOn)
            on << QString::fromLatin1("%1 on").arg(station.key());
        else
            off << QString::fromLatin1("%1 OFF (next probe in %2)")
                       .arg(station.key())
                       .arg(ageText(qMax(qint64(0), station->nextProbeAt - now)));
    }
    return (off + on).join(QLatin1String(", "));
}

} // namespace

QStringList watchStateLines(const PanelSnapshot &snapshot, qint64 now)
{
    const PanelCounters &counters = snapshot.counters;
    const Counters &all = counters.all;
    QStringList lines{
        QString::fromLatin1("line      requests %1, good %2, retries %3, given up %4, discarded frames %5")
            .arg(all.requests)
            .arg(all.good)
            .arg(all.retries)
            .arg(all.failed)
            .arg(all.discardedFrames),
        QString::fromLatin1("failures  timeout %1, crc %2, length %3, exception %4, port %5")
            .arg(all.timeouts)
            .arg(all.crc)
            .arg(all.length)
            .arg(all.exceptions)
            .arg(all.port),
        QString::fromLatin1("times     reply %1, 99 % within %2; pass %3, %4 passes")
            .arg(millisecondsText(all.replyTime.mean()), millisecondsText(double(all.replyTime.percentile(0.99))),
                 millisecondsText(counters.passTime.mean()))
            .arg(counters.passTime.count()),
        QString::fromLatin1("queues    cyclic %1, write %2 (longest %3), one-shot %4 (longest %5)")
            .arg(counters.readLength)
            .arg(counters.writeLength)
            .arg(counters.writeMost)
            .arg(counters.onceLength)
            .arg(counters.onceMost),
        QLatin1String("stations  ") + stationsText(snapshot.stations, now)};
    if (!snapshot.isPortOpen && !snapshot.portError.isEmpty())
        lines << QLatin1String("port      ") + snapshot.portError;
    return lines;
}
