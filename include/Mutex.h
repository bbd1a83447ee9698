#ifndef RTIQNUTIL_MUTEX_H
#define RTIQNUTIL_MUTEX_H

#include <sys/types.h>

#include "Export.h"

namespace OrynRti {

/// A recursive mutual exclusion lock: the thread that holds it may lock it again, and it is free
/// once every lock() has had its unlock(). A class may thus call its own locking members while
/// it holds its lock. Prefer a DtScopedLock over calling lock() and unlock() by hand.
///
///     DtMutex mutex;
///     {
///         DtScopedLock lock(mutex);
///         ++sharedCount;
///     }
///
/// A copy is a fresh, free mutex, and assignment does nothing: classes that hold one stay
/// copyable, and a copy never shares or inherits the lock of its original. The virtual functions
/// keep their order; derived locks rely on it.
///
/// Threads:   every operation but construction and destruction, from any thread
/// Errors:    construction throws std::system_error when the system has no memory for it
/// Cost:      an uncontended lock() or unlock() makes no system call
class DT_EXPORT DtMutex {
public:
    DtMutex();
    DtMutex(const DtMutex& other);  ///< A fresh, free one.

    /// The mutex must be free, and no thread may be waiting for it.
    virtual ~DtMutex();

    DtMutex& operator=(const DtMutex& other);  ///< Does nothing.

    /// Waits until the calling thread holds the mutex.
    virtual void lock();

    /// True when the calling thread now holds the mutex (one unlock() more is due), false at once
    /// when another thread has it.
    virtual bool tryLock();

    /// Takes back one lock() of the calling thread. On a thread that does not hold the mutex it
    /// does nothing: another thread's lock is never taken away.
    virtual void unlock();

private:
    pthread_mutex_t mutex_;
};

}  // namespace OrynRti

#endif
