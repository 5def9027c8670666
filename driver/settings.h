/// The host's settings record, read and written a word at a time from any thread.
#pragma once

#include "driver/driver_object.h"

/// The plain words that records fix cannot be std::atomic, so single words shared between threads go through these.
template <class Word>
Word loadWord(const Word &word)
{
    return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <class Word>
void storeWord(Word &word, Word value)
{
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

/// The settings while the host has given no record: they read as 0, and the driver keeps its own progress words here.
extern COMINFO standInSettings;

inline int &settingWord(int COMINFO::*word)
{
    COMINFO *const info = loadWord(PLC_driver.comInfo);
    // By pointer: g++ 12 makes a copy of (condition ? *info : standIn).*word and returns a reference to it.
    COMINFO *const settings = info != nullptr ? info : &standInSettings;
    return settings->*word;
}

/// One word of the settings.
inline int setting(int COMINFO::*word)
{
    return loadWord(settingWord(word));
}

inline void setSetting(int COMINFO::*word, int value)
{
    storeWord(settingWord(word), value);
}

/// Sets every word of the stand-in to 0.
void clearStandIn();
