#include "host/toml_slip.h"

#include "host/problems.h"

#include <QtCore/QRegularExpression>

namespace {

/// A value that stands without quotes, or with only the first of them.
bool findValueSlip(const QString &line, Slip *slip)
{
    static const QRegularExpression pattern(QStringLiteral("^[^=#\"'\\[]+=\\s*([A-Za-z/~.][^#]*|\"[^\"]+|'[^']+)$"));
    static const QRegularExpression comment(QStringLiteral("\\s#.*$"));
    QString value = pattern.match(line).captured(1);
    if (value.isEmpty())
        value = pattern.match(QString(line).remove(comment)).captured(1);
    value = value.trimmed();
    if (value.isEmpty())
        return false;
    static const QStringList flags = {QStringLiteral("true"), QStringLiteral("false"), QStringLiteral("yes"),
                                      QStringLiteral("no"),   QStringLiteral("on"),    QStringLiteral("off")};
    const bool isOpen = value.startsWith(QLatin1Char('"')) || value.startsWith(QLatin1Char('\''));
    *slip = {shown(value), isOpen                            ? QStringLiteral("expected a closing quote")
                           : flags.contains(value.toLower()) ? QStringLiteral("expected true or false")
                                                             : QStringLiteral("expected quotes around text")};
    return true;
}

} // namespace

Slip slipOf(const QString &line, const QString &description)
{
    // Without the parser's state in front and its own names behind.
    const QString reason = description.mid(description.indexOf(QLatin1String(": ")) + 1).section(" (", 0, 0).trimmed();
    const auto tells = [&](const char *words) { return description.contains(QLatin1String(words)); };
    if (tells("invalid utf-8"))
        return {shown(line), QStringLiteral("expected UTF-8")};
    if (tells("cannot redefine"))
        return {shown(reason, 100), QStringLiteral("expected each name once")};
    if (tells("escape sequence"))
        return {shown(reason, 100), QStringLiteral("expected two backslashes for one")};
    Slip slip;
    if (findValueSlip(line, &slip))
        return slip;
    if (tells("string: encountered end-of-file"))
        return {QStringLiteral("end of file"), QStringLiteral("expected a closing quote")};
    const bool isOfLine = tells(": expected ") || tells("could not determine") || tells("end-of-file");
    slip.text = isOfLine && !line.isEmpty() ? shown(line) : shown(reason, 100);
    slip.expected = line.startsWith(QLatin1Char('[')) ? QStringLiteral("expected a line like [table]")
                                                      : QStringLiteral("expected a line like key = value");
    return slip;
}
