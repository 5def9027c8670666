/// The tags of the soak, and where their bytes lie in the PLC.
#pragma once

#include "host/tags.h"

/// Some bytes of a tag: a coil, a bit of a register (one byte each), or a register (two bytes, the low one first).
struct Unit {
    int station;
    bool isCoil;
    int number; ///< On the Modbus side.
    int bit;    ///< Of a register; -1 = all of it.

    int bytes() const { return isCoil || bit >= 0 ? 1 : 2; }
};

enum class TagUse {
    Polled, ///< Never written: shows the epoch of its reading.
    Live,   ///< A counter of milliseconds in two registers.
    Written,
    Stuck,    ///< Acknowledges writes and keeps its value.
    WriteOnly ///< Not read back; with station 0 heard by all.
};

enum { StuckRegister = 150, LiveRegister = 90, RecipeBits = 400 };

/// Rows of a tag file, without the header, for stations 1 to count.
QByteArray tagRows(int stations);
TagUse useOf(const Tag &tag);
/// In the order of the tag's host bytes, from the simulated PLC's table of areas. A broadcast tag's for one station.
QVector<Unit> unitsOf(const Tag &tag, int station);
