/// The device types as a host needs them: what an element is, and which numbers of the PLC exist.
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

enum class ElementKind {
    Bit,       ///< A coil.
    Word,      ///< A register.
    Pair,      ///< 32 bits in two words of a word area; the driver counts words.
    Special,   ///< 32 bits of its own; the driver counts two elements a value.
    BitInWord, ///< A bit of a register; the element is word * 16 + bit.
};

/// One piece of an area: elements first .. last have the Modbus numbers from number on. Bits: coils; otherwise
/// registers, two an element for ElementKind::Special. For BitInWord the elements are words here.
struct AreaPiece {
    int first;
    int last;
    int number;
};

struct DeviceType {
    int code;
    ElementKind kind;
    int base;        ///< Code under which the driver reads and stores it.
    bool isWritable; ///< The driver refuses to write code 0.
    QVector<AreaPiece> pieces;
};

/// Null when there is no such code.
const DeviceType *findDeviceType(int code);
const QVector<DeviceType> &deviceTypes();

/// The address text of an element as an engineer writes it: octal, from 200 on, word.bit.
QString addressText(const DeviceType &type, int element);
/// Types whose address texts are octal.
bool isOctal(const DeviceType &type);
/// "0 to 255, 256 to 1255": the addresses that exist, as an engineer writes them.
QString rangeText(const DeviceType &type);
/// "bit, octal address", "32 bits in two words of 7": what an element is.
QString kindText(const DeviceType &type);
/// Names the cell of a Modbus number in the PLC's own words, "code 8 at 300"; a register of code 13 and its halves too.
/// Empty when no area has it.
QString cellText(bool isCoil, int number);
