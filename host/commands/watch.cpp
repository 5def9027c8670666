// ecpanel watch: the tags live, with quality and age, and the state of the line.
#include "host/commands/common.h"
#include "host/commands/watch_screen.h"
#include "host/commands/watch_state.h"
#include "host/report.h"
#include "host/tag_codec.h"

#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <unistd.h>

namespace {

enum { DrawMilliseconds = 100, LookMilliseconds = 50, KeptEvents = 5 };

struct WatchOptions {
    CommonOptions common;
    std::vector<std::string> names;
    double seconds = 0; ///< 0 = until it is ended.
};

class Watcher {
public:
    Watcher(const WatchOptions &options, Loaded &loaded, const QList<Tag> &tags)
        : options(options), loaded(loaded), tags(tags), thread(makePanelThread(loaded, tags))
    {
    }

    int run()
    {
        QString error;
        if (!thread->start(&error))
            return complain(error, ExitPort);
        running.start();
        if (options.common.json || !::isatty(STDOUT_FILENO) || !runOnScreen())
            runInLines();
        thread->stop();
        if (!isOnScreen)
            printEvents(0);
        printClosing();
        return endCode(loaded, ExitOk);
    }

private:
    int leftMilliseconds(int atMost) const
    {
        if (options.seconds <= 0)
            return atMost;
        return int(qBound(qint64(0), qint64(options.seconds * 1000) - running.elapsed(), qint64(atMost)));
    }
    bool isTimeUp() const { return leftMilliseconds(1) == 0; }

    // ---- As lines ----

    void runInLines()
    {
        while (!shouldStop() && !isTimeUp())
            printEvents(leftMilliseconds(LookMilliseconds));
    }

    void printEvents(int milliseconds)
    {
        for (const PanelEvent &event : thread->takeEvents(milliseconds)) {
            if (options.common.json)
                printEventAsJson(event);
            else if (event.kind == PanelEvent::ValueChanged)
                printLine(clockText(event.moment) + QLatin1Char(' ') + changeText(event));
            else if (const QString text = newsOf(event); !text.isEmpty())
                printLine(clockText(event.moment) + QLatin1Char(' ') + text);
        }
        const qint64 lost = thread->lostEvents();
        if (lost != lostBefore)
            printNote(QString::fromLatin1("ecpanel: %1 changes came faster than they could be printed and are lost\n")
                          .arg(lost - lostBefore));
        lostBefore = lost;
    }

    void printEventAsJson(const PanelEvent &event) const
    {
        const QJsonObject object = eventObject(event, tags, thread->now());
        if (!object.isEmpty() && event.kind != PanelEvent::PassFinished)
            printJson(object);
    }

    QString changeText(const PanelEvent &event) const
    {
        const Tag &tag = tags.at(event.number);
        QStringList words{tag.name, QStringLiteral("="),
                          event.value.bytes.isEmpty() ? QStringLiteral("-") : valueText(tag, event.value.bytes)};
        if (!tag.unit.isEmpty())
            words << tag.unit;
        words << qualityText(event.value);
        return words.join(QLatin1Char(' '));
    }

    // ---- On a screen ----

    /// False when the terminal cannot be drawn on; nothing was shown then.
    bool runOnScreen()
    {
        WatchScreen screen;
        if (!screen.isOpen())
            return false;
        isOnScreen = true;
        thread->keepEvents({PanelEvent::StationSwitched, PanelEvent::StationAnswers, PanelEvent::PortChanged});
        for (bool isQuitting = false; !isQuitting && !shouldStop() && !isTimeUp();) {
            for (const PanelEvent &event : thread->takeEvents(0))
                if (const QString text = newsOf(event); !text.isEmpty())
                    events << clockText(event.moment) + QLatin1Char(' ') + text;
            events = events.mid(qMax(0, events.size() - int(KeptEvents)));
            screen.draw(view());
            isQuitting = screen.waitForQuit(qMax(1, leftMilliseconds(DrawMilliseconds)));
        }
        return true;
    }

    WatchView view() const
    {
        const PanelSnapshot snapshot = thread->snapshot();
        const qint64 now = thread->now();
        const LineSettings &line = loaded.settings.line;
        WatchView view;
        view.title = QString::fromLatin1(" %1  %2  port %3")
                         .arg(line.port, line.text(), QLatin1String(snapshot.isPortOpen ? "open" : "LOST"));
        view.subtitle = QTime::currentTime().toString(QStringLiteral("HH:mm:ss"))
                        + QLatin1String("  arrows, PgUp, PgDn scroll, q quits ");
        for (int i = 0; i < tags.size(); ++i) {
            const TagValue &value = snapshot.values.at(i);
            const QString text = value.bytes.isEmpty() ? QStringLiteral("-") : valueText(tags.at(i), value.bytes);
            view.rows << QStringList{cutTo(TextTable::NameColumns, tags.at(i).name),
                                     cutTo(TextTable::ValueColumns, text), tags.at(i).unit, qualityText(value),
                                     value.readAt < 0 ? QStringLiteral("-") : ageText(now - value.readAt)};
            view.qualities << value.quality;
        }
        view.state = watchStateLines(snapshot, now);
        view.events = events;
        return view;
    }

    // ---- Both ----

    QString clockText(qint64 moment) const
    {
        return QDateTime::currentDateTime()
            .addMSecs((moment - thread->now()) / 1000)
            .toString(QStringLiteral("HH:mm:ss.zzz"));
    }

    /// Empty for what is no event of the line, and for a vain try to open the port that failed like the one before.
    QString newsOf(const PanelEvent &event)
    {
        switch (event.kind) {
        case PanelEvent::StationSwitched:
            return QString::fromLatin1("station %1 %2").arg(event.number).arg(QLatin1String(event.isOn ? "on" : "off"));
        case PanelEvent::StationAnswers:
            return QString::fromLatin1("station %1 %2")
                .arg(event.number)
                .arg(QLatin1String(event.isOn ? "answers again" : "does not answer"));
        case PanelEvent::PortChanged: {
            const QString text = event.isOn             ? QStringLiteral("port open again")
                                 : event.text.isEmpty() ? QStringLiteral("port lost")
                                                        : event.text;
            const bool isKnown = text == lastPortNews;
            lastPortNews = text;
            return isKnown ? QString() : text;
        }
        case PanelEvent::ValueChanged:
        case PanelEvent::WriteEnded:
        case PanelEvent::PassFinished:
        case PanelEvent::ReadDone:
        case PanelEvent::Served:
            return QString();
        }
        return QString();
    }

    void printClosing()
    {
        const PanelSnapshot last = thread->snapshot();
        if (options.common.json)
            printJson(endObject(last, thread->now()));
        else if (!options.common.quiet)
            print((isOnScreen ? QString() : QStringLiteral("\n")) + closingReport(last.counters, last.writes));
        printLineHint(options.common, last.counters.all);
    }

    const WatchOptions &options;
    Loaded &loaded;
    const QList<Tag> tags;
    const std::unique_ptr<PanelThread> thread;
    QElapsedTimer running;
    QStringList events;
    QString lastPortNews;
    bool isOnScreen = false;
    qint64 lostBefore = 0;
};

/// A table has a row for a tag however often it is named.
std::vector<std::string> withoutRepeats(const std::vector<std::string> &names)
{
    std::vector<std::string> once;
    for (const std::string &name : names)
        if (std::find(once.begin(), once.end(), name) == once.end())
            once.push_back(name);
    return once;
}

int watch(const WatchOptions &options)
{
    Loaded loaded;
    QList<Tag> tags;
    if (!load(options.common, true, &loaded)
        || !chooseTags(options.common, withoutRepeats(options.names), loaded.tagFile.tags, &tags)
        || !startTrace(options.common, &loaded))
        return ExitUsage;
    return Watcher(options, loaded, tags).run();
}

} // namespace

void addWatchCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App *const verb =
        app.add_subcommand("watch", "Show the tags live, with quality and age, and the line's state");
    verb->add_option("NAME", options->names, "Tags to watch; all that can be read when none is named");
    verb->add_option("--duration", options->seconds, "End after so many seconds instead of by q or Ctrl-C")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e9));
    addCommonOptions(*verb, options->common, LineOptions | TagsOption | JsonOption);
    verb->footer(
        "On a terminal it draws a table: arrows, PgUp, PgDn, Home and End scroll, q ends it. Otherwise, or with\n"
        "--json, it prints a line for each change. A port that is lost is opened again. The counters of the\n"
        "line come at the end. NO_COLOR in the environment keeps it without colours.\n\n"
        "Examples:\n"
        "  ecpanel watch\n"
        "  ecpanel watch fill-level pump-1 --duration 10 >changes.txt");
    verb->callback([options, &context] { context.run = [options] { return watch(*options); }; });
}
