#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <thread>
#include <vector>

#include "LockfreeQueue.h"

#if defined(__SANITIZE_THREAD__)
#define UNDER_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define UNDER_THREAD_SANITIZER
#endif
#endif

#ifdef UNDER_THREAD_SANITIZER
// Boost's pool of free nodes writes the link of a node with a plain store while a thread that is
// late may still be reading it; the tag of its next compare-and-swap makes that thread throw away
// what it read and start again. Everything outside the pool stays checked.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:boost::lockfree::detail::freelist_stack\n";
}
#endif

namespace OrynRti {

namespace {

// Entries are numbers dressed up as pointers.
void* entry(std::uintptr_t number) {
    return reinterpret_cast<void*>(number);
}

std::uintptr_t number(void* entry) {
    return reinterpret_cast<std::uintptr_t>(entry);
}

template <typename Queue>
void fillAndDrain(unsigned int capacity) {
    Queue queue(capacity);
    void* data = nullptr;
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(queue._empty());
        for (std::uintptr_t i = 1; i <= capacity; ++i)
            ASSERT_TRUE(queue._push(entry(i))) << i << " of " << capacity;
        EXPECT_FALSE(queue._push(entry(999)));
        EXPECT_EQ(queue._empty(), capacity == 0);
        for (std::uintptr_t i = 1; i <= capacity; ++i) {
            ASSERT_TRUE(queue._pop(data));
            ASSERT_EQ(number(data), i);
        }
        EXPECT_FALSE(queue._pop(data));
        EXPECT_EQ(number(data), capacity);
    }
}

TEST(LockfreeQueueTest, HoldsExactlyItsCapacityInOrder) {
    for (const unsigned int capacity : {0U, 1U, 5U, 70000U}) {
        fillAndDrain<DtLockfreeMpmcQueueImpl>(capacity);
        fillAndDrain<DtLockfreeQueueImpl>(capacity);
    }
}

TEST(LockfreeQueueTest, CountsItsSlotsAndRefusesACapacityThatNoMemoryHolds) {
    DtLockfreeQueueImpl queue(3);
    queue._push(entry(1));
    EXPECT_EQ(queue._read_available(), 1UL);
    EXPECT_EQ(queue._write_available(), 2UL);
    EXPECT_THROW(DtLockfreeQueueImpl(~0UL), std::bad_alloc);
}

constexpr std::uintptr_t thePerProducer = 20000;

/// Threads push 1 to thePerProducer each, with the producer's number on top, while as many pop
/// until all came: each consumer checks the order of each producer, and the sums must agree.
template <typename Queue>
void runThreads(int pairs) {
    Queue queue(64);
    std::atomic<int> waiting{pairs}, outOfOrder{0};
    std::atomic<std::uintptr_t> left{pairs * thePerProducer}, sum{0};
    const auto produce = [&](std::uintptr_t producer) {
        --waiting;
        while (waiting > 0)
            std::this_thread::yield();
        for (std::uintptr_t i = 1; i <= thePerProducer; ++i)
            while (!queue._push(entry(producer << 32 | i)))
                std::this_thread::yield();
    };
    const auto consume = [&] {
        std::uintptr_t lastOf[2] = {0, 0};
        for (void* data = nullptr; left > 0; std::this_thread::yield())
            while (queue._pop(data)) {
                const std::uintptr_t place = number(data) & 0xFFFFFFFFU;
                std::uintptr_t& last = lastOf[number(data) >> 32];
                outOfOrder += place <= last ? 1 : 0;
                last = place;
                sum += place;
                --left;
            }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < pairs; ++i) {
        threads.emplace_back(produce, i);
        threads.emplace_back(consume);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(sum, pairs * thePerProducer * (thePerProducer + 1) / 2);
}

TEST(LockfreeQueueTest, ThreadsLoseNothingAndKeepOrder) {
    runThreads<DtLockfreeMpmcQueueImpl>(2);
    runThreads<DtLockfreeQueueImpl>(1);
}

}  // namespace

}  // namespace OrynRti
