/// "ecsim run": the simulated PLC on a line until it is told to end.
#pragma once

#include "sim/run_options.h"

enum ExitCode { ExitGood = 0, ExitUsage = 2, ExitPort = 3, ExitInterrupted = 130 };

/// Writes a message to standard error and returns the exit code.
int complain(const QString &text, ExitCode code);

/// Runs until told to end. Needs a QCoreApplication. Returns the exit code of the program.
int runCommand(const RunOptions &options);
