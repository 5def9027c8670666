// The records' layout, proven at compile time for 32-bit and 64-bit targets alike: an int is four bytes, a string or a
// byte array one pointer-sized word. On a 32-bit target RW_VAR is 60 bytes, Protocol 92, EXTENDVAR 16 and VARDESC 20.
#include "driver/records.h"

#include <cstddef>

namespace {

constexpr std::size_t Int = 4;
constexpr std::size_t Pointer = sizeof(void *);

constexpr std::size_t padded(std::size_t size)
{
    return (size + Pointer - 1) / Pointer * Pointer;
}

static_assert(sizeof(int) == Int, "an int is one 32-bit word");
static_assert(sizeof(QString) == Pointer, "a string is one pointer-sized word");
static_assert(sizeof(QByteArray) == Pointer, "a byte array is one pointer-sized word");

static_assert(Pointer != 4 || sizeof(RW_VAR) == 60, "60 bytes on a 32-bit target");
static_assert(Pointer != 4 || sizeof(Protocol) == 92, "92 bytes on a 32-bit target");
static_assert(Pointer != 4 || sizeof(EXTENDVAR) == 16, "16 bytes on a 32-bit target");
static_assert(Pointer != 4 || sizeof(VARDESC) == 20, "20 bytes on a 32-bit target");

static_assert(offsetof(RW_VAR, connectNo) == 0, "word 0");
static_assert(offsetof(RW_VAR, varId) == 1 * Int, "word 1");
static_assert(offsetof(RW_VAR, rwFlag) == 2 * Int, "word 2");
static_assert(offsetof(RW_VAR, hostWord3) == 3 * Int, "word 3");
static_assert(offsetof(RW_VAR, panelStation) == 4 * Int, "word 4");
static_assert(offsetof(RW_VAR, resultCode) == 5 * Int, "word 5");
static_assert(offsetof(RW_VAR, nameText) == 6 * Int, "word 6");
static_assert(offsetof(RW_VAR, addrText) == 6 * Int + Pointer, "word 7");
static_assert(offsetof(RW_VAR, devType) == 6 * Int + 2 * Pointer, "word 8");
static_assert(offsetof(RW_VAR, address) == 7 * Int + 2 * Pointer, "word 9");
static_assert(offsetof(RW_VAR, station) == 8 * Int + 2 * Pointer, "word 10");
static_assert(offsetof(RW_VAR, count) == 9 * Int + 2 * Pointer, "word 11");
static_assert(offsetof(RW_VAR, subIndex) == 10 * Int + 2 * Pointer, "word 12");
static_assert(offsetof(RW_VAR, hostWord13) == 11 * Int + 2 * Pointer, "word 13");
static_assert(offsetof(RW_VAR, data) == 12 * Int + 2 * Pointer, "word 14");
static_assert(sizeof(RW_VAR) == 12 * Int + 3 * Pointer, "fifteen words");

static_assert(offsetof(Protocol, frame) == 0, "word 0");
static_assert(offsetof(Protocol, frameLen) == Pointer, "word 1");
static_assert(offsetof(Protocol, replyLen) == Pointer + 1 * Int, "word 2");
static_assert(offsetof(Protocol, dataOffset) == Pointer + 2 * Int, "word 3");
static_assert(offsetof(Protocol, dataLen) == Pointer + 3 * Int, "word 4");
static_assert(offsetof(Protocol, var) == Pointer + 4 * Int, "words 5 to 19");
static_assert(offsetof(Protocol, extra20) == Pointer + 4 * Int + sizeof(RW_VAR), "word 20");
static_assert(offsetof(Protocol, extra21) == Pointer + 5 * Int + sizeof(RW_VAR), "word 21");
static_assert(offsetof(Protocol, extra22) == Pointer + 6 * Int + sizeof(RW_VAR), "word 22");
static_assert(sizeof(Protocol) == padded(Pointer + 7 * Int + sizeof(RW_VAR)), "twenty-three words");

static_assert(offsetof(EXTENDVAR, station) == 0, "word 0");
static_assert(offsetof(EXTENDVAR, devType) == 1 * Int, "word 1");
static_assert(offsetof(EXTENDVAR, address) == 2 * Int, "word 2");
static_assert(offsetof(EXTENDVAR, data) == padded(3 * Int), "word 3");
static_assert(sizeof(EXTENDVAR) == padded(3 * Int) + Pointer, "four words");

static_assert(offsetof(VARDESC, hostByte0) == 0, "byte 0");
static_assert(offsetof(VARDESC, devType) == 1, "byte 1");
static_assert(offsetof(VARDESC, station) == 2, "byte 2");
static_assert(offsetof(VARDESC, hostWord1) == 1 * Int, "word 1");
static_assert(offsetof(VARDESC, addrText) == 2 * Int, "word 2");
static_assert(offsetof(VARDESC, nameText) == 2 * Int + Pointer, "word 3");
static_assert(offsetof(VARDESC, count) == 2 * Int + 2 * Pointer, "word 4");
static_assert(sizeof(VARDESC) == padded(3 * Int + 2 * Pointer), "five words");

static_assert(offsetof(COMINFO, hostWord0) == 0, "word 0");
static_assert(offsetof(COMINFO, hostWord1) == 1 * Int, "word 1");
static_assert(offsetof(COMINFO, hostWord2) == 2 * Int, "word 2");
static_assert(offsetof(COMINFO, hostWord3) == 3 * Int, "word 3");
static_assert(offsetof(COMINFO, maxBlockLen) == 4 * Int, "word 4");
static_assert(offsetof(COMINFO, hostWord5) == 5 * Int, "word 5");
static_assert(offsetof(COMINFO, plcStation) == 6 * Int, "word 6");
static_assert(offsetof(COMINFO, retryLimit) == 7 * Int, "word 7");
static_assert(offsetof(COMINFO, retryCount) == 8 * Int, "word 8");
static_assert(offsetof(COMINFO, stationScope) == 9 * Int, "word 9");
static_assert(offsetof(COMINFO, hostWord10) == 10 * Int, "word 10");
static_assert(offsetof(COMINFO, frameTotal) == 11 * Int, "word 11");
static_assert(offsetof(COMINFO, frameDone) == 12 * Int, "word 12");
static_assert(offsetof(COMINFO, hostWord13) == 13 * Int, "word 13");
static_assert(offsetof(COMINFO, remoteMode) == 14 * Int, "word 14");
static_assert(offsetof(COMINFO, ownStation) == 15 * Int, "word 15");
static_assert(offsetof(COMINFO, writeMode) == 16 * Int, "word 16");
static_assert(offsetof(COMINFO, finishFlag) == 17 * Int, "word 17");
static_assert(offsetof(COMINFO, channelNo) == 18 * Int, "word 18");
static_assert(sizeof(COMINFO) == 19 * Int, "nineteen words");

} // namespace
