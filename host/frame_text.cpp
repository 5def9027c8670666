#include "host/frame_text.h"

#include "host/device_types.h"
#include "host/frame_words.h"

namespace words {

namespace {

/// The PLC's name of a number. Inputs are no cells of this PLC.
QString cellOf(int function, int number)
{
    const bool isInput = function == ReadInputs || function == ReadInput;
    const QString cell = isInput ? QString() : cellText(isOfCoils(function), number);
    return cell.isEmpty() ? QStringLiteral("no cell of this PLC") : cell;
}

} // namespace

QString hexText(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QString hexNumber(int number, int digits)
{
    return QString::number(number, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

QString functionText(int function)
{
    const char *name = "unknown function";
    switch (function) {
    case ReadCoils:
        name = "read coils";
        break;
    case ReadInputs:
        name = "read discrete inputs";
        break;
    case ReadHolding:
        name = "read holding registers";
        break;
    case ReadInput:
        name = "read input registers";
        break;
    case WriteCoil:
        name = "write a coil";
        break;
    case WriteRegister:
        name = "write a register";
        break;
    case WriteCoils:
        name = "write coils";
        break;
    case WriteRegisters:
        name = "write registers";
        break;
    }
    return QString::fromLatin1("%1 (%2)").arg(QLatin1String(name), hexNumber(function, 2));
}

bool isOfCoils(int function)
{
    return function == ReadCoils || function == ReadInputs || function == WriteCoil || function == WriteCoils;
}

QString rangeText(int function, int first, int count)
{
    const QString name = isOfCoils(function) ? QStringLiteral("coil") : QStringLiteral("register");
    if (count == 1)
        return QString::fromLatin1("%1 %2 (%3)").arg(name).arg(first).arg(cellOf(function, first));
    const int last = first + count - 1;
    if (count < 1)
        return QString::fromLatin1("no %1s from %2 (%3)").arg(name).arg(first).arg(cellOf(function, first));
    return QString::fromLatin1("%1 %2s from %3 (%4) to %5 (%6)")
        .arg(count)
        .arg(name)
        .arg(first)
        .arg(cellOf(function, first))
        .arg(last)
        .arg(cellOf(function, last));
}

QString wordText(int value)
{
    return QString::fromLatin1("%1 (0x%2)").arg(value).arg(hexNumber(value, 4));
}

QString coilText(int value)
{
    if (value == 0xFF00)
        return QStringLiteral("on");
    return value == 0 ? QStringLiteral("off") : QStringLiteral("neither on nor off, ") + wordText(value);
}

QString stationText(int station)
{
    return station == 0 ? QStringLiteral("all stations (0)") : QString::fromLatin1("station %1").arg(station);
}

QString variableText(int code, int element)
{
    const DeviceType *const type = findDeviceType(code);
    if (type == nullptr || element < 0)
        return QString::fromLatin1("code %1, element %2").arg(code).arg(element);
    return QString::fromLatin1("code %1 at %2").arg(code).arg(addressText(*type, element));
}

} // namespace words
