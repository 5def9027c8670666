#include "sim/faults.h"

#include <cmath>

namespace {

enum { LongestMilliseconds = 3600000 };

struct FaultText {
    FaultKind kind;
    const char *name;
    int milliseconds; ///< The kind's own time; 0 = it has none.
    const char *meaning;
};

const FaultText Texts[] = {
    {FaultKind::Drop, "drop", 0, "no reply"},
    {FaultKind::Delay, "delay", 20, "the reply 'ms' milliseconds later (20)"},
    {FaultKind::Late, "late", 350,
     "the reply 'ms' milliseconds later (350): after the host's reply time-out, before the end of its late window"},
    {FaultKind::Duplicate, "duplicate", 0, "the reply twice, one right behind the other"},
    {FaultKind::CrcSwapped, "crc-swapped", 0, "the two bytes of the CRC change places"},
    {FaultKind::BitFlipped, "bit-flipped", 0, "one bit of the reply is wrong"},
    {FaultKind::Truncated, "truncated", 0, "only the first 'at' bytes of the reply (by the seed)"},
    {FaultKind::ExtraBefore, "extra-before", 0, "1 to 8 bytes too many right before the reply"},
    {FaultKind::ExtraAfter, "extra-after", 0, "1 to 8 bytes too many right behind the reply"},
    {FaultKind::Noise, "noise", 20, "1 to 8 bytes that nobody asked for, 'ms' milliseconds after the reply (20)"},
    {FaultKind::WrongStation, "wrong-station", 0, "the number of a station that is not on this line, with a right CRC"},
    {FaultKind::WrongFunction, "wrong-function", 0, "another function, with a right CRC"},
    {FaultKind::WrongByteCount, "wrong-byte-count", 0,
     "more or fewer data bytes than asked for; another address or value in a write reply; with a right CRC"},
    {FaultKind::Exception, "exception", 0, "an exception reply with 'code' (1 to 4 by the seed)"},
    {FaultKind::HalfThenNext, "half-then-next", 0,
     "half of the reply; the other half comes right before the next reply"},
    {FaultKind::Joined, "joined", 0, "no reply; it comes right before the next one"},
    {FaultKind::Echo, "echo", 0, "the request comes back before the reply, as on a two-wire adapter"},
    {FaultKind::PortGone, "port-gone", 1000, "the port vanishes instead of a reply, for 'ms' milliseconds (1000)"},
};

const FaultText *textOf(FaultKind kind)
{
    for (const FaultText &text : Texts)
        if (text.kind == kind)
            return &text;
    return nullptr;
}

/// Reads a whole number within bounds. Returns what was expected when it is none.
template <typename Number>
QString readNumber(const QString &text, qint64 least, qint64 most, Number *number)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < least || value > most)
        return QString::fromLatin1("a whole number from %1 to %2").arg(least).arg(most);
    *number = Number(value);
    return QString();
}

QString readRate(const QString &text, double *rate)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value) || value <= 0 || value > 1)
        return QStringLiteral("a number above 0 and up to 1");
    *rate = value;
    return QString();
}

/// The keys that a rule of this kind may have.
QStringList keysOf(FaultKind kind)
{
    QStringList keys{QStringLiteral("first"), QStringLiteral("last"), QStringLiteral("station"),
                     QStringLiteral("rate")};
    if (kind == FaultKind::Truncated)
        keys << QStringLiteral("at");
    if (kind == FaultKind::Exception)
        keys << QStringLiteral("code");
    if (ownMilliseconds(kind) > 0)
        keys << QStringLiteral("ms");
    return keys;
}

/// Returns what was expected when the value does not fit its key.
QString readValue(const QString &key, const QString &value, FaultRule *rule)
{
    const qint64 most = std::numeric_limits<qint64>::max();
    if (key == QLatin1String("first"))
        return readNumber(value, 0, most, &rule->first);
    if (key == QLatin1String("last"))
        return readNumber(value, 0, most, &rule->last);
    if (key == QLatin1String("station"))
        return readNumber(value, 1, 247, &rule->station);
    if (key == QLatin1String("rate"))
        return readRate(value, &rule->rate);
    if (key == QLatin1String("at"))
        return readNumber(value, 0, 511, &rule->at);
    if (key == QLatin1String("code"))
        return readNumber(value, 1, 255, &rule->code);
    return readNumber(value, 1, LongestMilliseconds, &rule->milliseconds);
}

/// Reads one "key=value". Returns what is wrong, and what was expected.
QString readPart(const QString &part, QStringList *seen, FaultRule *rule)
{
    const QStringList keys = keysOf(rule->kind);
    const int equals = part.indexOf(QLatin1Char('='));
    const QString key = part.left(equals).trimmed();
    if (equals < 0 || !keys.contains(key))
        return QString::fromLatin1("'%1': expected KEY=VALUE with a KEY of %2 for %3")
            .arg(part.trimmed(), keys.join(QLatin1String(", ")), faultName(rule->kind));
    if (seen->contains(key))
        return QString::fromLatin1("'%1': expected %2 only once").arg(part.trimmed(), key);
    *seen << key;
    const QString expected = readValue(key, part.mid(equals + 1).trimmed(), rule);
    return expected.isEmpty() ? expected : QString::fromLatin1("'%1': expected %2").arg(part.trimmed(), expected);
}

} // namespace

QString faultName(FaultKind kind)
{
    const FaultText *const text = textOf(kind);
    return QLatin1String(text ? text->name : "none");
}

FaultKind faultByName(const QString &name)
{
    for (const FaultText &text : Texts)
        if (name == QLatin1String(text.name))
            return text.kind;
    return FaultKind::None;
}

QStringList faultNames()
{
    QStringList names;
    for (const FaultText &text : Texts)
        names << QLatin1String(text.name);
    return names;
}

QString faultMeaning(FaultKind kind)
{
    const FaultText *const text = textOf(kind);
    return QLatin1String(text ? text->meaning : "");
}

int ownMilliseconds(FaultKind kind)
{
    const FaultText *const text = textOf(kind);
    return text ? text->milliseconds : 0;
}

bool FaultRule::parse(const QString &text, FaultRule *rule, QString *error)
{
    const QStringList parts = text.split(QLatin1Char(','));
    const QString name = parts.first().trimmed();
    FaultRule read;
    read.kind = faultByName(name);
    QString problem;
    if (read.kind == FaultKind::None)
        problem =
            QString::fromLatin1("'%1': expected a fault, one of %2").arg(name, faultNames().join(QLatin1String(", ")));
    QStringList seen;
    for (int i = 1; i < parts.size() && problem.isEmpty(); ++i)
        problem = readPart(parts.at(i), &seen, &read);
    if (problem.isEmpty() && read.last >= 0 && read.last < read.first)
        problem = QString::fromLatin1("'last=%1': expected no less than first=%2").arg(read.last).arg(read.first);
    if (problem.isEmpty())
        *rule = read;
    else
        *error = problem;
    return problem.isEmpty();
}
