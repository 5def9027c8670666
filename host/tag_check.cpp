#include "host/tag_check.h"

#include "host/tag_address.h"

#include <QtCore/QRegularExpression>

#include <cmath>

namespace {

enum { MostValues = 2000 };

QVector<Format> formatsOf(const DeviceType &type)
{
    switch (type.kind) {
    case ElementKind::Bit:
    case ElementKind::BitInWord:
        return {Format::Bit};
    case ElementKind::Word:
        return {Format::Uint16, Format::Int16, Format::Int32, Format::Uint32, Format::Float32};
    case ElementKind::Pair:
    case ElementKind::Special:
        return {Format::Uint32, Format::Int32, Format::Float32};
    }
    return {};
}

bool isWide(Format format)
{
    return format == Format::Int32 || format == Format::Uint32 || format == Format::Float32;
}

/// In front of an address that a message names.
QString radixText(const DeviceType &type)
{
    return isOctal(type) ? QStringLiteral("octal ") : QString();
}

/// Elements, as the driver counts them.
int elementsPerValue(const Tag &tag)
{
    return isWide(tag.format) ? 2 : 1;
}

} // namespace

QString TagCheck::columnName(int column)
{
    static const char *const names[Columns] = {"name",   "type",  "address", "station", "count",
                                               "format", "order", "scale",   "unit",    "rw"};
    return QLatin1String(names[column]);
}

bool TagCheck::refuse(int column, const QString &expected)
{
    problems.add(tag.line, columnName(column), shownCell(cells.at(column)), QLatin1String("expected ") + expected);
    return false;
}

bool TagCheck::check(const QStringList &row, int line, Tag *result)
{
    cells = row;
    tag = Tag();
    tag.line = line;
    // Each check is made, whatever the ones before it found.
    bool isGood = checkName();
    isGood &= checkType();
    bool isPlaced = checkAddress();
    isPlaced &= checkCount();
    isPlaced &= checkFormat();
    isGood &= isPlaced;
    isGood &= checkOrder();
    isGood &= checkScale();
    isGood &= checkUnit();
    isGood &= checkStation();
    isGood &= checkRw();
    if (type != nullptr && isPlaced)
        isGood &= checkArea();
    *result = tag;
    return isGood;
}

bool TagCheck::checkName()
{
    static const QRegularExpression pattern(QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_.-]*\\z"));
    tag.name = cells.at(Name);
    if (!pattern.match(tag.name).hasMatch())
        return refuse(Name, QStringLiteral("a letter or _, then letters, digits, _ . or -"));
    const int other = lineOfName.value(tag.name, 0);
    if (other != 0)
        return refuse(Name, QStringLiteral("a name of its own, line %1 has this one").arg(other));
    lineOfName.insert(tag.name, tag.line);
    return true;
}

bool TagCheck::checkType()
{
    tag.type = digitsToInt(cells.at(Type), 10);
    type = findDeviceType(tag.type);
    if (type == nullptr)
        return refuse(Type, QStringLiteral("a code from 0 to 17 or from 100 to 102"));
    // Two registers a value: a longer block has no room in a request.
    const int longest = PanelSettings::longestBlock(settings.isRemote, type->kind == ElementKind::Special);
    if (settings.maxBlockLen > longest)
        return refuse(Type, QStringLiteral("another code, or a max_block_len up to %1 (it is %2)")
                                .arg(longest)
                                .arg(settings.maxBlockLen));
    return true;
}

bool TagCheck::checkAddress()
{
    tag.address = cells.at(Address);
    if (type == nullptr)
        return true;
    QString expected;
    if (!readAddress(*type, tag.address, &tag.element, &expected))
        return refuse(Address, expected);
    if (tag.element < firstElement(*type) || tag.element > lastElement(*type))
        return refuse(Address, QStringLiteral("%1%2 to %3 for type %4")
                                   .arg(radixText(*type), addressText(*type, firstElement(*type)),
                                        addressText(*type, lastElement(*type)), QString::number(type->code)));
    return true;
}

bool TagCheck::checkCount()
{
    if (!cells.at(Count).isEmpty())
        tag.count = digitsToInt(cells.at(Count), 10);
    if (tag.count < 1 || tag.count > MostValues)
        return refuse(Count, QStringLiteral("a number from 1 to %1, or nothing for 1").arg(int(MostValues)));
    return true;
}

bool TagCheck::checkFormat()
{
    const QString text = cells.at(FormatColumn);
    QVector<Format> fitting = {Format::Bit,   Format::Int16,  Format::Uint16,
                               Format::Int32, Format::Uint32, Format::Float32};
    if (type != nullptr)
        fitting = formatsOf(*type);
    QStringList names;
    for (Format format : qAsConst(fitting)) {
        names << formatName(format);
        // The first one is the natural one.
        if (text == names.last() || (text.isEmpty() && names.size() == 1)) {
            tag.format = format;
            return true;
        }
    }
    return refuse(FormatColumn,
                  (names.size() == 1 ? QString() : QStringLiteral("one of ")) + names.join(QLatin1String(", ")));
}

bool TagCheck::checkOrder()
{
    const QString text = cells.at(Order);
    for (ByteOrder order : {ByteOrder::ABCD, ByteOrder::BADC, ByteOrder::CDAB, ByteOrder::DCBA}) {
        if (text == orderName(order) || text.isEmpty()) {
            tag.order = order;
            return true;
        }
    }
    return refuse(Order, QStringLiteral("one of ABCD, BADC, CDAB, DCBA"));
}

bool TagCheck::checkScale()
{
    static const QRegularExpression pattern(
        QStringLiteral("\\A[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\z"));
    const QString text = cells.at(Scale);
    if (text.isEmpty())
        return true;
    const bool isBit = type != nullptr && formatsOf(*type).first() == Format::Bit;
    if (isBit || cells.at(FormatColumn) == formatName(Format::Bit))
        return refuse(Scale, QStringLiteral("nothing, a bit has no scale"));
    bool isNumber = text.size() <= 100 && pattern.match(text).hasMatch();
    if (isNumber)
        tag.scale = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(tag.scale) || tag.scale == 0)
        return refuse(Scale, QStringLiteral("a number other than 0, as 0.1"));
    return true;
}

bool TagCheck::checkUnit()
{
    tag.unit = cells.at(Unit);
    for (QChar c : qAsConst(tag.unit)) {
        if (c.category() == QChar::Other_Control)
            return refuse(Unit, QStringLiteral("a text without control characters"));
    }
    return true;
}

bool TagCheck::checkStation()
{
    const QString text = cells.at(Station);
    tag.station = text.isEmpty() ? -1 : digitsToInt(text, 10);
    if (!settings.hasSeveral) {
        const bool isPlc = text.isEmpty() || tag.station == settings.station;
        tag.station = settings.station;
        return isPlc ? true : refuse(Station, QStringLiteral("%1, the PLC's, or nothing").arg(settings.station));
    }
    if (tag.station < 0 || tag.station > 247)
        return refuse(Station, QStringLiteral("a number from 1 to 247, or 0 to write to all"));
    if (tag.station != 0 || type == nullptr)
        return true;
    // The word is read before it is written, and nobody answers a broadcast.
    if (type->kind == ElementKind::BitInWord)
        return refuse(Station, QStringLiteral("1 to 247, a bit of a word cannot be written to all"));
    if (!type->isWritable)
        return refuse(Station, QStringLiteral("1 to 247, code %1 cannot be written").arg(type->code));
    return true;
}

bool TagCheck::checkRw()
{
    const QString text = cells.at(Rw);
    const bool isReadOnly = type != nullptr && !type->isWritable;
    if (!text.isEmpty() && text != QLatin1String("r") && text != QLatin1String("w") && text != QLatin1String("rw"))
        return refuse(Rw, QStringLiteral("r, w or rw"));
    tag.isReadable = text != QLatin1String("w");
    tag.isWritable = text.isEmpty() ? !isReadOnly : text != QLatin1String("r");
    if (isReadOnly && tag.isWritable)
        return refuse(Rw, QStringLiteral("r, code %1 cannot be written").arg(type->code));
    if (!isReadOnly && tag.station == 0 && tag.isReadable)
        return refuse(Rw, QStringLiteral("w, nobody answers what is sent to all"));
    return true;
}

/// All of the tag's elements exist, and the words of each value are neighbours.
bool TagCheck::checkArea()
{
    const int perValue = type->kind == ElementKind::Special ? 1 : elementsPerValue(tag);
    tag.elements = tag.count * elementsPerValue(tag);
    const int room = (lastElement(*type) + 1 - tag.element) / perValue;
    const QString last =
        QStringLiteral("%1%2 is the last of type %3")
            .arg(radixText(*type), addressText(*type, lastElement(*type)), QString::number(type->code));
    if (room < 1)
        return refuse(Address, QLatin1String("two words for a value, ") + last);
    if (tag.count > room)
        return refuse(Count, QStringLiteral("at most %1, ").arg(room) + last);
    if (perValue == 1 || type->pieces.size() == 1)
        return true;
    const int gap = type->pieces.last().first;
    const bool isCut = tag.element < gap && tag.element + tag.elements > gap && (gap - tag.element) % 2 != 0;
    if (isCut)
        return refuse(
            Address,
            QStringLiteral("no value on both %1 and %2, they are not neighbours in the PLC").arg(gap - 1).arg(gap));
    return true;
}
