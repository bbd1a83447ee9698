#ifndef RTIQNUTIL_SCOPEDLOCK_H
#define RTIQNUTIL_SCOPEDLOCK_H

#include <utility>

#include "Export.h"
#include "Mutex.h"

namespace OrynRti {

/// Holds a DtMutex for the length of a block, whichever way the block is left.
///
///     DtScopedLock lock(mutex);
///     queue.push_back(item);
///
/// Ownership: the mutex must outlive the guard
class DT_EXPORT DtScopedLock {
public:
    /// Locks `mutex` at once, or, with `lockNow` false, only remembers it.
    explicit DtScopedLock(DtMutex& mutex, bool lockNow = true) : mutex_(mutex), held_(false) {
        if (lockNow)
            lock();
    }
    DtScopedLock(const DtScopedLock&) = delete;
    DtScopedLock& operator=(const DtScopedLock&) = delete;
    ~DtScopedLock() { unlock(); }

    /// Locks the mutex once, however often it is called before unlock().
    void lock() {
        if (held_)
            return;
        mutex_.lock();
        held_ = true;
    }

    /// Unlocks what lock() locked; does nothing when the guard holds nothing.
    void unlock() {
        if (!held_)
            return;
        held_ = false;
        mutex_.unlock();
    }

    bool locked() const { return held_; }  ///< Whether this guard holds the mutex.

    /// Not null while the guard holds the mutex, so that a guard can stand in a condition.
    operator const void*() const { return held_ ? this : nullptr; }

private:
    DtMutex& mutex_;
    bool held_;
};

/// A guard over any pair of lock and unlock functions, for locks that are not a DtMutex. The
/// calls are not symmetrical: construction calls nothing, every copy calls the lock function,
/// and the end of every guard, the first one included, calls the unlock function. The first
/// guard therefore takes over a lock that is already held, and each copy takes one of its own,
/// which is right for locks that nest:
///
///     DtScopedSequenceLock lockTable(Table& table) {
///         Table::lock(&table);
///         return DtScopedSequenceLock(&table, &Table::lock, &Table::unlock);
///     }
///
/// Returning a new guard as above makes no copy since C++17. A function that returns an unlocked
/// guard in the hope of a locking copy gives one that only unlocks; returning a named local may
/// or may not copy, as the compiler likes, so return the temporary.
///
/// Threads:   as the lock and unlock functions allow
/// Ownership: object and functions are the caller's and must outlive every copy
/// Errors:    the unlock function must not throw
class DT_EXPORT DtScopedSequenceLock {
public:
    /// Calls nothing. A null function is never called; `object` is passed on as it is.
    DtScopedSequenceLock(void* object, void (*lockFn)(void*), void (*unlockFn)(void*));

    /// Locks once more.
    DtScopedSequenceLock(const DtScopedSequenceLock& other);
    DtScopedSequenceLock& operator=(const DtScopedSequenceLock&) = delete;

    virtual ~DtScopedSequenceLock();

private:
    void (*lockFn_)(void*);
    void (*unlockFn_)(void*);
    void* object_;
};

/// A value whose every member access is one locked step.
///
///     DtThreadSafe<std::deque<double>> samples;
///     samples->push_back(0.5);
///
/// Two accesses are two steps: between `!samples->empty()` and `samples->front()` another thread
/// may take the last element. The lock lasts until the end of the full expression, so a reference
/// kept beyond it is not guarded.
///
/// Threads:   access through `->` from any thread; construction and destruction from one
template <class T>
class DtThreadSafe {
public:
    /// Holds the lock of the value while it lives; made by `->`, not by callers.
    class LockedProxy {
    public:
        /// Waits for the lock.
        LockedProxy(T& value, DtMutex& mutex) : value_(value), mutex_(mutex) { mutex_.lock(); }
        LockedProxy(const LockedProxy&) = delete;
        LockedProxy& operator=(const LockedProxy&) = delete;
        ~LockedProxy() { mutex_.unlock(); }

        T* operator->() const { return &value_; }  ///< Good while the proxy lives.

    private:
        T& value_;
        DtMutex& mutex_;
    };

    DtThreadSafe() = default;
    explicit DtThreadSafe(T value) : value_(std::move(value)) {}  ///< Takes the value over.
    DtThreadSafe(const DtThreadSafe&) = delete;
    DtThreadSafe& operator=(const DtThreadSafe&) = delete;

    LockedProxy operator->() { return LockedProxy(value_, mutex_); }  ///< Waits for the lock.

private:
    T value_{};
    DtMutex mutex_;
};

}  // namespace OrynRti

#endif
