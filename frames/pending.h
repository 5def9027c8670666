/// The transaction that the builders put together.
#pragma once

#include "driver/records.h"

/// What a frame expects back.
struct ExpectedReply {
    int length;
    int dataOffset;
    int dataLen;
};

enum {
    EchoLength = 8,   ///< The echo of a Modbus write.
    ReplyFraming = 5, ///< Bytes of a Modbus read reply besides its data.
    ReplyData = 3     ///< Index of its first data byte.
};

/// The reply to a read of dataLen bytes; none from the broadcast station.
ExpectedReply readReply(int station, qint64 dataLen);
/// The echo of a write; none from the broadcast station.
ExpectedReply writeReply(int station);

/// Appends a frame to protocolList.
void appendPending(const QByteArray &frame, const ExpectedReply &reply, const RW_VAR &var);
/// Starts counting the answered frames of the transaction.
void startTransaction(int frames);
/// True for an entry that asks for more elements than one call may make.
bool exceedsElementLimit(const RW_VAR &entry);
