#include "sim/live_file.h"

#include "sim/areas.h"
#include "sim/toml_problems.h"

#include <QtCore/QFile>
#include <QtCore/QSet>

namespace {

enum { DayInMilliseconds = 24 * 60 * 60 * 1000 };

/// Reads whole files into a slave.
class LiveFileReader {
public:
    LiveFileReader(Slave &slave, TomlProblems &problems) : slave(slave), problems(problems) {}

    void read(const toml::table &file);

private:
    enum class Space { Coils, Registers };

    void readStation(const toml::table &table);
    void readEpochs(const toml::table &table, PlcMemory &memory);
    void readCells(const toml::table &station, Space space, PlcMemory &memory);
    void readCell(const toml::node &value, const QString &key, Space space, int number, PlcMemory &memory);
    void readStuck(const toml::table &station, PlcMemory &memory);
    void readLive(const toml::table &station, PlcMemory &memory);
    void readLiveCell(const toml::table &table, PlcMemory &memory);
    bool readLiveNumber(const toml::table &table, const char *key, const LiveCell &cell, int *number);

    Slave &slave;
    TomlProblems &problems;
    QSet<int> stationsRead;
    QSet<int> cellsRead; ///< Of the table of coils or registers that is being read.
};

void LiveFileReader::read(const toml::table &file)
{
    const QString expected = QStringLiteral("one table [[station]] or more");
    problems.addUnknownKeys(file, QString(), {QStringLiteral("station")});
    const toml::node *const stations = file.get("station");
    const toml::array *const tables = stations ? stations->as_array() : nullptr;
    if (!tables || tables->empty()) {
        problems.add(file, "station", QString(), expected);
        return;
    }
    for (const toml::node &station : *tables) {
        if (station.is_table())
            readStation(*station.as_table());
        else
            problems.add(station, QStringLiteral("station"), expected);
    }
}

void LiveFileReader::readStation(const toml::table &table)
{
    const QString path = QStringLiteral("station.");
    problems.addUnknownKeys(table, path,
                            {QStringLiteral("number"), QStringLiteral("epochs"), QStringLiteral("coils"),
                             QStringLiteral("registers"), QStringLiteral("stuck"), QStringLiteral("live")});
    PlcMemory unused(0); // The rest of a station without a number is read all the same, for its problems.
    PlcMemory *memory = &unused;
    int number = 0;
    if (problems.readNumber(table, "number", path, 1, 247, QStringLiteral("a station"), &number)) {
        if (stationsRead.contains(number))
            problems.add(table, "number", path, QStringLiteral("a station that the file has only once"));
        stationsRead.insert(number);
        memory = slave.addStation(number);
    }
    // Epochs first: what is written after them keeps its value.
    readEpochs(table, *memory);
    readCells(table, Space::Coils, *memory);
    readCells(table, Space::Registers, *memory);
    readStuck(table, *memory);
    readLive(table, *memory);
}

void LiveFileReader::readEpochs(const toml::table &table, PlcMemory &memory)
{
    const toml::node *const node = table.get("epochs");
    if (!node)
        return;
    const toml::value<bool> *const epochs = node->as_boolean();
    if (!epochs)
        problems.add(table, "epochs", QStringLiteral("station."), QStringLiteral("true or false"));
    else if (epochs->get())
        memory.showEpochs();
}

void LiveFileReader::readCells(const toml::table &station, Space space, PlcMemory &memory)
{
    const char *const name = space == Space::Coils ? "coils" : "registers";
    const toml::node *const node = station.get(name);
    if (!node)
        return;
    const toml::table *const cells = node->as_table();
    if (!cells) {
        problems.add(station, name, QStringLiteral("station."), QStringLiteral("a table of NUMBER = VALUE"));
        return;
    }
    cellsRead.clear();
    for (const auto &[key, value] : *cells) {
        const QString text = asText(key.str()),
                      path = QString::fromLatin1("station.%1.%2").arg(QLatin1String(name), text);
        const int first = text.toInt();
        if (QString::number(first) != text || first < 0) {
            problems.add(key.source(), path, text, QStringLiteral("a number as the key"));
            continue;
        }
        const toml::array *const list = value.as_array();
        if (!list)
            readCell(value, path, space, first, memory);
        else if (list->empty())
            problems.add(value, path, QStringLiteral("one value or more"));
        for (size_t i = 0; list && i < list->size() && i < PlcMemory::Cells; ++i)
            readCell((*list)[i], path, space, int(qMin<qint64>(qint64(first) + qint64(i), PlcMemory::Cells)), memory);
    }
}

void LiveFileReader::readCell(const toml::node &value, const QString &key, Space space, int number, PlcMemory &memory)
{
    const bool isCoil = space == Space::Coils;
    const QString cell = QLatin1String(isCoil ? "coil" : "register");
    if (!(isCoil ? coilsExist(number, 1) : registersExist(number, 1))) {
        problems.add(
            value, key,
            QString::fromLatin1("a %1 that the PLC has, where %2 is meant").arg(cell, QString::number(number)));
        return;
    }
    if (cellsRead.contains(number))
        problems.add(value, key,
                     QString::fromLatin1("one value for %1 %2, not two").arg(cell, QString::number(number)));
    cellsRead.insert(number);
    const toml::value<bool> *const on = value.as_boolean();
    const toml::value<int64_t> *const word = value.as_integer();
    if (isCoil && on)
        memory.setCoil(number, on->get());
    else if (isCoil)
        problems.add(value, key, QStringLiteral("true or false"));
    else if (word && word->get() >= -32768 && word->get() <= 65535)
        memory.setHoldingRegister(number, quint16(word->get()));
    else
        problems.add(value, key, QStringLiteral("a whole number from -32768 to 65535"));
}

void LiveFileReader::readStuck(const toml::table &station, PlcMemory &memory)
{
    const QString expected = QStringLiteral("a list of numbers of coils and registers that the PLC has");
    const toml::array *const numbers = problems.readList(station, "stuck", QStringLiteral("station."), expected);
    if (!numbers)
        return;
    for (const toml::node &each : *numbers) {
        const toml::value<int64_t> *const value = each.as_integer();
        const int number = value && value->get() >= 0 && value->get() < PlcMemory::Cells ? int(value->get()) : -1;
        if (coilsExist(number, 1) || registersExist(number, 1))
            memory.addStuckCell(number);
        else
            problems.add(each, QStringLiteral("station.stuck"), expected);
    }
}

void LiveFileReader::readLive(const toml::table &station, PlcMemory &memory)
{
    const QString expected = QStringLiteral("one table [[station.live]] or more");
    const toml::array *const tables = problems.readList(station, "live", QStringLiteral("station."), expected);
    if (!tables)
        return;
    for (const toml::node &each : *tables) {
        if (each.is_table())
            readLiveCell(*each.as_table(), memory);
        else
            problems.add(each, QStringLiteral("station.live"), expected);
    }
}

void LiveFileReader::readLiveCell(const toml::table &table, PlcMemory &memory)
{
    const QString path = QStringLiteral("station.live.");
    problems.addUnknownKeys(
        table, path,
        {QStringLiteral("kind"), QStringLiteral("number"), QStringLiteral("period_ms"), QStringLiteral("source")});
    LiveCell cell;
    const toml::node *const kind = table.get("kind");
    const toml::value<std::string> *const name = kind ? kind->as_string() : nullptr;
    if (!name || !LiveCell::kindByName(asText(name->get()), &cell.kind)) {
        problems.add(table, "kind", path, QLatin1String("one of ") + LiveCell::kindNames());
        return;
    }
    bool isGood = readLiveNumber(table, "number", cell, &cell.number);
    if (cell.isEcho())
        isGood = readLiveNumber(table, "source", cell, &cell.source) && isGood;
    const char *const other = cell.isEcho() ? "period_ms" : "source";
    if (table.contains(other)) {
        problems.add(table, other, path, QString::fromLatin1("no such key with the kind %1").arg(asText(name->get())));
        isGood = false;
    } else if (table.contains("period_ms")) {
        isGood = problems.readNumber(table, "period_ms", path, 1, DayInMilliseconds, QStringLiteral("milliseconds"),
                                     &cell.periodMilliseconds)
                 && isGood;
    }
    if (isGood)
        memory.addLiveCell(cell);
}

bool LiveFileReader::readLiveNumber(const toml::table &table, const char *key, const LiveCell &cell, int *number)
{
    const toml::node *const node = table.get(key);
    const toml::value<int64_t> *const value = node ? node->as_integer() : nullptr;
    if (value && value->get() >= 0 && value->get() < PlcMemory::Cells && cell.fitsAt(int(value->get()))) {
        *number = int(value->get());
        return true;
    }
    problems.add(table, key, QStringLiteral("station.live."),
                 QString::fromLatin1("the number of %1 that the PLC has").arg(cell.cellName()));
    return false;
}

} // namespace

void parseLiveFile(const QByteArray &text, const QString &fileName, Slave &slave, QStringList *problems)
{
    TomlProblems found(fileName);
    const toml::parse_result parsed = toml::parse(std::string_view(text.constData(), size_t(text.size())));
    if (parsed)
        LiveFileReader(slave, found).read(parsed.table());
    else
        found.add(parsed.error().source(), QStringLiteral("syntax"), asText(parsed.error().description()),
                  QStringLiteral("TOML"));
    *problems += found.all();
}

void readLiveFile(const QString &fileName, Slave &slave, QStringList *problems)
{
    QFile file(fileName);
    if (file.open(QIODevice::ReadOnly))
        parseLiveFile(file.readAll(), fileName, slave, problems);
    else
        *problems << QString::fromLatin1("%1: %2: expected a file that can be read").arg(fileName, file.errorString());
}
