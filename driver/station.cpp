// EnCommStation and its query
#include "driver/station.h"

#include "driver/emerson_ec_series.h"

#include <QtCore/QMutexLocker>

extern "C" void EnCommStation(int station, int mode)
{
    QMutexLocker lock(&PLC_driver.stationMutex);
    if (station < 0)
        PLC_driver.disabledStations.clear();
    else if (mode == 0)
        PLC_driver.disabledStations.insert(station, 0);
    else if (mode == 1)
        PLC_driver.disabledStations.remove(station);
}

bool Ethernetcontains(int station)
{
    QMutexLocker lock(&PLC_driver.stationMutex);
    return PLC_driver.disabledStations.contains(station);
}
