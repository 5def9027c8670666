/// What the numbers in a frame stand for, as words.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace words {

QString hexText(const QByteArray &bytes);
QString hexNumber(int number, int digits);
QString functionText(int function);
/// Of coils, discrete inputs included; all else is of registers.
bool isOfCoils(int function);
/// Coils or registers with the PLC's names for the first and the last.
QString rangeText(int function, int first, int count);
QString wordText(int value);
/// The second word of a request to write a coil.
QString coilText(int value);
QString stationText(int station);
/// A device-type code and an element of it, as the remote format names them.
QString variableText(int code, int element);

} // namespace words
