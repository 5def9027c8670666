#include "host/problems.h"

#include <QtCore/QFile>

#include <algorithm>

QString shown(const QString &text, int longest)
{
    if (text.isEmpty())
        return QStringLiteral("(empty)");
    QString result = text.left(longest);
    for (QChar &c : result) {
        if (!c.isPrint() && !c.isSurrogate())
            c = QLatin1Char('?');
    }
    // Half of a character would make the message no text.
    if (result.at(result.size() - 1).isHighSurrogate())
        result.chop(1);
    return text.size() > longest ? result + QLatin1String("...") : result;
}

QString shownCell(const QString &text)
{
    const QLatin1Char quote('\'');
    bool isPlain = !text.isEmpty() && text == text.trimmed();
    for (QChar c : text)
        isPlain = isPlain && c.category() != QChar::Other_Control;
    if (isPlain)
        return shown(text);
    return quote + (text.isEmpty() ? QString() : shown(text)) + quote;
}

bool readWhole(const QString &fileName, qint64 limit, const QString &expected, QByteArray *text, QStringList *problems)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *problems << QStringLiteral("%1: %2: expected %3").arg(fileName, file.errorString(), expected);
        return false;
    }
    // One byte more than is wanted tells a file that is too long, also one whose size cannot be asked.
    *text = file.read(limit + 1);
    if (file.error() != QFileDevice::NoError) {
        *problems << QStringLiteral("%1: %2: expected %3").arg(fileName, file.errorString(), expected);
        return false;
    }
    return true;
}

void Problems::add(int line, const QString &what, const QString &text, const QString &expected)
{
    const QString place = line > 0 ? QStringLiteral("%1:%2").arg(fileName).arg(line) : fileName;
    append(line, QStringList{place, what, text, expected}.join(QLatin1String(": ")));
}

void Problems::addAt(int line, int column, const QString &text, const QString &expected)
{
    const QString place = QStringLiteral("%1:%2:%3").arg(fileName).arg(line).arg(column);
    append(line, QStringList{place, text, expected}.join(QLatin1String(": ")));
}

void Problems::addFile(const QString &text, const QString &expected)
{
    append(0, QStringList{fileName, text, expected}.join(QLatin1String(": ")));
}

void Problems::append(int line, const QString &text)
{
    if (found.size() < Most)
        found.append({line, text});
    else
        ++left;
}

QStringList Problems::texts() const
{
    QVector<Problem> sorted = found;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Problem &a, const Problem &b) { return a.line < b.line; });
    QStringList result;
    for (const Problem &problem : qAsConst(sorted))
        result << problem.text;
    if (left > 0)
        result
            << QStringLiteral("%1: %2 more %3").arg(fileName).arg(left).arg(left == 1 ? kind : kind + QLatin1Char('s'));
    return result;
}
