#include "varlist/device_traits.h"

namespace {

constexpr auto Regular = Deviation::Regular;
constexpr auto ReadOnly = Deviation::ReadOnly;
constexpr auto NotStored = Deviation::NotStored;

} // namespace

// The aliases (12, 14 to 17, 101, 102) are never cut themselves: for reading they have become their base type before.
// clang-format off
const DeviceTraits DeviceTable[] = {
    // code, kind, base, text, group, map {low, bound, high, scale}, read split, write split, deviation
    {  0, Kind::Bit,         0, Text::Octal,       0, { 1200, Whole,  1200, 1}, Split::None,  Split::None,   ReadOnly},
    {  1, Kind::Bit,         1, Text::Octal,       1, {    0, Whole,     0, 1}, Split::None,  Split::None,   Regular},
    {  2, Kind::Bit,         2, Text::Decimal,     2, { 2000,  2048,  9952, 1}, Split::Bits,  Split::None,   Regular},
    {  3, Kind::Bit,         3, Text::Decimal,     3, { 4400,   256, 29744, 1}, Split::Bits,  Split::None,   Regular},
    {  4, Kind::Bit,         4, Text::Decimal,     4, { 6000,  1024, 29976, 1}, Split::Bits,  Split::None,   Regular},
    {  5, Kind::Bit,         5, Text::Decimal,     5, { 8000,   256, 10744, 1}, Split::Bits,  Split::None,   Regular},
    {  6, Kind::Bit,         6, Text::Decimal,     6, { 9200,   256,  9744, 1}, Split::Bits,  Split::None,   Regular},
    {  7, Kind::Word,        7, Text::Decimal,     7, {    0, Whole,     0, 1}, Split::None,  Split::None,   Regular},
    {  8, Kind::Word,        8, Text::Decimal,     8, { 8000,   256, 11744, 1}, Split::Words, Split::Words,  Regular},
    {  9, Kind::Word,        9, Text::Decimal,     9, { 9000,   256, 10744, 1}, Split::Words, Split::Words,  Regular},
    { 10, Kind::Word,       10, Text::Decimal,    10, { 9500, Whole,  9500, 1}, Split::None,  Split::None,   Regular},
    { 11, Kind::Word,       11, Text::Decimal,    12, { 8500, Whole,  8500, 1}, Split::None,  Split::None,   Regular},
    { 12, Kind::Pair,        7, Text::Decimal,     7, {    0, Whole,     0, 1}, Split::None,  Split::None,   Regular},
    { 13, Kind::Dword,      13, Text::Decimal200, 11, { 4850,    56,  4944, 2}, Split::Words, Split::Dwords, Regular},
    { 14, Kind::Pair,        8, Text::Decimal,     8, { 8000,   256, 11744, 1}, Split::None,  Split::None,   Regular},
    { 15, Kind::BitInWord,   7, Text::WordDotBit,  7, {    0, Whole,     0, 1}, Split::None,  Split::None,   Regular},
    { 16, Kind::BitInWord,   8, Text::WordDotBit,  8, { 8000,   256, 11744, 1}, Split::None,  Split::None,   Regular},
    { 17, Kind::BitInWord,  11, Text::WordDotBit, 12, { 8500, Whole,  8500, 1}, Split::None,  Split::None,   Regular},
    {100, Kind::Word,      100, Text::Decimal,    13, {13000, Whole, 13000, 1}, Split::None,  Split::None,   Regular},
    {101, Kind::Pair,      100, Text::Decimal,    13, {13000, Whole, 13000, 1}, Split::None,  Split::None,   NotStored},
    {102, Kind::BitInWord, 100, Text::WordDotBit, 13, {13000, Whole, 13000, 1}, Split::None,  Split::None,   Regular},
    { -1, Kind::None,        0, Text::Decimal,     0, {    0, Whole,     0, 0}, Split::None,  Split::None,   Regular},
};
// clang-format on
static_assert(sizeof DeviceTable / sizeof DeviceTable[0] == DeviceRows, "a row for each code, and one for all others");

Boundary readBoundary(int devType)
{
    const DeviceTraits &traits = deviceTraits(devType);
    switch (traits.readSplit) {
    case Split::Bits:
        return {traits.map.bound, 1};
    case Split::Words:
        return {traits.map.bound, 2};
    case Split::None:
    case Split::Dwords:
        break;
    }
    return {0, 0};
}

// Not the units of readBoundary: here 1 stands for elements of four bytes.
Boundary writeBoundary(int devType)
{
    const DeviceTraits &traits = deviceTraits(devType);
    switch (traits.writeSplit) {
    case Split::Words:
        return {traits.map.bound, 2};
    case Split::Dwords:
        return {traits.map.bound, 1};
    case Split::None:
    case Split::Bits:
        break;
    }
    return {0, 0};
}
