/// Entries of the lists and what becomes of them.
#pragma once

#include "tests/driver_fixture.h"

/// A write with another value in every field.
RW_VAR markedVar(int devType, int address, int count, const QByteArray &data);
/// Every field of a record but address and count, in the order of the record.
QString marks(const RW_VAR &var);

/// A one-shot read as the host asks for it; callerAddress is the address field that the host filled in itself.
RW_VAR onceVar(int devType, const char *addrText, int count, int callerAddress = 0, int station = 1);
/// AddListOnceReadVar.
int askOnce(RW_VAR var, int mode = 0);
/// A one-shot queue of length different reads.
void queueOnceReads(int length);

using Descriptions = QList<VARDESC>;
enum Scope { SingleStation = 0, PerStation = 1 };
/// The cyclic list that the driver builds; single-station grouping uses station 7.
QString built(DriverFixture &driver, int scope, int maxBlockLen, Descriptions descriptions);
/// The columns of a row with descriptions and the list that they become.
void addBuildColumns();
