/// Device-type codes and address text.
#pragma once

#include <QtCore/QString>

/// The base type that a code is read and stored as; 0 for numbers that are no codes.
int get_type(int devType);
/// The element address of an address text, by the rules of its code; -1 when it cannot be parsed. A negative result of
/// any kind means that the address cannot be used.
int StringAddressToInt(int devType, const QString &text);
