/// What "ecsim run" is asked to do: the options as typed, and what they come to.
#pragma once

#include "sim/faults.h"
#include "sim/serial_port_line.h"
#include "sim/slave.h"
#include "sim/wire.h"

#include <QtCore/QStringList>

#include <memory>

/// The options as typed; an empty text is an option that was not given.
struct RunOptions {
    bool pty = false;
    QString link;
    QString port, baud, parity, stopBits;
    bool pace = false;
    QStringList stations, live, stuck;
    QString values;
    QStringList faults;
    QString faultFile;
    QString seed, format, answerMilliseconds;
    QString ledgerFile;
    bool readsCommands = false;
    bool quiet = false;
};

/// What is run. The slave has its stations, the script its rules.
struct RunPlan {
    std::unique_ptr<Slave> slave;
    std::unique_ptr<Faults> faults;
    WireSettings wire;
    bool isPty = true;
    QString link;
    SerialSettings serial;
};

/// Problems name the option, what was typed and what was expected, one string each; the plan can be used only when
/// there is none.
RunPlan planOf(const RunOptions &options, QStringList *problems);
