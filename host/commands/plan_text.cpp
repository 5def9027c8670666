#include "host/commands/plan_text.h"

namespace {

enum { TagsColumn = 32 };

QString cutText(BlockCut cut)
{
    switch (cut) {
    case BlockCut::None:
        return QString();
    case BlockCut::Map:
        return QStringLiteral("cut: map");
    case BlockCut::Length:
        return QStringLiteral("cut: length");
    }
    return QString();
}

/// Names with commas, in as many lines as they need.
QStringList inLines(const QStringList &names)
{
    QStringList lines(QString{});
    for (int i = 0; i < names.size(); ++i) {
        const QString text = i + 1 < names.size() ? names.at(i) + QLatin1Char(',') : names.at(i);
        if (!lines.last().isEmpty() && lines.last().size() + 1 + text.size() > TagsColumn)
            lines << QString();
        lines.last() += lines.last().isEmpty() ? text : QLatin1Char(' ') + text;
    }
    return lines;
}

} // namespace

TextTable planTable(const Plan &plan, const QList<Tag> &tags)
{
    TextTable table({">block", ">station", ">code", "elements", "Modbus numbers", ">read", ">useful", "", "tags"});
    for (int i = 0; i < plan.blocks.size(); ++i) {
        const PlanBlock &block = plan.blocks.at(i);
        QStringList names;
        for (const int tag : block.tags)
            names << cutTo(TextTable::NameColumns, tags.at(tag).name);
        const QStringList lines = inLines(names);
        table.addRow({QString::number(i + 1), QString::number(block.station), QString::number(block.code),
                      QString::fromLatin1("%1-%2").arg(block.firstAddress, block.lastAddress),
                      QString::fromLatin1("%1 %2-%3")
                          .arg(QLatin1String(block.isCoils ? "coils" : "registers"))
                          .arg(block.firstNumber)
                          .arg(block.lastNumber),
                      QString::number(block.bytes), QString::number(block.usefulBytes), cutText(block.cut),
                      lines.first()});
        for (const QString &more : lines.mid(1))
            table.addRow(
                {QString(), QString(), QString(), QString(), QString(), QString(), QString(), QString(), more});
    }
    return table;
}

QStringList planTotals(const Plan &plan)
{
    const auto cutsOf = [&plan](BlockCut cut) {
        return std::count_if(plan.blocks.begin(), plan.blocks.end(),
                             [cut](const PlanBlock &block) { return block.cut == cut; });
    };
    const int read = plan.bytes();
    return {QString::fromLatin1("requests a pass  %1").arg(plan.blocks.size()),
            QString::fromLatin1("bytes a pass     %1 useful, %2 read (%3 % useful), %4 on the line")
                .arg(plan.usefulBytes())
                .arg(read)
                .arg(read ? qRound(100.0 * plan.usefulBytes() / read) : 100)
                .arg(plan.lineBytes()),
            QString::fromLatin1("blocks cut       %1 where the PLC's numbers jump, %2 by max_block_len")
                .arg(cutsOf(BlockCut::Map))
                .arg(cutsOf(BlockCut::Length))};
}
