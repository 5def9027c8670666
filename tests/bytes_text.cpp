#include "tests/bytes_text.h"

namespace {

quint16 modbusCrc(const QByteArray &bytes)
{
    quint16 crc = 0xFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? quint16(crc >> 1 ^ 0xA001) : quint16(crc >> 1);
    }
    return crc;
}

} // namespace

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

QString toHex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QByteArray withCrc(const char *text)
{
    QByteArray bytes = hex(text);
    const quint16 crc = modbusCrc(bytes);
    bytes.append(char(crc & 0xFF));
    bytes.append(char(crc >> 8));
    return bytes;
}
