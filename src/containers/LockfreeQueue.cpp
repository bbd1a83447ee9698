#include "LockfreeQueue.h"

#include <boost/lockfree/queue.hpp>
#include <cstddef>
#include <limits>
#include <memory>
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

DtLockfreeQueueImpl::DtLockfreeQueueImpl(unsigned long capacity)
    : queue_(newQueue(capacity)), capacity_(capacity) {}

DtLockfreeQueueImpl::~DtLockfreeQueueImpl() = default;

DtLockfreeQueueImpl::Queue* DtLockfreeQueueImpl::newQueue(unsigned long capacity) {
    constexpr std::size_t most =
        (std::numeric_limits<std::size_t>::max() - sizeof(Queue)) / sizeof(void*) - 1;
    if (capacity > most)
        throw std::bad_alloc();
    const std::size_t slots_bytes = (capacity + 1) * sizeof(void*);
    void* const block =
        ::operator new (sizeof(Queue) + slots_bytes, std::align_val_t{alignof(Queue)});
    auto* queue = new (block) Queue;
    std::uninitialized_default_construct_n(queue->slots(), capacity + 1);
    return queue;
}

void DtLockfreeQueueImpl::FreeQueue::operator()(Queue* queue) const {
    queue->~Queue();
    ::operator delete (queue, std::align_val_t{alignof(Queue)});
}

}  // namespace OrynRti
