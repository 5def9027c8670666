/// What the screen shows, and where the PLC has it.
#pragma once

struct Tag {
    int devType;
    const char *address;
    const char *shownAddress;
};

enum TagName { Level, Pump, Valve, TagCount };

/// Level in tenths of a percent.
constexpr Tag Tags[TagCount] = {
    {7, "100", "register 100"},
    {1, "10", "bit 10"},
    {1, "11", "bit 11"},
};
