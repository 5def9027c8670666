/// The fields of a line of the trace, read one after the other.
#pragma once

#include "host/trace.h"

/// What was wrong first is kept; a field that is wrong reads as something harmless.
class TraceFields {
public:
    explicit TraceFields(const TraceLine &line) : line(line) {}

    int number(const char *name, int least, int most);
    int number(const char *name);
    QString text(const char *name);
    QByteArray bytes(const char *name);
    /// One of some words: its index.
    int choice(const QVector<QByteArray> &words);
    /// The field has to be this word.
    void literal(const char *word) { choice({word}); }

    /// What was expected; empty when the line has all of it and no more.
    QString problem();

private:
    void expect(const QString &what);

    const TraceLine &line;
    int next = 0;
    QString expected;
};
