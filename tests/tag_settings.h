/// @file
/// Settings that tests check tags against.
#pragma once

#include "host/settings.h"

/// One PLC, station 5, blocks of up to 32.
inline PanelSettings onePlc()
{
    PanelSettings settings;
    settings.maxBlockLen = 32;
    settings.station = 5;
    return settings;
}

/// The same, with several PLCs on the line.
inline PanelSettings severalPlcs()
{
    PanelSettings settings = onePlc();
    settings.hasSeveral = true;
    return settings;
}
