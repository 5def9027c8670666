// A program that is linked with the driver and calls it by name.
#include "driver/emerson_ec_series.h"

#include <cstdio>

int main()
{
    unsigned char digits[] = "123456789";
    COMINFO info;
    info.maxBlockLen = 32;
    SetComInfo(&info);
    std::printf("%04X %d\n", CalCRC(digits, 9), PLCAddressChangeIntef(15, QString::fromLatin1("10.3")));
    return PLC_driver.comInfo == &info ? 0 : 1;
}
