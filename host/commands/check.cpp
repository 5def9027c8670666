#include "host/commands/common.h"
#include "host/report.h"
#include "host/tag_check.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>

namespace {

struct CheckOptions {
    CommonOptions common;
    std::string exportFile;
};

struct Area {
    int tags = 0, values = 0, readable = 0, writable = 0;
};
/// By station and device-type code.
typedef QMap<QPair<int, int>, Area> Areas;

Areas areasOf(const QList<Tag> &tags)
{
    Areas areas;
    for (const Tag &tag : tags) {
        Area &area = areas[{tag.station, tag.type}];
        ++area.tags;
        area.values += tag.count;
        area.readable += tag.isReadable;
        area.writable += tag.isWritable;
    }
    return areas;
}

void printSummaryJson(const CheckOptions &options, const Loaded &loaded, const Areas &areas,
                      const QStringList &warnings)
{
    QJsonArray array;
    for (auto area = areas.begin(); area != areas.end(); ++area)
        array.append(QJsonObject{{QStringLiteral("station"), area.key().first},
                                 {QStringLiteral("type"), area.key().second},
                                 {QStringLiteral("tags"), area->tags},
                                 {QStringLiteral("values"), area->values},
                                 {QStringLiteral("readable"), area->readable},
                                 {QStringLiteral("writable"), area->writable}});
    const QJsonObject summary{{QStringLiteral("settings"), fromOption(options.common.settingsFile)},
                              {QStringLiteral("tag_file"), fromOption(options.common.tagsFile)},
                              {QStringLiteral("port"), loaded.settings.line.port},
                              {QStringLiteral("line"), loaded.settings.line.text()},
                              {QStringLiteral("driver"), loaded.settings.driverPath},
                              {QStringLiteral("tags"), loaded.tagFile.tags.size()},
                              {QStringLiteral("areas"), array},
                              {QStringLiteral("problems"), QJsonArray()},
                              {QStringLiteral("warnings"), QJsonArray::fromStringList(warnings)}};
    printJsonPretty(QJsonDocument(summary));
}

void printSummary(const CheckOptions &options, const Loaded &loaded, const Areas &areas)
{
    const PanelSettings &settings = loaded.settings;
    const QString stations = settings.hasSeveral ? QStringLiteral("several stations")
                                                 : QString::fromLatin1("station %1").arg(settings.station);
    printLine(QString::fromLatin1("%1: %2, %3, %4; nothing wrong")
                  .arg(fromOption(options.common.settingsFile), settings.line.port, settings.line.text(), stations));
    printLine(QString::fromLatin1("%1: %2 %3; nothing wrong")
                  .arg(fromOption(options.common.tagsFile))
                  .arg(loaded.tagFile.tags.size())
                  .arg(loaded.tagFile.tags.size() == 1 ? QLatin1String("tag") : QLatin1String("tags")));
    TextTable table({QStringLiteral(">station"), QStringLiteral(">type"), QStringLiteral(">tags"),
                     QStringLiteral(">values"), QStringLiteral(">readable"), QStringLiteral(">writable")});
    for (auto area = areas.begin(); area != areas.end(); ++area) {
        QStringList cells;
        for (const int number :
             {area.key().first, area.key().second, area->tags, area->values, area->readable, area->writable})
            cells << QString::number(number);
        table.addRow(cells);
    }
    if (!table.isEmpty())
        print(QLatin1Char('\n') + table.text());
}

/// False, with the reason printed, when the file is there already: only the tag file itself may be, which would get
/// the same bytes.
bool mayExport(const CheckOptions &options)
{
    const QString fileName = fromOption(options.exportFile);
    if (options.exportFile.empty() || !QFileInfo(fileName).isFile()
        || isSameFile(fileName, fromOption(options.common.tagsFile)))
        return true;
    complain(QString::fromLatin1("--export %1: is there already: expected a new file").arg(fileName), ExitUsage);
    return false;
}

int exportTags(const CheckOptions &options, const TagFile &file)
{
    QFile out(fromOption(options.exportFile));
    // The same bytes are there: a disk that is full must not cost them.
    if (isSameFile(out.fileName(), fromOption(options.common.tagsFile)))
        return ExitOk;
    const QByteArray text = file.toCsv();
    if (out.open(QIODevice::WriteOnly | QIODevice::Truncate) && out.write(text) == text.size() && out.flush())
        return ExitOk;
    return complain(QString::fromLatin1("cannot write %1: %2; expected a file that can be written")
                        .arg(out.fileName(), out.errorString()),
                    ExitUsage);
}

int check(const CheckOptions &options)
{
    Loaded loaded;
    QStringList problems;
    const bool isLoaded = load(options.common, true, &loaded, &problems);
    const QStringList warnings = tagWarnings(loaded.tagFile.tags, fromOption(options.common.tagsFile));
    printProblems(problems);
    if (!options.common.quiet)
        for (const QString &warning : warnings)
            printNote(QString::fromLatin1("warning: %1\n").arg(warning));
    if (!isLoaded && options.common.json)
        printJsonPretty(QJsonDocument(QJsonObject{{QStringLiteral("problems"), QJsonArray::fromStringList(problems)},
                                                  {QStringLiteral("warnings"), QJsonArray::fromStringList(warnings)}}));
    if (!isLoaded || !mayExport(options))
        return ExitUsage;
    const Areas areas = areasOf(loaded.tagFile.tags);
    if (options.common.json)
        printSummaryJson(options, loaded, areas, warnings);
    else if (!options.common.quiet)
        printSummary(options, loaded, areas);
    return endCode(options.exportFile.empty() ? int(ExitOk) : exportTags(options, loaded.tagFile));
}

} // namespace

void addCheckCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App *const verb = app.add_subcommand("check", "Find everything that is wrong in settings and tags");
    addCommonOptions(*verb, options->common,
                     SettingsOption | TagsOption | PortOption | DriverOption | JsonOption | QuietOption);
    verb->add_option("--export", options->exportFile, "Write the tags again as a tag file; into a new file")
        ->type_name("FILE");
    verb->footer("Every problem is printed to standard error, \"FILE:LINE: ...\"; the exit code is 2 then. No port is\n"
                 "opened. What is no error but seldom meant is printed as \"warning: FILE:LINE: ...\". ecpanel types\n"
                 "lists the device types.\n\n"
                 "Examples:\n"
                 "  ecpanel check\n"
                 "  ecpanel check --settings plant/line.toml --tags plant/tags.csv --json");
    verb->callback([options, &context] { context.run = [options] { return check(*options); }; });
}
