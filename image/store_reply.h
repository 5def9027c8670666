/// Stores a checked reply to the frame in flight into the image.
#pragma once

#include "driver/records.h"

/// Stores read data by the storage mode, and puts the bit of a bit-in-word write into the frame that waits behind its
/// read. writeHead is a copy of the write at the head of the queue (a record without data when the queue is empty): it
/// names the bit. A caller that holds imageMutex must have made the copy before. REQUIRES: protocolList not empty.
void SaveToLocalDataErea(const QByteArray *reply, const RW_VAR &writeHead);
/// Image mode: stores the word that was read, then patches the waiting frame.
void SpecialRegisterSave(const QByteArray &reply, unsigned short *area, const RW_VAR &writeHead);
