// The plan, values that change, and every value against the PLC's memory.
#include "host/commands/demo.h"
#include "host/commands/plan_text.h"
#include "host/tag_codec.h"

namespace {

enum { FirstValuesMilliseconds = 5000, TerminalRedraw = 200, PlainRedraw = 2000, SampleMilliseconds = 50 };

/// True when a block reads all of the run's cells, or the part of them that another block does not.
int cellsRead(const Plan &plan, int tag, int station, bool isCoils, const CellRun &run)
{
    int read = 0;
    for (const PlanBlock &block : plan.blocks) {
        if (block.station != station || block.isCoils != isCoils || !block.tags.contains(tag))
            continue;
        const int first = qMax(block.firstNumber, run.first);
        const int last = qMin(block.lastNumber, run.first + run.count - 1);
        read += qMax(0, last - first + 1);
    }
    return read;
}

} // namespace

bool Demo::showPlan()
{
    plan = makePlan(loaded.plugin, loaded.settings, tags, 0);
    if (!plan.problem.isEmpty())
        return cannotGoOn(plan.problem, ExitBadReply);
    screen.heading(
        QString::fromLatin1("The plan: %1 tags become %2 requests a pass").arg(tags.size()).arg(plan.blocks.size()));
    screen.table(planTable(plan, tags));
    screen.line();
    screen.lines(planTotals(plan));
    screen.line(QString::fromLatin1("  predicted pass  %1 ms at %2")
                    .arg(plan.passMilliseconds(loaded.settings.line), 0, 'f', 1)
                    .arg(loaded.settings.line.text()));
    for (int tag = 0; tag < tags.size(); ++tag)
        for (const CellRun &run : demoTags().at(tag).cells)
            if (tags.at(tag).isReadable)
                check(cellsRead(plan, tag, tags.at(tag).station, isBitTag(tags.at(tag)), run) == run.count,
                      QString::fromLatin1("the blocks do not read all of %1, %2 cells from number %3 on")
                          .arg(tags.at(tag).name)
                          .arg(run.count)
                          .arg(run.first));
    return !shouldStop();
}

QStringList Demo::liveLines(const PanelSnapshot &snapshot) const
{
    TextTable table({"tag", "station", ">value     ", "unit", "quality", ">changes seen"});
    for (int tag = 0; tag < tags.size(); ++tag) {
        if (!demoTags().at(tag).live)
            continue;
        const TagValue &value = snapshot.values.at(tag);
        table.addRow({tags.at(tag).name, QString::number(tags.at(tag).station),
                      value.bytes.isEmpty() ? QStringLiteral("-") : valueText(tags.at(tag), value.bytes),
                      tags.at(tag).unit, qualityText(value), QString::number(changes.at(tag))});
    }
    return table.lines();
}

/// Waiting for one in vain ends the demo.
bool Demo::waitForChanges()
{
    for (int tag = 0; tag < tags.size(); ++tag) {
        if (!demoTags().at(tag).live)
            continue;
        if (!waitFor(tags.at(tag).name + QLatin1String(" to change"), FirstValuesMilliseconds,
                     [&] { return changes.at(tag) > 0; }))
            return false;
        ++checksMade;
    }
    return true;
}

bool Demo::showLiveValues()
{
    screen.heading(QStringLiteral("Live values: nobody writes these, the PLC changes them"));
    qint64 allGoodAfter = -1;
    QElapsedTimer running, sinceDrawn;
    running.start();
    for (bool isFirst = true; !shouldStop() && !running.hasExpired(1000 * options.liveSeconds);) {
        takeEvents(SampleMilliseconds);
        if (!simulator.isRunning())
            return cannotGoOn(simulator.error(), ExitPort);
        if (allGoodAfter < 0 && areAllGood()) {
            allGoodAfter = sinceStart.elapsed();
            changes.fill(0);
        }
        // The first table of a log has values in it.
        if ((isFirst && allGoodAfter >= 0)
            || (!isFirst && sinceDrawn.hasExpired(screen.isTerminal() ? TerminalRedraw : PlainRedraw))) {
            screen.redraw(liveLines(thread->snapshot()), isFirst);
            sinceDrawn.start();
            isFirst = false;
        }
    }
    if (shouldStop())
        return false;
    if (allGoodAfter < 0
        && !waitFor(QStringLiteral("every tag to be read"), FirstValuesMilliseconds, [this] { return areAllGood(); }))
        return false;
    if (allGoodAfter < 0)
        allGoodAfter = sinceStart.elapsed();
    screen.line();
    screen.line(QString::fromLatin1("  Every tag had a good value %1 s after the start.").arg(allGoodAfter / 1000.0));
    const int limit = FirstValuesMilliseconds * options.patience;
    check(allGoodAfter <= limit, QString::fromLatin1("expected that within %1 s").arg(limit / 1000));
    return waitForChanges();
}

/// Compares every tag that does not change by itself. Returns how many; fills the table when there is one.
int Demo::compareAllTags(TextTable *table)
{
    const QVector<TagValue> values = currentValues();
    int compared = 0;
    for (int i = 0; i < tags.size(); ++i) {
        const Tag &tag = tags.at(i);
        const DemoTag &place = demoTags().at(i);
        if (!tag.isReadable)
            continue;
        const QByteArray inPlc = hostBytesOf(tag, place, cellsInPlc(simulator, tag.station, tag, place));
        const QByteArray inPanel = values.at(i).bytes;
        const bool isSame = inPanel == inPlc && !inPlc.isEmpty() && values.at(i).quality == Quality::Good;
        const QString panelText = inPanel.isEmpty() ? QStringLiteral("-") : valueText(tag, inPanel);
        if (table)
            table->addRow({tag.name, QString::number(tag.station), QString::number(tag.type), tag.address,
                           formatName(tag.format), panelText, valueText(tag, inPlc), tag.unit,
                           QLatin1String(place.live ? "changes"
                                         : isSame   ? "yes"
                                                    : "NO")});
        if (place.live)
            continue;
        ++compared;
        check(isSame, QString::fromLatin1("%1 is %2, %3, in the panel, and %4 in the PLC")
                          .arg(tag.name, panelText, qualityText(values.at(i)), valueText(tag, inPlc)));
    }
    return compared;
}

bool Demo::showAllValues()
{
    screen.heading(QStringLiteral("Every tag: read through the driver, and asked of the PLC's own memory"));
    TextTable table({"tag", ">station", ">code", ">address", "format", ">panel", ">PLC", "unit", "same"});
    const int compared = compareAllTags(&table);
    screen.table(table);
    screen.line();
    screen.line(QString::fromLatin1("  %1 tags compared; the PLC changes the others by itself.").arg(compared));
    return !shouldStop();
}
