#include "host/demo.h"

#include <QtCore/QThread>

namespace {

enum { BlockWords = 32, Retries = 2, Panel = 1, WritesReachPlc = 2, LongWait = 10000, HexPerLine = 20 };

QString hexText(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

} // namespace

Demo::Demo(const DemoOptions &options, const std::atomic<bool> &interrupted)
    : options(options), interrupted(interrupted)
{
    comInfo.maxBlockLen = BlockWords;
    comInfo.plcStation = PolledStation;
    comInfo.retryLimit = Retries;
    comInfo.ownStation = Panel;
    comInfo.writeMode = WritesReachPlc;
}

int Demo::run()
{
    const bool finished = start() && showPlan() && showOnePass() && showAllValues() && showLiveValues()
                          && writeOneOfEachKind() && pullTheCable();
    if (cycle) {
        cycle->stop();
        showSummary();
    }
    return conclude(finished);
}

int Demo::conclude(bool finished)
{
    screen.line();
    if (interrupted) {
        screen.line(QStringLiteral("Interrupted: the cycle has stopped and the simulated PLC is being ended."));
        return Interrupted;
    }
    if (!simulator.error().isEmpty())
        obstacle = simulator.error();
    if (!finished || !obstacle.isEmpty()) {
        std::fprintf(stderr, "ecdemo: %s\n", obstacle.toUtf8().constData());
        return checksFailed ? WrongValue : CannotRun;
    }
    if (checksFailed) {
        std::fprintf(stderr, "ecdemo: %d of %d checks failed, see WRONG above\n", checksFailed, checksMade);
        return WrongValue;
    }
    screen.line(QString::fromLatin1("All %1 checks passed: every value read back was right.").arg(checksMade));
    return AllRight;
}

bool Demo::start()
{
    QString error;
    QStringList arguments{QStringLiteral("--station"), QString::number(PolledStation), QStringLiteral("--station"),
                          QString::number(OtherStation)};
    arguments << liveOptions();
    for (const QString &number : options.stuckCells)
        arguments << QStringLiteral("--stuck") << number;
    if (!plugin.load(options.driverPath, &error) || !simulator.start(options.simPath, arguments, &error))
        return cannotGoOn(error);
    line.port = options.port.isEmpty() ? simulator.portPath() : options.port;
    plugin.setComInfo(&comInfo);
    plugin.flashLocalRegister(nullptr, nullptr, nullptr);
    screen.line(QString::fromLatin1("driver  %1, loaded by path and symbol name").arg(options.driverPath));
    screen.line(QString::fromLatin1("PLC     %1, stations %2 and %3, a process of its own")
                    .arg(options.simPath)
                    .arg(int(PolledStation))
                    .arg(int(OtherStation)));
    screen.line(QString::fromLatin1("line    %1, %2, %3 ms for a reply")
                    .arg(line.port, line.text())
                    .arg(line.replyMilliseconds));
    return true;
}

bool Demo::showOnePass()
{
    cycle.reset(new Cycle(plugin, comInfo, line));
    cycle->keepExchanges(plan.size());
    QString error;
    if (!cycle->start(&error))
        return cannotGoOn(error);
    // The driver's flag asks for one good reply more than the list has entries.
    if (!waitFor(QStringLiteral("the driver to report a whole pass"), LongWait,
                 [this] { return cycle->counters().passFinished; }))
        return false;
    screen.heading(QStringLiteral("The frames of one pass, out (->) and back (<-)"));
    const QList<Exchange> exchanges = cycle->keptExchanges();
    for (int i = 0; i < exchanges.size(); ++i)
        showFrames(exchanges.at(i), QString::number(i + 1));
    return true;
}

void Demo::showFrames(const Exchange &exchange, const QString &label)
{
    screen.line(QString::fromLatin1("%1  -> %2").arg(label, 4).arg(hexText(exchange.request)));
    for (int first = 0; first < exchange.reply.size(); first += HexPerLine)
        screen.line(QString::fromLatin1("      %1 %2")
                        .arg(QLatin1String(first == 0 ? "<-" : "  "), hexText(exchange.reply.mid(first, HexPerLine))));
    if (exchange.reply.isEmpty())
        screen.line(
            QLatin1String(exchange.replyLen == 0 ? "      <- (a broadcast: nobody answers)" : "      <- nothing"));
}

void Demo::showSummary()
{
    const CycleCounters counters = cycle->counters();
    screen.heading(QStringLiteral("Summary"));
    Table table({"what", "count"}, "lr");
    table.addRow({"whole passes over the read list", QString::number(counters.cyclicReplies / qMax(1, plan.size()))});
    table.addRow({"requests sent, repeats included", QString::number(counters.requests)});
    table.addRow({"repeats", QString::number(counters.repeats)});
    table.addRow({"time-outs", QString::number(counters.timeouts)});
    table.addRow({"replies refused", QString::number(counters.badReplies)});
    table.addRow({"requests given up", QString::number(counters.failures)});
    table.addRow({"writes reported done", QString::number(counters.writesDone)});
    table.addRow({"writes reported failed", QString::number(counters.writesFailed)});
    for (const QString &counted : simulator.ask(QStringLiteral("statistics")))
        table.addRow({QLatin1String("counted by the PLC: ") + counted.section(QLatin1Char('='), 0, 0),
                      counted.section(QLatin1Char('='), 1)});
    table.addRow({"checks made", QString::number(checksMade)});
    table.addRow({"checks failed", QString::number(checksFailed)});
    screen.table(table);
}

bool Demo::waitFor(const QString &what, int milliseconds, const std::function<bool()> &isReached)
{
    QElapsedTimer waiting;
    waiting.start();
    while (!isReached()) {
        if (interrupted)
            return false;
        if (!simulator.isRunning())
            return cannotGoOn(simulator.error());
        if (waiting.hasExpired(milliseconds))
            return cannotGoOn(QString::fromLatin1("waited %1 s in vain for %2").arg(milliseconds / 1000).arg(what));
        QThread::msleep(5);
    }
    return !interrupted;
}

// Two rounds of the list: the first may have begun before what is waited for.
bool Demo::waitForFreshValues()
{
    const qint64 enough = cycle->counters().cyclicReplies + 2 * plan.size();
    return waitFor(QStringLiteral("every block to be read again"), LongWait,
                   [this, enough] { return cycle->counters().cyclicReplies >= enough; });
}

bool Demo::cannotGoOn(const QString &why)
{
    obstacle = why;
    return false;
}

void Demo::check(bool isRight, const QString &whatIsWrong)
{
    // Without the PLC's memory there is nothing to compare with: the end of the simulator is what is reported.
    if (!simulator.error().isEmpty())
        return;
    ++checksMade;
    if (isRight)
        return;
    ++checksFailed;
    screen.wrong(whatIsWrong);
}
