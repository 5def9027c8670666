/// Which stations are switched off.
#pragma once

/// True when communication with the station is switched off. Takes stationMutex.
bool Ethernetcontains(int station);
