/// Checksums and hexadecimal digits, exported as they are.
#pragma once

#include "driver/export.h"

extern "C" {

/// CRC-16/MODBUS of len bytes; 0xFFFF for none. Sent low byte first.
/// Check value: "123456789" gives 0x4B37.
EC_EXPORT unsigned short CalCRC(unsigned char *buf, unsigned short len);
/// Sum of len bytes modulo 65536.
EC_EXPORT unsigned short CalSUM(unsigned char *buf, unsigned short len);
/// Two's complement of the byte sum, 1..256: never reduced to a byte, so a sum of 0 gives 256.
EC_EXPORT unsigned short CalLRC(unsigned char *buf, unsigned short len);
/// Exclusive-or of len bytes. The first byte is read whatever len is, so buf must hold one.
EC_EXPORT unsigned short CalXOR(unsigned char *buf, unsigned short len);
/// Character code of a hexadecimal digit; not range-checked (16 gives 'G').
EC_EXPORT int DigitalToASCII(int value);
/// Value of a hexadecimal digit character; '@' and everything below '0' give 0, lower case is not folded.
EC_EXPORT int ASCIIToDigital(int ch);

} // extern "C"
