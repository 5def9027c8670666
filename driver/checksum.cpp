#include "driver/checksum.h"

namespace {

enum { Slices = 16, ByteValues = 256 };

/// table[n][b] is what the byte b does to the register when n more bytes follow it, so that up to
/// sixteen bytes are one step, in which no look-up waits for another.
struct CrcTables {
    unsigned short table[Slices][ByteValues];

    constexpr CrcTables() : table()
    {
        for (unsigned value = 0; value < ByteValues; ++value) {
            unsigned crc = value;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
            table[0][value] = static_cast<unsigned short>(crc);
        }
        for (int slice = 1; slice < Slices; ++slice) {
            for (unsigned value = 0; value < ByteValues; ++value) {
                const unsigned before = table[slice - 1][value];
                table[slice][value] = static_cast<unsigned short>(before >> 8 ^ table[0][before & 0xFF]);
            }
        }
    }
};

constexpr CrcTables Crc;

template <int Bytes>
unsigned short afterBytes(unsigned short crc, const unsigned char *byte)
{
    // The register has its part in the first two bytes only.
    unsigned short after = Crc.table[Bytes - 1][(crc ^ byte[0]) & 0xFF];
    after ^= Crc.table[Bytes - 2][crc >> 8 ^ byte[1]];
    for (int i = 2; i < Bytes; ++i)
        after ^= Crc.table[Bytes - 1 - i][byte[i]];
    return after;
}

/// A missing buffer counts as an empty one.
unsigned readable(const unsigned char *buf, unsigned short len)
{
    return buf != nullptr ? len : 0;
}

} // namespace

extern "C" {

unsigned short CalCRC(unsigned char *buf, unsigned short len)
{
    unsigned short crc = 0xFFFF;
    const unsigned char *byte = buf;
    unsigned left = readable(buf, len);
    for (; left >= 16; left -= 16, byte += 16)
        crc = afterBytes<16>(crc, byte);
    if ((left & 8) != 0) {
        crc = afterBytes<8>(crc, byte);
        byte += 8;
    }
    if ((left & 4) != 0) {
        crc = afterBytes<4>(crc, byte);
        byte += 4;
    }
    if ((left & 2) != 0) {
        crc = afterBytes<2>(crc, byte);
        byte += 2;
    }
    if ((left & 1) != 0)
        crc = static_cast<unsigned short>(crc >> 8 ^ Crc.table[0][(crc ^ *byte) & 0xFF]);
    return crc;
}

unsigned short CalSUM(unsigned char *buf, unsigned short len)
{
    unsigned sum = 0;
    for (unsigned i = 0; i < readable(buf, len); ++i)
        sum += buf[i];
    return static_cast<unsigned short>(sum);
}

// Not reduced to a byte after the 1 is added: 256 is a possible result.
unsigned short CalLRC(unsigned char *buf, unsigned short len)
{
    return static_cast<unsigned short>((~CalSUM(buf, len) & 0xFF) + 1);
}

// The first byte counts even for a length of 0.
unsigned short CalXOR(unsigned char *buf, unsigned short len)
{
    if (buf == nullptr)
        return 0;
    unsigned result = buf[0];
    for (unsigned i = 1; i < len; ++i)
        result ^= buf[i];
    return static_cast<unsigned short>(result);
}

int DigitalToASCII(int value)
{
    return value <= 9 ? value + '0' : int(unsigned(value) + ('A' - 10));
}

int ASCIIToDigital(int ch)
{
    if (ch < '0' || ch == '@')
        return 0;
    return ch < '@' ? ch - '0' : ch - ('A' - 10);
}

} // extern "C"
