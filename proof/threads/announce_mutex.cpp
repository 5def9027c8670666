/// Tells ThreadSanitizer of every QMutex. Qt is not instrumented, so that its locks go unseen and everything under them
/// would be reported. The linker puts these in place of the QMutex functions that a module calls (--wrap), so this file
/// belongs into every instrumented module.
#include <QtCore/QMutex>

#include <sanitizer/tsan_interface.h>

// The mangled names of QMutex::lock, unlock, tryLock(int), QMutex(RecursionMode) and ~QMutex.
extern "C" {

void __real__ZN6QMutex4lockEv(QMutex *mutex);
void __real__ZN6QMutex6unlockEv(QMutex *mutex);
bool __real__ZN6QMutex7tryLockEi(QMutex *mutex, int timeout);
void __real__ZN6QMutexC1ENS_13RecursionModeE(QMutex *mutex, QMutex::RecursionMode mode);
void __real__ZN6QMutexD1Ev(QMutex *mutex);

void __wrap__ZN6QMutex4lockEv(QMutex *mutex)
{
    __tsan_mutex_pre_lock(mutex, 0);
    __real__ZN6QMutex4lockEv(mutex);
    __tsan_mutex_post_lock(mutex, 0, 0);
}

void __wrap__ZN6QMutex6unlockEv(QMutex *mutex)
{
    __tsan_mutex_pre_unlock(mutex, 0);
    __real__ZN6QMutex6unlockEv(mutex);
    __tsan_mutex_post_unlock(mutex, 0);
}

bool __wrap__ZN6QMutex7tryLockEi(QMutex *mutex, int timeout)
{
    __tsan_mutex_pre_lock(mutex, __tsan_mutex_try_lock);
    const bool locked = __real__ZN6QMutex7tryLockEi(mutex, timeout);
    __tsan_mutex_post_lock(mutex, __tsan_mutex_try_lock | (locked ? 0 : __tsan_mutex_try_lock_failed), 0);
    return locked;
}

void __wrap__ZN6QMutexC1ENS_13RecursionModeE(QMutex *mutex, QMutex::RecursionMode mode)
{
    __real__ZN6QMutexC1ENS_13RecursionModeE(mutex, mode);
    __tsan_mutex_create(mutex, mode == QMutex::Recursive ? __tsan_mutex_write_reentrant : 0);
}

void __wrap__ZN6QMutexD1Ev(QMutex *mutex)
{
    __tsan_mutex_destroy(mutex, 0);
    __real__ZN6QMutexD1Ev(mutex);
}

} // extern "C"
