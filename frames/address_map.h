/// The PLC address map.
#pragma once

/// The Modbus coil or register number of an element; 0 for a code without an area. Bit-in-word codes take the word
/// index. Addresses are not checked; a frame carries the low 16 bits.
int get_type_add(int devType, int address);
