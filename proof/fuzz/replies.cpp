#include "proof/fuzz/replies.h"

#include "driver/bytes.h"
#include "driver/checksum.h"
#include "driver/limits.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/fresh_driver.h"

namespace {

enum { CrcLength = 2, LongestExcess = 40 };

unsigned crcOf(const QByteArray &bytes, int size)
{
    return CalCRC(reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData())),
                  static_cast<unsigned short>(size));
}

void seal(QByteArray &reply)
{
    if (reply.size() >= CrcLength)
        putLittleEndianWord(reply.data() + reply.size() - CrcLength, crcOf(reply, reply.size() - CrcLength));
}

/// The driver takes a reply whose stated length is one more than its bytes, the last counting as 0. False when the high
/// byte of the CRC cannot be made 0.
bool sealOneShort(QByteArray &reply)
{
    const int covered = reply.size() - 1;
    for (int i = 0; covered > 0 && i < 256; ++i) {
        reply[covered - 1] = char(i);
        const unsigned crc = crcOf(reply, covered);
        if (highByte(crc) == 0) {
            reply[covered] = char(lowByte(crc));
            return true;
        }
    }
    return false;
}

QByteArray filled(Input &input, int size)
{
    QByteArray reply = input.bytes(size);
    // What the input does not give is a pattern, so that a long reply does not ask for a long input.
    for (int i = reply.size(); i < size; ++i)
        reply.append(char(i * 7 + 1));
    return reply;
}

/// The head that a PLC gives a reply: station, function, length.
void putHead(QByteArray &reply, const Protocol &request)
{
    for (int i = 0; i < qMin(2, qMin(reply.size(), request.frame.size())); ++i)
        reply[i] = request.frame.at(i);
    if (reply.size() > 2 && request.var.rwFlag == 0)
        reply[2] = char(request.dataLen);
}

} // namespace

Reply makeReply(Input &input, Squeezed &squeezed, const Protocol &request, int longest)
{
    enum Kind {
        Right,
        Raw,
        Unsealed,
        OtherLength,
        OneShort,
        Exception,
        Silence,
        Missing,
        AnyLength,
        Cut,
        Roomy,
        Kinds
    };
    const int kind = input.below(2 * Kinds);
    const int wanted = request.replyLen < 0 ? input.below(LongestExcess) : qMin(request.replyLen, longest);
    Reply result;
    QByteArray reply;
    switch (kind) {
    case Silence:
        break;
    case Missing:
        result.isMissing = true;
        result.len = input.oneIn(2) ? request.replyLen : input.anyInt();
        return result;
    case Raw:
        reply = filled(input, wanted);
        seal(reply);
        break;
    case Unsealed:
        reply = filled(input, wanted);
        break;
    case OtherLength:
        reply = filled(input, qMax(0, wanted + input.below(16) - 8));
        seal(reply);
        break;
    case OneShort:
        reply = filled(input, qMax(0, wanted - 1));
        if (!sealOneShort(reply))
            seal(reply);
        result.len = 1;
        break;
    case Exception:
        reply = filled(input, 5);
        seal(reply);
        break;
    case AnyLength:
        reply = filled(input, input.below(LongestExcess));
        seal(reply);
        result.len = input.anyInt() / 2;
        break;
    case Cut:   // fewer bytes than are stated
    case Roomy: // more, in an array that the host uses for every reply
        reply = filled(input, wanted);
        putHead(reply, request);
        seal(reply);
        reply = kind == Cut ? reply.left(input.below(wanted + 1)) : reply + input.bytes(8);
        result.len = wanted - reply.size();
        break;
    default:
        reply = filled(input, wanted);
        putHead(reply, request);
        seal(reply);
        break;
    }
    result.len += reply.size();
    result.bytes = squeezed.bytes(reply);
    return result;
}

int Reply::give()
{
    const RW_VAR *const result = DataCom(isMissing ? nullptr : &bytes, len);
    DEMAND(result == &PLC_driver.result);
    DEMAND(isDocumentedResult(result->resultCode));
    DEMAND(result->data.isEmpty());
    return result->resultCode;
}

void demandSoundRequest(const Protocol *request)
{
    DEMAND(request == &PLC_driver.protocolList.first());
    DEMAND(request->frameLen == request->frame.size());
    DEMAND(request->frameLen >= CrcLength && request->frameLen <= FrameLimit);
    DEMAND(PLC_driver.protocolList.size() <= 2);
    DEMAND(request->replyLen == 0 || request->dataOffset == 0 || request->dataOffset == 3);
    DEMAND(ComCommunication() == request);
}
