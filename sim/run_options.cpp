#include "sim/run_options.h"

#include "sim/live_file.h"

#include <QtCore/QFile>

namespace {

enum { LowestBaud = 300, HighestBaud = 921600, LongestAnswerMilliseconds = 60000, LongestScript = 1 << 20 };

struct NamedParity {
    const char *name;
    QSerialPort::Parity parity;
};
const NamedParity Parities[] = {
    {"none", QSerialPort::NoParity}, {"even", QSerialPort::EvenParity}, {"odd", QSerialPort::OddParity}};

class Reader {
public:
    Reader(const RunOptions &options, QStringList *problems) : options(options), problems(problems) {}

    RunPlan read()
    {
        readLine();
        readSlave();
        readFaults();
        return std::move(plan);
    }

private:
    void expect(const char *option, const QString &text, const QString &expected)
    {
        *problems << QString::fromLatin1("%1 '%2': expected %3").arg(QLatin1String(option), text, expected);
    }

    /// The number, or a problem and the least one.
    qint64 number(const char *option, const QString &text, qint64 least, qint64 most)
    {
        bool isNumber = false;
        const qint64 value = text.toLongLong(&isNumber);
        if (isNumber && value >= least && value <= most)
            return value;
        expect(option, text, QString::fromLatin1("a whole number from %1 to %2").arg(least).arg(most));
        return least;
    }

    void readLine()
    {
        plan.isPty = options.pty;
        plan.link = options.link;
        if (options.pty == !options.port.isEmpty())
            *problems << QStringLiteral("run: expected either --pty or --port PATH");
        else if (options.pty)
            readPty();
        else
            readPort();
        readCharacters();
        if (!options.answerMilliseconds.isEmpty())
            plan.wire.answerMicroseconds =
                1000 * int(number("--answer-ms", options.answerMilliseconds, 0, LongestAnswerMilliseconds));
        if (!options.pty)
            addSilence();
    }

    void readPty()
    {
        if (options.pace && options.baud.isEmpty())
            *problems << QStringLiteral("--pace: expected --baud N beside it");
    }

    void readPort()
    {
        if (options.pace)
            *problems << QStringLiteral("--pace: expected with --pty only, a real line has its own pace");
        if (!options.link.isEmpty())
            expect("--link", options.link, QStringLiteral("with --pty only"));
        if (options.baud.isEmpty() || options.parity.isEmpty() || options.stopBits.isEmpty())
            expect("--port", options.port, QStringLiteral("--baud, --parity and --stop-bits beside it"));
        plan.serial.port = options.port;
    }

    void readCharacters()
    {
        if (!options.baud.isEmpty())
            plan.serial.baud = int(number("--baud", options.baud, LowestBaud, HighestBaud));
        bool isKnown = options.parity.isEmpty();
        for (const NamedParity &one : Parities)
            if (options.parity == QLatin1String(one.name)) {
                plan.serial.parity = one.parity;
                isKnown = true;
            }
        if (!isKnown)
            expect("--parity", options.parity, QStringLiteral("none, even or odd"));
        if (options.stopBits == QLatin1String("2"))
            plan.serial.stopBits = QSerialPort::TwoStop;
        else if (!options.stopBits.isEmpty() && options.stopBits != QLatin1String("1"))
            expect("--stop-bits", options.stopBits, QStringLiteral("1 or 2"));
        const int parityBits = plan.serial.parity == QSerialPort::NoParity ? 0 : 1;
        const int stopBits = plan.serial.stopBits == QSerialPort::TwoStop ? 2 : 1;
        plan.wire.characterBits = 1 + 8 + parityBits + stopBits;
        if (options.pty && options.pace)
            plan.wire.baud = plan.serial.baud;
    }

    // On a real line the bytes have taken their time, but the silence behind the request has still to pass.
    void addSilence()
    {
        if (plan.serial.baud > 19200)
            plan.wire.answerMicroseconds += 1750;
        else if (plan.serial.baud > 0)
            plan.wire.answerMicroseconds += plan.wire.characterBits * 3500000 / plan.serial.baud + 1;
    }

    void readSlave()
    {
        if (!options.format.isEmpty() && options.format != QLatin1String("modbus")
            && options.format != QLatin1String("remote"))
            expect("--format", options.format, QStringLiteral("modbus or remote"));
        plan.slave = std::make_unique<Slave>(options.format == QLatin1String("remote") ? RequestFormat::Remote
                                                                                       : RequestFormat::ModbusRtu);
        for (const QString &station : options.stations)
            plan.slave->addStation(int(number("--station", station, 1, 247)));
        if (!options.values.isEmpty())
            readLiveFile(options.values, *plan.slave, problems);
        else if (options.stations.isEmpty())
            plan.slave->addStation(1);
        readCells();
    }

    void readCells()
    {
        const QList<int> stations = plan.slave->stations();
        for (const QString &text : options.live) {
            LiveCell cell;
            QString reason;
            if (!LiveCell::parse(text, &cell, &reason)) {
                *problems << QLatin1String("--live ") + reason;
                continue;
            }
            for (const int station : stations)
                plan.slave->memory(station)->addLiveCell(cell);
        }
        for (const QString &text : options.stuck) {
            const int cell = int(number("--stuck", text, 0, PlcMemory::Cells - 1));
            for (const int station : stations)
                plan.slave->memory(station)->addStuckCell(cell);
        }
    }

    void readFaults()
    {
        const QString seed = options.seed.isEmpty() ? QStringLiteral("1") : options.seed;
        plan.faults = std::make_unique<Faults>(quint32(number("--seed", seed, 0, std::numeric_limits<quint32>::max())));
        for (const QString &text : options.faults)
            addRule(QStringLiteral("--fault"), text);
        if (!options.faultFile.isEmpty())
            readFaultFile();
    }

    void addRule(const QString &where, const QString &text)
    {
        FaultRule rule;
        QString reason;
        if (FaultRule::parse(text, &rule, &reason))
            plan.faults->add(rule);
        else
            *problems << where + QLatin1Char(' ') + reason;
    }

    void readFaultFile()
    {
        QFile file(options.faultFile);
        if (!file.open(QIODevice::ReadOnly) || file.size() > LongestScript) {
            expect("--faults", options.faultFile,
                   file.isOpen() ? QString::fromLatin1("at most %1 bytes").arg(int(LongestScript))
                                 : QString::fromLatin1("a file that can be read: %1").arg(file.errorString()));
            return;
        }
        int lineNumber = 0;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
            ++lineNumber;
            const QString rule = line.section(QLatin1Char('#'), 0, 0).trimmed();
            if (!rule.isEmpty())
                addRule(QString::fromLatin1("%1:%2:").arg(options.faultFile).arg(lineNumber), rule);
        }
    }

    const RunOptions &options;
    QStringList *problems;
    RunPlan plan;
};

} // namespace

RunPlan planOf(const RunOptions &options, QStringList *problems)
{
    return Reader(options, problems).read();
}
