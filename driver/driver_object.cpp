#include "driver/driver_object.h"

// Members are released in reverse order: the result's texts, the mutexes, the station map, then the lists.
Emerson_EC_Series::Emerson_EC_Series()
    : comInfo(nullptr), requestDoneCallback(nullptr), commFailCallback(nullptr), listMutex(QMutex::NonRecursive),
      imageMutex(QMutex::NonRecursive), stationMutex(QMutex::NonRecursive), servedList(ServedNone), writeStreak(0),
      onceStreak(0), passCount(0), failFlag(false), bitImage0(), bitImage1(), bitImage2(), bitImage3(), bitImage4(),
      bitImage5(), bitImage6(), wordImage7(), wordImage8(), wordImage11(), wordImage9(), wordImage10(), dwordImage13(),
      wordImage100()
{
}

Emerson_EC_Series PLC_driver;
