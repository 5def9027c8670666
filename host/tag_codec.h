/// A tag's values as numbers, as text, and as the bytes that the driver takes and gives.
///
/// Host bytes are the driver's: bits one byte each, words low byte first, 32-bit values least significant byte first.
#pragma once

#include "host/tags.h"

#include <QtCore/QJsonValue>

/// Bytes of all of the tag's values.
int hostBytes(const Tag &tag);
/// Raw values, unscaled: 0 or 1, integers, or the float. Empty when bytes are missing.
QVector<double> decode(const Tag &tag, const QByteArray &bytes);
/// Values as a person reads them, scaled: "12.5", "[1 0 1]". A float32 without scale is given by its shortest digits.
QString valueText(const Tag &tag, const QByteArray &bytes);
/// Values for JSON, scaled: a number, or an array when count is above 1; NaN and infinities as strings.
QJsonValue valueJson(const Tag &tag, const QByteArray &bytes);
/// Host bytes of a text that a person typed, "12.5" or "1,0,1". False, with what was expected, when the text is no such
/// value (nan and inf are none) or the raw value does not fit the format; otherwise it is rounded to the nearest one.
bool encode(const Tag &tag, const QString &text, QByteArray *bytes, QString *error);
/// "rounded to 123.5" when the bytes that a text was encoded to are shown as another number than was typed, or as other
/// numbers; otherwise empty.
QString roundingNote(const Tag &tag, const QString &text, const QByteArray &bytes);
