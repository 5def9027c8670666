#include "host/commands/common.h"
#include "host/report.h"

#include <QtCore/QFile>
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

void printSummaryJson(const CheckOptions &options, const Loaded &loaded, const Areas &areas)
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
                              {QStringLiteral("areas"), array}};
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

int exportTags(const TagFile &file, const std::string &fileName)
{
    QFile out(fromOption(fileName));
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
    if (!load(options.common, true, &loaded))
        return ExitUsage;
    const Areas areas = areasOf(loaded.tagFile.tags);
    if (options.common.json)
        printSummaryJson(options, loaded, areas);
    else if (!options.common.quiet)
        printSummary(options, loaded, areas);
    return endCode(options.exportFile.empty() ? int(ExitOk) : exportTags(loaded.tagFile, options.exportFile));
}

} // namespace

void addCheckCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App *const verb = app.add_subcommand("check", "Find everything that is wrong in settings and tags");
    addCommonOptions(*verb, options->common,
                     SettingsOption | TagsOption | PortOption | DriverOption | JsonOption | QuietOption);
    verb->add_option("--export", options->exportFile, "Write the tags again as a tag file")->type_name("FILE");
    verb->footer("Every problem is printed to standard error, \"FILE:LINE: ...\"; the exit code is 2 then. No port is\n"
                 "opened.\n\n"
                 "Examples:\n"
                 "  ecpanel check\n"
                 "  ecpanel check --settings plant/line.toml --tags plant/tags.csv --json");
    verb->callback([options, &context] { context.run = [options] { return check(*options); }; });
}
