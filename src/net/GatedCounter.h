#ifndef RTIQNUTIL_SRC_NET_GATEDCOUNTER_H
#define RTIQNUTIL_SRC_NET_GATEDCOUNTER_H

#include <atomic>
#include <cstdint>

#include "net/DescriptorGate.h"

namespace OrynRti {

/// Counts what is done inside of a gate. The first one inside counts for itself, without a locked
/// operation: behind a system call that takes as long as all else that receiving adds to the call.
///
/// Threads: any; add() by users of one and the same gate
class GatedCounter {
public:
    /// A number that no other call returns, if the amounts are above 0.
    std::uint64_t add(const DescriptorGate::Use& use, std::uint64_t amount) {
        if (!use.isFirst())
            return (ofOthers_.fetch_add(amount, std::memory_order_relaxed) + amount) * 2 + 1;
        const std::uint64_t count = ofFirst_.load(std::memory_order_relaxed) + amount;
        ofFirst_.store(count, std::memory_order_relaxed);
        return count * 2;
    }

    /// For those who are in no gate, or in another one.
    void addOutside(std::uint64_t amount) {
        ofOthers_.fetch_add(amount, std::memory_order_relaxed);
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
        return ofFirst_.load(std::memory_order_relaxed) + ofOthers_.load(std::memory_order_relaxed);
    }

    std::atomic<std::uint64_t> ofFirst_{0};
    std::atomic<std::uint64_t> ofOthers_{0};
    std::atomic<std::uint64_t> cleared_{0};
};

}  // namespace OrynRti

#endif
