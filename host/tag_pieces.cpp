#include "host/tags.h"

#include <climits>

namespace {

/// Bits from a bit on that the driver reads whole, and reads no other word for that the PLC may not have.
int longestBitsInWord(const DeviceType &type, int element, const PanelSettings &settings)
{
    const int word = element / 16;
    int longest = 16 - element % 16;
    // With one PLC more bits than a block has words are taken for that many words.
    if (!settings.hasSeveral)
        longest = qMin(longest, settings.maxBlockLen);
    // The driver asks for word % 16 + bits, in words rounded up: behind the last word there may be none.
    if (word == type.pieces.last().last)
        longest = qMin(longest, 16 - word % 16);
    return qMax(longest, 1);
}

/// Elements of the driver's count from an element of the area on that can go into one piece.
int longestPiece(const DeviceType &type, int element, const PanelSettings &settings, PieceUse use)
{
    enum { Unlimited = INT_MAX };
    switch (type.kind) {
    case ElementKind::Bit:
        return settings.hasSeveral ? 8 - element % 8 : int(Unlimited);
    case ElementKind::BitInWord:
        return longestBitsInWord(type, element, settings);
    case ElementKind::Special:
        return settings.hasSeveral || use == PieceUse::Request ? int(Unlimited) : 2;
    case ElementKind::Pair: {
        const int gap = type.pieces.last().first;
        return element < gap ? gap - element : int(Unlimited);
    }
    case ElementKind::Word:
        return Unlimited;
    }
    return Unlimited;
}

} // namespace

QVector<TagPiece> piecesOf(const Tag &tag, const PanelSettings &settings, PieceUse use)
{
    QVector<TagPiece> pieces;
    const DeviceType *type = findDeviceType(tag.type);
    if (type == nullptr)
        return pieces;
    const bool isBit = type->kind == ElementKind::Bit || type->kind == ElementKind::BitInWord;
    const int elementBytes = isBit ? 1 : 2;
    const int elementsPerValue = tag.count > 0 ? tag.elements / tag.count : 1;
    for (int done = 0; done < tag.elements;) {
        // A value of the special area is one of its elements, but two in the driver's count.
        const int element = tag.element + (type->kind == ElementKind::Special ? done / 2 : done);
        const int elements = qMin(tag.elements - done, longestPiece(*type, element, settings, use));
        pieces.append({done == 0 ? tag.address : addressText(*type, element), elements, done / elementsPerValue,
                       done * elementBytes, elements * elementBytes});
        done += elements;
    }
    return pieces;
}

QList<VARDESC> descriptionsOf(const QList<Tag> &tags, const PanelSettings &settings)
{
    QList<VARDESC> descriptions;
    for (const Tag &tag : tags) {
        if (!tag.isReadable)
            continue;
        for (const TagPiece &piece : piecesOf(tag, settings, PieceUse::Request)) {
            VARDESC description;
            description.devType = static_cast<unsigned char>(tag.type);
            description.station = static_cast<unsigned char>(tag.station);
            description.addrText = piece.address;
            description.nameText = tag.name;
            description.count = piece.elements;
            descriptions << description;
        }
    }
    return descriptions;
}
