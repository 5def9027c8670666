/// Marks the few names that the library shows; everything else is hidden.
#pragma once

#define EC_EXPORT __attribute__((visibility("default")))
