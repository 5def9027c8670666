/// The parts of a frame in words; decode.h puts them together.
#pragma once

#include "host/reply_guard.h"

#include <QtCore/QStringList>

namespace words {

enum FrameNumbers {
    ExceptionBit = 0x80,
    ExceptionLength = 5,
    ShortRequest = 8, ///< Length of a request without a byte count, and of the reply to a write.
    ReplyHeader = 3,  ///< Station, function, byte count.
    WriteHeader = 7,  ///< Station, function, address, quantity, byte count.
    CrcLength = 2,
    RemoteFraming = 22, ///< Length of a remote request without values.
    RemoteData = 21,
    LongestFrame = 65535 + CrcLength
};

enum Function {
    ReadCoils = 0x01,
    ReadInputs = 0x02,
    ReadHolding = 0x03,
    ReadInput = 0x04,
    WriteCoil = 0x05,
    WriteRegister = 0x06,
    WriteCoils = 0x0F,
    WriteRegisters = 0x10
};

/// A frame taken apart.
struct FrameWords {
    QString what;
    QStringList numbered; ///< Values with what they belong to.
    QString plain;        ///< Values alone.
    QString check;
    bool isCheckRight = true;
    QStringList wrong;
};

int byteAt(const QByteArray &bytes, int index);
bool isRead(int function);
bool hasValues(int function); ///< Behind a byte count in the request.

/// A request in the remote format: its length fits, and it has no CRC.
bool isRemote(const QByteArray &frame, CrcFunction crc);

// All of these need a frame of at least 4 bytes.
void checkCrc(FrameWords &words, const QByteArray &frame, CrcFunction crc);
void describeRequest(FrameWords &words, const QByteArray &frame);
void describeReply(FrameWords &words, const QByteArray &frame, const QByteArray &request, CrcFunction crc);
void describeRemote(FrameWords &words, const QByteArray &frame);

} // namespace words
