/// Modbus write requests. All append to protocolList and start a transaction.
/// REQUIRES: listMutex held, protocolList empty.
#pragma once

#include "driver/records.h"

/// Builds the write of an entry, then mirrors it into the image unless the last reply was bad. Does nothing at all for
/// a code that cannot be written, a count above ElementLimit, a frame above FrameLimit, or a count so negative that the
/// frame would not hold its CRC.
void WriteRegister(const RW_VAR *entry);
/// Function 05, one coil: on only when the first data byte is exactly 1.
void WriteBool(const RW_VAR *entry);
/// Function 06 for a count of 1, function 10 otherwise.
void WriteAnalog(const RW_VAR *entry);
/// Function 10, two registers a value.
void WriteAnalogDword(const RW_VAR *entry);
/// Two frames: function 03 reads the word, function 06 writes it back; the reply handling puts the bit into the second.
void WriteAnalog_Bit(const RW_VAR *entry);
