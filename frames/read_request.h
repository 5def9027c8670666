/// Modbus read requests. All append to protocolList and start a transaction of one frame.
/// REQUIRES: listMutex held, protocolList empty.
#pragma once

#include "driver/records.h"

/// Builds the read of an entry; nothing for a code that is not a base type or a count above ElementLimit.
void ReadRegister(const RW_VAR *entry);
/// Function 01: count is in groups of eight coils.
void ReadBool(const RW_VAR *entry);
/// Function 03: count is in registers, for code 13 in pairs of them.
void ReadAnalog(const RW_VAR *entry);
