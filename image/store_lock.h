/// Remote replies are stored without imageMutex, but not without a lock: a host read would meet a growing store.
/// Whoever may meet the communication thread in the image takes both, imageMutex first; the communication thread takes
/// imageMutex for local replies and this one for remote ones. Nothing is locked under it.
#pragma once

#include <QtCore/QMutex>

extern QMutex storeMutex;
