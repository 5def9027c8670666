/// The PLC of the proofs: what it answers, and what it never should be sent.
#pragma once

#include "driver/records.h"

/// A correct reply to a request; every word in it is value. Empty for a broadcast.
QByteArray replyTo(const Protocol &request, unsigned value);

/// True when all words are equal: blocks are only ever written and answered so, and a torn one is not.
bool isUniform(const QByteArray &words);

/// True when the frame has the right seal (CRC, or byte sum in the remote format), its registers are all equal when
/// it writes several, and they lie on one side of the gap between the two pieces of area 9.
bool isSoundFrame(const Protocol &request);
