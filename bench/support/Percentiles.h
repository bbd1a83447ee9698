#ifndef RTIQNUTIL_BENCH_PERCENTILES_H
#define RTIQNUTIL_BENCH_PERCENTILES_H

#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace bench {

/// Counts durations in classes whose width is below 1 percent of the duration, so that adding one
/// allocates nothing and takes a few instructions, however many there are.
///
///     Percentiles latency;
///     for (auto _ : state) {
///         const auto begin = Percentiles::Clock::now();
///         roundTrip();
///         latency.add(Percentiles::Clock::now() - begin);
///     }
///     latency.report(state);
class Percentiles {
public:
    using Clock = std::chrono::steady_clock;

    void add(std::chrono::nanoseconds duration) {
        ++counts_[classOf(static_cast<std::uint64_t>(duration.count()))];
        ++total_;
    }

    /// The smallest duration that at least `share` (0 to 1) of all do not exceed, in nanoseconds;
    /// 0 when there is none.
    double at(double share) const {
        const double wanted = share * static_cast<double>(total_);
        std::uint64_t seen = 0;
        for (std::size_t i = 0; i < counts_.size(); ++i) {
            seen += counts_[i];
            if (seen > 0 && static_cast<double>(seen) >= wanted)
                return static_cast<double>(lowestOf(i));
        }
        return 0;
    }

    /// Sets the counters p50_ns, p99_ns and p999_ns.
    void report(benchmark::State& state) const {
        state.counters["p50_ns"] = at(0.50);
        state.counters["p99_ns"] = at(0.99);
        state.counters["p999_ns"] = at(0.999);
    }

private:
    // Up to 2^theBits each nanosecond has its class; above, each power of two has 2^theBits.
    static constexpr unsigned theBits = 7;
    static constexpr std::size_t thePerPower = std::size_t{1} << theBits;

    static std::size_t classOf(std::uint64_t ns) {
        if (ns < thePerPower)
            return ns;
        const unsigned power = 63U - static_cast<unsigned>(__builtin_clzll(ns));
        const unsigned shift = power - theBits;
        return (shift + 1) * thePerPower + ((ns >> shift) - thePerPower);
    }

    static std::uint64_t lowestOf(std::size_t index) {
        if (index < thePerPower)
            return index;
        const std::size_t shift = index / thePerPower - 1;
        return (thePerPower + index % thePerPower) << shift;
    }

    std::array<std::uint32_t, (64 - theBits + 1) * thePerPower> counts_{};
    std::uint64_t total_ = 0;
};

}  // namespace bench

#endif
