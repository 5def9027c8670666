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

/// Converts a word entry's address and count to the unit of its base type; bits and unknown codes stay as they are.
void convertWords(ReadPiece &entry, Kind kind)
{
    switch (kind) {
    case Kind::Bit:
    case Kind::Word:
    case Kind::None:
        break;
    case Kind::Pair:
        entry.count = roundUpToEven(entry.count);
        break;
    case Kind::Dword:
        entry.count = halfRoundedUp(entry.count);
        break;
    case Kind::BitInWord:
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

void addToGroups(const VARDESC &description, int maxBlockLen, ReadGroup (&groups)[ReadGroups], int &room)
{
    const DeviceTraits &traits = deviceTraits(description.devType);
    const int address = StringAddressToInt(description.devType, description.addrText);
    if (address < 0 || traits.kind == Kind::None)
        return;
    ReadPiece entry = {address, description.count, &description};
    convertWords(entry, traits.kind);
    // A bit-in-word variable is cut by its bit count, although its pieces count words: deliberate.
    const int total = traits.kind == Kind::BitInWord ? description.count : entry.count;
    const int maxLen = traits.kind == Kind::Bit ? maxBitsOf(maxBlockLen) : maxBlockLen;
    ReadGroup &group = groups[traits.group];
    const size_t before = group.size();
    WhetherGroup(total, maxLen, &entry, &group, room);
    room -= int(group.size() - before);
}

void groupByArea(const QList<VARDESC> &descriptions)
{
    const int maxBlockLen = setting(&COMINFO::maxBlockLen);
    ReadGroup groups[ReadGroups];
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
    QHash<int, ReadGroup> pieces;
    QList<int> keys; ///< In first-seen order.
    int room = ElementLimit;
};

void addToStations(const VARDESC &description, int maxBlockLen, StationGroups &groups)
{
    const DeviceTraits &traits = deviceTraits(description.devType);
    const int address = StringAddressToInt(description.devType, description.addrText);
    if (address < 0)
        return;
    ReadPiece entry = {address, description.count, &description};
    int step = 1;
    if (traits.kind == Kind::Bit) {
        entry.address = address - address % 8;
        entry.count = bytesForBits(address, entry.count);
        step = 8;
    } else {
        convertWords(entry, traits.kind);
    }
    const Cuts cuts = cutsOf(entry.count, maxBlockLen);
    if (cuts.pieces <= 0)
        return;
    // Not unique: station 255 with code 0 shares its key with station 0 and code 1. Deliberate.
    const int key = description.station + 255 * (traits.kind == Kind::None ? description.devType : traits.base);
    ReadGroup &pieces = groups.pieces[key];
    if (pieces.empty())
        groups.keys.append(key);
    const size_t before = pieces.size();
    appendPieces(entry, cuts, step, pieces, groups.room);
    groups.room -= int(pieces.size() - before);
}

void groupByStation(const QList<VARDESC> &descriptions)
{
    const int maxBlockLen = setting(&COMINFO::maxBlockLen);
    StationGroups groups;
    for (int i = 0; i < descriptions.size() && groups.room > 0; ++i)
        addToStations(descriptions.at(i), maxBlockLen, groups);

    int index = 0;
    for (int i = 0; i < groups.keys.size(); ++i) {
        ReadGroup &pieces = groups.pieces[groups.keys.at(i)];
        // Newest first: among equal addresses the last variable leads.
        std::reverse(pieces.begin(), pieces.end());
        Bubble_Sort(&pieces);
        // Bit pieces count bytes already and are taken as bits once more here: deliberate.
        index = deviceTraits(pieces.front().source->devType).kind == Kind::Bit
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
    reserveTurn();
    return PLC_driver.readList.size();
}
