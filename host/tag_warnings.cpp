#include "host/tag_check.h"

#include <algorithm>

namespace {

/// Cells that a tag writes: from .. to - 1 of the area under which the driver stores them, words by their bits.
struct Span {
    const Tag *tag;
    int base;
    int from;
    int to;
};

Span spanOf(const Tag &tag, const DeviceType &type)
{
    switch (type.kind) {
    case ElementKind::Bit:
    case ElementKind::BitInWord:
        return {&tag, type.base, tag.element, tag.element + tag.elements};
    case ElementKind::Word:
    case ElementKind::Pair:
        return {&tag, type.base, tag.element * 16, (tag.element + tag.elements) * 16};
    case ElementKind::Special:
        return {&tag, type.base, tag.element, tag.element + tag.count};
    }
    return {&tag, type.base, 0, 0};
}

bool isSameArea(const Span &a, const Span &b)
{
    return a.tag->station == b.tag->station && a.base == b.base;
}

bool isBefore(const Span &a, const Span &b)
{
    if (a.tag->station != b.tag->station)
        return a.tag->station < b.tag->station;
    if (a.base != b.base)
        return a.base < b.base;
    return a.from != b.from ? a.from < b.from : a.tag->line < b.tag->line;
}

struct Warning {
    int line;
    QString column;
    QString text;
    QString reason;
};

/// Each tag that shares cells with others is named with one of them, not with all.
void findShared(const QList<Tag> &tags, QVector<Warning> *warnings)
{
    QVector<Span> spans;
    for (const Tag &tag : tags) {
        const DeviceType *type = findDeviceType(tag.type);
        if (tag.isWritable && type != nullptr)
            spans << spanOf(tag, *type);
    }
    std::sort(spans.begin(), spans.end(), isBefore);
    const Span *furthest = nullptr; // Of those before in the area, the one that ends last.
    for (const Span &span : qAsConst(spans)) {
        const bool isInArea = furthest != nullptr && isSameArea(*furthest, span);
        if (isInArea && span.from < furthest->to) {
            const bool isLater = span.tag->line > furthest->tag->line;
            const Tag &earlier = isLater ? *furthest->tag : *span.tag;
            warnings->append({isLater ? span.tag->line : furthest->tag->line, QStringLiteral("address"),
                              QStringLiteral("shares cells with %1 (line %2) and both can be written")
                                  .arg(earlier.name)
                                  .arg(earlier.line),
                              QStringLiteral("the older of two queued writes may come last")});
        }
        if (!isInArea || span.to > furthest->to)
            furthest = &span;
    }
}

void findIdleOrders(const QList<Tag> &tags, QVector<Warning> *warnings)
{
    for (const Tag &tag : tags) {
        const bool isWord = tag.format == Format::Int16 || tag.format == Format::Uint16;
        const bool isIdle = tag.format == Format::Bit || (isWord && tag.order == ByteOrder::CDAB);
        if (isIdle && tag.order != ByteOrder::ABCD)
            warnings->append({tag.line, QStringLiteral("order"), orderName(tag.order),
                              QLatin1String("changes nothing for ") + formatName(tag.format)});
    }
}

} // namespace

QStringList tagWarnings(const QList<Tag> &tags, const QString &fileName)
{
    QVector<Warning> warnings;
    findShared(tags, &warnings);
    findIdleOrders(tags, &warnings);
    std::stable_sort(warnings.begin(), warnings.end(),
                     [](const Warning &a, const Warning &b) { return a.line < b.line; });
    Problems found(fileName, QStringLiteral("warning"));
    for (const Warning &warning : qAsConst(warnings))
        found.add(warning.line, warning.column, warning.text, warning.reason);
    return found.texts();
}
