#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <thread>

#include "LockfreeQueue.h"
#include "containers/ThreadWork.h"

// Boost's pool of free nodes writes the link of a node with a plain store while a thread that is
// late may still be reading it; the tag of its next compare-and-swap makes that thread throw away
// what it read and start again. Everything outside the pool stays checked.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:boost::lockfree::detail::freelist_stack\n";
}

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

/// Half of the threads push 1 to 20000 each, with the thread's number on top, while the others pop
/// until all came: each of these checks the order of each producer, and the sum must be right.
template <typename Queue>
void runThreads(int pairs) {
    constexpr std::uintptr_t each = 20000;
    Queue queue(64);
    std::atomic<std::uintptr_t> left{pairs * each}, sum{0}, outOfOrder{0};
    Tests::runTogether(2 * pairs, [&](int thread) {
        if (thread < pairs)
            for (std::uintptr_t i = 1; i <= each; ++i)
                while (!queue._push(entry(std::uintptr_t(thread) << 32 | i)))
                    std::this_thread::yield();
        std::uintptr_t lastOf[2] = {0, 0};
        for (void* data = nullptr; thread >= pairs && left > 0; std::this_thread::yield())
            for (; queue._pop(data); --left) {
                const std::uintptr_t place = number(data) & 0xFFFFFFFFU;
                std::uintptr_t& last = lastOf[number(data) >> 32];
                outOfOrder += place <= last ? 1 : 0;
                last = place;
                sum += place;
            }
    });
    EXPECT_EQ(outOfOrder, 0U);
    EXPECT_EQ(sum, pairs * each * (each + 1) / 2);
}

TEST(LockfreeQueueTest, ThreadsLoseNothingAndKeepOrder) {
    runThreads<DtLockfreeMpmcQueueImpl>(2);
    runThreads<DtLockfreeQueueImpl>(1);
}

}  // namespace
}  // namespace OrynRti
