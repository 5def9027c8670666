// ReCreatReadVarList: from the host's variables to block reads
#include "driver/emerson_ec_series.h"
#include "driver/settings.h"
#include "varlist/cut.h"
#include "varlist/device_type.h"
#include "varlist/read_list.h"

#include <QtCore/QHash>
#include <QtCore/QMutexLocker>

#include <algorithm>

namespace {

/// The entry of a variable before its code is converted.
RW_VAR entryOf(const VARDESC &description, int address, int station)
{
    RW_VAR entry;
    entry.connectNo = 0;
    entry.varId = -1;
    entry.hostWord3 = setting(&COMINFO::remoteMode);
    entry.panelStation = setting(&COMINFO::ownStation);
    entry.nameText = description.nameText;
    entry.addrText = description.addrText;
    entry.devType = description.devType;
    entry.address = address;
    entry.station = station;
    entry.count = description.count;
    return entry;
}

/// Converts a word entry to its base type and unit; bits and unknown codes stay as they are.
void convertWords(RW_VAR &entry)
{
    const DeviceTraits &traits = deviceTraits(entry.devType);
    switch (traits.kind) {
    case Kind::Bit:
    case Kind::Word:
    case Kind::None:
        break;
    case Kind::Pair:
        entry.devType = traits.base;
        entry.count = roundUpToEven(entry.count);
        break;
    case Kind::Dword:
        entry.count = halfRoundedUp(entry.count);
        break;
    case Kind::BitInWord:
        entry.devType = traits.base;
        entry.address = entry.address / 16;
        // The remainder of the word number, not of the bit number: deliberate.
        entry.count = wordsForBits(entry.address % 16, entry.count);
        break;
    }
}

int maxBitsOf(int maxBlockLen)
{
    return clampToInt(qint64(maxBlockLen) * 8);
}

// ---- One PLC: a group for each data area ----

void addToGroups(const VARDESC &description, int maxBlockLen, QList<RW_VAR> (&groups)[ReadGroups], int &room)
{
    const DeviceTraits &traits = deviceTraits(description.devType);
    const int address = StringAddressToInt(description.devType, description.addrText);
    if (address < 0 || traits.kind == Kind::None)
        return;
    RW_VAR entry = entryOf(description, address, setting(&COMINFO::plcStation));
    convertWords(entry);
    // A bit-in-word variable is cut by its bit count, although its pieces count words: deliberate.
    const int total = traits.kind == Kind::BitInWord ? description.count : entry.count;
    const int maxLen = traits.kind == Kind::Bit ? maxBitsOf(maxBlockLen) : maxBlockLen;
    QList<RW_VAR> &group = groups[traits.group];
    const int before = group.size();
    WhetherGroup(total, maxLen, &entry, &group, room);
    room -= group.size() - before;
}

void groupByArea(const QList<VARDESC> &descriptions)
{
    const int maxBlockLen = setting(&COMINFO::maxBlockLen);
    QList<RW_VAR> groups[ReadGroups];
    int room = ElementLimit;
    for (int i = 0; i < descriptions.size() && room > 0; ++i)
        addToGroups(descriptions.at(i), maxBlockLen, groups, room);

    int index = 0;
    for (int i = 0; i < ReadGroups; ++i) {
        Bubble_Sort(&groups[i]);
        index = i < BitGroups ? BitVarReCreat(&groups[i], maxBitsOf(maxBlockLen), index)
                              : WordVarReCreat(&groups[i], maxBlockLen, index);
    }
}

// ---- Several PLCs: a group for each key of station and code ----

struct StationGroups {
    QHash<int, QList<RW_VAR>> pieces;
    QList<int> keys; ///< In first-seen order.
    int room = ElementLimit;
};

void addToStations(const VARDESC &description, int maxBlockLen, StationGroups &groups)
{
    const int address = StringAddressToInt(description.devType, description.addrText);
    if (address < 0)
        return;
    RW_VAR entry = entryOf(description, address, description.station);
    int step = 1;
    if (deviceTraits(entry.devType).kind == Kind::Bit) {
        entry.address = address - address % 8;
        entry.count = bytesForBits(address, entry.count);
        step = 8;
    } else {
        convertWords(entry);
    }
    const Cuts cuts = cutsOf(entry.count, maxBlockLen);
    if (cuts.pieces <= 0)
        return;
    // Not unique: station 255 with code 0 shares its key with station 0 and code 1. Deliberate.
    const int key = entry.station + 255 * entry.devType;
    QList<RW_VAR> &pieces = groups.pieces[key];
    if (pieces.isEmpty())
        groups.keys.append(key);
    const int before = pieces.size();
    appendPieces(entry, cuts, step, pieces, groups.room);
    groups.room -= pieces.size() - before;
}

void groupByStation(const QList<VARDESC> &descriptions)
{
    const int maxBlockLen = setting(&COMINFO::maxBlockLen);
    StationGroups groups;
    for (int i = 0; i < descriptions.size() && groups.room > 0; ++i)
        addToStations(descriptions.at(i), maxBlockLen, groups);

    int index = 0;
    for (int i = 0; i < groups.keys.size(); ++i) {
        QList<RW_VAR> &pieces = groups.pieces[groups.keys.at(i)];
        // Newest first: among equal addresses the last variable leads.
        std::reverse(pieces.begin(), pieces.end());
        Bubble_Sort(&pieces);
        // Bit pieces count bytes already and are taken as bits once more here: deliberate.
        index = deviceTraits(pieces.first().devType).kind == Kind::Bit
                    ? BitVarReCreat(&pieces, maxBitsOf(maxBlockLen), index)
                    : WordVarReCreat(&pieces, maxBlockLen, index);
    }
}

} // namespace

extern "C" int ReCreatReadVarList(QList<VARDESC> &descriptions)
{
    QMutexLocker lock(&PLC_driver.listMutex);
    PLC_driver.readList.clear();
    if (descriptions.isEmpty())
        return 0;
    PLC_driver.passCount = 0;
    setSetting(&COMINFO::finishFlag, 0);
    if (setting(&COMINFO::stationScope) == 0)
        groupByArea(descriptions);
    else
        groupByStation(descriptions);
    plcTypeShort(PLC_driver.readList);
    return PLC_driver.readList.size();
}
