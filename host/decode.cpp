// parseHex, decodeFrame, decodeShort
#include "host/decode.h"

#include "host/frame_text.h"
#include "host/frame_words.h"

using namespace words;

namespace {

/// A request or the reply to it, by the length that the function asks for.
FrameDirection directionOf(const QByteArray &frame)
{
    const int function = byteAt(frame, 1);
    const bool isShort = frame.size() == ShortRequest;
    if ((function & ExceptionBit) != 0)
        return FrameDirection::Reply;
    if (isRead(function))
        return isShort ? FrameDirection::Request : FrameDirection::Reply;
    if (hasValues(function))
        return isShort ? FrameDirection::Reply : FrameDirection::Request;
    return FrameDirection::Request;
}

/// The other thing that the frame may be when nobody says what it is; empty when there is none.
QString otherMeaning(const QByteArray &frame, CrcFunction crc)
{
    const int function = byteAt(frame, 1);
    if (frame.size() != ShortRequest)
        return QString();
    if (function == WriteCoil || function == WriteRegister)
        return QStringLiteral("or the reply to it: both look the same");
    if ((function == ReadCoils || function == ReadInputs) && byteAt(frame, 2) == ShortRequest - ReplyHeader - CrcLength)
        return QStringLiteral("or a ") + decodeShort(frame, FrameDirection::Reply, crc);
    return QString();
}

FrameWords wordsOf(const QByteArray &frame, FrameDirection direction, CrcFunction crc, const QByteArray &request)
{
    FrameWords words;
    if (frame.size() < ReplyHeader + 1 || frame.size() > LongestFrame) {
        words.what = frame.isEmpty() ? QStringLiteral("no bytes") : QString::fromLatin1("%1 bytes").arg(frame.size());
        words.wrong << QStringLiteral("no frame: expected 4 to %1 bytes").arg(int(LongestFrame));
        words.plain = hexText(frame.left(RemoteFraming));
        return words;
    }
    if (direction != FrameDirection::Reply && isRemote(frame, crc)) {
        describeRemote(words, frame);
        return words;
    }
    const bool isUnknown = direction == FrameDirection::Unknown;
    if ((isUnknown ? directionOf(frame) : direction) == FrameDirection::Request)
        describeRequest(words, frame);
    else
        describeReply(words, frame, request, crc);
    if (isUnknown && !otherMeaning(frame, crc).isEmpty())
        words.what += QLatin1String("; ") + otherMeaning(frame, crc);
    checkCrc(words, frame, crc);
    return words;
}

int digitValue(QChar character)
{
    const ushort code = character.unicode();
    if (code >= '0' && code <= '9')
        return code - '0';
    const int letter = (code | 0x20) - 'a';
    return code < 128 && letter >= 0 && letter < 6 ? letter + 10 : -1;
}

bool isSeparator(QChar character)
{
    return character.isSpace() || character == QLatin1Char(',') || character == QLatin1Char(';')
           || character == QLatin1Char(':') || character == QLatin1Char('-');
}

} // namespace

bool parseHex(const QString &text, QByteArray *bytes, QString *error)
{
    QByteArray result;
    for (int i = 0; i < text.size();) {
        if (isSeparator(text.at(i))) {
            ++i;
            continue;
        }
        const bool isWordStart = i == 0 || isSeparator(text.at(i - 1));
        if (isWordStart && text.midRef(i, 2).compare(QLatin1String("0x"), Qt::CaseInsensitive) == 0)
            i += 2;
        for (int digit = i; digit < i + 2; ++digit) {
            if (digit < text.size() && digitValue(text.at(digit)) >= 0)
                continue;
            const bool isMissing = digit >= text.size() || isSeparator(text.at(digit));
            *error = QString::fromLatin1("character %1%2: expected two hexadecimal digits for each byte")
                         .arg(digit + 1)
                         .arg(isMissing ? QString() : QString::fromLatin1(", '%1'").arg(text.at(digit)));
            return false;
        }
        result.append(char(digitValue(text.at(i)) << 4 | digitValue(text.at(i + 1))));
        i += 2;
    }
    if (result.isEmpty()) {
        *error = QStringLiteral("no bytes: expected hexadecimal digits, \"01 03 00 00 00 01 84 0A\"");
        return false;
    }
    *bytes = result;
    return true;
}

QStringList decodeFrame(const QByteArray &frame, FrameDirection direction, CrcFunction crc, const QByteArray &request)
{
    const FrameWords words = wordsOf(frame, direction, crc, request);
    QStringList lines(words.what);
    lines += words.numbered;
    if (!words.check.isEmpty())
        lines << words.check;
    return lines + words.wrong;
}

QString decodeShort(const QByteArray &frame, FrameDirection direction, CrcFunction crc, const QByteArray &request)
{
    const FrameWords words = wordsOf(frame, direction, crc, request);
    QString line = words.what;
    if (!words.plain.isEmpty())
        line += QLatin1String(": ") + words.plain;
    for (const QString &wrong : words.wrong)
        line += QLatin1String("; ") + wrong;
    return words.isCheckRight ? line : line + QLatin1String("; ") + words.check;
}
