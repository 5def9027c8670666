/// Compares what came from the line with the request that it should answer.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// CalCRC of the loaded driver.
typedef unsigned short (*CrcFunction)(unsigned char *buf, unsigned short len);

/// A request as it goes over the line, and what its answer must look like.
struct Request {
    QByteArray frame;
    int replyLen = 0;      ///< Bytes; 0 = none comes, -1 = any length.
    int station = 0;       ///< First byte of the reply.
    int function = 0;      ///< Second byte of the reply; 0 = not known (a write in the remote format: 05, 06 or 10).
    bool isRemote = false; ///< The frame is in the remote format: no echoed address and value are known.
};

/// What a reply is, as far as it has come.
enum class ReplyKind {
    Incomplete, ///< Starts like the answer, and more bytes are missing.
    Good,       ///< The answer; ends where the bytes end.
    Exception,  ///< A five-byte exception reply to this request; ends where the bytes end.
    BadCrc,     ///< As long as the answer and starts like it, but the CRC is wrong.
    TooLong,    ///< Starts like the answer, and there are more bytes than it has.
    Foreign,    ///< Starts like no answer to this request: another station, function or byte count, another address or
                ///< value echoed, or the request itself come back.
};

struct ReplyVerdict {
    ReplyKind kind = ReplyKind::Incomplete;
    int start = 0;         ///< Good and Exception: where the answer begins; bytes before it are noise.
    int exceptionCode = 0; ///< Exception only.
    int missing = 0;       ///< Incomplete: bytes that it lacks at least; 0 = not known.
};

/// Judges all bytes that came since the request was sent and its echo removed. The answer may stand behind other bytes
/// when it ends where they end: noise at the start, an older twin joined to it.
ReplyVerdict judgeReply(const Request &request, const QByteArray &bytes, CrcFunction crc);

/// The same with the guard off: by length and CRC only, as the driver does it. Never Exception or Foreign.
ReplyVerdict judgeLength(const Request &request, const QByteArray &bytes, CrcFunction crc);

/// "illegal data address" and the like; "exception code 77" for a code without a name.
QString exceptionText(int code);
