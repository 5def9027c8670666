/// ecpanel: a headless HMI runtime for PLCs on a serial line. See --help.
#include "host/commands/command.h"
#include "host/commands/common.h"

#include <QtCore/QCoreApplication>

#include <clocale>
#include <cstring>
#include <sstream>

namespace {

const char Description[] =
    "Reads and writes the variables of PLCs on a serial line through the communication driver, and tells how good and\n"
    "how old every value is and what became of every write.";

const char Footer[] =
    "First steps:\n"
    "  1. Copy examples/line.toml and examples/tags.csv into a folder of your own and go there. In line.toml set\n"
    "     the serial port, baud, parity and stop bits of your PLC; in tags.csv give each variable of the PLC a line.\n"
    "     Every key is explained there; ecpanel types lists the device types.\n"
    "  2. ecpanel check         says what is wrong in them, with file and line\n"
    "  3. ecpanel plan          shows what will be asked of the PLC, and how long it takes; opens no port\n"
    "  4. ecpanel probe         finds the stations that answer on the line\n"
    "  5. ecpanel read          reads every tag once\n"
    "  6. ecpanel watch         shows them live; q ends it\n"
    "  No PLC at hand: ecpanel demo brings its own.\n"
    "\n"
    "ecpanel VERB --help has the options of a verb and examples. Settings and tags are line.toml and tags.csv in the\n"
    "current folder unless --settings and --tags name others. Installed, the examples are in\n"
    "share/doc/emerson-ec-series-tools/examples.\n"
    "\n"
    "Exit codes: 0 all right, 2 wrong usage, settings or tags, 3 serial port, 4 no reply in time, 5 bad reply or\n"
    "exception, 6 write not confirmed, 130 interrupted.";

QString verbNames(const CLI::App &app)
{
    QStringList names;
    for (const CLI::App *verb : app.get_subcommands([](const CLI::App *) { return true; }))
        names << QString::fromStdString(verb->get_name());
    return names.join(QLatin1String(", "));
}

/// The first argument when it stands where a verb is expected and is none.
QString unknownVerb(const CLI::App &app, int argc, char **argv)
{
    if (argc < 2 || argv[1][0] == '-')
        return QString();
    for (const CLI::App *verb : app.get_subcommands([](const CLI::App *) { return true; }))
        if (verb->get_name() == argv[1])
            return QString();
    return fromOption(argv[1]);
}

int usageError(const CLI::App &app, const CLI::ParseError &error, int argc, char **argv)
{
    const QString unknown = unknownVerb(app, argc, argv);
    if (!unknown.isEmpty())
        return complain(QString::fromLatin1("unknown verb '%1': expected one of %2").arg(unknown, verbNames(app)),
                        ExitUsage);
    if (app.get_subcommands().empty() && argc < 2)
        return complain(QString::fromLatin1("no verb given: expected one of %1; ecpanel --help tells how to begin")
                            .arg(verbNames(app)),
                        ExitUsage);
    const QString verb = app.get_subcommands().empty()
                             ? QString()
                             : QLatin1Char(' ') + QString::fromStdString(app.get_subcommands().front()->get_name());
    return complain(QString::fromLatin1("%1 (see ecpanel%2 --help)").arg(fromOption(error.what()), verb), ExitUsage);
}

void addVerbs(CLI::App &app, CommandContext &context)
{
    addTypesCommand(app, context);
    addCheckCommand(app, context);
    addPlanCommand(app, context);
    addProbeCommand(app, context);
    addReadCommand(app, context);
    addWriteCommand(app, context);
    addWatchCommand(app, context);
    addRunCommand(app, context);
    addDecodeCommand(app, context);
    addReplayCommand(app, context);
    addDemoCommand(app, context);
}

/// What is still unwritten when a verb ends cannot be told by its exit code alone.
int codeAfterOutput(int code)
{
    if (outputError() == 0 || outputError() == EPIPE)
        return code;
    return complain(QString::fromLatin1("cannot write standard output: %1")
                        .arg(QString::fromLocal8Bit(std::strerror(outputError()))),
                    code == ExitOk ? ExitUsage : ExitCode(code));
}

} // namespace

// Out of memory may end it.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // Numbers on the command line are written the same way everywhere.
    std::setlocale(LC_NUMERIC, "C");
    catchInterrupts();

    CLI::App app(Description, "ecpanel");
    app.set_version_flag("--version", "ecpanel " EC_VERSION);
    app.require_subcommand(1);
    CommandContext context;
    addVerbs(app, context);
    app.footer(Footer);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() != 0)
            return usageError(app, error, argc, argv);
        std::ostringstream text;
        app.exit(error, text, text);
        print(QString::fromStdString(text.str()));
        return codeAfterOutput(ExitOk);
    }
    return codeAfterOutput(context.run());
}
