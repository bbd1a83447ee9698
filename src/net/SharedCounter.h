#ifndef RTIQNUTIL_SRC_NET_SHAREDCOUNTER_H
#define RTIQNUTIL_SRC_NET_SHAREDCOUNTER_H

#include <atomic>
#include <cstdint>

#include "net/DescriptorGate.h"

namespace OrynRti {

/// Several threads add to it, one at a time of them without a locked operation: behind a system
/// call that takes as long as all else that a socket adds to the call.
///
/// Threads: any, but see addAlone()
class SharedCounter {
public:
    // All return a number that no other call returns, if the amounts are above 0.

    std::uint64_t add(std::uint64_t amount) {
        return (ofMany_.fetch_add(amount, std::memory_order_relaxed) + amount) * 2 + 1;
    }

    /// Whoever calls it makes sure that nobody else does so meanwhile.
    std::uint64_t addAlone(std::uint64_t amount) {
        const std::uint64_t count = ofOne_.load(std::memory_order_relaxed) + amount;
        ofOne_.store(count, std::memory_order_relaxed);
        return count * 2;
    }

    /// By users of one and the same gate.
    std::uint64_t add(const DescriptorGate::Use& use, std::uint64_t amount) {
        return use.isFirst() ? addAlone(amount) : add(amount);
    }

    /// Since construction or clear().
    std::uint64_t total() const {
        const std::uint64_t cleared = cleared_.load(std::memory_order_acquire);  // with clear()
        return sum() - cleared;
    }

    /// Nothing that is being added meanwhile gets lost.
    void clear() { cleared_.store(sum(), std::memory_order_release); }

private:
    std::uint64_t sum() const {
        return ofOne_.load(std::memory_order_relaxed) + ofMany_.load(std::memory_order_relaxed);
    }

    std::atomic<std::uint64_t> ofOne_{0};
    std::atomic<std::uint64_t> ofMany_{0};
    std::atomic<std::uint64_t> cleared_{0};
};

}  // namespace OrynRti

#endif
