#include "sim/run_command.h"

#include "sim/command_reader.h"
#include "sim/fault_report.h"
#include "sim/runner.h"
#include "sim/stop_signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cstdio>

namespace {

/// Runs the event loop until quit, the end of the commands, a signal or a failure of the line.
int serve(Runner &runner, const RunOptions &options)
{
    StopSignals stop([] { QCoreApplication::quit(); });
    QString error;
    if (!runner.start(&error))
        return complain(error, ExitPort);
    std::unique_ptr<CommandReader> commands;
    if (options.readsCommands)
        commands = std::make_unique<CommandReader>([&](const QString &command) { return runner.answer(command); },
                                                   [&] { return runner.isFinished(); });
    if (!stop.hasCome() && runner.failure().isEmpty())
        QCoreApplication::exec();
    if (!runner.failure().isEmpty())
        return complain(runner.failure(), ExitPort);
    return stop.hasCome() ? ExitInterrupted : ExitGood;
}

void tellTotals(const RunPlan &plan)
{
    const SlaveStatistics &counted = plan.slave->statistics();
    std::fprintf(stderr, "ecsim: %lld requests, %lld replies, %d faults\n", counted.requests, counted.replies,
                 plan.faults->ledger().size());
}

} // namespace

int complain(const QString &text, ExitCode code)
{
    std::fprintf(stderr, "ecsim: %s\n", qPrintable(text));
    return code;
}

int runCommand(const RunOptions &options)
{
    QStringList problems;
    RunPlan plan = planOf(options, &problems);
    QFile ledger(options.ledgerFile);
    if (!options.ledgerFile.isEmpty() && !ledger.open(QIODevice::WriteOnly | QIODevice::Truncate))
        problems << QString::fromLatin1("--ledger '%1': expected a file that can be written: %2")
                        .arg(options.ledgerFile, ledger.errorString());
    for (const QString &problem : qAsConst(problems))
        complain(problem, ExitUsage);
    if (!problems.isEmpty())
        return ExitUsage;
    Runner runner(plan, options.quiet);
    const int code = serve(runner, options);
    if (ledger.isOpen()) {
        const QByteArray report = faultReport(*plan.faults, plan.slave->statistics(), runner.swallowedBytes());
        if (ledger.write(report) != report.size() || !ledger.flush())
            return complain(QString::fromLatin1("--ledger '%1': could not be written: %2")
                                .arg(options.ledgerFile, ledger.errorString()),
                            ExitUsage);
    }
    if (!options.quiet && code != ExitPort)
        tellTotals(plan);
    return code;
}
