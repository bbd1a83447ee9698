#ifndef RTIQNUTIL_LOCKFREEQUEUE_H
#define RTIQNUTIL_LOCKFREEQUEUE_H

#include <atomic>
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

/// As DtLockfreeMpmcQueueImpl, for exactly one thread that pushes and one that pops. Compiled into
/// the caller's code, since a call would cost more than what it does.
///
/// Threads:   `_push` and `_write_available` from the one, `_pop` and `_read_available` from the
///            other; `_empty` and `_size` from both
/// Cost:      eight bytes per entry, taken at construction. Both threads read the object itself:
///            keep what either of them changes often off its cache line
class DT_EXPORT DtLockfreeQueueImpl {
public:
    /// Throws std::bad_alloc when there is no memory for that many entries.
    explicit DtLockfreeQueueImpl(unsigned long capacity);
    DtLockfreeQueueImpl(const DtLockfreeQueueImpl&) = delete;
    DtLockfreeQueueImpl& operator=(const DtLockfreeQueueImpl&) = delete;
    ~DtLockfreeQueueImpl();

    /// False when the queue is full.
    bool _push(void* const& data) {
        Queue& ring = *queue_;
        const unsigned long slot = ring.pushed.load(std::memory_order_relaxed);
        const unsigned long next = after(slot);
        if (next == ring.poppedSeen) {
            // Pairs with the release in _pop: the slot has been read before it is filled again.
            ring.poppedSeen = ring.popped.load(std::memory_order_acquire);
            if (next == ring.poppedSeen)
                return false;
        }
        ring.slots()[slot] = data;
        ring.pushed.store(next, std::memory_order_release);
        return true;
    }

    /// False when the queue is empty; `data` then stays as it is.
    bool _pop(void*& data) {
        Queue& ring = *queue_;
        const unsigned long slot = ring.popped.load(std::memory_order_relaxed);
        if (slot == ring.pushedSeen) {
            // Pairs with the release in _push: the slot has been filled before it is read.
            ring.pushedSeen = ring.pushed.load(std::memory_order_acquire);
            if (slot == ring.pushedSeen)
                return false;
        }
        data = ring.slots()[slot];
        ring.popped.store(after(slot), std::memory_order_release);
        return true;
    }

    /// On the pushing thread false, on the popping one true may already be out of date.
    bool _empty() const { return _read_available() == 0; }

    /// The capacity, not the number of entries.
    unsigned long _size() const { return capacity_; }

    /// Free and filled slots. The true figure may already be higher: the other thread can only
    /// have added to it. @{
    unsigned long _write_available() const { return capacity_ - _read_available(); }
    unsigned long _read_available() const {
        // Pair with the releases in _push and _pop.
        const unsigned long pushed = queue_->pushed.load(std::memory_order_acquire);
        const unsigned long popped = queue_->popped.load(std::memory_order_acquire);
        return pushed >= popped ? pushed - popped : pushed + capacity_ + 1 - popped;
    }
    /// @}

private:
    /// A ring of one slot more than the capacity, which stays free: a full ring is thus told from
    /// an empty one. What each thread writes is on a cache line of its own, with what it has last
    /// seen of the other: it looks again only when that does not do.
    struct Queue {
        alignas(64) std::atomic<unsigned long> pushed{0};  ///< The slot to be filled next.
        unsigned long poppedSeen = 0;
        alignas(64) std::atomic<unsigned long> popped{0};  ///< The slot to be emptied next.
        unsigned long pushedSeen = 0;

        /// They follow in the same block, which spares each operation the way to another.
        void** slots() { return reinterpret_cast<void**>(this + 1); }
    };

    struct FreeQueue {
        void operator()(Queue* queue) const;
    };

    static Queue* newQueue(unsigned long capacity);
    unsigned long after(unsigned long slot) const { return slot == capacity_ ? 0 : slot + 1; }

    // The order of the members is fixed.
    std::unique_ptr<Queue, FreeQueue> queue_;
    unsigned long capacity_;
};

}  // namespace OrynRti

#endif
