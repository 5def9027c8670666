#include "host/commands/common.h"
#include "host/report.h"

#include <QtCore/QJsonArray>

namespace {

struct ReadOptions {
    CommonOptions common;
    std::vector<std::string> names;
};

/// Polls until every block has been read or has failed. False when the port went away.
bool pollOnce(PanelThread &thread)
{
    while (!shouldStop() && thread.isRunning())
        for (const PanelEvent &event : thread.takeEvents(20))
            if (event.kind == PanelEvent::PortChanged)
                return false;
    return true;
}

/// The first that applies: the port, a reply that did not come, a wrong one.
int codeOf(const QVector<TagValue> &values)
{
    bool hasPort = false, hasTimeout = false, hasBad = false;
    for (const TagValue &value : values) {
        switch (value.reason) {
        case Reason::None:
        case Reason::Stale:
            break;
        case Reason::Port:
            hasPort = true;
            break;
        case Reason::NeverRead:
        case Reason::StationOff:
        case Reason::Timeout:
            hasTimeout = true;
            break;
        case Reason::Crc:
        case Reason::Length:
        case Reason::Exception:
            hasBad = true;
            break;
        }
    }
    return hasPort ? ExitPort : hasTimeout ? ExitTimeout : hasBad ? ExitBadReply : ExitOk;
}

void printValues(const QList<Tag> &tags, const PanelSnapshot &snapshot, bool asJson)
{
    if (!asJson)
        return print(valueTable(tags, snapshot.values, snapshot.now).text());
    QJsonArray array;
    for (int i = 0; i < tags.size(); ++i) {
        QJsonObject object = valueObject(tags.at(i), snapshot.values.at(i));
        const qint64 readAt = snapshot.values.at(i).readAt;
        object.insert(QStringLiteral("age_seconds"),
                      readAt < 0 ? QJsonValue() : QJsonValue(double(snapshot.now - readAt) / 1e6));
        array.append(object);
    }
    printJsonPretty(QJsonDocument(array));
}

int read(const ReadOptions &options)
{
    Loaded loaded;
    QList<Tag> tags;
    if (!load(options.common, true, &loaded) || !chooseTags(options.common, options.names, loaded.tagFile.tags, &tags)
        || !startTrace(options.common, &loaded))
        return ExitUsage;
    // All of them are read within one pass: how long that takes makes none of them stale.
    loaded.settings.staleAfter = LongestMilliseconds;
    const auto thread = makePanelThread(loaded, tags);
    thread->endAfterPass();
    QString error;
    if (!thread->start(&error))
        return complain(error, ExitPort);
    const bool hasPort = pollOnce(*thread);
    thread->stop();
    const PanelSnapshot snapshot = thread->snapshot();
    printValues(tags, snapshot, options.common.json);
    printLineHint(options.common, snapshot.counters.all);
    return endCode(loaded, hasPort ? codeOf(snapshot.values) : int(ExitPort));
}

} // namespace

void addReadCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<ReadOptions>();
    CLI::App *const verb = app.add_subcommand("read", "Read tags once");
    verb->add_option("NAME", options->names, "Tags; all that can be read when none is named");
    addCommonOptions(*verb, options->common, LineOptions | TagsOption | JsonOption);
    verb->footer("The exit code is 0 when every value is good; otherwise the first of these that applies: 3 serial "
                 "port,\n4 no reply in time, 5 bad reply or exception.\n\n"
                 "Examples:\n"
                 "  ecpanel read\n"
                 "  ecpanel read speed level --json");
    verb->callback([options, &context] { context.run = [options] { return read(*options); }; });
}
