/// The transaction that the builders put together.
#pragma once

#include "driver/limits.h"
#include "driver/records.h"
#include "driver/settings.h"

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
inline ExpectedReply readReply(int station, qint64 dataLen)
{
    if (station == 0)
        return {0, 0, 0};
    return {clampToInt(dataLen + ReplyFraming), ReplyData, clampToInt(dataLen)};
}

/// The echo of a write; none from the broadcast station.
inline ExpectedReply writeReply(int station)
{
    return {station == 0 ? 0 : int(EchoLength), 0, 0};
}

/// Appends a record to protocolList. Returns its frame, an array of length bytes that the caller writes.
QByteArray &appendPending(const RW_VAR &var, const ExpectedReply &reply, int length);
/// Takes the answered frame out of protocolList.
void removeAnswered();

/// Starts counting the answered frames of the transaction.
inline void startTransaction(int frames)
{
    setSetting(&COMINFO::frameDone, 0);
    setSetting(&COMINFO::frameTotal, frames);
}

/// True for an entry that asks for more elements than one call may make.
inline bool exceedsElementLimit(const RW_VAR &entry)
{
    return entry.count > ElementLimit;
}
