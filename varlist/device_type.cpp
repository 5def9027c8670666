// get_type, StringAddressToInt, PLCAddressChangeIntef
#include "varlist/device_type.h"

#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "varlist/device_traits.h"

namespace {

enum {
    Unusable = -1,
    PlainDigits = 9 ///< That many always fit an int.
};

int usable(qint64 address)
{
    return fitsInt(address) ? int(address) : int(Unusable);
}

/// The value of a short row of plain digits, -1 for any other text.
int plainNumber(const QChar *text, int length, int radix)
{
    if (length < 1 || length > PlainDigits)
        return -1;
    int value = 0;
    for (int i = 0; i < length; ++i) {
        const int digit = text[i].unicode() - '0';
        if (digit < 0 || digit >= radix)
            return -1;
        value = value * radix + digit;
    }
    return value;
}

int parseWhole(const QString &text, int radix, int offset)
{
    // Nearly every address is plain digits. Signs, blanks and all that QString knows besides are left to it.
    const int plain = plainNumber(text.constData(), text.size(), radix);
    if (plain >= 0)
        return plain - offset;
    bool parsed = false;
    const int value = text.toInt(&parsed, radix);
    return parsed ? usable(qint64(value) - offset) : int(Unusable);
}

// A part that is no number counts as 0, and the bit number is not limited to 0..15: "1.20" is bit 4 of word 2.
int parseWordDotBit(const QString &text)
{
    const int dot = text.indexOf(QLatin1Char('.'));
    if (dot < 0 || text.indexOf(QLatin1Char('.'), dot + 1) >= 0)
        return Unusable;
    int word = plainNumber(text.constData(), dot, 10);
    if (word < 0)
        word = text.left(dot).toInt();
    int bit = plainNumber(text.constData() + dot + 1, text.size() - dot - 1, 10);
    if (bit < 0)
        bit = text.mid(dot + 1).toInt();
    return usable(qint64(word) * 16 + bit);
}

} // namespace

int get_type(int devType)
{
    return deviceTraits(devType).base;
}

int StringAddressToInt(int devType, const QString &text)
{
    switch (deviceTraits(devType).text) {
    case Text::Octal:
        return parseWhole(text, 8, 0);
    case Text::Decimal:
        break;
    case Text::Decimal200:
        return parseWhole(text, 10, 200);
    case Text::WordDotBit:
        return parseWordDotBit(text);
    }
    return parseWhole(text, 10, 0);
}

extern "C" int PLCAddressChangeIntef(int devType, QString text)
{
    return StringAddressToInt(devType, text);
}
