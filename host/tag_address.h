/// Numbers and address texts of a tag file, read more strictly than the driver does.
#pragma once

#include "host/device_types.h"

/// Digits only, unlike toInt: no sign, no blanks. -1 for anything else; beyond an int, a number that no area has.
int digitsToInt(const QString &text, int radix);
/// The element that an address text names, wherever it is. False, with what was expected, when the text is no address
/// of the type. Bits of a word end at 15, although the driver goes on into the next word.
bool readAddress(const DeviceType &type, const QString &text, int *element, QString *expected);
int firstElement(const DeviceType &type);
int lastElement(const DeviceType &type);
