/// Where the bits of a raw value are in a tag's host bytes.
#pragma once

#include "host/tags.h"

#include <QtCore/QVector>

int bytesPerValue(const Tag &tag);
/// For each byte of a value, the most significant first, its index in the value's host bytes.
QVector<int> hostPlaces(const Tag &tag);
/// The nearest float; an infinity when the number is beyond all of them.
float nearestFloat(double value);
/// Text of a raw value, scaled: "12.5", "nan", "-inf".
QString scaledText(const Tag &tag, double raw);
