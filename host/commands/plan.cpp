// ecpanel plan: the blocks that the driver makes of the tags, and how long a pass takes.
#include "host/commands/common.h"
#include "host/commands/plan_text.h"

#include <QtCore/QJsonArray>

#include <algorithm>

namespace {

struct PlanOptions {
    CommonOptions common;
    int baud = 0;
    double answerMilliseconds = 0;
    bool isSuggesting = false;
};

const int UsualBauds[] = {9600, 19200, 38400, 57600, 115200};

QString millisecondsColumn(double milliseconds)
{
    return QString::number(milliseconds, 'f', 1) + QLatin1String(" ms");
}

LineSettings atBaud(LineSettings line, int baud)
{
    line.baud = baud;
    return line;
}

void printPassTimes(const Plan &plan, const LineSettings &line)
{
    printLine(QString::fromLatin1("Predicted pass, without repeats; the PLC takes %1 ms for an answer:")
                  .arg(plan.answerMilliseconds));
    TextTable table({"line", ">pass", ">passes/s"});
    const auto addRow = [&](const LineSettings &tried, const char *mark) {
        const double pass = plan.passMilliseconds(tried);
        table.addRow({tried.text() + QLatin1String(mark), millisecondsColumn(pass),
                      pass > 0 ? QString::number(1000 / pass, 'f', 1) : QStringLiteral("-")});
    };
    addRow(line, " (chosen)");
    for (const int baud : UsualBauds)
        if (baud != line.baud)
            addRow(atBaud(line, baud), "");
    print(table.text());
}

int showPlan(const Loaded &loaded, const PlanOptions &options)
{
    const QList<Tag> &tags = loaded.tagFile.tags;
    const Plan plan = makePlan(loaded.plugin, loaded.settings, tags, options.answerMilliseconds);
    if (!plan.problem.isEmpty())
        return complain(plan.problem, ExitBadReply);
    if (options.common.json) {
        QJsonObject object = planJson(plan, loaded.settings, tags);
        QJsonObject passes;
        for (const int baud : UsualBauds)
            passes.insert(QString::number(baud), plan.passMilliseconds(atBaud(loaded.settings.line, baud)));
        object.insert(QStringLiteral("pass_ms_at_baud"), passes);
        printJsonPretty(QJsonDocument(object));
        return ExitOk;
    }
    printLine(QString::fromLatin1("%1 tags, max_block_len %2").arg(tags.size()).arg(loaded.settings.maxBlockLen));
    printLine(QString());
    print(planTable(plan, tags).text());
    printLine(QString());
    for (const QString &line : planTotals(plan))
        printLine(line);
    printLine(QString());
    printPassTimes(plan, loaded.settings.line);
    return ExitOk;
}

QString lengthsText(const LengthTrial &trial)
{
    return trial.firstLength == trial.lastLength
               ? QString::number(trial.firstLength)
               : QString::fromLatin1("%1-%2").arg(trial.firstLength).arg(trial.lastLength);
}

void printTrialsAsJson(const QVector<LengthTrial> &trials, int best, const PanelSettings &settings)
{
    QJsonArray array;
    for (const LengthTrial &trial : trials)
        array << QJsonObject{{"first_length", trial.firstLength}, {"last_length", trial.lastLength},
                             {"requests", trial.requests},        {"bytes", trial.bytes},
                             {"useful_bytes", trial.usefulBytes}, {"pass_ms", trial.passMilliseconds}};
    printJsonPretty(QJsonDocument(QJsonObject{{"line", settings.line.text()},
                                              {"max_block_len", settings.maxBlockLen},
                                              {"suggested", trials.at(best).firstLength},
                                              {"pass_ms", trials.at(best).passMilliseconds},
                                              {"trials", array}}));
}

bool isOfLength(const LengthTrial &trial, int length)
{
    return length >= trial.firstLength && length <= trial.lastLength;
}

TextTable trialTable(const QVector<LengthTrial> &trials, int best, int maxBlockLen)
{
    const double shortest = trials.at(best).passMilliseconds;
    TextTable table({"max_block_len", ">requests", ">bytes read", ">useful", ">pass", ">times the shortest", ""});
    for (int i = 0; i < trials.size(); ++i) {
        const LengthTrial &trial = trials.at(i);
        const bool isNow = isOfLength(trial, maxBlockLen);
        const char *const mark = i == best ? (isNow ? "<- shortest, now" : "<- shortest") : isNow ? "<- now" : "";
        table.addRow({lengthsText(trial), QString::number(trial.requests), QString::number(trial.bytes),
                      QString::number(trial.usefulBytes), millisecondsColumn(trial.passMilliseconds),
                      QString::number(trial.passMilliseconds / shortest, 'f', 2), QLatin1String(mark)});
    }
    return table;
}

int showSuggestion(const Loaded &loaded, const PlanOptions &options)
{
    const QList<Tag> &tags = loaded.tagFile.tags;
    const QVector<LengthTrial> trials = suggest(loaded.plugin, loaded.settings, tags, options.answerMilliseconds);
    const int best = shortestPass(trials);
    if (best < 0)
        return complain(QStringLiteral("no tag that can be read: expected at least one, to plan for"), ExitUsage);
    if (options.common.json) {
        printTrialsAsJson(trials, best, loaded.settings);
        return ExitOk;
    }
    printLine(QString::fromLatin1("%1 tags at %2; block lengths that come to the same stand together.")
                  .arg(tags.size())
                  .arg(loaded.settings.line.text()));
    printLine(QString());
    print(trialTable(trials, best, loaded.settings.maxBlockLen).text());
    printLine(QString());
    const auto now = std::find_if(trials.begin(), trials.end(), [&](const LengthTrial &trial) {
        return isOfLength(trial, loaded.settings.maxBlockLen);
    });
    if (now != trials.end() && now->passMilliseconds <= trials.at(best).passMilliseconds) {
        printLine(QString::fromLatin1("No length has a shorter pass than the settings' max_block_len = %1: %2.")
                      .arg(loaded.settings.maxBlockLen)
                      .arg(millisecondsColumn(now->passMilliseconds)));
        return ExitOk;
    }
    printLine(QString::fromLatin1("Suggested: max_block_len = %1, a pass of %2. The settings have %3%4.")
                  .arg(trials.at(best).firstLength)
                  .arg(millisecondsColumn(trials.at(best).passMilliseconds))
                  .arg(loaded.settings.maxBlockLen)
                  .arg(now == trials.end()
                           ? QString()
                           : QLatin1String(", a pass of ") + millisecondsColumn(now->passMilliseconds)));
    return ExitOk;
}

int plan(const PlanOptions &options)
{
    Loaded loaded;
    if (!load(options.common, true, &loaded))
        return ExitUsage;
    if (options.baud != 0)
        loaded.settings.line.baud = options.baud;
    int code = ExitOk;
    runInterruptibly(
        [&] { code = options.isSuggesting ? showSuggestion(loaded, options) : showPlan(loaded, options); });
    return endCode(code);
}

} // namespace

void addPlanCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<PlanOptions>();
    CLI::App *verb =
        app.add_subcommand("plan", "Show the blocks that the driver makes of the tags, and how long a pass "
                                   "takes; no line is opened");
    addCommonOptions(*verb, options->common, SettingsOption | TagsOption | DriverOption | JsonOption);
    verb->add_option("--baud", options->baud, "Predict for this baud rate instead of the settings'")
        ->check(CLI::Range(300, 921600));
    verb->add_option("--answer-ms", options->answerMilliseconds,
                     "The PLC's own time for an answer, in milliseconds; ecpanel probe shows the reply time")
        ->check(CLI::Range(0.0, 60000.0));
    verb->add_flag("--suggest", options->isSuggesting,
                   "Try every max_block_len and name the one with the shortest pass");
    verb->footer("Examples:\n"
                 "  ecpanel plan --settings line.toml --tags tags.csv\n"
                 "  ecpanel plan --baud 115200 --answer-ms 2\n"
                 "  ecpanel plan --suggest");
    verb->callback([options, &context] { context.run = [options] { return plan(*options); }; });
}
