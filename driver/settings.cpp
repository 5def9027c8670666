#include "driver/settings.h"

COMINFO standInSettings;

void clearStandIn()
{
    for (int COMINFO::*word : {&COMINFO::retryCount, &COMINFO::frameTotal, &COMINFO::frameDone, &COMINFO::finishFlag})
        storeWord(standInSettings.*word, 0);
}
