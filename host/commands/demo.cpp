// ecpanel demo: the panel and a simulated PLC, step by step.
#include "host/commands/demo.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>

namespace {

enum { Baud = 38400, StartMilliseconds = 5000, PassMilliseconds = 10000, LookMilliseconds = 20 };

PanelSettings demoSettings(const QString &port, int patience)
{
    PanelSettings settings;
    settings.line.port = port;
    settings.line.baud = Baud;
    settings.line.parity = Parity::Even;
    settings.line.stopBits = 1;
    settings.line.replyTimeout = 150 * patience;
    settings.line.lateWindow = 30;
    settings.line.reopenFirst = 100;
    settings.line.reopenMost = 500;
    settings.maxBlockLen = 32;
    settings.retries = 2;
    settings.hasSeveral = true;
    settings.ownStation = 1;
    settings.offAfter = 2;
    settings.probeFirst = 300;
    settings.probeMost = 1000;
    return settings;
}

} // namespace

Demo::Demo(const DemoOptions &options) : options(options), screen(print), changes(demoTags().size()) {}

int Demo::run()
{
    sinceStart.start();
    const bool hasFinished = start() && showPlan() && startPanel() && showLiveValues() && showAllValues()
                             && writeOneOfEachKind() && writeToALockedCell() && pullTheCable() && takeThePortAway();
    if (thread) {
        thread->stop();
        if (!shouldStop() && simulator.isRunning())
            showSummary();
    }
    return endCode(loaded, conclude(hasFinished));
}

bool Demo::start()
{
    const QString sim = options.simPath.empty()
                            ? QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("ecsim"))
                            : fromOption(options.simPath);
    const QString link = folder.filePath(QStringLiteral("plc"));
    QStringList arguments{
        QStringLiteral("run"),     QStringLiteral("--pty"),   QStringLiteral("--link"), link,
        QStringLiteral("--stdin"), QStringLiteral("--quiet"), QStringLiteral("--pace"), QStringLiteral("--baud"),
        QString::number(Baud)};
    for (const int station : {FirstStation, SecondStation})
        arguments << QStringLiteral("--station") << QString::number(station);
    arguments << liveOptions() << QStringLiteral("--stuck") << QString::number(LockedRegister);
    for (const int number : options.stuckCells)
        arguments << QStringLiteral("--stuck") << QString::number(number);

    QString error;
    if (!loadDriver(options.common, &loaded.plugin) || !startTrace(options.common, &loaded))
        return cannotGoOn(QString(), ExitUsage);
    if (!simulator.start(sim, arguments, &error))
        return cannotGoOn(error, ExitUsage);
    loaded.settings = demoSettings(simulator.portPath(), options.patience);
    QStringList problems;
    tags = parseDemoTags(loaded.settings, &problems);
    if (!problems.isEmpty())
        return cannotGoOn(problems.join(QLatin1Char('\n')), ExitUsage);
    screen.line(QString::fromLatin1("PLC   a simulated one, a process of its own: stations %1 and %2")
                    .arg(int(FirstStation))
                    .arg(int(SecondStation)));
    screen.line(QString::fromLatin1("line  %1, %2, bytes take their time on it")
                    .arg(loaded.settings.line.port, loaded.settings.line.text()));
    return true;
}

bool Demo::startPanel()
{
    thread = makePanelThread(loaded, tags);
    QString error;
    return thread->start(&error) ? !shouldStop() : cannotGoOn(error, ExitPort);
}

void Demo::showSummary()
{
    const PanelSnapshot last = thread->snapshot();
    screen.heading(QStringLiteral("Summary"));
    screen.lines(closingReport(last.counters, last.writes).trimmed().split(QLatin1Char('\n')));
    const double measured = last.counters.passTime.percentile(0.5) / 1000.0;
    screen.line();
    screen.line(QString::fromLatin1("  A pass was predicted to take %1 ms; half of those measured took at most %2 ms.")
                    .arg(plan.passMilliseconds(loaded.settings.line), 0, 'f', 1)
                    .arg(measured, 0, 'f', 1));
    screen.line(QLatin1String("  Counted by the PLC: ")
                + simulator.ask(QStringLiteral("statistics")).join(QLatin1String(", ")));
}

int Demo::conclude(bool hasFinished)
{
    if (isInterrupted()) {
        printNote(QStringLiteral("ecpanel: interrupted; the panel has stopped and the simulated PLC is being ended\n"));
        return ExitInterrupted;
    }
    if (shouldStop())
        return ExitOk; // Nobody reads any more: the program tells so at its end.
    if (thread && !simulator.error().isEmpty())
        cannotGoOn(simulator.error(), ExitPort);
    if (!obstacle.isEmpty())
        complain(obstacle, obstacleCode);
    if (checksFailed)
        return complain(
            QString::fromLatin1("%1 of %2 checks failed, see WRONG above").arg(checksFailed).arg(checksMade),
            ExitBadReply);
    if (!hasFinished || !obstacle.isEmpty())
        return obstacleCode;
    screen.line();
    screen.line(QString::fromLatin1("All %1 checks passed.").arg(checksMade));
    return ExitOk;
}

bool Demo::cannotGoOn(const QString &why, ExitCode code)
{
    obstacle = why;
    obstacleCode = code;
    return false;
}

void Demo::check(bool isRight, const QString &whatIsWrong)
{
    // Without the PLC's memory there is nothing to compare with: the end of the simulator is what is reported.
    if (!simulator.error().isEmpty() || shouldStop())
        return;
    ++checksMade;
    if (isRight)
        return;
    ++checksFailed;
    screen.wrong(whatIsWrong);
}

void Demo::takeEvents(int milliseconds)
{
    for (const PanelEvent &event : thread->takeEvents(milliseconds)) {
        switch (event.kind) {
        case PanelEvent::ValueChanged:
            changes[event.number] += event.value.quality == Quality::Good;
            break;
        case PanelEvent::WriteEnded:
            endedWrites.insert(event.number, event.write);
            break;
        case PanelEvent::StationSwitched:
            switched[event.number] = event.isOn;
            break;
        case PanelEvent::PortChanged:
            portChanges << event.isOn;
            break;
        case PanelEvent::StationAnswers:
        case PanelEvent::PassFinished:
        case PanelEvent::ReadDone:
        case PanelEvent::Served:
            break;
        }
    }
}

bool Demo::waitFor(const QString &what, int milliseconds, const std::function<bool()> &isReached)
{
    milliseconds *= options.patience;
    QElapsedTimer waiting;
    waiting.start();
    for (;;) {
        takeEvents(LookMilliseconds);
        if (shouldStop())
            return false;
        if (isReached())
            return true;
        if (!simulator.isRunning())
            return cannotGoOn(simulator.error(), ExitPort);
        if (waiting.hasExpired(milliseconds))
            return cannotGoOn(QString::fromLatin1("waited %1 s in vain for %2").arg(milliseconds / 1000).arg(what),
                              ExitTimeout);
    }
}

/// Until every block has been read once more.
bool Demo::waitForAPass()
{
    thread->call([](Panel &panel) { panel.expectPass(); });
    return waitFor(QStringLiteral("every block to be read again"), PassMilliseconds, [this] {
        bool isComplete = false;
        thread->call([&isComplete](Panel &panel) { isComplete = panel.isPassComplete(); });
        return isComplete;
    });
}

/// As they are now, not as the last snapshot has them.
QVector<TagValue> Demo::currentValues()
{
    QVector<TagValue> values;
    thread->call([&values](Panel &panel) { values = panel.values(); });
    values.resize(tags.size());
    return values;
}

bool Demo::areAllGood()
{
    const QVector<TagValue> values = currentValues();
    for (int i = 0; i < values.size(); ++i)
        if (tags.at(i).isReadable && values.at(i).quality != Quality::Good)
            return false;
    return true;
}

void addDemoCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<DemoOptions>();
    CLI::App *const verb =
        app.add_subcommand("demo", "Show it all with a simulated PLC: plan, live values, writes, a pulled cable");
    verb->add_option("--live-seconds", options->liveSeconds, "How long to watch the live values")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    verb->add_option("--patience", options->patience,
                     "Make the reply time-out and every other limit so many times as long, on a busy machine")
        ->type_name("FACTOR")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    verb->add_option("--sim", options->simPath, "The simulated PLC; ecsim beside this program when not given")
        ->type_name("PATH");
    verb->add_option("--stuck", options->stuckCells,
                     "Have the PLC ignore writes to this cell, to see the demo find it; may be repeated")
        ->type_name("NUMBER")
        ->check(CLI::Range(0, 65535))
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addCommonOptions(*verb, options->common, DriverOption | TraceOption);
    verb->footer(
        "Every value is compared with the memory of the simulated PLC. Exit code 5: a value was wrong, or a write "
        "did\nnot end as it should.\n\n"
        "Examples:\n"
        "  ecpanel demo\n"
        "  ecpanel demo --stuck 9010");
    verb->callback([options, &context] { context.run = [options] { return Demo(*options).run(); }; });
}
