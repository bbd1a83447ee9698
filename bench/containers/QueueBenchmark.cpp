// The lock-free queues, beside the Boost queues that they stand on.
#include <benchmark/benchmark.h>
#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>

#include "LockfreeQueue.h"

using namespace OrynRti;

namespace {

constexpr unsigned int theCapacity = 1024;

void manyProducers(benchmark::State& state) {
    DtLockfreeMpmcQueueImpl queue(theCapacity);
    void* data = &queue;
    for (auto _ : state) {
        queue._push(data);
        benchmark::DoNotOptimize(queue._pop(data));
    }
}
BENCHMARK(manyProducers);

void bareBoostQueue(benchmark::State& state) {
    boost::lockfree::queue<void*> queue(theCapacity);
    void* data = &queue;
    for (auto _ : state) {
        queue.bounded_push(data);
        benchmark::DoNotOptimize(queue.pop(data));
    }
}
BENCHMARK(bareBoostQueue);

void oneProducer(benchmark::State& state) {
    DtLockfreeQueueImpl queue(theCapacity);
    void* data = &queue;
    for (auto _ : state) {
        queue._push(data);
        benchmark::DoNotOptimize(queue._pop(data));
    }
}
BENCHMARK(oneProducer);

void bareBoostSpscQueue(benchmark::State& state) {
    boost::lockfree::spsc_queue<void*> queue(theCapacity);
    void* data = &queue;
    for (auto _ : state) {
        queue.push(data);
        benchmark::DoNotOptimize(queue.pop(data));
    }
}
BENCHMARK(bareBoostSpscQueue);

}  // namespace
