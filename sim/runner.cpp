#include "sim/runner.h"

#include "sim/pty_line.h"
#include "sim/serial_port_line.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

namespace {

std::unique_ptr<LineEnd> newLine(const RunPlan &plan)
{
    if (plan.isPty)
        return std::unique_ptr<LineEnd>(new PtyLine);
    return std::unique_ptr<LineEnd>(new SerialPortLine(plan.serial));
}

} // namespace

Runner::Runner(RunPlan &plan, bool quiet)
    : plan(plan), quiet(quiet), wire(*plan.slave, *plan.faults, plan.wire), timer([this] { serve(); }),
      control(*plan.slave, *plan.faults, wire, [this] { return timer.now(); }), link(plan.link), line(newLine(plan))
{
    line->received = [this](const QByteArray &bytes) {
        // Not served here: the line must not be closed while it is reading.
        const qint64 now = timer.now();
        wire.receive(bytes, now);
        timer.setMoment(now);
    };
    line->failed = [this](const QString &reason) { fail(reason); };
}

bool Runner::start(QString *error)
{
    if (!timer.isValid()) {
        *error = QStringLiteral("cannot make a timer");
        return false;
    }
    return openLine(error);
}

bool Runner::openLine(QString *error)
{
    if (!line->open(error) || !link.pointTo(line->path(), error))
        return false;
    isOpen = true;
    // A link's name has not changed when the port is back.
    if (!hasStarted || (plan.isPty && !link.isWanted())) {
        std::printf("ready %s\n", qPrintable(link.isWanted() ? plan.link : line->path()));
        std::fflush(stdout);
    }
    hasStarted = true;
    return true;
}

void Runner::fail(const QString &reason)
{
    failed = reason;
    QCoreApplication::quit();
}

QString Runner::answer(const QString &command)
{
    plan.slave->advanceTo(timer.now() / 1000);
    QString text = control.answer(command);
    serve();
    return text;
}

void Runner::serve()
{
    const QByteArray bytes = wire.advance(timer.now());
    closeOrOpenPort();
    if (isOpen && !bytes.isEmpty())
        line->send(bytes);
    timer.setMoment(wire.nextMoment());
}

void Runner::closeOrOpenPort()
{
    if (wire.isPortGone() == !isOpen)
        return;
    if (isOpen) {
        isOpen = false;
        link.remove();
        line->close();
        tell(QStringLiteral("the port is gone"));
        return;
    }
    QString error;
    if (openLine(&error))
        tell(QStringLiteral("the port is back: ") + line->path());
    else
        fail(error);
}

void Runner::tell(const QString &text) const
{
    if (!quiet)
        std::fprintf(stderr, "ecsim: %s\n", qPrintable(text));
}
