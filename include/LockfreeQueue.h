#ifndef RTIQNUTIL_LOCKFREEQUEUE_H
#define RTIQNUTIL_LOCKFREEQUEUE_H

#include <memory>

#include "Export.h"

namespace OrynRti {

/// A first-in, first-out queue of pointers of fixed capacity, for any number of threads on both
/// ends. Nobody ever waits in it: a full or an empty queue answers false.
///
///     DtLockfreeMpmcQueueImpl jobs(1024);
///     void* job = new Job;
///     if (!jobs._push(job))
///         ++refused;
///
/// With one thread on each end, DtLockfreeQueueImpl is several times cheaper.
///
/// Threads:   any operation from any thread; construction and destruction from one
/// Ownership: what the pointers point to is the caller's, also what is left at destruction
/// Cost:      all memory, a cache line per entry, is taken at construction; no locks, no system
///            calls afterwards
class DT_EXPORT DtLockfreeMpmcQueueImpl {
public:
    /// Throws std::bad_alloc when there is no memory for that many entries.
    explicit DtLockfreeMpmcQueueImpl(unsigned int capacity);
    DtLockfreeMpmcQueueImpl(const DtLockfreeMpmcQueueImpl&) = delete;
    DtLockfreeMpmcQueueImpl& operator=(const DtLockfreeMpmcQueueImpl&) = delete;
    ~DtLockfreeMpmcQueueImpl();

    /// False when the queue is full, which then stays as it is.
    bool _push(void* const& data);

    /// False when the queue is empty; `data` then stays as it is.
    bool _pop(void*& data);

    /// Already out of date when another thread pushes or pops.
    bool _empty() const;

private:
    struct Queue;
    std::unique_ptr<Queue> queue_;
};

/// As DtLockfreeMpmcQueueImpl, for exactly one thread that pushes and one that pops.
///
/// Threads:   `_push` and `_write_available` from the one, `_pop` and `_read_available` from the
///            other; `_empty` and `_size` from both
/// Cost:      eight bytes per entry, taken at construction
class DT_EXPORT DtLockfreeQueueImpl {
public:
    /// Throws std::bad_alloc when there is no memory for that many entries.
    explicit DtLockfreeQueueImpl(unsigned long capacity);
    DtLockfreeQueueImpl(const DtLockfreeQueueImpl&) = delete;
    DtLockfreeQueueImpl& operator=(const DtLockfreeQueueImpl&) = delete;
    ~DtLockfreeQueueImpl();

    bool _push(void* const& data);
    bool _pop(void*& data);
    bool _empty() const;

    /// The capacity, not the number of entries.
    unsigned long _size() const { return capacity_; }

    /// Free and filled slots. The true figure may already be higher: the other thread can only
    /// have added to it.
    unsigned long _write_available() const;
    unsigned long _read_available() const;

private:
    struct Queue;
    std::unique_ptr<Queue> queue_;
    unsigned long capacity_;
};

}  // namespace OrynRti

#endif
