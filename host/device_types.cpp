#include "host/device_types.h"

#include <QtCore/QStringList>

namespace {

// A low piece ends where the code's numbers jump; any other piece where the next area begins.
const QVector<AreaPiece> Coils0 = {{0, 799, 1200}};
const QVector<AreaPiece> Coils1 = {{0, 1199, 0}};
const QVector<AreaPiece> Coils2 = {{0, 2047, 2000}, {2048, 20047, 12000}};
const QVector<AreaPiece> Coils3 = {{0, 255, 4400}, {256, 1255, 30000}};
const QVector<AreaPiece> Coils4 = {{0, 1023, 6000}, {1024, 35559, 31000}};
const QVector<AreaPiece> Coils5 = {{0, 255, 8000}, {256, 1255, 11000}};
const QVector<AreaPiece> Coils6 = {{0, 255, 9200}, {256, 1255, 10000}};
const QVector<AreaPiece> Words7 = {{0, 7999, 0}};
const QVector<AreaPiece> Words8 = {{0, 255, 8000}, {256, 1255, 12000}};
const QVector<AreaPiece> Words9 = {{0, 255, 9000}, {256, 1255, 11000}};
const QVector<AreaPiece> Words10 = {{0, 199, 9500}};
const QVector<AreaPiece> Words11 = {{0, 499, 8500}};
const QVector<AreaPiece> Values13 = {{0, 55, 9700}, {56, 555, 10000}};
const QVector<AreaPiece> Words100 = {{0, 52535, 13000}};

const QVector<DeviceType> Types = {
    // code, kind, base, writable, pieces
    {0, ElementKind::Bit, 0, false, Coils0},
    {1, ElementKind::Bit, 1, true, Coils1},
    {2, ElementKind::Bit, 2, true, Coils2},
    {3, ElementKind::Bit, 3, true, Coils3},
    {4, ElementKind::Bit, 4, true, Coils4},
    {5, ElementKind::Bit, 5, true, Coils5},
    {6, ElementKind::Bit, 6, true, Coils6},
    {7, ElementKind::Word, 7, true, Words7},
    {8, ElementKind::Word, 8, true, Words8},
    {9, ElementKind::Word, 9, true, Words9},
    {10, ElementKind::Word, 10, true, Words10},
    {11, ElementKind::Word, 11, true, Words11},
    {12, ElementKind::Pair, 7, true, Words7},
    {13, ElementKind::Special, 13, true, Values13},
    {14, ElementKind::Pair, 8, true, Words8},
    {15, ElementKind::BitInWord, 7, true, Words7},
    {16, ElementKind::BitInWord, 8, true, Words8},
    {17, ElementKind::BitInWord, 11, true, Words11},
    {100, ElementKind::Word, 100, true, Words100},
    {101, ElementKind::Pair, 100, true, Words100},
    {102, ElementKind::BitInWord, 100, true, Words100},
};

/// Modbus numbers of an element.
int width(const DeviceType &type)
{
    return type.kind == ElementKind::Special ? 2 : 1;
}

} // namespace

const DeviceType *findDeviceType(int code)
{
    for (const DeviceType &type : Types) {
        if (type.code == code)
            return &type;
    }
    return nullptr;
}

const QVector<DeviceType> &deviceTypes()
{
    return Types;
}

bool isOctal(const DeviceType &type)
{
    return type.code <= 1;
}

QString addressText(const DeviceType &type, int element)
{
    switch (type.kind) {
    case ElementKind::Bit:
        return QString::number(element, isOctal(type) ? 8 : 10);
    case ElementKind::Word:
    case ElementKind::Pair:
        return QString::number(element);
    case ElementKind::Special:
        return QString::number(element + 200);
    case ElementKind::BitInWord:
        return QString::number(element / 16) + QLatin1Char('.') + QString::number(element % 16);
    }
    return QString();
}

QString rangeText(const DeviceType &type)
{
    const bool isBitInWord = type.kind == ElementKind::BitInWord;
    QStringList texts;
    for (const AreaPiece &piece : type.pieces) {
        const int first = isBitInWord ? piece.first * 16 : piece.first;
        const int last = isBitInWord ? piece.last * 16 + 15 : piece.last;
        texts << QStringLiteral("%1 to %2").arg(addressText(type, first), addressText(type, last));
    }
    return texts.join(QLatin1String(", "));
}

QString kindText(const DeviceType &type)
{
    switch (type.kind) {
    case ElementKind::Bit:
        return isOctal(type) ? QStringLiteral("bit, octal address") : QStringLiteral("bit");
    case ElementKind::Word:
        return QStringLiteral("word");
    case ElementKind::Pair:
        return QStringLiteral("32 bits in two words of %1").arg(type.base);
    case ElementKind::Special:
        return QStringLiteral("32 bits of its own, counted from 200");
    case ElementKind::BitInWord:
        return QStringLiteral("bit of a word of %1, as 10.3").arg(type.base);
    }
    return QString();
}

QString cellText(bool isCoil, int number)
{
    for (const DeviceType &type : Types) {
        if (type.code != type.base || (type.kind == ElementKind::Bit) != isCoil)
            continue;
        for (const AreaPiece &piece : type.pieces) {
            const int offset = number - piece.number;
            const int element = piece.first + offset / width(type);
            if (offset < 0 || element > piece.last)
                continue;
            const QString half = width(type) == 1  ? QString()
                                 : offset % 2 == 0 ? QStringLiteral(", high word")
                                                   : QStringLiteral(", low word");
            return QStringLiteral("code %1 at %2%3").arg(type.code).arg(addressText(type, element), half);
        }
    }
    return QString();
}
