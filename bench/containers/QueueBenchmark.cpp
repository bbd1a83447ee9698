// The lock-free queues beside those of Boost, which are their measure: an entry pushed and popped
// by one thread, and a flow of entries from one thread to another.
#include <benchmark/benchmark.h>
#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>
#include <memory>
#include <thread>

#include "LockfreeQueue.h"
#include "support/Pinning.h"

using namespace OrynRti;

namespace {

constexpr unsigned int theCapacity = 1024;
constexpr int theBurst = 100;

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

/// On cache lines of its own, where no other variable of a thread disturbs the other.
template <class Queue>
struct alignas(128) Shared {
    Queue queue{theCapacity};
};

/// One thread on both ends.
template <class Queue>
void pushAndPop(benchmark::State& state) {
    const auto shared = std::make_unique<Shared<Queue>>();
    Queue& queue = shared->queue;
    void* data = &queue;
    for (auto _ : state) {
        for (int i = 0; i < theBurst; ++i)
            benchmark::DoNotOptimize(queue._push(data));
        for (int i = 0; i < theBurst; ++i)
            benchmark::DoNotOptimize(queue._pop(data));
    }
    state.SetItemsProcessed(state.iterations() * theBurst);
}
BENCHMARK(pushAndPop<DtLockfreeQueueImpl>)->Name("SpscPushPop/Ours");
BENCHMARK(pushAndPop<BareSpsc>)->Name("SpscPushPop/Limit");
BENCHMARK(pushAndPop<DtLockfreeMpmcQueueImpl>)->Name("MpmcPushPop/Ours");
BENCHMARK(pushAndPop<BareMpmc>)->Name("MpmcPushPop/Limit");

/// What either end of a flow has to do for an entry: some ten nanoseconds.
void work() {
    for (int i = 0; i < 30; ++i)
        benchmark::ClobberMemory();
}

/// Until the last entry, which is null.
template <class Queue>
void popAll(Queue& queue) {
    const bench::PinnedTo there(1);
    for (void* data = &queue; data != nullptr;)
        if (queue._pop(data))
            work();
        else
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
    const auto shared = std::make_unique<Shared<Queue>>();
    Queue& queue = shared->queue;
    std::thread consumer([&] { popAll(queue); });
    for (auto _ : state) {
        work();
        pushWhenThereIsRoom(queue, &queue);
    }
    pushWhenThereIsRoom(queue, nullptr);
    consumer.join();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(flow<DtLockfreeQueueImpl>)->Name("SpscFlow/Ours")->UseRealTime();
BENCHMARK(flow<BareSpsc>)->Name("SpscFlow/Limit")->UseRealTime();
BENCHMARK(flow<DtLockfreeMpmcQueueImpl>)->Name("MpmcFlow/Ours")->UseRealTime();
BENCHMARK(flow<BareMpmc>)->Name("MpmcFlow/Limit")->UseRealTime();

}  // namespace
