/// The one table of device types: what depends on a code follows from its row. Only which array holds a base type is
/// not here but in image/areas.
#pragma once

#include <limits>

/// What an element of a code is.
enum class Kind {
    Bit,       ///< One bit; addresses count bits.
    Word,      ///< One 16-bit word.
    Pair,      ///< A 32-bit value in two words of a word area, the high word first.
    Dword,     ///< A 32-bit value of an area of its own, two registers each.
    BitInWord, ///< One bit of a word; addresses are word * 16 + bit.
    None       ///< Not a device-type code.
};

/// How the address text is read.
enum class Text { Octal, Decimal, Decimal200, WordDotBit };

/// The unit in which a block is cut at its area's boundary.
enum class Split { None, Bits, Words, Dwords };

/// What a row does not do although its kind would.
enum class Deviation {
    Regular,
    ReadOnly, ///< Never written to the PLC, and not mirrored into the keyed store.
    NotStored ///< Replies to it are not stored into the image.
};

/// Modbus number = (address + (address < bound ? low : high)) * scale.
struct AddressMap {
    int low, bound, high, scale;
};

/// The bound of an area in one piece.
constexpr int Whole = std::numeric_limits<int>::max();

struct DeviceTraits {
    int code;
    Kind kind;
    int base; ///< The code as which it is read, and under which it is stored.
    Text text;
    int group; ///< Read group in single-station grouping: 0..6 bits, 7..13 words.
    AddressMap map;
    Split readSplit, writeSplit;
    Deviation deviation;
};

/// Number of read groups; the first BitGroups of them hold bit entries.
enum { ReadGroups = 14, BitGroups = 7 };

/// Codes 0..17 lie in their places, 100..102 behind them, then the row for a number that is no code.
enum { LowRows = 18, HighCodes = 100, NoCodeRow = LowRows + 3, DeviceRows };
extern const DeviceTraits DeviceTable[];

/// The row of a code; a row of kind None, base type 0, for a number that is no code.
inline const DeviceTraits &deviceTraits(int devType)
{
    const int row = devType < LowRows ? devType : devType - HighCodes + LowRows;
    return DeviceTable[row >= 0 && row < NoCodeRow && DeviceTable[row].code == devType ? row : int(NoCodeRow)];
}

/// Where a block of a code is cut in two.
struct Boundary {
    int address; ///< Element address; 0 when it is never cut.
    int unit;    ///< That of plcTypeShortAdd or plcTypeWriteShortAdd, which differ; 0 when it is never cut.
};

Boundary readBoundary(int devType);
Boundary writeBoundary(int devType);
