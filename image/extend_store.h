/// The keyed store: values of several stations, one record a key, in order of first use.
/// REQUIRES: the lock of store_lock.h held.
#pragma once

#include <QtCore/QByteArray>

/// Position in extendVarList of the first record with this key; appended, with two zero bytes, when there is none.
int ExtendFindSameVar(int station, int devType, int address);
/// The same for an address that a count has been added to: -1 when it has left an int.
int findKeyed(int station, int devType, qint64 address);

/// Value bytes of the record at a position that one of these has returned.
const QByteArray &extendData(int index);
/// Replaces them.
void setExtendData(int index, const QByteArray &data);
