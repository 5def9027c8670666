#include "image/areas.h"

unsigned char *bitArea(int storageCode)
{
    unsigned char *const areas[] = {PLC_driver.bitImage0, PLC_driver.bitImage1, PLC_driver.bitImage2,
                                    PLC_driver.bitImage3, PLC_driver.bitImage4, PLC_driver.bitImage5,
                                    PLC_driver.bitImage6};
    return storageCode >= 0 && storageCode <= 6 ? areas[storageCode] : nullptr;
}

unsigned short *wordArea(int storageCode)
{
    switch (storageCode) {
    case 7:
        return PLC_driver.wordImage7;
    case 8:
        return PLC_driver.wordImage8;
    case 9:
        return PLC_driver.wordImage9;
    case 10:
        return PLC_driver.wordImage10;
    case 11:
        return PLC_driver.wordImage11;
    case 100:
        return PLC_driver.wordImage100;
    }
    return nullptr;
}
