"""C++ arithmetic, checksums, and numbers out of texts."""

import re

INT_MIN, INT_MAX = -2**31, 2**31 - 1


def divide(a, b):
    """C++ division: truncates toward zero."""
    quotient = abs(a) // abs(b)
    return quotient if (a >= 0) == (b >= 0) else -quotient


def remainder(a, b):
    """C++ remainder: has the sign of a."""
    return a - b * divide(a, b)


def fits_int(value):
    return INT_MIN <= value <= INT_MAX


def high_low(value):
    """The two low bytes of a number, high byte first."""
    return [value >> 8 & 255, value & 255]


def crc_of_byte(value):
    for _ in range(8):
        value = value >> 1 ^ 0xA001 if value & 1 else value >> 1
    return value


CRC_TABLE = [crc_of_byte(value) for value in range(256)]


def crc(data):
    """CRC-16/MODBUS; 0xFFFF for no bytes."""
    value = 0xFFFF
    for byte in data:
        value = value >> 8 ^ CRC_TABLE[(value ^ byte) & 0xFF]
    return value


def with_crc(data):
    """A frame and its CRC, low byte first."""
    return bytes(data) + crc(data).to_bytes(2, 'little')


def byte_sum(data):
    return sum(data) & 0xFFFF


def lrc(data):
    """Not cut to a byte: 256 where the byte sum is a multiple of 256."""
    return (~sum(data) & 0xFF) + 1


def xor(data, length):
    """Takes the first byte even when length is 0."""
    value = data[0]
    for byte in data[1:length]:
        value ^= byte
    return value


def digit_to_ascii(value):
    return value + 48 if value <= 9 else value + 55


def ascii_to_digit(char):
    if char <= 47 or char == 64:
        return 0
    return char - 48 if char <= 63 else char - 55


def to_int(text, base):
    """The int that Qt reads from a text in base 8 or 10, None where it refuses. Knows only ASCII blanks and signs."""
    match = re.match(r'^[ \t\n\v\f\r]*([+-]?[0-9]+)[ \t\n\v\f\r]*$', text)
    if not match or (base == 8 and re.search('[89]', match.group(1))):
        return None
    value = int(match.group(1), base)
    return value if fits_int(value) else None
