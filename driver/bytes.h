/// Bytes of replies and host arrays: loads and stores that stay inside the array.
#pragma once

#include <QtCore/QByteArray>

#include <cstring>

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

/// The bytes of an array that is made this long. It keeps its memory where it can: nothing is allocated for a length
/// that it has already.
inline char *bytesOf(QByteArray &bytes, int size)
{
    if (bytes.size() != size)
        bytes.resize(size);
    return bytes.data();
}

/// Writes two bytes, low byte first.
inline void putLittleEndianWord(char *bytes, unsigned value)
{
    bytes[0] = static_cast<char>(lowByte(value));
    bytes[1] = static_cast<char>(highByte(value));
}

/// Words as bytes, low byte first: the memory as it is where the machine keeps words that way.
inline void copyToLittleEndian(char *bytes, const unsigned short *words, int count)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    std::memcpy(bytes, words, size_t(count) * 2);
#else
    for (int i = 0; i < count; ++i)
        putLittleEndianWord(bytes + 2 * i, words[i]);
#endif
}

/// The other way round.
inline void copyFromLittleEndian(unsigned short *words, const char *bytes, int count)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    std::memcpy(words, bytes, size_t(count) * 2);
#else
    for (int i = 0; i < count; ++i)
        words[i] = static_cast<unsigned short>((bytes[2 * i] & 0xFF) | (bytes[2 * i + 1] & 0xFF) << 8);
#endif
}

/// Words from bytes, high byte first.
inline void copyFromBigEndian(unsigned short *words, const char *bytes, int count)
{
    for (int i = 0; i < count; ++i)
        words[i] = static_cast<unsigned short>((bytes[2 * i] & 0xFF) << 8 | (bytes[2 * i + 1] & 0xFF));
}
