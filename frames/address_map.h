/// The PLC address map.
#pragma once

#include "varlist/device_traits.h"

/// The Modbus coil or register number of an element under a row's map.
inline int modbusNumber(const AddressMap &map, int address)
{
    // Unsigned, so that an address at the end of an int wraps; a frame carries the low 16 bits anyway.
    const unsigned offset = unsigned(address < map.bound ? map.low : map.high);
    return int((unsigned(address) + offset) * unsigned(map.scale));
}

/// The same by device-type code; 0 for a code without an area. Bit-in-word codes take the word index. Addresses are not
/// checked; a frame carries the low 16 bits.
int get_type_add(int devType, int address);
