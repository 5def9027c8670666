/// ecsim: a simulated PLC, a Modbus RTU slave on a pseudo-terminal. See --help.
#include "sim/control.h"
#include "sim/pty_line.h"
#include "sim/slave.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

enum { ExitUsage = 2, ExitPort = 3, SilentMilliseconds = 20, LongestCommand = 4096 };

const char *const Description =
    "A simulated PLC: a Modbus RTU slave on a pseudo-terminal (functions 01, 03, 05, 06 and 10).\n"
    "The first line of output is 'ready' and the path to open as a serial port. It ends when standard input closes.\n\n"
    "Commands on standard input, each answered by a line 'ok ...' or 'error: ...':\n";
const char *const Example = "\nExample:\n"
                            "  ecsim --station 1 --station 2 --live counter@100 --live toggle@8";

int complain(const QString &text, int exitCode)
{
    std::fprintf(stderr, "ecsim: %s\n", qPrintable(text));
    return exitCode;
}

void printLine(const QString &line)
{
    std::fprintf(stdout, "%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// Fills the slave as the options say. Returns the reason when they cannot be used.
QString setUp(Slave &slave, const QStringList &stations, const QStringList &liveCells, const QStringList &stuckCells)
{
    for (const QString &text : stations) {
        const int station = text.toInt();
        if (station < 1 || station > 247)
            return QString::fromLatin1("--station '%1': expected a number from 1 to 247").arg(text);
        PlcMemory *const memory = slave.addStation(station);
        for (const QString &live : liveCells) {
            LiveCell cell;
            QString error;
            if (!LiveCell::parse(live, &cell, &error))
                return QLatin1String("--live ") + error;
            memory->addLiveCell(cell);
        }
        for (const QString &stuck : stuckCells) {
            bool isNumber = false;
            const int number = stuck.toInt(&isNumber);
            if (!isNumber || number < 0 || number >= PlcMemory::Cells)
                return QString::fromLatin1("--stuck '%1': expected a number from 0 to 65535").arg(stuck);
            memory->addStuckCell(number);
        }
    }
    return QString();
}

/// Reads commands from standard input and answers them; ends the program when it closes.
class CommandReader {
public:
    CommandReader(Control &control, std::function<void()> beforeCommand)
        : control(control), beforeCommand(std::move(beforeCommand)), notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        QObject::connect(&notifier, &QSocketNotifier::activated, [this] { readWhatCame(); });
    }

private:
    void readWhatCame()
    {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0)
            return finish();
        pending.append(bytes, int(count));
        for (int end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            beforeCommand();
            const QString answer = control.answer(QString::fromUtf8(pending.left(end)));
            pending.remove(0, end + 1);
            if (!answer.isEmpty())
                printLine(answer);
            if (control.isFinished())
                return finish();
        }
        if (pending.size() > LongestCommand) {
            printLine(QString::fromLatin1("error: a command longer than %1 bytes").arg(int(LongestCommand)));
            pending.clear();
        }
    }

    void finish()
    {
        notifier.setEnabled(false);
        QCoreApplication::quit();
    }

    Control &control;
    std::function<void()> beforeCommand;
    QSocketNotifier notifier;
    QByteArray pending;
};

int serve(Slave &slave)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    QTimer silence;
    silence.setSingleShot(true);
    silence.setInterval(SilentMilliseconds);
    PtyLine line([&](const QByteArray &bytes) {
        slave.advanceTo(sinceStart.elapsed());
        line.send(slave.receive(bytes));
        if (slave.isPending())
            silence.start();
        else
            silence.stop();
    });
    QObject::connect(&silence, &QTimer::timeout, [&] { line.send(slave.lineQuiet()); });
    QString error;
    if (!line.open(&error))
        return complain(error, ExitPort);
    Control control(slave);
    CommandReader reader(control, [&] { slave.advanceTo(sinceStart.elapsed()); });
    slave.advanceTo(0);
    printLine(QLatin1String("ready ") + line.slavePath());
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(Description) + Control::help() + QLatin1String(Example));
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Shows this text.")});
    parser.addOptions({
        {QStringLiteral("station"), QStringLiteral("A station on this line, 1 to 247; may be repeated."),
         QStringLiteral("number"), QStringLiteral("1")},
        {QStringLiteral("live"),
         QStringLiteral("A cell that changes by itself: counter, counter32, ramp or sine with the number of a "
                        "register, toggle with that of a coil; may be repeated."),
         QStringLiteral("kind@number")},
        {QStringLiteral("stuck"),
         QStringLiteral("A register and coil that acknowledges writes but keeps its value; may be repeated."),
         QStringLiteral("number")},
    });
    if (!parser.parse(QCoreApplication::arguments()))
        return complain(parser.errorText(), ExitUsage);
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    if (!parser.positionalArguments().isEmpty())
        return complain(
            QString::fromLatin1("'%1': expected options only, see --help").arg(parser.positionalArguments().first()),
            ExitUsage);
    Slave slave;
    const QString error = setUp(slave, parser.values(QStringLiteral("station")), parser.values(QStringLiteral("live")),
                                parser.values(QStringLiteral("stuck")));
    return error.isEmpty() ? serve(slave) : complain(error, ExitUsage);
}
