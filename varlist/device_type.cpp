// get_type, StringAddressToInt, PLCAddressChangeIntef
#include "varlist/device_type.h"

#include "driver/emerson_ec_series.h"
#include "driver/limits.h"
#include "varlist/device_traits.h"

#include <QtCore/QStringList>

namespace {

enum { Unusable = -1 };

int usable(qint64 address)
{
    return fitsInt(address) ? int(address) : int(Unusable);
}

int parseWhole(const QString &text, int radix, int offset)
{
    bool parsed = false;
    const int value = text.toInt(&parsed, radix);
    return parsed ? usable(qint64(value) - offset) : int(Unusable);
}

// A part that is no number counts as 0, and the bit number is not limited to 0..15: "1.20" is bit 4 of word 2.
int parseWordDotBit(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 2)
        return Unusable;
    return usable(qint64(parts.at(0).toInt()) * 16 + parts.at(1).toInt());
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
