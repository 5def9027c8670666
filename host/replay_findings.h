/// What a replay finds: lines that cannot be replayed, and where the driver does not do what the trace says.
#pragma once

#include "host/replay.h"

#include <QtCore/QPair>

class ReplayFindings {
public:
    /// Word and fields of a line.
    typedef QPair<QByteArray, QVector<QByteArray>> Event;

    explicit ReplayFindings(int mostDifferences) : mostDifferences(mostDifferences) {}

    /// The line that everything below is about.
    void setLine(const TraceLine &line) { current = &line; }
    const TraceLine &line() const { return *current; }

    /// The line cannot be replayed.
    void complain(const QString &expected);
    void complain(const char *expected) { complain(QString::fromLatin1(expected)); }
    void differ(const QString &expected, const QString &got);
    /// What the driver has done in place of the line.
    void compare(const QByteArray &word, const QVector<QByteArray> &fields);
    /// What a call returned, which stands at the end of its line.
    void compareReturned(int expected, int got);

    /// The driver has made this event, and the trace has to have it next.
    void await(const Event &event) { awaited << event; }
    void compareWithAwaited();
    /// What is awaited still has not come.
    void expectNoMore();

    ReplayReport report;

private:
    const int mostDifferences; ///< Listed; the rest is only counted.
    const TraceLine *current = nullptr;
    QList<Event> awaited;
};

QString shownLine(const QByteArray &word, const QVector<QByteArray> &fields);
