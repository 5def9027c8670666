#include "proof/fuzz/input.h"

#include <climits>

namespace {

const int Codes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 100, 101, 102};
const int Edges[] = {-1,           7,           8,       15,      16,          55,      56,      57,      112,
                     255,          256,         257,     1023,    1024,        2047,    2048,    4095,    4096,
                     32767,        32768,       65533,   65534,   65535,       65536,   131070,  524271,  524272,
                     524279,       524280,      524287,  524288,  1048543,     1048544, 1048559, 1048560, 1048576,
                     INT_MAX - 16, INT_MAX - 1, INT_MAX, INT_MIN, INT_MIN + 1, -8,      -16,     -200};
const int BlockLengths[] = {32, 0, 1, 2, 3, 7, 16, 125};

} // namespace

int Input::deviceType()
{
    const int choice = byte();
    if (choice < 250)
        return Codes[choice % int(std::size(Codes))];
    return choice < 254 ? byte() : anyInt();
}

int Input::address()
{
    const int choice = byte();
    if (choice < 160)
        return choice;
    if (choice < 200)
        return Edges[byte() % int(std::size(Edges))];
    return choice < 240 ? provider.ConsumeIntegral<uint16_t>() : anyInt();
}

int Input::count()
{
    const int choice = byte();
    if (choice < 200)
        return choice;
    if (choice < 232)
        return 199 - choice;
    return choice < 250 ? provider.ConsumeIntegral<uint16_t>() : anyInt();
}

int Input::station()
{
    const int choice = byte();
    return choice < 248 ? choice % 4 : choice < 254 ? byte() : anyInt();
}

int Input::flag()
{
    const int choice = byte();
    return choice < 250 ? choice & 1 : anyInt();
}

QString Input::addressText(int devType)
{
    if (oneIn(16))
        return QString::fromLatin1(bytes(below(20)));
    const int element = address();
    switch (devType) {
    case 0:
    case 1:
        return QString::number(element, 8);
    case 13:
        return QString::number(qint64(element) + 200);
    case 15:
    case 16:
    case 17:
    case 102:
        return QString::number(element / 16) + QLatin1Char('.') + QString::number(element % 16);
    }
    return QString::number(element);
}

QByteArray Input::bytes(int size)
{
    QByteArray result(qBound(0, size, left()), Qt::Uninitialized);
    provider.ConsumeData(result.data(), size_t(result.size()));
    return result;
}

COMINFO Input::settings()
{
    COMINFO result;
    const int choice = byte();
    result.maxBlockLen = choice < 240 ? BlockLengths[choice % int(std::size(BlockLengths))] : count();
    result.plcStation = station();
    result.retryLimit = oneIn(8) ? anyInt() : below(3);
    result.retryCount = oneIn(16) ? anyInt() : 0;
    result.stationScope = flag();
    result.frameTotal = oneIn(32) ? anyInt() : 0;
    result.frameDone = oneIn(32) ? anyInt() : 0;
    result.remoteMode = flag();
    result.ownStation = 1;
    result.writeMode = oneIn(16) ? anyInt() : 2;
    result.finishFlag = flag();
    result.channelNo = byte();
    return result;
}

RW_VAR Input::record(int rwFlag)
{
    RW_VAR var;
    var.connectNo = oneIn(32) ? anyInt() : below(13);
    var.varId = below(4);
    var.rwFlag = oneIn(32) ? anyInt() : rwFlag;
    var.hostWord3 = below(2);
    var.panelStation = oneIn(4) ? anyInt() : 1;
    var.devType = deviceType();
    var.address = address();
    var.station = station();
    var.count = count();
    var.subIndex = oneIn(4) ? anyInt() : below(2) - 1;
    var.hostWord13 = byte();
    return var;
}
