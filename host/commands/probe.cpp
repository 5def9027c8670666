#include "host/commands/common.h"
#include "host/report.h"
#include "host/serial_channel.h"

#include <QtCore/QJsonArray>

#include <atomic>
#include <chrono>
#include <thread>
#include <unistd.h>

namespace {

enum { ProbedType = 7, FirstStation = 1, LastStation = 247 };

struct ProbeOptions {
    CommonOptions common;
    int from = FirstStation;
    int to = LastStation;
    int timeout = 0; ///< Milliseconds; 0 = as the settings say.
};

struct Answer {
    int station;
    Transaction transaction;
};

/// Hears what became of the request that is on the line.
class ProbeListener : public PanelListener {
public:
    void requestServed(const RW_VAR &, const Transaction &transaction, int) override { last = transaction; }
    void readDone(int, bool) override { isDone = true; }
    void portChanged(bool isOpen, const QString &) override { isPortLost |= !isOpen; }

    Transaction last;
    bool isDone = false;
    bool isPortLost = false;
};

/// An exception is an answer as well: somebody is there.
bool isAnswer(const Transaction &transaction)
{
    return transaction.outcome == Outcome::Good || transaction.outcome == Outcome::Exception;
}

/// Ctrl-C does not wait for a slow time-out.
class AbortOnInterrupt {
public:
    explicit AbortOnInterrupt(Channel &channel)
        : watcher([this, &channel] {
              while (!isOver && !isInterrupted())
                  std::this_thread::sleep_for(std::chrono::milliseconds(5));
              if (isInterrupted())
                  channel.abort();
          })
    {
    }
    ~AbortOnInterrupt()
    {
        isOver = true;
        watcher.join();
    }

private:
    std::atomic<bool> isOver{false};
    std::thread watcher;
};

class Prober {
public:
    Prober(const ProbeOptions &options, Loaded &loaded)
        : options(options), channel(loaded.settings.line),
          panel(loaded.plugin, loaded.settings, {}, channel, loaded.traceOrNull()),
          mostSeconds(secondsOf(loaded.settings.line, options))
    {
        panel.setListener(&listener);
    }

    bool start(QString *error) { return panel.start(error); }

    void probeAll()
    {
        const AbortOnInterrupt abort(channel);
        for (int station = options.from; station <= options.to && !shouldStop() && !listener.isPortLost; ++station) {
            last = station;
            showProgress(station);
            probe(station);
        }
        if (isShowing())
            printNote(QStringLiteral("\r%1\r").arg(QString(), ProgressWidth));
        if (isInterrupted() && !options.common.quiet)
            printNote(QString::fromLatin1("stopped at station %1\n").arg(last));
    }

    const QVector<Answer> &answers() const { return found; }
    bool isPortLost() const { return listener.isPortLost; }

private:
    enum { ProgressWidth = 70, RequestBytes = 8, ReplyBytes = 7 };

    static int secondsOf(const LineSettings &line, const ProbeOptions &options)
    {
        const qint64 onLine = line.charactersTime(RequestBytes + ReplyBytes) + 2 * line.silentInterval();
        const qint64 each = onLine + 1000 * qint64(line.replyTimeout + line.lateWindow);
        return int((each * (options.to - options.from + 1) + 999999) / 1000000);
    }

    void probe(int station)
    {
        listener.isDone = false;
        listener.last = Transaction();
        panel.readCells(ProbedType, QStringLiteral("0"), station, 1);
        // Without a port it fails at once.
        while (!listener.isDone)
            panel.step();
        // Garbled bytes are no answer, but worth showing.
        if (listener.last.outcome != Outcome::Timeout && listener.last.outcome != Outcome::PortGone)
            found.append({station, listener.last});
    }

    bool isShowing() const { return !options.common.quiet && ::isatty(STDERR_FILENO); }

    void showProgress(int station)
    {
        if (isShowing())
            printNote(QString::fromLatin1("\rstation %1 of %2 to %3, answers: %4; all take up to %5 s ")
                          .arg(station)
                          .arg(options.from)
                          .arg(options.to)
                          .arg(found.size())
                          .arg(mostSeconds));
    }

    const ProbeOptions &options;
    SerialChannel channel;
    ProbeListener listener;
    Panel panel;
    QVector<Answer> found;
    int last = 0;          ///< Station that was asked last.
    const int mostSeconds; ///< When nobody answers.
};

QString answerText(const Transaction &transaction)
{
    switch (transaction.outcome) {
    case Outcome::Good:
        return QStringLiteral("answers");
    case Outcome::Exception:
        return QString::fromLatin1("answers (exception: %1)").arg(exceptionText(transaction.exceptionCode));
    case Outcome::BadCrc:
        return QStringLiteral("garbled (crc): are baud, parity and stop bits right?");
    case Outcome::WrongLength:
        return QStringLiteral("garbled (length): are baud, parity and stop bits right?");
    case Outcome::NoReplyExpected:
    case Outcome::Timeout:
    case Outcome::PortGone:
        break;
    }
    return QString();
}

void printAnswers(const QVector<Answer> &answers, const ProbeOptions &options)
{
    QJsonArray array;
    TextTable table({QStringLiteral(">station"), QStringLiteral(">reply time"), QStringLiteral("result")});
    for (const Answer &answer : answers) {
        const Transaction &transaction = answer.transaction;
        const qint64 took = transaction.replyTime;
        table.addRow({QString::number(answer.station), millisecondsText(double(took)), answerText(transaction)});
        QJsonObject object{{QStringLiteral("station"), answer.station},
                           {QStringLiteral("answers"), isAnswer(transaction)},
                           {QStringLiteral("outcome"), outcomeName(transaction.outcome)},
                           {QStringLiteral("reply_time_us"), took < 0 ? QJsonValue() : QJsonValue(took)}};
        if (transaction.outcome == Outcome::Exception)
            object.insert(QStringLiteral("exception"), exceptionText(transaction.exceptionCode));
        array.append(object);
    }
    if (options.common.json)
        printJsonPretty(QJsonDocument(array));
    else if (!answers.isEmpty())
        print(table.text());
    else if (!options.common.quiet && !isInterrupted())
        printNote(QString::fromLatin1("no station from %1 to %2 answered\n").arg(options.from).arg(options.to));
}

int codeOf(const QVector<Answer> &answers)
{
    for (const Answer &answer : answers)
        if (isAnswer(answer.transaction))
            return ExitOk;
    return answers.isEmpty() ? ExitTimeout : ExitBadReply;
}

int probe(const ProbeOptions &options, Loaded &loaded)
{
    Prober prober(options, loaded);
    QString error;
    if (!prober.start(&error))
        return complain(error, ExitPort);
    prober.probeAll();
    printAnswers(prober.answers(), options);
    if (prober.isPortLost() && !isInterrupted())
        return complain(QString::fromLatin1("port %1 went away").arg(loaded.settings.line.port), ExitPort);
    return codeOf(prober.answers());
}

int probe(const ProbeOptions &options)
{
    if (options.from > options.to)
        return complain(QString::fromLatin1("--from %1 --to %2: expected the first station not to be behind the last")
                            .arg(options.from)
                            .arg(options.to),
                        ExitUsage);
    Loaded loaded;
    if (!load(options.common, false, &loaded) || !startTrace(options.common, &loaded))
        return ExitUsage;
    PanelSettings &settings = loaded.settings;
    settings.hasSeveral = true;
    settings.retries = 0;
    settings.offAfter = 0;
    if (options.timeout > 0)
        settings.line.replyTimeout = options.timeout;
    return endCode(loaded, probe(options, loaded));
}

} // namespace

void addProbeCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<ProbeOptions>();
    CLI::App *const verb = app.add_subcommand("probe", "Find the stations that answer on the line");
    verb->add_option("--from", options->from, "First station")
        ->check(CLI::Range(int(FirstStation), int(LastStation)))
        ->capture_default_str();
    verb->add_option("--to", options->to, "Last station")
        ->check(CLI::Range(int(FirstStation), int(LastStation)))
        ->capture_default_str();
    verb->add_option("--timeout-ms", options->timeout,
                     "Wait so long for each reply, not as the settings say; where none comes, the late window is added")
        ->check(CLI::Range(1, LongestMilliseconds));
    addCommonOptions(*verb, options->common, LineOptions | JsonOption);
    verb->footer(
        "Each station is asked once for its first register. An exception is an answer too. The exit code is 0\n"
        "when a station answered, 4 when none did, 5 when there were garbled replies only.\n\n"
        "Examples:\n"
        "  ecpanel probe --from 1 --to 10\n"
        "  ecpanel probe --timeout-ms 100 --json");
    verb->callback([options, &context] { context.run = [options] { return probe(*options); }; });
}
