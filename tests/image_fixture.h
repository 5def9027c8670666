/// The image areas and the keyed store as text.
#pragma once

#include "tests/driver_fixture.h"

/// Every element of the whole image that is not 0, "word7[10]=1234 dword13[5]=00010002".
QString image();
/// "station/devType/address=bytes" of each record of the keyed store, separated by commas.
QString store();
/// A record of the keyed store.
EXTENDVAR record(int station, int devType, int address, const char *data = "00 00");
