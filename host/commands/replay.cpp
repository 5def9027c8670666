#include "host/replay.h"
#include "host/commands/common.h"

#include <QtCore/QJsonArray>

#include <limits>

namespace {

enum { ShownDifferences = 20 };

struct ReplayOptions {
    CommonOptions common;
    std::string fileName;
    bool showsAll = false;
};

void printReportJson(const ReplayReport &report)
{
    QJsonArray differences;
    for (const ReplayDifference &difference : report.differences)
        differences.append(QJsonObject{{QStringLiteral("line"), difference.line},
                                       {QStringLiteral("expected"), difference.expected},
                                       {QStringLiteral("got"), difference.got}});
    printJsonPretty(QJsonDocument(QJsonObject{{QStringLiteral("same"), report.isSame()},
                                              {QStringLiteral("complete"), report.isComplete},
                                              {QStringLiteral("transactions"), report.transactions},
                                              {QStringLiteral("calls"), report.calls},
                                              {QStringLiteral("bytes_compared"), report.bytesCompared},
                                              {QStringLiteral("difference_count"), report.differenceCount},
                                              {QStringLiteral("differences"), differences}}));
}

void printReport(const ReplayReport &report, const QString &fileName, int most)
{
    printLine(QString::fromLatin1("%1 transactions, %2 calls of the driver, %3 bytes compared")
                  .arg(report.transactions)
                  .arg(report.calls)
                  .arg(report.bytesCompared));
    const int shownCount = qMin(report.differences.size(), most);
    for (int i = 0; i < shownCount; ++i) {
        const ReplayDifference &difference = report.differences.at(i);
        if (i == 1)
            printLine(QStringLiteral("What follows may follow from it:"));
        printLine(QString::fromLatin1("%1:%2: expected %3, got %4")
                      .arg(fileName)
                      .arg(difference.line)
                      .arg(difference.expected, difference.got));
    }
    if (report.differenceCount > shownCount)
        printLine(QString::fromLatin1("... and %1 more; --all prints them").arg(report.differenceCount - shownCount));
    if (!report.isComplete)
        printLine(QStringLiteral("the trace has no end: the image could not be compared"));
    printLine(report.isSame() ? QStringLiteral("no difference")
                              : QString::fromLatin1("differences: %1").arg(report.differenceCount));
}

/// What could not be replayed, a line each, as "FILE:LINE: ...".
QStringList problemsOf(const ReplayReport &report, const QString &fileName)
{
    QStringList texts;
    for (const QString &problem : report.problems)
        texts << QString::fromLatin1("%1: %2").arg(fileName, problem);
    if (report.problemCount > report.problems.size())
        texts << QString::fromLatin1("%1: ... and %2 more")
                     .arg(fileName)
                     .arg(report.problemCount - report.problems.size());
    return texts;
}

int replayFile(const ReplayOptions &options)
{
    const QString fileName = fromOption(options.fileName);
    Plugin plugin;
    if (!loadDriver(options.common, &plugin))
        return ExitUsage;
    QVector<TraceLine> lines;
    if (!readTrace(options.fileName, &lines))
        return ExitUsage;
    ReplayReport report;
    runInterruptibly([&] {
        report = options.showsAll ? replay(lines, plugin, std::numeric_limits<int>::max()) : replay(lines, plugin);
    });
    const QStringList problems = problemsOf(report, fileName);
    printProblems(problems);
    if (!problems.isEmpty())
        return ExitUsage;
    if (options.common.json)
        printReportJson(report);
    else
        printReport(report, fileName, options.showsAll ? report.differences.size() : int(ShownDifferences));
    return endCode(report.isSame() ? ExitOk : ExitBadReply);
}

} // namespace

void addReplayCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<ReplayOptions>();
    CLI::App *const verb = app.add_subcommand("replay", "Feed a trace to a fresh driver and compare all that it does");
    verb->add_option("FILE", options->fileName, "A trace, as --trace writes it")->required();
    verb->add_flag("--all", options->showsAll, "Every difference, not only the first");
    addCommonOptions(*verb, options->common, DriverOption | JsonOption);
    verb->footer(
        "The exit code is 0 when every frame, result, callback and the values at the end are the same, 5 when\n"
        "something differs, 2 when the trace cannot be read.\n\n"
        "Example:\n"
        "  ecpanel run --duration 60 --trace field.trace >values.jsonl\n"
        "  ecpanel replay field.trace");
    verb->callback([options, &context] { context.run = [options] { return replayFile(*options); }; });
}
