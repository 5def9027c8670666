/// Reads and writes as the host makes them, and their data rows.
#pragma once

#include "tests/image_fixture.h"

/// GetRegisterData.
int readRegister(int devType, const char *addrText, QByteArray *values, int count, int station = 7);
/// The columns of a read row.
void readColumns();
/// A read into an empty array, and what it holds afterwards.
void readRow(const char *name, int devType, const char *addrText, int count, const char *after);
/// A read over an array that holds something already.
void overRow(const char *name, int devType, const char *addrText, int count, const char *before, const char *after);
/// Runs the row's read.
void checkHostRead();
/// Another value in every area, so that a read of the wrong one shows.
void fillImage();
/// The same for the keyed store, on station 7; station 8 has the same keys with other values.
void fillStore();

/// SetRegisterData for connection 4, variable 9.
int writeRegister(int devType, const char *addrText, const QByteArray &data, int count, int station = 7);
/// The write queue as "devType/address/count@station=bytes", separated by commas.
QString queue();
/// The columns of a write row.
void writeColumns();
/// A write, what it returns and what it leaves behind; the test says where to look for that.
void writeRow(const char *name, int devType, const char *addrText, int count, int maxBlockLen, const char *data,
              int returned, const char *after);
/// Runs the row's write and compares what it returned.
void checkHostWrite(DriverFixture &driver);
/// What writes leave behind stays within the limits of queue, store and frame.
void checkWriteBounds();
