// Reading the clock and stamping time, beside the system call that they stand on.
#include <benchmark/benchmark.h>
#include <sys/time.h>

#include "PerformanceStats.h"
#include "Time.h"

using namespace OrynRti;

namespace {

void bareGettimeofday(benchmark::State& state) {
    timeval now{};
    for (auto _ : state) {
        gettimeofday(&now, nullptr);
        benchmark::DoNotOptimize(now);
    }
}
BENCHMARK(bareGettimeofday);

void readClock(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(DtAbsRealTime());
}
BENCHMARK(readClock);

void stampTime(benchmark::State& state) {
    double now_s = DtAbsRealTime();
    for (auto _ : state)
        benchmark::DoNotOptimize(DtNetTimeStamp(now_s += 0.001, DtTimeStampAbsolute));
}
BENCHMARK(stampTime);

void addTime(benchmark::State& state) {
    DtPerformanceStats stats;
    for (auto _ : state)
        stats.stat(3).addTime(0.001);
    benchmark::DoNotOptimize(stats.stats().back());
}
BENCHMARK(addTime);

}  // namespace
