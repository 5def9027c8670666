/// Requests in the remote format, with a byte sum instead of a CRC. Both append one frame to protocolList.
/// REQUIRES: listMutex held, protocolList empty.
#pragma once

#include "driver/records.h"

/// 22 bytes that describe the variable.
void Remote_ReadVar(const RW_VAR *var);
/// The same with the value bytes, mirrored into the image at once.
void Remote_WriteVar(const RW_VAR *var);
