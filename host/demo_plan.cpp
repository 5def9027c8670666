// The sample tags and the blocks that the driver makes of them.
#include "host/demo.h"

namespace {

enum { TextColumn = 38 };

/// Tags of these codes live in the area of another code, and are read with it.
int areaOf(int devType)
{
    switch (devType) {
    case 12:
    case 15:
        return 7;
    case 14:
    case 16:
        return 8;
    case 17:
        return 11;
    case 101:
    case 102:
        return 100;
    default:
        return devType;
    }
}

bool isBitArea(int devType)
{
    return devType < 7;
}

int elementsOfBlock(const RW_VAR &block)
{
    return isBitArea(block.devType) ? 8 * block.count : block.count;
}

QString sizeText(const RW_VAR &block)
{
    const char *const unit = isBitArea(block.devType) ? "byte" : block.devType == 13 ? "32-bit value" : "word";
    return QString::fromLatin1("%1 %2%3")
        .arg(block.count)
        .arg(QLatin1String(unit), QLatin1String(block.count == 1 ? "" : "s"));
}

/// The tag's elements in the numbering of the blocks: its first one is at this address.
int elementsOfTag(const DemoTag &tag)
{
    return tag.kind == TagKind::Special ? tag.count / 2 : tag.count;
}

/// Elements that a tag and a block share; the tag's first element has this address.
int sharedElements(const RW_VAR &block, const DemoTag &tag, int address)
{
    if (areaOf(tag.devType) != block.devType)
        return 0;
    const int first = tag.kind == TagKind::BitInWord ? address / 16 : address;
    const int end = qMin(block.address + elementsOfBlock(block), first + elementsOfTag(tag));
    return qMax(0, end - qMax(block.address, first));
}

/// Names with commas, in as many lines as they need.
QStringList inLines(const QStringList &names)
{
    QStringList lines(QString{});
    for (int i = 0; i < names.size(); ++i) {
        const QString text = i + 1 < names.size() ? names.at(i) + QLatin1Char(',') : names.at(i);
        if (lines.last().size() + 1 + text.size() > TextColumn)
            lines << QString();
        lines.last() += lines.last().isEmpty() ? text : QLatin1Char(' ') + text;
    }
    return lines;
}

} // namespace

bool Demo::showPlan()
{
    QList<VARDESC> descriptions;
    for (const DemoTag &tag : demoTags()) {
        VARDESC description;
        description.devType = static_cast<unsigned char>(tag.devType);
        description.station = PolledStation;
        description.addrText = QLatin1String(tag.address);
        description.nameText = QLatin1String(tag.name);
        description.count = tag.count;
        descriptions << description;
    }
    plugin.reCreatReadVarList(descriptions);
    {
        const QMutexLocker locker(&plugin.driver->listMutex);
        plan = plugin.driver->readList;
    }
    screen.heading(QString::fromLatin1("The block plan: %1 tags become %2 requests a pass")
                       .arg(demoTags().size())
                       .arg(plan.size()));
    showTags();
    screen.line();
    showBlocks();
    return plan.isEmpty() ? cannotGoOn(QStringLiteral("the driver made no blocks of the tags")) : !interrupted;
}

void Demo::showTags()
{
    Table table({"tag", "kind", "code", "addr", "len", "Modbus cells"}, "llrrrl");
    for (const DemoTag &tag : demoTags())
        table.addRow({QLatin1String(tag.name), kindText(tag.kind), QString::number(tag.devType),
                      QLatin1String(tag.address), QString::number(tag.count),
                      QLatin1String(tag.kind == TagKind::Bit ? "coils " : "regs ") + cellText(tag)});
    screen.table(table);
}

void Demo::showBlocks()
{
    QVector<int> elementsFound(demoTags().size());
    Table table({"block", "code", "elements", "size", "tags in it"}, "rrrll");
    for (int i = 0; i < plan.size(); ++i) {
        const RW_VAR &block = plan.at(i);
        const QStringList lines = inLines(tagsInBlock(block, elementsFound));
        const int last = block.address + elementsOfBlock(block) - 1;
        table.addRow({QString::number(i + 1), QString::number(block.devType),
                      QString::fromLatin1("%1-%2").arg(block.address).arg(last), sizeText(block), lines.first()});
        for (const QString &more : lines.mid(1))
            table.addRow({QString(), QString(), QString(), QString(), more});
    }
    screen.table(table);
    for (int i = 0; i < elementsFound.size(); ++i) {
        const DemoTag &tag = demoTags().at(i);
        check(elementsFound.at(i) == elementsOfTag(tag),
              QString::fromLatin1("the blocks hold %1 of the %2 elements of %3")
                  .arg(elementsFound.at(i))
                  .arg(elementsOfTag(tag))
                  .arg(QLatin1String(tag.name)));
    }
}

/// Names of the tags that a block reads, whole or in part. Adds to the elements found of each tag.
QStringList Demo::tagsInBlock(const RW_VAR &block, QVector<int> &elementsFound) const
{
    QStringList names;
    for (int i = 0; i < demoTags().size(); ++i) {
        const DemoTag &tag = demoTags().at(i);
        const int address = plugin.plcAddressChangeIntef(tag.devType, QLatin1String(tag.address));
        const int shared = sharedElements(block, tag, address);
        if (shared == 0)
            continue;
        elementsFound[i] += shared;
        names << QLatin1String(shared < elementsOfTag(tag) ? "part of " : "") + QLatin1String(tag.name);
    }
    return names;
}
