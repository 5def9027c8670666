/// The host's settings record, read and written a word at a time from any thread.
#pragma once

#include "driver/records.h"

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

/// One word of the settings. While the host has given no record, its settings read as 0 and the driver's own progress
/// words live in a stand-in that starts at 0.
int setting(int COMINFO::*word);
void setSetting(int COMINFO::*word, int value);
/// Sets every word of the stand-in to 0.
void clearStandIn();
