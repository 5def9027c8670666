// Thirty days of a panel and its PLCs in made-up time, checked with every transaction.
//   soak --days 30 [--seed N] [--stations N] [--begin-hours H] [--seeded DEFECT]
#include "memory_watch.h"
#include "user.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>

#include <cstdio>

namespace {

enum : qint64 { Second = 1000000, Hour = 3600 * Second, Day = 24 * Hour };
enum : qint64 { UsualTransaction = 48000 }; // microseconds
enum { FaultKinds = int(FaultKind::PortGone) };
const double EveryFaultDays = 0.25;
enum { ExitPassed = 0, ExitFailed = 1, ExitUsage = 2 };

struct Options {
    RigOptions rig;
    double days = 30;
    QString defect;
    bool isVerbose = false;
};

const char *const Defects[] = {"leak", "lost-write", "deaf-cell", "frozen-cell", "forgotten-write", "no-guard"};

class Soak : public PanelListener {
public:
    explicit Soak(const Options &options)
        : options(options), rig(options.rig), line(rig, findings), values(rig, findings),
          writes(rig, findings, line, values), user(rig, line, writes, options.rig.seed), memory(findings),
          beganAt(rig.now()), lastNow(rig.now())
    {
        rig.panel->setListener(this);
    }

    bool run()
    {
        const qint64 end = beganAt + qint64(options.days * double(Day));
        const qint64 sampleEvery = qMin<qint64>(Hour, (end - beganAt) / 40);
        qint64 nextSample = beganAt + sampleEvery, nextReport = beganAt + Day;
        clock.start();
        while (rig.now() < end && findings.wrong() <= Findings::MostShown) {
            user.act();
            spoil();
            step();
            // A full queue is no leak.
            if (rig.now() >= nextSample && rig.panel->isIdle()) {
                nextSample = rig.now() + sampleEvery;
                // A fifth is warm-up, in which every kind of event has come: lists grow to their size once.
                sample(rig.now() >= beganAt + (end - beganAt) / 5);
            }
            if (rig.now() >= nextReport) {
                nextReport += Day;
                printProgress();
            }
        }
        comeToRest();
        printEnd();
        return findings.failed() == 0;
    }

    void valueChanged(int tag) override { values.changed(tag); }
    void writeEnded(const WriteEntry &entry) override
    {
        writes.ended(entry);
        if (options.defect == QLatin1String("forgotten-write") && entry.state == WriteState::Confirmed)
            forget(rig.units.at(entry.tag).first());
    }
    void readDone(int id, bool isAnswered) override { writes.readDone(id, isAnswered); }
    void passFinished() override { ++passes; }
    void stationSwitched(int, bool isOn) override { switchedOff += !isOn; }
    void portChanged(bool, const QString &) override { line.disturbed(); }
    void requestServed(const RW_VAR &var, const Transaction &transaction, int code) override
    {
        enum { RepeatPending = 0, Good = 1 };
        const int list = rig.panel->driverSession().driver().driver->servedList;
        line.served(var, list, transaction);
        values.served(var, list, transaction, code == Good);
        if (code != RepeatPending && code != Good)
            writes.givenUp(var.station);
    }

private:
    void step()
    {
        rig.panel->step();
        findings.setMoment(rig.now());
        findings.look(Findings::Time, rig.now() >= lastNow, [&] { return QStringLiteral("time went back"); });
        lastNow = rig.now();
        values.look();
        writes.afterStep();
    }

    void sample(bool isWarm)
    {
        values.lookAtAges();
        writes.lookAtQueues();
        line.compareCounters();
        memory.sample(isWarm);
        if (options.isVerbose)
            printProgress();
    }

    /// Defects that the checks must find.
    void spoil()
    {
        if (options.defect == QLatin1String("leak") && line.served() % 50 == 0)
            leaked = new char[64];
        // Not the head, which may be on the line.
        QList<RW_VAR> &queue = rig.panel->driverSession().driver().driver->writeList;
        if (options.defect == QLatin1String("lost-write") && rig.now() > beganAt + Hour && queue.size() > 1)
            queue.removeLast();
        if (options.defect == QLatin1String("deaf-cell") && line.served() == 1000)
            for (const Unit &unit : qAsConst(rig.units[rig.uses.indexOf(TagUse::Written)]))
                rig.slave->memory(unit.station)->addStuckCell(unit.number);
        if (options.defect == QLatin1String("frozen-cell") && line.served() == 1000)
            rig.slave->memory(1)->setHoldingRegister(rig.units.at(rig.uses.lastIndexOf(TagUse::Polled)).at(0).number,
                                                     0);
    }

    void forget(const Unit &unit)
    {
        PlcMemory &memory = *rig.slave->memory(unit.station);
        if (unit.isCoil)
            memory.setCoil(unit.number, !memory.coil(unit.number));
        else
            memory.setHoldingRegister(unit.number, quint16(~memory.holdingRegister(unit.number)));
    }

    /// Without faults everything that was begun ends, and every tag is good.
    void comeToRest()
    {
        user.stop();
        const qint64 end = rig.now() + Hour;
        for (rig.panel->expectPass(); rig.now() < end && !(rig.panel->isIdle() && rig.panel->isPassComplete());)
            step();
        for (const qint64 calm = rig.now() + 5 * 60 * Second; rig.now() < calm;)
            step();
        sample(true);
        lookAtAmount();
        writes.lookAtEnd();
        for (int tag = 0; tag < rig.uses.size(); ++tag)
            findings.look(Findings::Values,
                          !rig.tag(tag).isReadable || rig.panel->values().at(tag).quality == Quality::Good,
                          [&] { return QStringLiteral("%1 is not good at the end").arg(rig.tag(tag).name); });
    }

    /// A line that was idle, or a kind of fault that never came, would prove little.
    void lookAtAmount()
    {
        const double usual = double(rig.now() - beganAt) / double(UsualTransaction);
        findings.look(Findings::Outcomes, double(line.served()) >= 0.8 * usual, [&] {
            return QStringLiteral("only %1 transactions where some %2 are usual").arg(line.served()).arg(qint64(usual));
        });
        findings.look(Findings::Outcomes, options.days < EveryFaultDays || line.faultKinds().size() == FaultKinds,
                      [&] { return QStringLiteral("only %1 kinds of faults").arg(line.faultKinds().size()); });
    }

    void printProgress()
    {
        const double wall = double(clock.elapsed()) / 1000;
        std::printf(
            "day %.2f: %lld transactions in %.0f s (%.0f a second), %lld good values, %lld writes, %lld faults, "
            "resident %lld kB, %lld blocks, %lld wrong\n",
            double(rig.now() - beganAt) / double(Day), line.served(), wall, double(line.served()) / wall,
            findings.looks(Findings::Values), writes.begun(), line.faultsDone(), memory.resident() / 1024,
            memory.blocks(), findings.wrong());
        std::fflush(stdout);
    }

    void printEnd()
    {
        const double days = double(rig.now() - beganAt) / double(Day);
        std::printf("%.2f days of line time, from %.2f to %.2f: %lld transactions (%.1f ms each), %lld passes\n", days,
                    double(beganAt) / double(Day), double(rig.now()) / double(Day), line.served(),
                    days * 86400e3 / double(qMax(line.served(), qint64(1))), passes);
        std::printf("done to it: %s; %lld faults of %d kinds, %lld frames that the PLC did not hear\n",
                    qPrintable(user.report()), line.faultsDone(), int(line.faultKinds().size()), line.unseen());
        std::printf("stations switched off %lld times, port opened again %lld times\n", switchedOff,
                    rig.panel->counters().reopened);
        std::printf("%lld writes:", writes.begun());
        for (int state = 0; state < WriteStates; ++state)
            if (!isOpenState(WriteState(state)))
                std::printf(" %lld %s", writes.count(WriteState(state)), qPrintable(writeStateName(WriteState(state))));
        std::printf("; %lld one-shot reads, %lld answered\n", writes.reads(), writes.readsAnswered());
        std::printf("queues at most %d writes and %d one-shot reads\n", rig.panel->counters().writeMost,
                    rig.panel->counters().onceMost);
        std::printf("memory: %s\n", qPrintable(memory.report()));
        findings.print();
        std::printf("in memory: %d passed, %d failed, after %.1f s\n", findings.passed(), findings.failed(),
                    double(clock.elapsed()) / 1000);
    }

    const Options options;
    Findings findings;
    SoakRig rig;
    LineWatch line;
    ValueWatch values;
    WriteWatch writes;
    User user;
    MemoryWatch memory;
    const qint64 beganAt;
    qint64 lastNow;
    QElapsedTimer clock;
    qint64 passes = 0, switchedOff = 0;
    char *volatile leaked = nullptr;
};

bool parse(const QStringList &arguments, Options *options)
{
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("verbose"), QStringLiteral("A line with each sample.")});
    parser.addOptions(
        {{QStringLiteral("days"), QStringLiteral("Line time to pass (30)."), QStringLiteral("N")},
         {QStringLiteral("seed"), QStringLiteral("Decides what happens (1)."), QStringLiteral("N")},
         {QStringLiteral("stations"), QStringLiteral("On the line (3); 1 is one PLC."), QStringLiteral("N")},
         {QStringLiteral("begin-hours"), QStringLiteral("Moment of the start (0)."), QStringLiteral("H")},
         {QStringLiteral("seeded"), QStringLiteral("A defect that must be found."), QStringLiteral("NAME")}});
    parser.process(arguments);
    const auto number = [&parser](const char *name, double otherwise) {
        const QString text = parser.value(QLatin1String(name));
        return text.isEmpty() ? otherwise : text.toDouble();
    };
    options->days = number("days", 30);
    options->rig.seed = quint32(number("seed", 1));
    options->rig.stations = int(number("stations", 3));
    options->rig.beginAt = qint64(number("begin-hours", 0) * double(Hour));
    options->isVerbose = parser.isSet(QStringLiteral("verbose"));
    options->defect = parser.value(QStringLiteral("seeded"));
    options->rig.isGuarded = options->defect != QLatin1String("no-guard");
    bool isKnown = options->defect.isEmpty();
    for (const char *const name : Defects)
        isKnown = isKnown || options->defect == QLatin1String(name);
    return isKnown && options->days > 0 && options->rig.stations >= 1 && options->rig.stations <= 3;
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    Options options;
    if (!parse(arguments, &options)) {
        std::fprintf(stderr, "soak: expected days above 0, 1 to 3 stations, and a defect that is known\n");
        return ExitUsage;
    }
    return Soak(options).run() ? ExitPassed : ExitFailed;
}
