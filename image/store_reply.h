/// Stores a checked reply to the frame in flight into the image.
#pragma once

#include "driver/records.h"

/// The bit that the write at the head of the queue is about.
struct QueuedBit {
    int number;
    int value; ///< 1 sets it, 0 clears it; any other leaves the word as it was read.
};

const QueuedBit NoBit = {0, -1};

/// The bit of the write at the head of the queue; NoBit when there is none. REQUIRES: listMutex held.
QueuedBit queuedBit();

/// Stores read data by the storage mode, and puts the bit of a bit-in-word write into the frame that waits behind its
/// read. REQUIRES: protocolList not empty; imageMutex or storeMutex held, the bit asked for before that.
void SaveToLocalDataErea(const QByteArray *reply, QueuedBit queued);
/// Image mode: stores the word that was read, then patches the waiting frame.
void SpecialRegisterSave(const QByteArray &reply, unsigned short *area, QueuedBit queued);
