#include "LockfreeQueue.h"

#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>
#include <limits>
#include <new>

namespace OrynRti {

/// The node-based form with all its nodes in reserve. The fixed-size form counts its nodes in
/// 16 bits and ends at 65534 entries.
struct DtLockfreeMpmcQueueImpl::Queue {
    // Reserved apart, since a queue that runs out of memory inside its constructor leaks what
    // it has got so far.
    explicit Queue(std::size_t capacity) : entries(0) { entries.reserve_unsafe(capacity); }

    boost::lockfree::queue<void*> entries;
};

DtLockfreeMpmcQueueImpl::DtLockfreeMpmcQueueImpl(unsigned int capacity)
    : queue_(new Queue(capacity)) {}

DtLockfreeMpmcQueueImpl::~DtLockfreeMpmcQueueImpl() = default;

bool DtLockfreeMpmcQueueImpl::_push(void* const& data) {
    return queue_->entries.bounded_push(data);
}

bool DtLockfreeMpmcQueueImpl::_pop(void*& data) {
    return queue_->entries.pop(data);
}

bool DtLockfreeMpmcQueueImpl::_empty() const {
    return queue_->entries.empty();
}

//----------------------------------------------------------------------------------------------

/// On cache lines of its own: a neighbour on the line of an index, such as the pointer by which
/// both threads come here, would have to be fetched anew after every entry.
struct alignas(64) DtLockfreeQueueImpl::Queue {
    explicit Queue(unsigned long capacity) : entries(checked(capacity)) {}

    // The ring adds one slot of its own, which must not wrap around to none.
    static unsigned long checked(unsigned long capacity) {
        if (capacity == std::numeric_limits<unsigned long>::max())
            throw std::bad_alloc();
        return capacity;
    }

    boost::lockfree::spsc_queue<void*> entries;
};

DtLockfreeQueueImpl::DtLockfreeQueueImpl(unsigned long capacity)
    : queue_(new Queue(capacity)), capacity_(capacity) {}

DtLockfreeQueueImpl::~DtLockfreeQueueImpl() = default;

bool DtLockfreeQueueImpl::_push(void* const& data) {
    return queue_->entries.push(data);
}

bool DtLockfreeQueueImpl::_pop(void*& data) {
    return queue_->entries.pop(data);
}

bool DtLockfreeQueueImpl::_empty() const {
    return queue_->entries.empty();
}

unsigned long DtLockfreeQueueImpl::_write_available() const {
    return queue_->entries.write_available();
}

unsigned long DtLockfreeQueueImpl::_read_available() const {
    return queue_->entries.read_available();
}

}  // namespace OrynRti
