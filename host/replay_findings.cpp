#include "host/replay_findings.h"

namespace {

enum { MostListed = 100, MostShown = 100 };

} // namespace

QString shownLine(const QByteArray &word, const QVector<QByteArray> &fields)
{
    QByteArray text = word;
    for (const QByteArray &field : fields)
        text += ' ' + field;
    return QString::fromLatin1(text);
}

void ReplayFindings::complain(const QString &expected)
{
    if (++report.problemCount <= MostListed)
        report.problems << QString::fromLatin1("line %1: %2: expected %3")
                               .arg(current->number)
                               .arg(shownLine(current->word, current->fields).left(MostShown), expected);
}

void ReplayFindings::differ(const QString &expected, const QString &got)
{
    if (++report.differenceCount <= mostDifferences)
        report.differences << ReplayDifference{current->number, expected, got};
}

void ReplayFindings::compare(const QByteArray &word, const QVector<QByteArray> &fields)
{
    if (word != current->word || fields != current->fields)
        differ(shownLine(current->word, current->fields), shownLine(word, fields));
}

void ReplayFindings::compareReturned(int expected, int got)
{
    ++report.calls;
    if (expected != got)
        differ(QString::fromLatin1("= %1").arg(expected), QString::fromLatin1("= %1").arg(got));
}

void ReplayFindings::compareWithAwaited()
{
    if (awaited.isEmpty()) {
        differ(shownLine(current->word, current->fields), QStringLiteral("nothing"));
        return;
    }
    const Event event = awaited.takeFirst();
    compare(event.first, event.second);
    if (event.first == "image")
        report.bytesCompared += event.second.last().size() / 2;
}

void ReplayFindings::expectNoMore()
{
    for (const Event &event : qAsConst(awaited))
        differ(QStringLiteral("nothing"), shownLine(event.first, event.second));
    awaited.clear();
}
