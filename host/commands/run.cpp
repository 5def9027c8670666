#include "host/commands/common.h"
#include "host/report.h"

#include <QtCore/QElapsedTimer>

#include <cerrno>
#include <cmath>
#include <malloc.h>
#include <poll.h>
#include <unistd.h>

namespace {

enum { LongestLine = 65536, LookMilliseconds = 200, InputMilliseconds = 50 };

struct RunOptions {
    CommonOptions common;
    double seconds = 0; ///< 0 = until it is interrupted.
    bool isReadingInput = false;
    bool showsPasses = false;
};

/// Lines from standard input, as far as they have come.
class InputLines {
public:
    QStringList take()
    {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        while (!hasEnded && ::poll(&input, 1, 0) == 1) {
            char bytes[4096];
            const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
            if (count < 0 && (errno == EINTR || errno == EAGAIN))
                break;
            hasEnded = count <= 0;
            pending.append(bytes, int(qMax(ssize_t(0), count)));
            if (pending.size() > LongestLine)
                break;
        }
        // The last line may lack its end.
        if ((hasEnded && !pending.isEmpty()) || pending.size() > LongestLine)
            pending.append('\n');
        QStringList lines;
        for (int end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            lines << QString::fromUtf8(pending.left(end)).trimmed();
            pending.remove(0, end + 1);
        }
        lines.removeAll(QString());
        return lines;
    }

private:
    QByteArray pending;
    bool hasEnded = false;
};

class Runner {
public:
    Runner(const RunOptions &options, Loaded &loaded)
        : options(options), loaded(loaded), tags(loaded.tagFile.tags), thread(makePanelThread(loaded, tags))
    {
    }

    int run()
    {
        QString error;
        // Every event wakes this thread: a pass that nobody is told of need not.
        QSet<int> printed{PanelEvent::ValueChanged, PanelEvent::WriteEnded, PanelEvent::StationSwitched,
                          PanelEvent::StationAnswers, PanelEvent::PortChanged};
        if (options.showsPasses)
            printed.insert(PanelEvent::PassFinished);
        thread->keepEvents(printed);
        thread->keepNoSnapshots();
        if (!thread->start(&error))
            return complain(error, ExitPort);
        // Reading the tags took twice what is needed from now on.
        ::malloc_trim(0);
        QElapsedTimer sinceStart;
        sinceStart.start();
        const qint64 end = options.seconds > 0 ? qint64(std::ceil(options.seconds * 1000)) : -1;
        const qint64 look = options.isReadingInput ? InputMilliseconds : LookMilliseconds;
        for (qint64 elapsed = 0; !shouldStop() && (end < 0 || elapsed < end); elapsed = sinceStart.elapsed()) {
            printEvents(int(end < 0 ? look : qMin(look, end - elapsed)));
            if (options.isReadingInput)
                for (const QString &line : input.take())
                    carryOut(line);
        }
        thread->stop();
        printEvents(0);
        const PanelSnapshot last = thread->snapshot();
        printJson(endObject(last, thread->now()));
        if (!options.common.quiet && !options.common.json)
            printNote(closingReport(last.counters, last.writes));
        printLineHint(options.common, last.counters.all);
        return endCode(loaded, ExitOk);
    }

private:
    /// Something that happens now.
    void printEvent(const QString &name, const QJsonObject &fields)
    {
        const qint64 now = thread->now();
        printJson(eventObject(name, now, now, fields));
    }

    void printEvents(int milliseconds)
    {
        for (const PanelEvent &event : thread->takeEvents(milliseconds)) {
            const QJsonObject object = eventObject(event, tags, thread->now());
            if (!object.isEmpty())
                printJson(object);
        }
        const qint64 lost = thread->lostEvents();
        if (lost != lostBefore)
            printEvent(QStringLiteral("lost"), {{QStringLiteral("events"), lost - lostBefore}});
        lostBefore = lost;
    }

    void carryOut(const QString &line)
    {
        int tag = 0;
        QByteArray bytes;
        QString error;
        if (!parseAssignment(line, tags, &tag, &bytes, &error))
            return printEvent(QStringLiteral("error"),
                              {{QStringLiteral("input"), line}, {QStringLiteral("text"), error}});
        thread->post([tag, bytes](Panel &panel) { panel.write(tag, bytes); });
    }

    const RunOptions &options;
    Loaded &loaded;
    const QList<Tag> tags;
    const std::unique_ptr<PanelThread> thread;
    InputLines input;
    qint64 lostBefore = 0;
};

bool hasReadable(const RunOptions &options, const QList<Tag> &tags)
{
    QList<Tag> readable;
    return chooseTags(options.common, {}, tags, &readable);
}

int run(const RunOptions &options)
{
    Loaded loaded;
    if (!load(options.common, true, &loaded))
        return ExitUsage;
    // With nothing to read there is still something to do for whoever writes.
    if (!options.isReadingInput && !hasReadable(options, loaded.tagFile.tags))
        return ExitUsage;
    // Only an export wants them again.
    loaded.tagFile.sourceLines.clear();
    if (!startTrace(options.common, &loaded))
        return ExitUsage;
    return Runner(options, loaded).run();
}

} // namespace

void addRunCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<RunOptions>();
    CLI::App *const verb = app.add_subcommand("run", "Run without a screen: a JSON line for everything that happens");
    verb->add_option("--duration", options->seconds, "End after so many seconds instead of by Ctrl-C")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e9));
    verb->add_flag("--stdin", options->isReadingInput, "Write what comes as lines NAME=VALUE on standard input");
    verb->add_flag("--passes", options->showsPasses, "A line for the end of each pass over all tags too");
    addCommonOptions(*verb, options->common, LineOptions | TagsOption);
    verb->add_flag("--json", options->common.json, "JSON only: no closing table on standard error");
    verb->footer("Standard output has a line for each change of a value, its quality or its pending mark (tag, value,\n"
                 "unit, quality, reason, pending), for each event (port, station, write, error, and pass with "
                 "--passes),\nand at the end one with all counters. A port that is lost is opened again.\n\n"
                 "Examples:\n"
                 "  ecpanel run --duration 60 >values.jsonl\n"
                 "  echo pump=1 | ecpanel run --stdin --duration 5 --quiet");
    verb->callback([options, &context] { context.run = [options] { return run(*options); }; });
}
