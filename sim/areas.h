/// Which coils and registers the PLC has, and where its areas lie. The simulator's own table.
#pragma once

#include <QtCore/QtGlobal>

/// True when every number first .. first + count - 1 exists; a request for any other cell is answered with the
/// exception "illegal data address". False for a count below 1.
bool coilsExist(int first, int count);
bool registersExist(int first, int count);

/// The Modbus number of an element of a device-type code, as requests of the remote format name it: a bit in a word by
/// word * 16 + bit (the number is that of the word), everything else by its element. -1 when there is none. An area may
/// jump, so that neighbours can have numbers far apart; whether the PLC has the number the two functions above tell.
int modbusNumber(int deviceType, int element);
