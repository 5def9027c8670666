/// Shows a written value in the image at once.
#pragma once

#include "driver/records.h"

/// Copies the value bytes of a write into the image, in the storage mode of the settings. Takes imageMutex; listMutex
/// may be held. At most ElementLimit elements.
void WriteDataToLocal(const RW_VAR &record);
