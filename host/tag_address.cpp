#include "host/tag_address.h"

#include <QtCore/QStringList>

#include <climits>

int digitsToInt(const QString &text, int radix)
{
    qint64 value = 0;
    for (QChar c : text) {
        const int digit = c.unicode() - '0';
        if (digit < 0 || digit >= radix)
            return -1;
        // A word of the greatest number still has bits with an int each.
        value = qMin(value * radix + digit, qint64(INT_MAX / 32));
    }
    return text.isEmpty() ? -1 : int(value);
}

bool readAddress(const DeviceType &type, const QString &text, int *element, QString *expected)
{
    switch (type.kind) {
    case ElementKind::Bit: {
        *element = digitsToInt(text, isOctal(type) ? 8 : 10);
        *expected = isOctal(type) ? QStringLiteral("an octal number") : QStringLiteral("a number");
        return *element >= 0;
    }
    case ElementKind::Word:
    case ElementKind::Pair:
    case ElementKind::Special: {
        const int value = digitsToInt(text, 10);
        *element = type.kind == ElementKind::Special ? value - 200 : value;
        *expected = QStringLiteral("a number");
        return value >= 0;
    }
    case ElementKind::BitInWord: {
        const QStringList parts = text.split(QLatin1Char('.'));
        const int word = digitsToInt(parts.first(), 10);
        const int bit = parts.size() == 2 ? digitsToInt(parts.last(), 10) : -1;
        *element = word * 16 + bit;
        *expected = QStringLiteral("a word and a bit from 0 to 15, as 10.3");
        return word >= 0 && bit >= 0 && bit <= 15;
    }
    }
    return false;
}

int firstElement(const DeviceType &type)
{
    return type.pieces.first().first;
}

int lastElement(const DeviceType &type)
{
    return type.kind == ElementKind::BitInWord ? type.pieces.last().last * 16 + 15 : type.pieces.last().last;
}
