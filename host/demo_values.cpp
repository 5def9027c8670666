// What the driver holds against what the PLC holds, and values that change.
#include "host/demo.h"

#include <QtCore/QThread>

namespace {

enum { SampleMilliseconds = 20, TerminalRedraw = 200, PlainRedraw = 2000 };

struct LiveTag {
    const DemoTag *tag;
    QVector<quint32> value;
    int changes = 0;
};

} // namespace

QVector<quint32> Demo::valuesInDriver(const DemoTag &tag) const
{
    QByteArray bytes;
    plugin.getRegisterData(0, tag.devType, QLatin1String(tag.address), PolledStation, &bytes, tag.count);
    return valuesOfHostBytes(tag, bytes);
}

QVector<quint32> Demo::valuesInPlc(const DemoTag &tag, int station)
{
    return valuesOfCells(tag, cellsInPlc(simulator, station, tag));
}

/// Compares every tag that does not change by itself. Returns how many; fills the table when there is one.
int Demo::compareAllTags(Table *table)
{
    int compared = 0;
    for (const DemoTag &tag : demoTags()) {
        const QVector<quint32> inDriver = valuesInDriver(tag), inPlc = valuesInPlc(tag, PolledStation);
        const bool isSame = inDriver == inPlc && !inPlc.isEmpty();
        if (table)
            table->addRow({QLatin1String(tag.name), valueText(tag, inDriver), valueText(tag, inPlc),
                           QLatin1String(tag.live ? "changes"
                                         : isSame ? "yes"
                                                  : "NO")});
        if (tag.live)
            continue;
        ++compared;
        check(isSame, QString::fromLatin1("%1 is %2 in the driver, %3 in the PLC")
                          .arg(QLatin1String(tag.name), valueText(tag, inDriver), valueText(tag, inPlc)));
    }
    return compared;
}

bool Demo::showAllValues()
{
    screen.heading(QStringLiteral("Every tag: read through the driver, and asked of the PLC's own memory"));
    Table table({"tag", "driver", "PLC", "same"}, "lrrl");
    const int compared = compareAllTags(&table);
    screen.table(table);
    screen.line();
    screen.line(QString::fromLatin1("  %1 tags compared; the %2 that the PLC changes by itself follow.")
                    .arg(compared)
                    .arg(demoTags().size() - compared));
    return !interrupted;
}

bool Demo::showLiveValues()
{
    screen.heading(QStringLiteral("Live values: nobody writes these, the PLC changes them"));
    QVector<LiveTag> liveTags;
    for (const DemoTag &tag : demoTags())
        if (tag.live)
            liveTags << LiveTag{&tag, valuesInDriver(tag), 0};
    QElapsedTimer running, sinceRedraw;
    running.start();
    for (bool isFirst = true; !interrupted && !running.hasExpired(1000 * options.liveSeconds);) {
        for (LiveTag &live : liveTags) {
            const QVector<quint32> now = valuesInDriver(*live.tag);
            live.changes += now != live.value;
            live.value = now;
        }
        if (isFirst || sinceRedraw.hasExpired(screen.isTerminal() ? TerminalRedraw : PlainRedraw)) {
            Table table({"tag", "kind", "value     ", "changes seen"}, "llrr");
            for (const LiveTag &live : qAsConst(liveTags))
                table.addRow({QLatin1String(live.tag->name), kindText(live.tag->kind), valueText(*live.tag, live.value),
                              QString::number(live.changes)});
            screen.redraw(table, isFirst);
            sinceRedraw.start();
            isFirst = false;
        }
        QThread::msleep(SampleMilliseconds);
    }
    for (const LiveTag &live : qAsConst(liveTags))
        if (!interrupted)
            check(live.changes > 0, QString::fromLatin1("%1 did not change").arg(QLatin1String(live.tag->name)));
    return !interrupted;
}
