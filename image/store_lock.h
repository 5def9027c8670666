/// The lock of the areas and the keyed store, on every path. Remote replies are stored without imageMutex, so that one
/// alone would let a host read meet a growing store. Taken last: nothing is locked under it.
#pragma once

#include <QtCore/QMutex>

extern QMutex storeMutex;
