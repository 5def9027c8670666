/// The same checksum by other means.
#pragma once

#include <boost/crc.hpp>

#include <cstddef>

/// Two tables of 256 bytes and one step a byte: what libmodbus does, whose own function is not to be had from outside.
unsigned short crcByTwoTables(const unsigned char *bytes, std::size_t count);

inline unsigned short crcByBoost(const unsigned char *bytes, std::size_t count)
{
    boost::crc_optimal<16, 0x8005, 0xFFFF, 0, true, true> crc;
    crc.process_bytes(bytes, count);
    return static_cast<unsigned short>(crc.checksum());
}
