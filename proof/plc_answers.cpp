#include "proof/plc_answers.h"

namespace {

enum { WriteMultiple = 0x10, RemoteWrite = 1 };
enum { LocalData = 7, CrcBytes = 2, RemoteData = 21, SumByte = 1 }; // where values begin, and what ends a frame

unsigned byteOf(const QByteArray &bytes, int index)
{
    return static_cast<unsigned char>(bytes.at(index));
}

unsigned wordOf(const QByteArray &bytes, int index)
{
    return byteOf(bytes, index) << 8 | byteOf(bytes, index + 1);
}

quint16 modbusCrc(const QByteArray &bytes, int len)
{
    quint16 crc = 0xFFFF;
    for (int i = 0; i < len; ++i) {
        crc ^= byteOf(bytes, i);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? quint16(crc >> 1 ^ 0xA001) : quint16(crc >> 1);
    }
    return crc;
}

bool staysInOnePiece(const QByteArray &frame)
{
    const unsigned first = wordOf(frame, 2);
    const unsigned last = first + wordOf(frame, 4) - 1;
    return first < 9000 || first > 9255 || last <= 9255;
}

bool isSoundLocal(const QByteArray &frame)
{
    const int body = frame.size() - CrcBytes;
    if (body < 6)
        return false;
    const quint16 crc = modbusCrc(frame, body);
    if (byteOf(frame, body) != (crc & 0xFFu) || byteOf(frame, body + 1) != unsigned(crc >> 8))
        return false;
    return byteOf(frame, 1) != WriteMultiple
           || (staysInOnePiece(frame) && isUniform(frame.mid(LocalData, body - LocalData)));
}

bool isSoundRemote(const QByteArray &frame)
{
    const int body = frame.size() - SumByte;
    if (body < RemoteData || byteOf(frame, 0) != (unsigned(frame.size()) & 0xFFu))
        return false;
    unsigned sum = 0;
    for (int i = 0; i < body; ++i)
        sum += byteOf(frame, i);
    if (byteOf(frame, body) != (sum & 0xFFu))
        return false;
    const bool severalBytes = body - RemoteData > 1;
    return byteOf(frame, 2) != RemoteWrite || !severalBytes || isUniform(frame.mid(RemoteData, body - RemoteData));
}

} // namespace

QByteArray replyTo(const Protocol &request, unsigned value)
{
    if (request.replyLen == 0)
        return QByteArray();
    QByteArray reply = request.frame.left(request.dataLen > 0 ? 2 : 6);
    if (request.dataLen > 0) {
        reply.append(static_cast<char>(request.dataLen));
        while (reply.size() < request.replyLen - CrcBytes)
            reply.append(static_cast<char>(reply.size() % 2 == 1 ? value >> 8 : value));
    }
    const quint16 crc = modbusCrc(reply, reply.size());
    reply.append(static_cast<char>(crc));
    reply.append(static_cast<char>(crc >> 8));
    return reply;
}

bool isUniform(const QByteArray &words)
{
    if (words.size() < 2 || words.size() % 2 != 0)
        return false;
    for (int i = 2; i < words.size(); ++i) {
        if (words.at(i) != words.at(i - 2))
            return false;
    }
    return true;
}

bool isSoundFrame(const Protocol &request)
{
    // Either form: settings may be taken away while a frame is in flight, and the next is a local one then.
    return request.frame.size() == request.frameLen && (isSoundLocal(request.frame) || isSoundRemote(request.frame));
}
