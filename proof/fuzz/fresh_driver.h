/// The driver as if just loaded, for one execution.
#pragma once

#include "driver/emerson_ec_series.h"

/// Empties it, apart from the image. What it shares with the host is let go of.
void emptyDriver();
/// Zeroes the whole image, which takes longer than most executions.
void clearImage();
/// Zeroes what a request of a code at an address can have changed, for addresses that count elements, bits in bytes, or
/// bits in words.
void clearImageAt(int devType, int address, int elements);
/// True when no element is set.
bool imageIsClear();
/// Ends the process when the driver holds a lock although no call is under way.
void demandLocksFree();
/// Every result code that DataCom may give.
bool isDocumentedResult(int code);

/// Callbacks that look at what they are given.
void noteRequestDone(int channelNo, int connectNo, int varId, int status);
void noteCommFail(QList<RW_VAR> &list, int connectNo, int flag);
