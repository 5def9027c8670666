/// ecsim: a simulated PLC. See --help.
#include "sim/control.h"
#include "sim/run_command.h"

#include <CLI/CLI.hpp>

#include <QtCore/QCoreApplication>

#include <csignal>
#include <cstdio>

namespace {

const char *const Version = "ecsim " EC_VERSION;
const char *const Examples = "Examples:\n"
                             "  ecsim run --pty --link /tmp/plc --live counter@100\n"
                             "  ecsim run --port /dev/ttyUSB0 --baud 19200 --parity even --stop-bits 1\n"
                             "  ecsim faults\n"
                             "  ecsim --version\n"
                             "Exit codes: 0 ended as told, 2 options, 3 port, 130 interrupted.";
const char *const RunExamples =
    "The first line of output is 'ready' and the path that the host opens as its serial port.\n\n"
    "Examples:\n"
    "  ecsim run --pty --link /tmp/plc --station 1 --station 2 --live counter@100 --live toggle@8\n"
    "  ecsim run --pty --link /tmp/plc --pace --baud 9600 --values plc.toml\n"
    "  ecsim run --pty --fault drop,rate=0.05 --fault truncated,first=10,last=20,at=4 --seed 7 --ledger done.jsonl\n"
    "  ecsim run --port /dev/ttyUSB0 --baud 19200 --parity even --stop-bits 1\n\n"
    "Commands on standard input, with --stdin, each answered by a line 'ok ...' or 'error: ...':\n";

/// Fills a text or a list of texts of our own from the library's.
CLI::Option *addText(CLI::App *app, const char *names, QString *text, const char *meaning, const char *shape)
{
    const auto take = [text](const std::string &value) { *text = QString::fromStdString(value); };
    return app->add_option_function<std::string>(names, take, meaning)->type_name(shape);
}

void addTexts(CLI::App *app, const char *names, QStringList *texts, const char *meaning, const char *shape)
{
    const auto take = [texts](const std::vector<std::string> &values) {
        for (const std::string &value : values)
            *texts << QString::fromStdString(value);
    };
    app->add_option_function<std::vector<std::string>>(names, take, meaning)
        ->type_name(shape)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void addLineOptions(CLI::App *run, RunOptions *options)
{
    run->add_flag("--pty", options->pty, "A pseudo-terminal stands for the line");
    addText(run, "--link", &options->link, "Symbolic link to the pseudo-terminal, removed at the end", "PATH");
    addText(run, "--port", &options->port, "A real serial port; needs the three below", "PATH");
    addText(run, "--baud", &options->baud, "Bits a second", "N");
    addText(run, "--parity", &options->parity, "Parity bit (with --pty: even)", "none|even|odd");
    addText(run, "--stop-bits", &options->stopBits, "Stop bits (with --pty: 1)", "1|2");
    run->add_flag("--pace", options->pace,
                  "Bytes on the pseudo-terminal take the time they need at --baud;\notherwise they take none");
    addText(run, "--answer-ms", &options->answerMilliseconds, "The PLC's own time before each answer (0)", "N");
}

void addPlcOptions(CLI::App *run, RunOptions *options)
{
    addTexts(run, "--station", &options->stations, "A station on this line, 1 to 247 (1); repeatable", "N");
    addTexts(run, "--live", &options->live,
             "A cell of every station that changes by itself: counter, counter32,\nramp, sine or toggle; or "
             "echo@NUMBER=SOURCE, coil-echo@NUMBER=SOURCE; repeatable",
             "KIND@NUMBER");
    addTexts(run, "--stuck", &options->stuck,
             "A register and coil that acknowledges writes but keeps its value; repeatable", "NUMBER");
    addText(run, "--values", &options->values, "Stations, first values, live and stuck cells from a TOML file", "FILE");
    addText(run, "--format", &options->format, "Form of the requests (modbus)", "modbus|remote");
    addTexts(
        run, "--fault", &options->faults,
        "A rule of faults, KIND[,first=N][,last=N][,station=N][,rate=R] and at, code or\nms where the kind has it; "
        "requests count from 0; repeatable; see 'ecsim faults'",
        "RULE");
    addText(run, "--faults", &options->faultFile, "Rules from a file, one a line; # begins a comment", "FILE");
    addText(run, "--seed", &options->seed, "Decides everything that faults leave to chance (1)", "N");
    addText(run, "--ledger", &options->ledgerFile, "At the end: the faults done and totals, as JSON lines", "FILE");
    run->add_flag("--stdin", options->readsCommands, "Read commands from standard input, end when it closes");
    run->add_flag("--quiet", options->quiet, "Nothing on standard error but errors");
}

int listFaults()
{
    for (const QString &name : faultNames())
        std::printf("%-18s %s\n", qPrintable(name), qPrintable(faultMeaning(faultByName(name))));
    return ExitGood;
}

} // namespace

// Out of memory may end it.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    CLI::App app("A simulated PLC: Modbus RTU stations on a serial port or a pseudo-terminal, with faults on demand.",
                 "ecsim");
    app.footer(Examples);
    app.set_version_flag("--version", std::string(Version));
    app.require_subcommand(1);
    RunOptions options;
    CLI::App *const run = app.add_subcommand("run", "Run the PLC until Ctrl-C");
    addLineOptions(run, &options);
    addPlcOptions(run, &options);
    run->footer(RunExamples + Control::help().toStdString());
    CLI::App *const faults = app.add_subcommand("faults", "List the kinds of faults");
    faults->footer("Example:\n  ecsim faults");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &problem) {
        if (problem.get_exit_code() == int(CLI::ExitCodes::Success))
            return app.exit(problem);
        const char *const help = run->parsed() ? "ecsim run --help" : "ecsim --help";
        return complain(QString::fromLatin1("%1: expected options as in '%2'")
                            .arg(QString::fromLocal8Bit(problem.what()), QLatin1String(help)),
                        ExitUsage);
    }
    return faults->parsed() ? listFaults() : runCommand(options);
}
