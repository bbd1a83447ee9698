#ifndef RTIQNUTIL_BENCH_BURSTS_H
#define RTIQNUTIL_BENCH_BURSTS_H

#include "support/Allocations.h"
#include "support/LoopbackUdp.h"
#include "support/SystemCalls.h"

namespace bench {

/// As timeBursts(), and counts what an item costs beside time, in steady state.
template <typename Prepare, typename Work>
void measureBursts(benchmark::State& state, int items, Prepare prepare, Work work) {
    timeBursts(state, items, prepare, work);
    prepare();
    work();
    prepare();
    long allocations = 0;
    {
        const CountedAllocations counted;
        work();
        allocations = static_cast<long>(counted.count());
    }
    prepare();
    const long systemCalls = systemCallsOf(work);
    const auto perItem = [items](long count) { return static_cast<double>(count) / items; };
    state.counters["allocations"] = perItem(allocations);
    state.counters["system_calls"] = perItem(systemCalls);
    state.counters["system_calls_and_allocations"] = perItem(systemCalls + allocations);
}

}  // namespace bench

#endif
