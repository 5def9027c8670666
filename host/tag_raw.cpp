#include "host/tag_raw.h"

#include <cmath>

namespace {

/// Where the bytes A to D of a value are on the line, the first one there 0.
QVector<int> linePlaces(ByteOrder order)
{
    switch (order) {
    case ByteOrder::ABCD:
        return {0, 1, 2, 3};
    case ByteOrder::BADC:
        return {1, 0, 3, 2};
    case ByteOrder::CDAB:
        return {2, 3, 0, 1};
    case ByteOrder::DCBA:
        return {3, 2, 1, 0};
    }
    return {};
}

QString numberText(double value, int digits)
{
    return QString::number(value, 'g', digits);
}

} // namespace

int bytesPerValue(const Tag &tag)
{
    switch (tag.format) {
    case Format::Bit:
        return 1;
    case Format::Int16:
    case Format::Uint16:
        return 2;
    case Format::Int32:
    case Format::Uint32:
    case Format::Float32:
        return 4;
    }
    return 0;
}

// On the line each register has its high byte first. In host bytes of a word area it has its low byte first, so each
// two are swapped. A 32-bit type has all four turned round, as its first register on the line is the high word.
QVector<int> hostPlaces(const Tag &tag)
{
    QVector<int> places = linePlaces(tag.order);
    const DeviceType *type = findDeviceType(tag.type);
    const bool isWordArea = type == nullptr || type->kind == ElementKind::Word;
    for (int &place : places)
        place = isWordArea ? place ^ 1 : 3 - place;
    switch (bytesPerValue(tag)) {
    case 1:
        return {0};
    case 2:
        // A word has A and B only; the orders that swap them do it here too.
        return {places.at(0) % 2, places.at(1) % 2};
    default:
        return places;
    }
}

float nearestFloat(double value)
{
    // Half a step above the largest float.
    const double tooLarge = 3.4028235677973366e38;
    if (std::isfinite(value) && std::fabs(value) >= tooLarge)
        return value < 0 ? -INFINITY : INFINITY;
    return float(value);
}

QString scaledText(const Tag &tag, double raw)
{
    // Fewer digits than a double has: 3 steps of 0.1 are 0.3.
    enum { Digits = 15 };
    const double value = raw * tag.scale;
    if (!std::isfinite(value))
        return std::isnan(value) ? QStringLiteral("nan") : value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    if (value == 0)
        return QStringLiteral("0");
    if (tag.format != Format::Float32)
        return numberText(value, Digits);
    // The fewest digits that give the same float when they are written back.
    for (int digits = 1; digits < Digits; ++digits) {
        const double read = numberText(value, digits).toDouble();
        if (double(nearestFloat(read / tag.scale)) == raw)
            return numberText(read, Digits);
    }
    return numberText(value, Digits);
}
