// What the simulated PLC reads: its file of values, rules of faults, live cells, and commands.
#include "proof/fuzz/check.h"
#include "proof/fuzz/text_input.h"
#include "sim/control.h"
#include "sim/live_file.h"

namespace {

void readLiveFile(const QByteArray &text)
{
    Slave slave;
    QStringList problems;
    parseLiveFile(text, QStringLiteral("plc.toml"), slave, &problems);
    slave.advanceTo(123456789);
    DEMAND(!problems.isEmpty() || !slave.stations().isEmpty());
}

void readRule(const QString &text)
{
    FaultRule rule;
    QString error;
    DEMAND(FaultRule::parse(text, &rule, &error) == error.isEmpty());
    DEMAND(!error.isEmpty() || (rule.kind != FaultKind::None && rule.rate > 0 && rule.rate <= 1));
    LiveCell cell;
    QString reason;
    DEMAND(LiveCell::parse(text, &cell, &reason) == reason.isEmpty());
    DEMAND(!reason.isEmpty() || cell.fitsAt(cell.number));
}

void readCommands(const QByteArray &text)
{
    static const Slave pristine = [] {
        Slave slave;
        slave.addStation(1);
        return slave;
    }();
    Slave slave = pristine;
    Faults faults;
    Wire wire(slave, faults, WireSettings());
    Control control(slave, faults, wire, [] { return qint64(0); });
    for (const QByteArray &line : text.split('\n')) {
        // The one command that writes a file.
        if (line.contains("dump"))
            continue;
        const QString answer = control.answer(QString::fromUtf8(line));
        DEMAND(answer.isEmpty() || answer.startsWith(QLatin1String("ok"))
               || answer.startsWith(QLatin1String("error: ")));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const TextInput input(data, size);
    if (input.choice & 1)
        readLiveFile(input.choice & 2 ? "[[station]]\nnumber = 1\n" + input.text : input.text);
    else if (input.choice & 2)
        readCommands(input.text);
    else
        readRule(QString::fromUtf8(input.text));
    return 0;
}
