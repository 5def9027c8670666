/// Tables and JSON of values, counters and writes, as several verbs print them. Plain ASCII but for the tags' own
/// texts.
#pragma once

#include "host/counters.h"
#include "host/ledger.h"
#include "host/panel_thread.h"
#include "host/tags.h"
#include "host/values.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// Columns as wide as their widest cell, two blanks between them.
class TextTable {
public:
    /// The headings; one that begins with ">" belongs to a column that is set to the right.
    explicit TextTable(const QStringList &texts);
    enum { NameColumns = 24, ValueColumns = 40 };
    void addRow(const QStringList &cells) { rows.append(cells); }
    bool isEmpty() const { return rows.isEmpty(); }
    /// Lines without blanks at their ends; the first one has the headings.
    QStringList lines() const;
    QString text() const;

private:
    QStringList headings;
    QVector<bool> toTheRight;
    QVector<QStringList> rows;
};

/// The text, or its beginning and a "~" in place of the rest.
QString cutTo(int columns, const QString &text);
/// "0.2 s", "75 s", "12 min", "5 h", "3 d"; "-" below 0.
QString ageText(qint64 microseconds);
/// "1.234 ms"; "-" below 0.
QString millisecondsText(double microseconds);
/// The wall clock's time at a moment of the panel's clock: "2024-05-01T12:00:00.123Z".
QString timeText(qint64 moment, qint64 panelNow);

/// {"tag", "value", "unit", "quality", "reason", "pending"}, and "exception" with that reason; the value is null when
/// it was never read.
QJsonObject valueObject(const Tag &tag, const TagValue &value);
/// {"id", "tag", "value", "state", "reason", "exception", "seconds", "read_back"}; the last four where there are any. A
/// write that has not ended is "unknown" or "not-sent".
QJsonObject writeObject(const Tag &tag, const WriteEntry &write);
/// An event of the name, with these fields and its "time".
QJsonObject eventObject(const QString &name, qint64 moment, qint64 panelNow, QJsonObject fields);
/// A changed value as valueObject, everything else as an event of its name; both have their "time". Empty for requests
/// and one-shot reads.
QJsonObject eventObject(const PanelEvent &event, const QList<Tag> &tags, qint64 panelNow);
/// The last event of a run, with all that it counted.
QJsonObject endObject(const PanelSnapshot &last, qint64 panelNow);
/// "confirmed", "failed (timeout)", "failed (exception: illegal data address)", "reverted, reads back 5". Of one that
/// has not ended "not sent" or "unknown (sent, not answered)". isToConfirm: a read of what was written was asked for.
QString writeText(const Tag &tag, const WriteEntry &write, bool isToConfirm);

/// Name, value, unit, quality and age of every tag.
TextTable valueTable(const QList<Tag> &tags, const QVector<TagValue> &values, qint64 now);
/// Requests, good, retries, given up, bytes: in all, per list, per station.
TextTable counterTable(const PanelCounters &counters);
/// Each kind of failure, and what was discarded, of the same.
TextTable failureTable(const PanelCounters &counters);
/// Reply times of the same, and the pass time; rows without samples are left out.
TextTable timeTable(const PanelCounters &counters);
/// Queues, exceptions by name, how often the port came back: what does not fit into the tables, one line each.
QStringList counterLines(const PanelCounters &counters);
/// How many writes ended in each state, those that none ended in left out; one line. Empty without writes.
QString writeSummary(const QJsonObject &writes);
/// All of the above that a verb prints when it ends.
QString closingReport(const PanelCounters &counters, const QJsonObject &writes);
