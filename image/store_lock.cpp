#include "image/store_lock.h"

QMutex storeMutex(QMutex::NonRecursive);
