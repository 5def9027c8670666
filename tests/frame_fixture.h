/// Built requests as text, and the rows of tests that build Modbus writes.
#pragma once

#include "tests/driver_fixture.h"

/// Frames of the pending list, " + " between them.
QString frames();
/// "frameLen/replyLen/dataOffset/dataLen" of a request.
QString lengths(const Protocol &request);
/// The same of the pending list, " + " between them.
QString lengths();
/// All fifteen fields of a record, in its order, separated by commas.
QString fields(const RW_VAR &var);

/// A write and the frames that it becomes; reply is what lengths() says of them.
struct WriteRow {
    const char *name;
    int devType, address, count, station;
    const char *data, *built, *reply;
};
/// The columns of a WriteRow.
void addWriteColumns();
/// A WriteRow as a data row.
void addWriteRow(const WriteRow &row);
/// The write of the current data row.
RW_VAR writeOfTheRow();
/// Builds the write of the current data row; its one or two frames are a transaction.
void checkBuiltWrite();
/// Nothing is built, the settings stay as they were and nothing is mirrored.
void checkNoWriteIsBuilt(const RW_VAR &entry);
