#include "bench/crc_peers.h"

namespace {

struct Tables {
    unsigned char high[256], low[256]; // what a byte does to the two halves of the register

    constexpr Tables() : high(), low()
    {
        for (unsigned value = 0; value < 256; ++value) {
            unsigned crc = value;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
            high[value] = static_cast<unsigned char>(crc);
            low[value] = static_cast<unsigned char>(crc >> 8);
        }
    }
};

// Not constexpr, and so in memory, as tables that are written out.
const Tables Crc;

} // namespace

unsigned short crcByTwoTables(const unsigned char *bytes, std::size_t count)
{
    unsigned char first = 0xFF, second = 0xFF;
    while (count-- > 0) {
        const unsigned place = first ^ *bytes++;
        first = second ^ Crc.high[place];
        second = Crc.low[place];
    }
    return static_cast<unsigned short>(second << 8 | first);
}
