#include "sim/control.h"

#include "sim/areas.h"
#include "sim/fault_report.h"

#include <QtCore/QSaveFile>
#include <QtCore/QStringList>

namespace {

enum { LongestVanish = 3600000 };

struct Command {
    const char *name;
    const char *arguments; ///< As shown to a person; one word an argument. RULE and FILE are text, the rest numbers.
    const char *meaning;
};

const Command Commands[] = {
    {"registers", "STATION FIRST COUNT", "holding registers, in decimal"},
    {"coils", "STATION FIRST COUNT", "coils, 0 or 1"},
    {"set-register", "STATION NUMBER VALUE", "give a register a value, 0 to 65535"},
    {"set-coil", "STATION NUMBER VALUE", "give a coil a value, 0 or 1"},
    {"unplug", "", "swallow every byte from the line, answer nothing"},
    {"plug", "", "answer again"},
    {"stop-answering", "STATION", "the station still hears but answers no more"},
    {"answer", "STATION", "the station answers again"},
    {"vanish", "MS", "the port is gone for MS milliseconds"},
    {"fault", "RULE", "add a rule of faults: KIND[,KEY=VALUE...]"},
    {"clear-faults", "", "forget all rules"},
    {"ledger", "", "how often each fault was done, KIND=COUNT"},
    {"statistics", "", "what the slave has seen and done"},
    {"dump", "STATION FILE", "write all cells but the zeros as CSV: kind,number,value"},
    {"quit", "", "end"},
};

QString error(const QString &reason)
{
    return QLatin1String("error: ") + reason;
}

const Command *findCommand(const QString &name)
{
    for (const Command &command : Commands)
        if (name == QLatin1String(command.name))
            return &command;
    return nullptr;
}

QStringList argumentsOf(const Command &command)
{
    return QString::fromLatin1(command.arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString usage(const Command &command)
{
    return QString::fromLatin1("%1 %2").arg(QLatin1String(command.name), QLatin1String(command.arguments)).trimmed();
}

bool isText(const QString &argument)
{
    return argument == QLatin1String("RULE") || argument == QLatin1String("FILE");
}

QString commandNames()
{
    QStringList names;
    for (const Command &command : Commands)
        names << QLatin1String(command.name);
    return names.join(QLatin1String(", "));
}

/// The reason why a number of this name is out of range; empty when it is inside.
QString outside(const char *what, int value, int least, int most)
{
    if (value >= least && value <= most)
        return QString();
    return error(
        QString::fromLatin1("%1 %2 is outside %3 to %4").arg(QLatin1String(what)).arg(value).arg(least).arg(most));
}

} // namespace

QString Control::help()
{
    QString text;
    for (const Command &command : Commands)
        text += QString::fromLatin1("  %1  %2\n").arg(usage(command), -34).arg(QLatin1String(command.meaning));
    return text;
}

QString Control::answer(const QString &line)
{
    const QStringList words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return QString();
    const Command *const command = findCommand(words.first());
    if (!command)
        return error(
            QString::fromLatin1("unknown command '%1', expected one of %2").arg(words.first(), commandNames()));
    const QStringList names = argumentsOf(*command);
    if (words.size() - 1 != names.size())
        return error(QString::fromLatin1("%1 arguments, expected: %2").arg(words.size() - 1).arg(usage(*command)));
    QList<int> numbers;
    QString text;
    for (int i = 0; i < names.size(); ++i) {
        const QString &word = words.at(i + 1);
        bool isFine = true;
        if (isText(names.at(i)))
            text = word;
        else
            numbers << word.toInt(&isFine);
        if (!isFine)
            return error(
                QString::fromLatin1("%1 '%2' is not a number, expected: %3").arg(names.at(i), word, usage(*command)));
        if (names.at(i) == QLatin1String("STATION") && !slave.memory(numbers.last()))
            return error(QString::fromLatin1("no station %1 on this line").arg(numbers.last()));
    }
    return carryOut(words.first(), numbers, text);
}

QString Control::carryOut(const QString &command, const QList<int> &numbers, const QString &text)
{
    if (command == QLatin1String("registers") || command == QLatin1String("coils"))
        return cells(command == QLatin1String("coils"), numbers);
    if (command == QLatin1String("set-register") || command == QLatin1String("set-coil"))
        return setCell(command == QLatin1String("set-coil"), numbers);
    if (command == QLatin1String("statistics"))
        return statistics();
    if (command == QLatin1String("fault"))
        return addFault(text);
    if (command == QLatin1String("ledger"))
        return ledger();
    if (command == QLatin1String("dump"))
        return dump(numbers.first(), text);
    if (command == QLatin1String("vanish"))
        return vanish(numbers.first());
    if (command == QLatin1String("clear-faults"))
        faults.clear();
    else if (command == QLatin1String("stop-answering") || command == QLatin1String("answer"))
        wire.setAnswering(numbers.first(), command == QLatin1String("answer"));
    else if (command == QLatin1String("unplug") || command == QLatin1String("plug"))
        wire.setPlugged(command == QLatin1String("plug"));
    else
        finished = true;
    return QLatin1String("ok");
}

QString Control::cells(bool areCoils, const QList<int> &numbers)
{
    const int first = numbers.at(1), count = numbers.at(2);
    QString reason = outside("FIRST", first, 0, PlcMemory::Cells - 1);
    if (reason.isEmpty())
        reason = outside("COUNT", count, 1, PlcMemory::Cells - first);
    if (!reason.isEmpty())
        return reason;
    const PlcMemory &memory = *slave.memory(numbers.at(0));
    QString text = QLatin1String("ok");
    for (int number = first; number < first + count; ++number) {
        const int value = areCoils ? memory.coil(number) : memory.holdingRegister(number);
        text += QLatin1Char(' ') + QString::number(value);
    }
    return text;
}

QString Control::setCell(bool isCoil, const QList<int> &numbers)
{
    const int number = numbers.at(1), value = numbers.at(2);
    QString reason = outside("NUMBER", number, 0, PlcMemory::Cells - 1);
    if (reason.isEmpty())
        reason = outside("VALUE", value, 0, isCoil ? 1 : 65535);
    if (!reason.isEmpty())
        return reason;
    PlcMemory &memory = *slave.memory(numbers.at(0));
    if (isCoil)
        memory.setCoil(number, value);
    else
        memory.setHoldingRegister(number, quint16(value));
    return QLatin1String("ok");
}

QString Control::statistics() const
{
    const SlaveStatistics &counted = slave.statistics();
    return QString::fromLatin1("ok requests=%1 replies=%2 exceptions=%3 broadcasts=%4 other-stations=%5 "
                               "garbage-bytes=%6 swallowed-bytes=%7")
        .arg(counted.requests)
        .arg(counted.replies)
        .arg(counted.exceptions)
        .arg(counted.broadcasts)
        .arg(counted.otherStations)
        .arg(counted.garbageBytes)
        .arg(wire.swallowedBytes());
}

QString Control::addFault(const QString &text)
{
    FaultRule rule;
    QString reason;
    if (!FaultRule::parse(text, &rule, &reason))
        return error(reason);
    faults.add(rule);
    return QLatin1String("ok");
}

QString Control::ledger() const
{
    QString text = QLatin1String("ok");
    const QMap<QString, qint64> totals = faultTotals(faults.ledger());
    for (auto total = totals.begin(); total != totals.end(); ++total)
        text += QString::fromLatin1(" %1=%2").arg(total.key()).arg(total.value());
    return text;
}

QString Control::vanish(int milliseconds)
{
    QString reason = outside("MS", milliseconds, 1, LongestVanish);
    if (!reason.isEmpty())
        return reason;
    wire.takePortAway(moment(), milliseconds);
    return QLatin1String("ok");
}

QString Control::dump(int station, const QString &fileName)
{
    const PlcMemory &memory = *slave.memory(station);
    QByteArray text("kind,number,value\n");
    for (int number = 0; number < PlcMemory::Cells; ++number)
        if (coilsExist(number, 1) && memory.coil(number))
            text += "coil," + QByteArray::number(number) + ",1\n";
    for (int number = 0; number < PlcMemory::Cells; ++number)
        if (registersExist(number, 1) && memory.holdingRegister(number))
            text += "register," + QByteArray::number(number) + ',' + QByteArray::number(memory.holdingRegister(number))
                    + '\n';
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        return error(QString::fromLatin1("cannot write %1: %2").arg(fileName, file.errorString()));
    return QLatin1String("ok");
}
