#include "driver/checksum.h"

namespace {

/// A missing buffer counts as an empty one.
unsigned readable(const unsigned char *buf, unsigned short len)
{
    return buf != nullptr ? len : 0;
}

} // namespace

extern "C" {

unsigned short CalCRC(unsigned char *buf, unsigned short len)
{
    unsigned crc = 0xFFFF;
    for (unsigned i = 0; i < readable(buf, len); ++i) {
        crc ^= buf[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return static_cast<unsigned short>(crc);
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
