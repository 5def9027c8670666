/// The driver's whole state, in the one object that the library exports.
#pragma once

#include "driver/export.h"
#include "driver/records.h"

#include <QtCore/QMap>
#include <QtCore/QMutex>

/// Elements in each image area.
enum { AreaElements = 65535 };

/// Values of Emerson_EC_Series::servedList.
enum ServedList { ServedCyclic = 0, ServedWrite = 1, ServedOnce = 2, ServedNone = 100 };

/// Lock order: listMutex, then stationMutex or imageMutex. Below imageMutex there is only the lock private to image/.
/// The object is exported: its member order is part of the interface, and the last area ends it.
class Emerson_EC_Series {
public:
    Emerson_EC_Series();
    Emerson_EC_Series(const Emerson_EC_Series &) = delete;
    Emerson_EC_Series &operator=(const Emerson_EC_Series &) = delete;

    COMINFO *comInfo;                        ///< The host's; null until SetComInfo. Use setting() and setSetting().
    QList<RW_VAR> readList;                  ///< listMutex. Cyclic reads; the head is served next.
    QList<RW_VAR> writeList;                 ///< listMutex. Queued writes.
    QList<RW_VAR> onceReadList;              ///< listMutex. Queued one-shot reads.
    QList<RW_VAR> spareList;                 ///< Unused.
    QList<Protocol> protocolList;            ///< Communication thread only. Frames of the transaction, first in flight.
    QList<EXTENDVAR> extendVarList;          ///< As the image areas. Keyed store, in order of first use.
    QMap<int, int> disabledStations;         ///< stationMutex. Keys are switched-off stations, values 0.
    RequestDoneCallback requestDoneCallback; ///< Read and written as one word; may be null.
    CommFailCallback commFailCallback;       ///< Read and written as one word; may be null.
    QMutex listMutex;                        ///< Guards the lists, servedList, the streaks, passCount and failFlag.
    QMutex imageMutex;                       ///< Guards host access to the image against the local reply path.
    QMutex stationMutex;                     ///< Guards disabledStations.
    RW_VAR result;                           ///< Communication thread only. What DataCom returns.
    int servedList;                          ///< listMutex. A ServedList: where the request in flight came from.
    int writeStreak;                         ///< listMutex. Writes served in a row.
    int onceStreak;                          ///< listMutex. One-shot reads served in a row.
    int passCount;                           ///< listMutex. Good final replies counted towards a full pass.
    bool failFlag;                           ///< listMutex. True while the last reply was bad.

    // The local image; imageMutex for local replies, the lock private to image/ for remote ones, both for all others.
    // Bits are packed eight to an element, the lowest bit first.
    unsigned char bitImage0[AreaElements];
    unsigned char bitImage1[AreaElements];
    unsigned char bitImage2[AreaElements];
    unsigned char bitImage3[AreaElements];
    unsigned char bitImage4[AreaElements];
    unsigned char bitImage5[AreaElements];
    unsigned char bitImage6[AreaElements];
    unsigned short wordImage7[AreaElements];
    unsigned short wordImage8[AreaElements];
    unsigned short wordImage11[AreaElements];
    unsigned short wordImage9[AreaElements];
    unsigned short wordImage10[AreaElements];
    unsigned int dwordImage13[AreaElements];
    unsigned short wordImage100[AreaElements];
};

extern "C" EC_EXPORT Emerson_EC_Series PLC_driver;
