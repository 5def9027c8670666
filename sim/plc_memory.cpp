#include "sim/plc_memory.h"

#include <QtCore/QStringList>

#include <cmath>

namespace {

const double FullTurn = 6.283185307179586;
const char *const KindNames[] = {"counter", "counter32", "ramp", "sine", "toggle"};

quint32 scrambled(quint32 x)
{
    x = (x ^ x >> 16) * 0x7FEB352DU;
    x = (x ^ x >> 15) * 0x846CA68BU;
    return x ^ x >> 16;
}

int sineAt(qint64 milliseconds)
{
    return int(std::lround(1000 * std::sin(double(milliseconds % 4000) * FullTurn / 4000)));
}

} // namespace

bool LiveCell::parse(const QString &text, LiveCell *cell, QString *error)
{
    const QStringList parts = text.split(QLatin1Char('@'));
    bool isNumber = false;
    const int number = parts.value(1).toInt(&isNumber);
    for (int kind = Counter; kind <= Toggle; ++kind) {
        if (parts.size() != 2 || parts.at(0) != QLatin1String(KindNames[kind]))
            continue;
        const int last = PlcMemory::Cells - (kind == Counter32 ? 2 : 1);
        if (!isNumber || number < 0 || number > last) {
            *error = QString::fromLatin1("'%1': expected a number from 0 to %2 behind the @").arg(text).arg(last);
            return false;
        }
        cell->kind = Kind(kind);
        cell->number = number;
        return true;
    }
    *error = QString::fromLatin1("'%1': expected KIND@NUMBER with counter, counter32, ramp, sine or toggle").arg(text);
    return false;
}

PlcMemory::PlcMemory(int station) : coils(Cells), registers(Cells)
{
    const quint32 place = quint32(station) << 17;
    for (int number = 0; number < Cells; ++number) {
        registers[number] = quint16(scrambled(place | quint32(number)));
        coils[number] = scrambled(place | Cells | quint32(number)) & 1;
    }
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
    for (const LiveCell &cell : qAsConst(live)) {
        switch (cell.kind) {
        case LiveCell::Counter:
            setHoldingRegister(cell.number, quint16(milliseconds / 100));
            break;
        case LiveCell::Counter32:
            setHoldingRegister(cell.number, quint16(milliseconds >> 16));
            setHoldingRegister(cell.number + 1, quint16(milliseconds));
            break;
        case LiveCell::Ramp:
            setHoldingRegister(cell.number, quint16(milliseconds % 10000 / 10));
            break;
        case LiveCell::Sine:
            setHoldingRegister(cell.number, quint16(sineAt(milliseconds)));
            break;
        case LiveCell::Toggle:
            setCoil(cell.number, milliseconds / 700 % 2);
            break;
        }
    }
}
