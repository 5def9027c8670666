#include "host/trace_fields.h"

#include <limits>

int TraceFields::number(const char *name, int least, int most)
{
    qint64 value = 0;
    const bool isNumber = trace::toNumber(line.fields.value(next++), &value);
    if (isNumber && value >= least && value <= most)
        return int(value);
    expect(QString::fromLatin1("%1, a number from %2 to %3").arg(QLatin1String(name)).arg(least).arg(most));
    return least;
}

int TraceFields::number(const char *name)
{
    return number(name, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

QString TraceFields::text(const char *name)
{
    QString value;
    if (!trace::toText(line.fields.value(next++), &value))
        expect(QString::fromLatin1("%1, a text").arg(QLatin1String(name)));
    return value;
}

QByteArray TraceFields::bytes(const char *name)
{
    QByteArray value;
    const QByteArray field = line.fields.value(next++);
    if (field.isEmpty() || !trace::toBytes(field, &value))
        expect(QString::fromLatin1("%1, hexadecimal bytes or -").arg(QLatin1String(name)));
    return value;
}

int TraceFields::choice(const QVector<QByteArray> &words)
{
    const int index = words.indexOf(line.fields.value(next++));
    if (index >= 0)
        return index;
    QByteArray all = '"' + words.first() + '"';
    for (int i = 1; i < words.size(); ++i)
        all += " or \"" + words.at(i) + '"';
    expect(QString::fromLatin1(all));
    return 0;
}

QString TraceFields::problem()
{
    if (line.fields.size() > next)
        expect(QString::fromLatin1("no more than %1 fields").arg(next));
    return expected;
}

void TraceFields::expect(const QString &what)
{
    if (expected.isEmpty())
        expected = what;
}
