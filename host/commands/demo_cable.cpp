// A cable that is pulled and plugged in again, and a port that goes away and comes back.
#include "host/commands/demo.h"

#include <QtCore/QSemaphore>

namespace {

enum { CableMilliseconds = 15000, PortAwayMilliseconds = 1200 };

// The driver gives up the first; as it does so, it throws away whatever is queued behind for the same station.
const QVector<DemoWrite> &lostWrites()
{
    static const QVector<DemoWrite> writes{{"set-point", "43.2", {432}, WriteState::Failed},
                                           {"drive-command", "5", {5}, WriteState::Purged}};
    return writes;
}

} // namespace

/// How many tags are good, uncertain or bad, and why.
void Demo::countQualities(const QString &when)
{
    const QVector<TagValue> values = currentValues();
    QMap<QString, int> counts;
    for (int i = 0; i < values.size(); ++i)
        if (tags.at(i).isReadable)
            ++counts[qualityText(values.at(i))];
    QStringList parts;
    for (auto count = counts.begin(); count != counts.end(); ++count)
        parts << QString::fromLatin1("%1 tags %2").arg(count.value()).arg(count.key());
    screen.line(QString::fromLatin1("  %1: %2.").arg(when, parts.join(QLatin1String(", "))));
}

bool Demo::waitUntilAllGood(const QElapsedTimer &since, const QString &after)
{
    if (!waitFor(QStringLiteral("every tag to be good again"), CableMilliseconds, [this] { return areAllGood(); }))
        return false;
    const double seconds = since.elapsed() / 1000.0;
    if (!waitForAPass())
        return false;
    const int compared = compareAllTags(nullptr);
    screen.line(QString::fromLatin1("  %1: every tag good after %2 s, %3 tags read and compared.")
                    .arg(after)
                    .arg(seconds, 0, 'f', 1)
                    .arg(compared));
    return !shouldStop();
}

bool Demo::pullTheCable()
{
    screen.heading(QStringLiteral("The cable is pulled, and plugged in again"));
    QVector<QueuedWrite> due;
    if (!encodeWrites(lostWrites(), &due))
        return false;
    switched.clear();
    // The panel waits meanwhile: the first write is the first request that nobody answers.
    QSemaphore isPaused, isPulled;
    QVector<int> ids;
    thread->post([&](Panel &panel) {
        isPaused.release();
        isPulled.acquire();
        for (const QueuedWrite &write : qAsConst(due))
            ids << panel.write(write.tag, write.bytes);
    });
    isPaused.acquire();
    simulator.ask(QStringLiteral("unplug"));
    isPulled.release();
    thread->call([](Panel &) {});
    if (!waitForWrites(ids) || !waitFor(QStringLiteral("both stations to be switched off"), CableMilliseconds, [this] {
            return switched.size() == 2;
        }))
        return false;
    showWrites(lostWrites(), ids);
    screen.line();
    countQualities(QStringLiteral("Pulled"));
    for (auto station = switched.begin(); station != switched.end(); ++station)
        check(!station.value(), QString::fromLatin1("station %1 was switched on, expected off").arg(station.key()));
    check(!areAllGood(), QStringLiteral("every tag is good without a cable"));
    return plugIn();
}

bool Demo::plugIn()
{
    QElapsedTimer sincePlugged;
    sincePlugged.start();
    simulator.ask(QStringLiteral("plug"));
    if (!waitUntilAllGood(sincePlugged, QStringLiteral("Plugged in")))
        return false;
    for (const DemoWrite &write : lostWrites()) {
        const int index = demoIndex(write.tag);
        check(cellsInPlc(simulator, FirstStation, tags.at(index), demoTags().at(index)) != write.cells,
              QString::fromLatin1("%1 reached the PLC, expected it to be lost").arg(QLatin1String(write.tag)));
    }
    return !shouldStop();
}

bool Demo::takeThePortAway()
{
    screen.heading(QStringLiteral("The port vanishes, as a pulled adapter does, and comes back"));
    portChanges.clear();
    QElapsedTimer sinceGone;
    sinceGone.start();
    simulator.ask(QString::fromLatin1("vanish %1").arg(int(PortAwayMilliseconds)));
    if (!waitFor(QStringLiteral("the port to be seen lost"), CableMilliseconds,
                 [this] { return !portChanges.isEmpty(); }))
        return false;
    countQualities(QStringLiteral("Gone"));
    const QVector<TagValue> values = currentValues();
    check(std::all_of(values.begin(), values.end(), [](const TagValue &value) { return value.reason == Reason::Port; }),
          QStringLiteral("a value does not tell that the port is lost"));
    if (!waitUntilAllGood(sinceGone, QStringLiteral("Back")))
        return false;
    check(!portChanges.first() && portChanges.last(), QStringLiteral("the port was not lost and opened again"));
    return !shouldStop();
}
