// The lock-free queues beside those of Boost, which are their measure: an entry pushed and popped
// by one thread, and a flow of entries from one thread to another.
#include <atomic>
#include <benchmark/benchmark.h>
#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>
#include <thread>

#include "LockfreeQueue.h"
#include "support/Pinning.h"

using namespace OrynRti;

namespace {

constexpr unsigned int theCapacity = 1024;

/// The operations of a queue of Boost under the names of ours.
template <class Queue>
struct BareQueue {
    explicit BareQueue(unsigned int capacity) : queue(capacity) {}
    bool _push(void* data) { return queue.push(data); }
    bool _pop(void*& data) { return queue.pop(data); }

    Queue queue;
};

using BareSpsc = BareQueue<boost::lockfree::spsc_queue<void*>>;

struct BareMpmc : BareQueue<boost::lockfree::queue<void*>> {
    using BareQueue::BareQueue;
    bool _push(void* data) { return queue.bounded_push(data); }
};

/// Through a pointer, as threads come to the queue that they share.
template <class Queue>
void pushAndPop(benchmark::State& state) {
    Queue own(theCapacity);
    Queue* volatile shared = &own;
    Queue* const queue = shared;
    void* data = &own;
    for (auto _ : state) {
        benchmark::DoNotOptimize(queue->_push(data));
        benchmark::DoNotOptimize(queue->_pop(data));
    }
}
BENCHMARK(pushAndPop<DtLockfreeQueueImpl>)->Name("SpscPushPop/Ours");
BENCHMARK(pushAndPop<BareSpsc>)->Name("SpscPushPop/Limit");
BENCHMARK(pushAndPop<DtLockfreeMpmcQueueImpl>)->Name("MpmcPushPop/Ours");
BENCHMARK(pushAndPop<BareMpmc>)->Name("MpmcPushPop/Limit");

/// The other end of a flow: pops until the last entry, which is null.
template <class Queue>
void popAll(Queue& queue) {
    const bench::PinnedTo there(1);
    for (void* data = &queue; data != nullptr;)
        if (!queue._pop(data))
            std::this_thread::yield();
}

template <class Queue>
void pushWhenThereIsRoom(Queue& queue, void* data) {
    while (!queue._push(data))
        std::this_thread::yield();
}

template <class Queue>
void flow(benchmark::State& state) {
    const bench::PinnedTo here(0);
    Queue queue(theCapacity);
    std::thread consumer([&] { popAll(queue); });
    for (auto _ : state)
        pushWhenThereIsRoom(queue, &queue);
    pushWhenThereIsRoom(queue, nullptr);
    consumer.join();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(flow<DtLockfreeQueueImpl>)->Name("SpscFlow/Ours")->UseRealTime();
BENCHMARK(flow<BareSpsc>)->Name("SpscFlow/Limit")->UseRealTime();
BENCHMARK(flow<DtLockfreeMpmcQueueImpl>)->Name("MpmcFlow/Ours")->UseRealTime();
BENCHMARK(flow<BareMpmc>)->Name("MpmcFlow/Limit")->UseRealTime();

}  // namespace
