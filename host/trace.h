/// The trace: everything that passed between host and driver, and on the line, as lines of text. docs/trace.md has the
/// format.
#pragma once

#include "driver/records.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// One line of a trace: a moment in microseconds, a word, its fields. Fields are words without blanks; a text is
/// percent-encoded, bytes are hexadecimal, nothing is "-".
struct TraceLine {
    qint64 moment = 0;
    QByteArray word;
    QVector<QByteArray> fields;
    int number = 0; ///< In the file, from 1.
};

namespace trace {
QByteArray ofText(const QString &text);
QByteArray ofBytes(const QByteArray &bytes);
QByteArray ofNumber(qint64 number);
/// False when the field is no such thing.
bool toText(const QByteArray &field, QString *text);
bool toBytes(const QByteArray &field, QByteArray *bytes);
bool toNumber(const QByteArray &field, qint64 *number);
} // namespace trace

class TraceWriter {
public:
    /// Starts the file with its heading. False, with what, where and what was expected, when it cannot be written.
    bool open(const QString &fileName, QString *error);
    bool isOpen() const { return file.isOpen(); }
    void write(qint64 moment, const char *word, const QVector<QByteArray> &fields = {});
    /// Empty while every line could be written; otherwise what went wrong first.
    QString error() const { return firstError; }
    void close();

private:
    QFile file;
    QString firstError;
};

/// Reads a whole trace. Problems name file, line and what was expected, at most 101 of them; lines with a problem are
/// left out. So is, without a problem, a last line that does not end: whatever stopped the trace cut it off.
QVector<TraceLine> parseTrace(const QByteArray &text, const QString &fileName, QStringList *problems);
