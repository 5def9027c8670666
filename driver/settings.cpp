#include "driver/settings.h"

#include "driver/driver_object.h"

namespace {

COMINFO standIn;

int &wordOf(int COMINFO::*word)
{
    COMINFO *const info = loadWord(PLC_driver.comInfo);
    // By pointer: g++ 12 makes a copy of (condition ? *info : standIn).*word and returns a reference to it.
    COMINFO *const settings = info != nullptr ? info : &standIn;
    return settings->*word;
}

} // namespace

int setting(int COMINFO::*word)
{
    return loadWord(wordOf(word));
}

void setSetting(int COMINFO::*word, int value)
{
    storeWord(wordOf(word), value);
}

void clearStandIn()
{
    for (int COMINFO::*word : {&COMINFO::retryCount, &COMINFO::frameTotal, &COMINFO::frameDone, &COMINFO::finishFlag})
        storeWord(standIn.*word, 0);
}
