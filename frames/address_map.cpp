#include "frames/address_map.h"

int get_type_add(int devType, int address)
{
    return modbusNumber(deviceTraits(devType).map, address);
}
