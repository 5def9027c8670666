/// Checks a reply to the frame in flight, has it stored, and turns the outcome into a result code.
#pragma once

#include "driver/records.h"

/// What became of a reply; GetDriverReturnValue maps it to a result code.
enum ReplyKind {
    ReplyGood = 0,
    ReplyRejected = 1,
    ReplyMissing = 2,
    ReplyWrongLength = 3,
    RemoteReplyAcknowledged = 4,
    RemoteReplyRejected = 5,
    RemoteReplyMissing = 6,
    RemoteReplyWrongLength = 7
};

/// What CheckGetData thinks of a reply.
enum ReplyCheck { CheckRejected = 0, CheckGoodToStore = 1, CheckGoodNothingToStore = 2 };

/// Result codes that are not spread over connections.
enum ResultCode { ResultRepeatPending = 0, ResultGood = 1, ResultAcknowledged = 100, ResultUnknown = 200 };

/// A ReplyCheck for len received bytes, by length, CRC and the request's rwFlag. All of these need a frame in flight.
int CheckGetData(QByteArray *reply, int len);
/// Result code of a reply from the panel's own PLC; stores read data under imageMutex.
int DealDataOfLocalArea(QByteArray *reply, int len);
/// Result code of a reply from another panel's PLC; stores without imageMutex, on purpose.
int DealDataOfRemoteArea(QByteArray *reply, int len);
/// Result code of a ReplyKind.
int GetDriverReturnValue(int kind);
/// base + 1 + connectNo of the frame in flight; base + 1 when that number is not 0..11.
int SwitchErrorReturn(int base);
/// Copies a finished request for the host: everything but its value bytes, which are emptied.
void passRetValue(const RW_VAR &from, RW_VAR &to);
