/// The wire on a real line and with the real clock.
#pragma once

#include "sim/control.h"
#include "sim/line_end.h"
#include "sim/moment_timer.h"
#include "sim/port_link.h"
#include "sim/run_options.h"

#include <memory>

class Runner {
public:
    Runner(RunPlan &plan, bool quiet);

    /// Opens the line, says "ready PATH". False, with a reason, when that fails.
    bool start(QString *error);
    /// Answers a command of the control protocol.
    QString answer(const QString &command);
    bool isFinished() const { return control.isFinished(); }
    /// Why the line cannot be used any more; empty while it can.
    QString failure() const { return failed; }
    qint64 swallowedBytes() const { return wire.swallowedBytes(); }

private:
    bool openLine(QString *error);
    void fail(const QString &reason);
    /// What is due by now happens; sets the clock for what comes next.
    void serve();
    void closeOrOpenPort();
    void tell(const QString &text) const;

    RunPlan &plan;
    const bool quiet;
    Wire wire;
    MomentTimer timer;
    Control control;
    PortLink link;
    std::unique_ptr<LineEnd> line;
    bool isOpen = false, hasStarted = false;
    QString failed;
};
