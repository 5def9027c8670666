#include "frames/address_map.h"

#include "varlist/device_traits.h"

int get_type_add(int devType, int address)
{
    const AddressMap &map = deviceTraits(devType).map;
    // Unsigned, so that an address at the end of an int wraps; a frame carries the low 16 bits anyway.
    const unsigned offset = unsigned(address < map.bound ? map.low : map.high);
    return int((unsigned(address) + offset) * unsigned(map.scale));
}
