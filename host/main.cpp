/// ecdemo: a host that loads the driver and talks through it to a simulated PLC. See --help.
#include "host/demo.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <csignal>

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

void noteSignal(int)
{
    interrupted = true;
}

const char *const Description =
    "Loads the driver, starts a simulated PLC on a pseudo-terminal and shows reads, writes and a pulled cable.\n"
    "Exit code: 0 all right, 1 a wrong value, 2 cannot run, 130 interrupted.";

int usageError(const QString &text)
{
    std::fprintf(stderr, "ecdemo: %s\n", qPrintable(text));
    return Demo::CannotRun;
}

void describeOptions(QCommandLineParser &parser)
{
    const QString here = QCoreApplication::applicationDirPath();
    parser.setApplicationDescription(QLatin1String(Description));
    parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Shows this text.")});
    parser.addOptions({
        {QStringLiteral("driver"), QStringLiteral("The driver library."), QStringLiteral("path"),
         here + QStringLiteral("/libemerson_ec_series.so")},
        {QStringLiteral("sim"), QStringLiteral("The simulated PLC."), QStringLiteral("path"),
         here + QStringLiteral("/ecsim")},
        {QStringLiteral("port"), QStringLiteral("Serial port to use instead of the simulated PLC's."),
         QStringLiteral("path")},
        {QStringLiteral("live-seconds"), QStringLiteral("How long to watch the live values, 1 to 3600."),
         QStringLiteral("seconds"), QStringLiteral("8")},
        {QStringLiteral("stuck"),
         QStringLiteral("Have the PLC ignore writes to this cell, to see the demo find it; may be repeated."),
         QStringLiteral("number")},
    });
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signalNumber, noteSignal);
    QCommandLineParser parser;
    describeOptions(parser);
    if (!parser.parse(QCoreApplication::arguments()))
        return usageError(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    DemoOptions options;
    options.driverPath = parser.value(QStringLiteral("driver"));
    options.simPath = parser.value(QStringLiteral("sim"));
    options.port = parser.value(QStringLiteral("port"));
    options.stuckCells = parser.values(QStringLiteral("stuck"));
    options.liveSeconds = parser.value(QStringLiteral("live-seconds")).toInt();
    if (options.liveSeconds < 1 || options.liveSeconds > 3600)
        return usageError(QString::fromLatin1("--live-seconds '%1': expected a number from 1 to 3600")
                              .arg(parser.value(QStringLiteral("live-seconds"))));
    if (!parser.positionalArguments().isEmpty())
        return usageError(
            QString::fromLatin1("'%1': expected options only, see --help").arg(parser.positionalArguments().first()));
    return Demo(options, interrupted).run();
}
