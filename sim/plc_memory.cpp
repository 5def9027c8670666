#include "sim/plc_memory.h"

#include "sim/areas.h"

#include <QtCore/QStringList>

#include <cmath>

namespace {

const double FullTurn = 6.283185307179586;

struct KindTrait {
    LiveCell::Kind kind;
    const char *name;
    int periodMilliseconds;
};

const KindTrait Kinds[] = {{LiveCell::Counter, "counter", 100}, {LiveCell::Counter32, "counter32", 1},
                           {LiveCell::Ramp, "ramp", 10000},     {LiveCell::Sine, "sine", 4000},
                           {LiveCell::Toggle, "toggle", 700},   {LiveCell::Echo, "echo", 0},
                           {LiveCell::CoilEcho, "coil-echo", 0}};

quint32 scrambled(quint32 x)
{
    x = (x ^ x >> 16) * 0x7FEB352DU;
    x = (x ^ x >> 15) * 0x846CA68BU;
    return x ^ x >> 16;
}

/// Every 16-bit number gives another one.
quint32 shuffled(quint32 x)
{
    x &= 0xFFFF;
    x = (x ^ x >> 8) * 0x88B5 & 0xFFFF;
    x = (x ^ x >> 7) * 0xDB2D & 0xFFFF;
    return x ^ x >> 9;
}

int periodOf(const LiveCell &cell)
{
    return cell.periodMilliseconds > 0 ? cell.periodMilliseconds : Kinds[cell.kind].periodMilliseconds;
}

/// A whole number; -1 for anything else and for one below 0.
int numberOf(const QString &text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number >= 0 ? number : -1;
}

} // namespace

bool LiveCell::kindByName(const QString &name, Kind *kind)
{
    for (const KindTrait &trait : Kinds) {
        if (name == QLatin1String(trait.name)) {
            *kind = trait.kind;
            return true;
        }
    }
    return false;
}

QString LiveCell::kindNames()
{
    QStringList names;
    for (const KindTrait &trait : Kinds)
        names << QLatin1String(trait.name);
    return names.join(QLatin1String(", "));
}

bool LiveCell::fitsAt(int number) const
{
    return isCoil() ? coilsExist(number, 1) : registersExist(number, kind == Counter32 ? 2 : 1);
}

QString LiveCell::cellName() const
{
    return QLatin1String(isCoil() ? "a coil" : kind == Counter32 ? "two registers" : "a register");
}

bool LiveCell::parse(const QString &text, LiveCell *cell, QString *error)
{
    const QStringList parts = text.split(QLatin1Char('@'));
    LiveCell read;
    if (parts.size() != 2 || !kindByName(parts.at(0), &read.kind)) {
        *error = QString::fromLatin1("'%1': expected KIND@NUMBER, the kind one of %2").arg(text, kindNames());
        return false;
    }
    const QStringList numbers = parts.at(1).split(QLatin1Char('='));
    if (numbers.size() != (read.isEcho() ? 2 : 1)) {
        *error = QString::fromLatin1("'%1': expected %2@NUMBER%3")
                     .arg(text, parts.at(0), QLatin1String(read.isEcho() ? "=SOURCE" : ""));
        return false;
    }
    read.number = numberOf(numbers.first());
    read.source = read.isEcho() ? numberOf(numbers.last()) : 0;
    if (!read.fitsAt(read.number) || (read.isEcho() && !read.fitsAt(read.source))) {
        *error = QString::fromLatin1("'%1': expected the number of %2 that the PLC has").arg(text, read.cellName());
        return false;
    }
    *cell = read;
    return true;
}

PlcMemory::PlcMemory(int station) : station(station), coils(Cells), registers(Cells)
{
    const quint32 place = quint32(station) << 17;
    for (int number = 0; number < Cells; ++number) {
        registers[number] = quint16(scrambled(place | quint32(number)));
        coils[number] = scrambled(place | Cells | quint32(number)) & 1;
    }
}

bool PlcMemory::coil(int number) const
{
    if (epochs && !writtenCoils.contains(number))
        return epochCoil(station, number, currentEpoch);
    return coils.at(number);
}

int PlcMemory::holdingRegister(int number) const
{
    if (epochs && !writtenRegisters.contains(number))
        return epochRegister(station, number, currentEpoch);
    return registers.at(number);
}

void PlcMemory::setCoil(int number, bool on)
{
    coils[number] = on;
    if (epochs)
        writtenCoils.insert(number);
}

void PlcMemory::setHoldingRegister(int number, quint16 value)
{
    registers[number] = value;
    if (epochs)
        writtenRegisters.insert(number);
}

void PlcMemory::writeCoil(int number, bool on)
{
    if (!stuck.contains(number))
        setCoil(number, on);
}

void PlcMemory::writeRegister(int number, quint16 value)
{
    if (!stuck.contains(number))
        setHoldingRegister(number, value);
}

void PlcMemory::advanceTo(qint64 milliseconds)
{
    // Echoes last, so that the echo of a live cell is not one step behind it.
    for (const bool echoes : {false, true})
        for (const LiveCell &cell : qAsConst(live))
            if (cell.isEcho() == echoes)
                advance(cell, milliseconds);
}

void PlcMemory::advance(const LiveCell &cell, qint64 milliseconds)
{
    const int number = cell.number, period = periodOf(cell);
    switch (cell.kind) {
    case LiveCell::Counter:
        setHoldingRegister(number, quint16(milliseconds / period));
        break;
    case LiveCell::Counter32:
        setHoldingRegister(number, quint16(milliseconds / period >> 16));
        setHoldingRegister(number + 1, quint16(milliseconds / period));
        break;
    case LiveCell::Ramp:
        setHoldingRegister(number, quint16(milliseconds % period * 1000 / period));
        break;
    case LiveCell::Sine:
        setHoldingRegister(number,
                           quint16(std::lround(1000 * std::sin(double(milliseconds % period) * FullTurn / period))));
        break;
    case LiveCell::Toggle:
        setCoil(number, milliseconds / period % 2);
        break;
    case LiveCell::Echo:
        setHoldingRegister(number, quint16(holdingRegister(cell.source)));
        break;
    case LiveCell::CoilEcho:
        setCoil(number, coil(cell.source));
        break;
    }
}

void PlcMemory::showEpochs()
{
    epochs = true;
    writtenCoils.clear();
    writtenRegisters.clear();
}

quint16 PlcMemory::epochRegister(int station, int number, int epoch)
{
    // Odd factors: each of the three alone runs through all values before it repeats one.
    const quint32 place = shuffled(shuffled(quint32(number)) + quint32(station) * 0x3C6F);
    return quint16(place + quint32(epoch) * 0x9E35);
}

bool PlcMemory::epochCoil(int station, int number, int epoch)
{
    const quint32 place = scrambled(quint32(station) << 17 | Cells | quint32(number));
    return scrambled(place + quint32(epoch) * 0x9E3779B9U) & 1;
}
