/// Bytes of replies and host arrays: loads and stores that stay inside the array.
#pragma once

#include <QtCore/QByteArray>

/// True when the array holds the bytes first .. first + count - 1.
inline bool holdsBytes(const QByteArray &bytes, qint64 first, int count)
{
    return first >= 0 && first + count <= bytes.size();
}

/// The byte at an index, 0 outside the array.
inline unsigned byteAt(const QByteArray &bytes, qint64 index)
{
    return holdsBytes(bytes, index, 1) ? static_cast<unsigned char>(bytes.at(int(index))) : 0;
}

inline unsigned lowByte(unsigned value)
{
    return value & 0xFF;
}

inline unsigned highByte(unsigned value)
{
    return value >> 8 & 0xFF;
}

/// The word whose high byte is at first; bytes outside the array count as 0. The order of replies.
inline unsigned bigEndianWord(const QByteArray &bytes, qint64 first)
{
    return byteAt(bytes, first) << 8 | byteAt(bytes, first + 1);
}

/// The word whose low byte is at first; bytes outside the array count as 0. The order of host arrays.
inline unsigned littleEndianWord(const QByteArray &bytes, qint64 first)
{
    return byteAt(bytes, first) | byteAt(bytes, first + 1) << 8;
}

/// Makes the array at least size bytes long; what is added is zero.
inline void growTo(QByteArray &bytes, int size)
{
    if (bytes.size() < size)
        bytes.append(QByteArray(size - bytes.size(), '\0'));
}

/// Makes the array exactly size bytes long (none for a negative size); what is added is zero.
inline void fitTo(QByteArray &bytes, int size)
{
    growTo(bytes, size);
    bytes.truncate(qMax(0, size));
}

inline void appendByte(QByteArray &bytes, unsigned value)
{
    bytes.append(static_cast<char>(value & 0xFF));
}

/// Writes two bytes, low byte first.
inline void putLittleEndianWord(char *bytes, unsigned value)
{
    bytes[0] = static_cast<char>(lowByte(value));
    bytes[1] = static_cast<char>(highByte(value));
}

/// The low 16 bits of a value as two bytes, low byte first.
inline QByteArray littleEndianBytes(unsigned value)
{
    QByteArray bytes(2, '\0');
    putLittleEndianWord(bytes.data(), value);
    return bytes;
}
