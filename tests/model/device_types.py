"""What follows from a device-type code alone."""

from arithmetic import INT_MIN, fits_int, to_int

BITS = range(0, 7)
WRITABLE_BITS = range(1, 7)
WORDS = (7, 8, 9, 10, 11, 100)
PAIRS = (12, 14, 101)          # 32-bit values in two words of a word type
SPECIAL = 13                   # 32-bit values of their own
WORD_BITS = (15, 16, 17, 102)  # bits inside words of a word type

PAIR_AND_BIT_BASE = {12: 7, 15: 7, 14: 8, 16: 8, 17: 11, 101: 100, 102: 100}


def base_type(code):
    """The code under which a value is stored; 0 for an unknown code."""
    if code in BITS or code in WORDS or code == SPECIAL:
        return code
    return PAIR_AND_BIT_BASE.get(code, 0)


def element_address(code, text):
    """The element address of an address text, negative when it cannot be used.

    Code 13 may give a negative one that is not -1: the texts start at 200.
    """
    if code == SPECIAL:
        value = to_int(text, 10)
        if value is None or value - 200 < INT_MIN:
            return -1
        return value - 200
    if code in WORD_BITS:
        parts = text.split('.')
        if len(parts) != 2:
            return -1
        # A part that is no number counts as 0, and the bit may be above 15.
        value = (to_int(parts[0], 10) or 0) * 16 + (to_int(parts[1], 10) or 0)
        return value if fits_int(value) else -1
    value = to_int(text, 8 if code in (0, 1) else 10)
    return -1 if value is None else value


# Code: the first element of the upper range, what is added below it, and from it on.
TWO_RANGES = {2: (2048, 2000, 9952), 3: (256, 4400, 29744), 4: (1024, 6000, 29976), 5: (256, 8000, 10744),
              6: (256, 9200, 9744), 8: (256, 8000, 11744), 9: (256, 9000, 10744),
              14: (256, 8000, 11744), 16: (256, 8000, 11744)}
ONE_RANGE = {0: 1200, 1: 0, 7: 0, 10: 9500, 11: 8500, 12: 0, 15: 0, 17: 8500, 100: 13000, 101: 13000, 102: 13000}


def modbus_address(code, address):
    """The address in a frame, not yet cut to 16 bits; 0 for an unknown code."""
    if code in TWO_RANGES:
        bound, low, high = TWO_RANGES[code]
        return address + (low if address < bound else high)
    if code == SPECIAL:
        return (address + (4850 if address <= 55 else 4944)) * 2
    return address + ONE_RANGE[code] if code in ONE_RANGE else 0


# Where a block is cut because the frame's addresses jump there: the bound, and elements to a counted unit.
READ_BOUNDS = {2: (2048, 8), 3: (256, 8), 4: (1024, 8), 5: (256, 8), 6: (256, 8), 8: (256, 1), 9: (256, 1), 13: (56, 1)}
# The bound, and bytes to an element.
WRITE_BOUNDS = {8: (256, 2), 9: (256, 2), 13: (56, 4)}

# The order of the blocks in the cyclic list while there is one station.
GROUP_ORDER = (0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 13, 11, 100)
