#ifndef RTIQNUTIL_SRC_NET_DESCRIPTORGATE_H
#define RTIQNUTIL_SRC_NET_DESCRIPTORGATE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include "net/SystemCall.h"

namespace OrynRti {

/// Lets many threads use a descriptor while one may close it: closing first turns new users
/// away, then waits for those inside to leave, so that nobody ever uses a number that means
/// another file by now.
///
///     const DescriptorGate::Use use(gate);
///     if (use.descriptor() < 0) return closed();
///     recvmsg(use.descriptor(), ...);
class DescriptorGate {
public:
    class Use {
    public:
        explicit Use(DescriptorGate& gate)
            : gate_(gate), first_(gate.enter()), descriptor_(gate.descriptor_.load()) {}
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        ~Use() { gate_.leave(first_); }

        /// -1 when closed.
        int descriptor() const { return descriptor_; }

        /// Whether nobody was inside. There is one such user at a time, and each sees what the one
        /// before has done.
        bool isFirst() const { return first_; }

    private:
        DescriptorGate& gate_;
        const bool first_;
        const int descriptor_;
    };

    /// While it is closed.
    void open(Descriptor descriptor) {
        held_ = std::move(descriptor);
        descriptor_ = held_.number();
    }

    /// Turns new users away and returns the descriptor, still open; -1 when there is none.
    int beginClose() { return descriptor_.exchange(-1); }

    /// Waits until all users have left and hands the descriptor over. Whoever closes makes sure
    /// that no user waits for ever.
    Descriptor endClose() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (first_ || others_ != 0)
            left_.wait_for(lock, std::chrono::milliseconds(1));
        return std::move(held_);
    }

    /// Instead of both in a child of fork(), where those who were inside do not exist.
    Descriptor closeWithoutUsers() {
        descriptor_ = -1;
        first_ = false;
        others_ = 0;
        return std::move(held_);
    }

    /// -1 when closed.
    int descriptor() const { return descriptor_; }

private:
    // One of two crossing threads sees the other: a user announces itself and then reads the
    // descriptor, a closer takes the descriptor and then looks for users, in one total order.
    // In leaving there is no such order, which would cost a locked operation behind each system
    // call: a user may overlook the closer, who therefore looks again by itself.

    bool enter() {
        const bool first = !first_.exchange(true);  // after the store of the first one before
        if (!first)
            others_.fetch_add(1);
        return first;
    }

    void leave(bool first) {
        if (first)
            first_.store(false, std::memory_order_release);
        else
            others_.fetch_sub(1);
        if (descriptor_.load(std::memory_order_relaxed) >= 0)
            return;
        const std::lock_guard<std::mutex> lock(mutex_);
        left_.notify_all();
    }

    Descriptor held_;  // of whoever opens and closes
    std::atomic<int> descriptor_{-1};
    std::atomic<bool> first_{false};  // the first user is inside
    std::atomic<std::uint32_t> others_{0};
    std::mutex mutex_;
    std::condition_variable left_;
};

}  // namespace OrynRti

#endif
