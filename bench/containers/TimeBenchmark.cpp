// Reading the clock and stamping time, beside the call that they stand on.
#include <benchmark/benchmark.h>
#include <chrono>
#include <sys/time.h>

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
BENCHMARK(bareGettimeofday)->Name("Gettimeofday/Limit");

// -------------------------------------------------------------------------------------------
// The time in seconds, as a floating-point number

void readClock(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(DtAbsRealTime());
}
BENCHMARK(readClock)->Name("ClockReading/Ours");

void gettimeofdayInSeconds(benchmark::State& state) {
    for (auto _ : state) {
        timeval now{};
        gettimeofday(&now, nullptr);
        benchmark::DoNotOptimize(double(now.tv_sec) + double(now.tv_usec) * 1e-6);
    }
}
BENCHMARK(gettimeofdayInSeconds)->Name("ClockReading/Limit");

void chronoInSeconds(benchmark::State& state) {
    using Seconds = std::chrono::duration<double>;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            Seconds(std::chrono::system_clock::now().time_since_epoch()).count());
}
BENCHMARK(chronoInSeconds)->Name("ClockReading/Std");

// -------------------------------------------------------------------------------------------

void stampTime(benchmark::State& state) {
    double now_s = DtAbsRealTime();
    for (auto _ : state)
        benchmark::DoNotOptimize(DtNetTimeStamp(now_s += 0.001, DtTimeStampAbsolute));
}
BENCHMARK(stampTime)->Name("TimeStamp/Ours");

}  // namespace
