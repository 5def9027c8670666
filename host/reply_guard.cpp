#include "host/reply_guard.h"

namespace {

constexpr int ExceptionBit = 0x80;
constexpr int ExceptionLen = 5;
constexpr int ShortestReply = 4; ///< Station, function, CRC.
constexpr int EchoedBytes = 6;   ///< Of a write: station, function, address, value or quantity.
constexpr int ReadOverhead = 5;  ///< Of a read reply: station, function, byte count, CRC.

int byteAt(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

bool isWrite(int function)
{
    return function == 0x05 || function == 0x06 || function == 0x0F || function == 0x10;
}

bool functionFits(const Request &request, int function)
{
    if (request.function != 0)
        return function == request.function;
    return function == 0x05 || function == 0x06 || function == 0x10;
}

/// Compares as many bytes of the header as there are.
bool answerFits(const Request &request, const QByteArray &bytes, int start)
{
    const int count = bytes.size() - start;
    if (count > 0 && byteAt(bytes, start) != (request.station & 0xFF))
        return false;
    if (count > 1 && !functionFits(request, byteAt(bytes, start + 1)))
        return false;
    if (request.replyLen < 0 || request.function == 0)
        return true;
    if (!isWrite(request.function))
        return count < 3 || byteAt(bytes, start + 2) == ((request.replyLen - ReadOverhead) & 0xFF);
    if (request.isRemote)
        return true;
    for (int i = 2; i < qMin(count, qMin(EchoedBytes, request.frame.size())); ++i)
        if (bytes.at(start + i) != request.frame.at(i))
            return false;
    return true;
}

bool exceptionFits(const Request &request, const QByteArray &bytes, int start)
{
    const int count = bytes.size() - start;
    if (count > 0 && byteAt(bytes, start) != (request.station & 0xFF))
        return false;
    if (count < 2)
        return true;
    const int function = byteAt(bytes, start + 1);
    return (function & ExceptionBit) != 0 && functionFits(request, function & ~ExceptionBit);
}

/// True when the bytes from start to the end carry their own CRC.
bool isSealed(const QByteArray &bytes, int start, CrcFunction crc)
{
    const int len = bytes.size() - start;
    if (len < ShortestReply)
        return false;
    // The driver's function takes writable bytes, and only reads them.
    auto *first = reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData())) + start;
    const unsigned short sum = crc(first, static_cast<unsigned short>(len - 2));
    return first[len - 2] == (sum & 0xFF) && first[len - 1] == sum >> 8;
}

// A single write is answered by its own bytes: nothing tells that answer from an echo. Every other request that comes
// back is no answer, and one to a bit read can look like it in every byte.
bool isRequestItself(const Request &request, const QByteArray &bytes, int start)
{
    const bool isSingleWrite =
        isWrite(request.function) && !request.isRemote && request.frame.size() == request.replyLen;
    return !isSingleWrite && bytes.size() - start == request.frame.size() && bytes.endsWith(request.frame);
}

/// Of bytes that start like the answer, and are not it.
ReplyVerdict verdictByLength(int size, int len)
{
    ReplyVerdict verdict;
    verdict.kind = size < len ? ReplyKind::Incomplete : size == len ? ReplyKind::BadCrc : ReplyKind::TooLong;
    verdict.missing = qMax(0, len - size);
    return verdict;
}

} // namespace

ReplyVerdict judgeReply(const Request &request, const QByteArray &bytes, CrcFunction crc)
{
    const int size = bytes.size();
    if (size == 0)
        return {ReplyKind::Incomplete};
    if (request.replyLen == 0)
        return {ReplyKind::Foreign};
    const int len = request.replyLen < 0 ? qMax(size, ShortestReply) : request.replyLen;

    const int answer = size - len;
    if (answer >= 0 && answerFits(request, bytes, answer) && !isRequestItself(request, bytes, answer)
        && isSealed(bytes, answer, crc))
        return {ReplyKind::Good, answer};
    const int exception = size - ExceptionLen;
    if (exception >= 0 && exceptionFits(request, bytes, exception) && isSealed(bytes, exception, crc))
        return {ReplyKind::Exception, exception, byteAt(bytes, exception + 2)};

    if (isRequestItself(request, bytes, 0))
        return {ReplyKind::Foreign};
    if (answerFits(request, bytes, 0))
        return verdictByLength(size, size == 1 ? qMin(len, ExceptionLen) : len);
    // Longer than an exception reply, it may as well be an answer whose function came damaged.
    if (exceptionFits(request, bytes, 0) && size <= ExceptionLen)
        return verdictByLength(size, ExceptionLen);
    return {ReplyKind::Foreign};
}

ReplyVerdict judgeLength(const Request &request, const QByteArray &bytes, CrcFunction crc)
{
    const int size = bytes.size();
    if (size == 0)
        return {ReplyKind::Incomplete};
    const int len = request.replyLen < 0 ? size : request.replyLen;
    if (size == len && isSealed(bytes, 0, crc))
        return {ReplyKind::Good};
    return verdictByLength(size, len);
}

QString exceptionText(int code)
{
    switch (code) {
    case 1:
        return QStringLiteral("illegal function");
    case 2:
        return QStringLiteral("illegal data address");
    case 3:
        return QStringLiteral("illegal data value");
    case 4:
        return QStringLiteral("server device failure");
    case 5:
        return QStringLiteral("acknowledge");
    case 6:
        return QStringLiteral("server device busy");
    case 7:
        return QStringLiteral("negative acknowledge");
    case 8:
        return QStringLiteral("memory parity error");
    case 10:
        return QStringLiteral("gateway path unavailable");
    case 11:
        return QStringLiteral("gateway target device failed to respond");
    default:
        return QStringLiteral("exception code %1").arg(code);
    }
}
