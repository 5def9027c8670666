/// The verbs of ecpanel. Each adds itself to the command line with its options and, when it is the one that was asked
/// for, leaves what to run in the context.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

enum ExitCode {
    ExitOk = 0,
    ExitUsage = 2, ///< Usage, settings or tags.
    ExitPort = 3,  ///< The port cannot be opened, or went away.
    ExitTimeout = 4,
    ExitBadReply = 5,     ///< A bad reply or an exception; replay and demo: a difference.
    ExitNotConfirmed = 6, ///< A write was not confirmed.
    ExitInterrupted = 130
};

/// A verb's callback only sets run: the command line is checked whole before anything happens.
///
///     void addSomeCommand(CLI::App &app, CommandContext &context)
///     {
///         auto options = std::make_shared<SomeOptions>();
///         CLI::App *verb = app.add_subcommand("some", "What it does");
///         addCommonOptions(*verb, options->common, SettingsOption | JsonOption);
///         verb->footer("Example:\n  ecpanel some --json");
///         verb->callback([options, &context] { context.run = [options] { return some(*options); }; });
///     }
struct CommandContext {
    std::function<int()> run; ///< Returns the exit code.
};

void addCheckCommand(CLI::App &app, CommandContext &context);
void addPlanCommand(CLI::App &app, CommandContext &context);
void addTypesCommand(CLI::App &app, CommandContext &context);
void addProbeCommand(CLI::App &app, CommandContext &context);
void addReadCommand(CLI::App &app, CommandContext &context);
void addWriteCommand(CLI::App &app, CommandContext &context);
void addWatchCommand(CLI::App &app, CommandContext &context);
void addRunCommand(CLI::App &app, CommandContext &context);
void addDecodeCommand(CLI::App &app, CommandContext &context);
void addReplayCommand(CLI::App &app, CommandContext &context);
void addDemoCommand(CLI::App &app, CommandContext &context);
