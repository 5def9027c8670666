/// Modbus RTU requests: where they end, and carrying them out.
#pragma once

#include "sim/plc_memory.h"

#include <QtCore/QByteArray>

enum { LongestModbusRequest = 9 + 255 };

/// Length of the request at the start of the bytes; 0 = too few bytes to tell, -1 = a function of unknown length.
int modbusRequestLength(const QByteArray &bytes);
/// CRC-16 of Modbus behind the bytes, low byte first.
QByteArray withLineCheck(QByteArray bytes);
/// True for a frame that ends in its own CRC.
bool lineCheckIsGood(const QByteArray &frame);

/// Carries out a whole request. Returns the reply without station and CRC.
QByteArray carryOutModbus(PlcMemory &memory, const QByteArray &request);
