/// Frames as text.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Bytes of spaced hex, "01 03 2F 0C".
QByteArray hex(const char *text);
/// Spaced upper-case hex of bytes.
QString toHex(const QByteArray &bytes);
/// Bytes of spaced hex with their CRC-16/MODBUS behind them, low byte first. Computed here, not by the driver.
QByteArray withCrc(const char *text);
