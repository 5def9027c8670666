#include "host/frame_words.h"

#include "host/frame_text.h"

namespace words {

namespace {

int wordAt(const QByteArray &bytes, int index)
{
    return byteAt(bytes, index) << 8 | byteAt(bytes, index + 1);
}

int longAt(const QByteArray &bytes, int index)
{
    return int(quint32(wordAt(bytes, index)) << 16 | quint32(wordAt(bytes, index + 2)));
}

/// What is between a frame's header and its CRC.
QByteArray dataOf(const QByteArray &frame, int header)
{
    return frame.size() > header + CrcLength ? frame.mid(header, frame.size() - header - CrcLength) : QByteArray();
}

/// Values of coils or registers; first is the number of the first, -1 when it is not known.
void addValues(FrameWords &words, int function, int first, int count, const QByteArray &data)
{
    const bool coils = isOfCoils(function);
    const int held = coils ? qMin(count, data.size() * 8) : data.size() / 2;
    QStringList plain;
    for (int i = 0; i < held; ++i) {
        const int value = coils ? byteAt(data, i / 8) >> i % 8 & 1 : wordAt(data, 2 * i);
        plain << QString::number(value);
        const QString place =
            first < 0 ? QString::fromLatin1("value %1").arg(i + 1) : rangeText(function, first + i, 1);
        words.numbered << place + QLatin1String(" = ") + (coils ? QString::number(value) : wordText(value));
    }
    words.plain = plain.join(QLatin1Char(' '));
}

void expectLength(FrameWords &words, int expected, int length)
{
    if (length != expected)
        words.wrong << QString::fromLatin1("%1 bytes: expected %2").arg(length).arg(expected);
}

/// Address and what is with it, of a request and of the reply to a write.
void describePlace(FrameWords &words, const QByteArray &frame, int function)
{
    const int number = wordAt(frame, 2), second = wordAt(frame, 4);
    const bool isSingle = function == WriteCoil || function == WriteRegister;
    words.what += QLatin1String(", ") + rangeText(function, number, isSingle ? 1 : second);
    if (function == WriteCoil)
        words.what += QLatin1String(": ") + coilText(second);
    else if (function == WriteRegister)
        words.what += QLatin1String(": ") + wordText(second);
}

bool hasPlace(int function)
{
    return isRead(function) || function == WriteCoil || function == WriteRegister || hasValues(function);
}

int sumOf(const QByteArray &frame)
{
    int sum = 0;
    for (int i = 0; i < frame.size() - 1; ++i)
        sum += byteAt(frame, i);
    return sum & 0xFF;
}

bool isCrcRight(const QByteArray &frame, CrcFunction crc)
{
    FrameWords words;
    checkCrc(words, frame, crc);
    return words.isCheckRight;
}

void describeReadReply(FrameWords &words, const QByteArray &frame, const QByteArray &request)
{
    const int function = byteAt(frame, 1);
    const QByteArray data = dataOf(frame, ReplyHeader);
    expectLength(words, ReplyHeader + byteAt(frame, 2) + CrcLength, frame.size());
    int first = -1, count = data.size() * 8;
    if (request.size() == ShortRequest && byteAt(request, 1) == function) {
        first = wordAt(request, 2);
        count = wordAt(request, 4);
        words.what += QLatin1String(", ") + rangeText(function, first, count);
        const int bytes = isOfCoils(function) ? (count + 7) / 8 : 2 * count;
        if (bytes != byteAt(frame, 2))
            words.wrong << QString::fromLatin1("byte count %1: expected %2").arg(byteAt(frame, 2)).arg(bytes);
    } else {
        words.what += QString::fromLatin1(", %1 bytes").arg(byteAt(frame, 2));
    }
    if (!isOfCoils(function) && data.size() % 2 != 0)
        words.wrong << QStringLiteral("half a register at the end");
    addValues(words, function, first, count, data);
}

void compareWithRequest(FrameWords &words, const QByteArray &frame, const QByteArray &request, bool isRemoteRequest)
{
    const int station = byteAt(request, isRemoteRequest ? 4 : 0);
    if (byteAt(frame, 0) != station)
        words.wrong << QString::fromLatin1("station %1: expected %2").arg(byteAt(frame, 0)).arg(station);
    const int function = byteAt(frame, 1) & ~ExceptionBit;
    if (isRemoteRequest)
        return;
    if (function != byteAt(request, 1))
        words.wrong << QString::fromLatin1("function %1: expected %2")
                           .arg(functionText(function), functionText(byteAt(request, 1)));
    else if (!isRead(function) && frame.size() == ShortRequest && frame.mid(2, 4) != request.mid(2, 4))
        words.wrong
            << QString::fromLatin1("echoes %1: expected %2").arg(hexText(frame.mid(2, 4)), hexText(request.mid(2, 4)));
}

} // namespace

int byteAt(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

bool isRead(int function)
{
    return function >= ReadCoils && function <= ReadInput;
}

bool hasValues(int function)
{
    return function == WriteCoils || function == WriteRegisters;
}

void checkCrc(FrameWords &words, const QByteArray &frame, CrcFunction crc)
{
    QByteArray copy = frame.left(frame.size() - CrcLength);
    const unsigned value =
        crc(reinterpret_cast<unsigned char *>(copy.data()), static_cast<unsigned short>(copy.size()));
    QByteArray right;
    right.append(char(value & 0xFF)).append(char(value >> 8));
    words.isCheckRight = frame.endsWith(right);
    words.check = QString::fromLatin1("CRC %1 is ").arg(hexText(frame.right(CrcLength)));
    words.check += words.isCheckRight ? QStringLiteral("right") : QStringLiteral("wrong: expected ") + hexText(right);
}

void describeRequest(FrameWords &words, const QByteArray &frame)
{
    const int function = byteAt(frame, 1);
    words.what = QString::fromLatin1("request to %1: %2").arg(stationText(byteAt(frame, 0)), functionText(function));
    if (!hasPlace(function))
        return;
    if (frame.size() < ShortRequest) {
        words.wrong << QString::fromLatin1("%1 bytes: expected at least 8").arg(frame.size());
        return;
    }
    describePlace(words, frame, function);
    if (!hasValues(function)) {
        expectLength(words, ShortRequest, frame.size());
        return;
    }
    const int count = wordAt(frame, 4);
    const int bytes = isOfCoils(function) ? (count + 7) / 8 : 2 * count;
    if (byteAt(frame, 6) != (bytes & 0xFF))
        words.wrong << QString::fromLatin1("byte count %1: expected %2").arg(byteAt(frame, 6)).arg(bytes);
    expectLength(words, WriteHeader + bytes + CrcLength, frame.size());
    addValues(words, function, wordAt(frame, 2), count, dataOf(frame, WriteHeader));
}

bool isRemote(const QByteArray &frame, CrcFunction crc)
{
    return frame.size() >= RemoteFraming && frame.size() <= LongestFrame && byteAt(frame, 0) == (frame.size() & 0xFF)
           && byteAt(frame, 2) <= 1 && !isCrcRight(frame, crc);
}

void describeReply(FrameWords &words, const QByteArray &frame, const QByteArray &request, CrcFunction crc)
{
    const int function = byteAt(frame, 1);
    const QString station = stationText(byteAt(frame, 0));
    const bool isRemoteRequest = isRemote(request, crc);
    words.what = QString::fromLatin1("reply of %1: %2").arg(station, functionText(function));
    if ((function & ExceptionBit) != 0) {
        const int code = byteAt(frame, 2);
        words.what = QString::fromLatin1("exception of %1 to %2: %3 (%4)")
                         .arg(station, functionText(function & ~ExceptionBit), exceptionText(code), hexNumber(code, 2));
        expectLength(words, ExceptionLength, frame.size());
    } else if (isRead(function)) {
        describeReadReply(words, frame, isRemoteRequest ? QByteArray() : request);
    } else if (hasPlace(function)) {
        if (frame.size() >= ShortRequest)
            describePlace(words, frame, function);
        expectLength(words, ShortRequest, frame.size());
    }
    if (request.size() > 1)
        compareWithRequest(words, frame, request, isRemoteRequest);
}

void describeRemote(FrameWords &words, const QByteArray &frame)
{
    words.what = QString::fromLatin1("request in the remote format to %1: %2 %3, count %4")
                     .arg(stationText(byteAt(frame, 4)))
                     .arg(byteAt(frame, 2) == 0 ? QStringLiteral("read") : QStringLiteral("write"))
                     .arg(variableText(wordAt(frame, 5), longAt(frame, 7)))
                     .arg(wordAt(frame, 11));
    const QByteArray data = frame.mid(RemoteData, frame.size() - RemoteFraming);
    words.numbered << QString::fromLatin1("length %1").arg(byteAt(frame, 0))
                   << QString::fromLatin1("connection %1").arg(byteAt(frame, 1))
                   << (byteAt(frame, 2) == 0 ? QStringLiteral("read (0)") : QStringLiteral("write (1)"))
                   << QString::fromLatin1("panel station %1").arg(byteAt(frame, 3))
                   << QString::fromLatin1("station %1").arg(byteAt(frame, 4))
                   << QString::fromLatin1("code %1").arg(wordAt(frame, 5))
                   << QString::fromLatin1("element %1").arg(longAt(frame, 7))
                   << QString::fromLatin1("count %1").arg(wordAt(frame, 11))
                   << QString::fromLatin1("sub-index %1").arg(longAt(frame, 13))
                   << QString::fromLatin1("host word %1").arg(longAt(frame, 17))
                   << QString::fromLatin1("data %1").arg(data.isEmpty() ? QStringLiteral("none") : hexText(data));
    words.plain = hexText(data);
    const int sum = sumOf(frame);
    words.isCheckRight = byteAt(frame, frame.size() - 1) == sum;
    words.check = QString::fromLatin1("sum %1 is ").arg(hexText(frame.right(1)));
    words.check += words.isCheckRight ? QStringLiteral("right")
                                      : QStringLiteral("wrong: expected ") + hexText(QByteArray(1, char(sum)));
}

} // namespace words
