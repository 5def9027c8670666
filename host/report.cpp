#include "host/report.h"

#include "host/reply_guard.h"
#include "host/tag_codec.h"

namespace {

struct CounterRow {
    QString name;
    const Counters *counters;
};

QVector<CounterRow> rowsOf(const PanelCounters &counters)
{
    QVector<CounterRow> rows{{QStringLiteral("all"), &counters.all},
                             {QStringLiteral("cyclic reads"), &counters.lists[ServedCyclic]},
                             {QStringLiteral("writes"), &counters.lists[ServedWrite]},
                             {QStringLiteral("one-shot reads"), &counters.lists[ServedOnce]}};
    for (auto station = counters.stations.begin(); station != counters.stations.end(); ++station)
        rows.append({QString::fromLatin1("station %1").arg(station.key()), &station.value()});
    return rows;
}

QStringList cellsOf(const QString &name, const QVector<qint64> &numbers)
{
    QStringList cells{name};
    for (const qint64 number : numbers)
        cells.append(QString::number(number));
    return cells;
}

QStringList timeRow(const QString &name, const TimeStatistics &times)
{
    return {name,
            QString::number(times.count()),
            millisecondsText(double(times.minimum())),
            millisecondsText(times.mean()),
            millisecondsText(double(times.percentile(0.99))),
            millisecondsText(double(times.maximum()))};
}

} // namespace

TextTable::TextTable(const QStringList &texts)
{
    for (const QString &heading : texts) {
        toTheRight.append(heading.startsWith(QLatin1Char('>')));
        headings.append(toTheRight.last() ? heading.mid(1) : heading);
    }
}

QStringList TextTable::lines() const
{
    QVector<QStringList> all{headings};
    all += rows;
    QVector<int> widths(headings.size());
    for (const QStringList &row : all) {
        for (int column = 0; column < qMin(row.size(), widths.size()); ++column)
            widths[column] = qMax(widths.at(column), row.at(column).size());
    }
    QStringList result;
    for (const QStringList &row : all) {
        QString line;
        for (int column = 0; column < qMin(row.size(), widths.size()); ++column) {
            const QString &cell = row.at(column);
            const int width = widths.at(column);
            line += column ? QStringLiteral("  ") : QString();
            line += toTheRight.at(column) ? cell.rightJustified(width) : cell.leftJustified(width);
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        result.append(line);
    }
    return result;
}

QString TextTable::text() const
{
    return lines().join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString cutTo(int columns, const QString &text)
{
    return text.size() > columns ? text.left(columns - 1) + QLatin1Char('~') : text;
}

QString ageText(qint64 microseconds)
{
    if (microseconds < 0)
        return QStringLiteral("-");
    const double seconds = double(microseconds) / 1e6;
    // 9.96 s would be shown as 10.0 s.
    if (seconds < 9.95)
        return QString::number(seconds, 'f', 1) + QStringLiteral(" s");
    if (seconds < 99.5)
        return QString::number(seconds, 'f', 0) + QStringLiteral(" s");
    if (seconds < 99.5 * 60)
        return QString::number(seconds / 60, 'f', 0) + QStringLiteral(" min");
    if (seconds < 47.5 * 3600)
        return QString::number(seconds / 3600, 'f', 0) + QStringLiteral(" h");
    return QString::number(seconds / 86400, 'f', 0) + QStringLiteral(" d");
}

QString millisecondsText(double microseconds)
{
    if (microseconds < 0)
        return QStringLiteral("-");
    return QString::number(microseconds / 1000, 'f', 3) + QStringLiteral(" ms");
}

QString writeText(const Tag &tag, const WriteEntry &write, bool isToConfirm)
{
    if (write.state == WriteState::Queued)
        return write.isSent ? QStringLiteral("unknown (sent, not answered)") : QStringLiteral("not sent");
    const bool isUnread = write.state == WriteState::Confirming || write.state == WriteState::Done;
    if (isUnread && isToConfirm && tag.isReadable)
        return QStringLiteral("done (not read back)");
    QString state = writeStateName(write.state);
    if (write.state == WriteState::Reverted)
        return QString::fromLatin1("%1, reads back %2")
            .arg(state, cutTo(TextTable::ValueColumns, valueText(tag, write.readBack)));
    if (write.reason == Reason::None)
        return state;
    if (write.reason == Reason::Exception)
        return QString::fromLatin1("%1 (exception: %2)").arg(state, exceptionText(write.exceptionCode));
    return QString::fromLatin1("%1 (%2)").arg(state, reasonName(write.reason));
}

TextTable valueTable(const QList<Tag> &tags, const QVector<TagValue> &values, qint64 now)
{
    TextTable table({QStringLiteral("name"), QStringLiteral(">value"), QStringLiteral("unit"),
                     QStringLiteral("quality"), QStringLiteral(">age")});
    for (int i = 0; i < tags.size(); ++i) {
        const Tag &tag = tags.at(i);
        const TagValue &value = values.at(i);
        const QString text = value.bytes.isEmpty() ? QStringLiteral("-") : valueText(tag, value.bytes);
        table.addRow({cutTo(TextTable::NameColumns, tag.name), cutTo(TextTable::ValueColumns, text), tag.unit,
                      qualityText(value), value.readAt < 0 ? QStringLiteral("-") : ageText(now - value.readAt)});
    }
    return table;
}

TextTable counterTable(const PanelCounters &counters)
{
    TextTable table({QStringLiteral("line"), QStringLiteral(">requests"), QStringLiteral(">good"),
                     QStringLiteral(">retries"), QStringLiteral(">failed"), QStringLiteral(">bytes out"),
                     QStringLiteral(">bytes in")});
    for (const CounterRow &row : rowsOf(counters)) {
        const Counters &of = *row.counters;
        table.addRow(cellsOf(row.name, {of.requests, of.good, of.retries, of.failed, of.bytesSent, of.bytesReceived}));
    }
    return table;
}

TextTable failureTable(const PanelCounters &counters)
{
    TextTable table({QStringLiteral("failures"), QStringLiteral(">timeout"), QStringLiteral(">crc"),
                     QStringLiteral(">length"), QStringLiteral(">exception"), QStringLiteral(">port"),
                     QStringLiteral(">discarded")});
    for (const CounterRow &row : rowsOf(counters)) {
        const Counters &of = *row.counters;
        table.addRow(cellsOf(row.name, {of.timeouts, of.crc, of.length, of.exceptions, of.port, of.discardedFrames}));
    }
    return table;
}

TextTable timeTable(const PanelCounters &counters)
{
    TextTable table({QStringLiteral("time of a reply"), QStringLiteral(">replies"), QStringLiteral(">shortest"),
                     QStringLiteral(">mean"), QStringLiteral(">99 % within"), QStringLiteral(">longest")});
    for (const CounterRow &row : rowsOf(counters)) {
        if (row.counters->replyTime.count() > 0)
            table.addRow(timeRow(row.name, row.counters->replyTime));
    }
    if (counters.passTime.count() > 0)
        table.addRow(timeRow(QStringLiteral("whole passes"), counters.passTime));
    return table;
}

QStringList counterLines(const PanelCounters &counters)
{
    QStringList lines;
    lines.append(QString::fromLatin1("queues: write %1 (longest %2), one-shot read %3 (longest %4)")
                     .arg(counters.writeLength)
                     .arg(counters.writeMost)
                     .arg(counters.onceLength)
                     .arg(counters.onceMost));
    QStringList exceptions;
    const QMap<int, qint64> &codes = counters.all.exceptionCodes;
    for (auto code = codes.begin(); code != codes.end(); ++code)
        exceptions.append(QString::fromLatin1("%1 %2").arg(exceptionText(code.key())).arg(code.value()));
    if (!exceptions.isEmpty())
        lines.append(QStringLiteral("exceptions: ") + exceptions.join(QStringLiteral(", ")));
    if (counters.all.discardedBytes > 0)
        lines.append(QString::fromLatin1("discarded bytes: %1").arg(counters.all.discardedBytes));
    if (counters.reopened > 0)
        lines.append(QString::fromLatin1("the port was lost and came back: %1").arg(counters.reopened));
    return lines;
}

QString writeSummary(const QJsonObject &writes)
{
    const int begun = writes.value(QStringLiteral("writes")).toInt();
    if (begun == 0)
        return QString();
    QStringList parts;
    for (auto entry = writes.begin(); entry != writes.end(); ++entry) {
        if (entry.key() != QStringLiteral("writes") && entry.value().toInt() > 0)
            parts.append(QString::fromLatin1("%1 %2").arg(entry.key()).arg(entry.value().toInt()));
    }
    return QString::fromLatin1("writes: %1 in all: %2").arg(begun).arg(parts.join(QStringLiteral(", ")));
}

QString closingReport(const PanelCounters &counters, const QJsonObject &writes)
{
    QStringList lines = counterTable(counters).lines();
    lines << QString() << failureTable(counters).lines();
    const TextTable times = timeTable(counters);
    if (!times.isEmpty())
        lines << QString() << times.lines();
    lines << QString() << counterLines(counters);
    const QString summary = writeSummary(writes);
    if (!summary.isEmpty())
        lines << summary;
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}
