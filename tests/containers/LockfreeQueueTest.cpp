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
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(queue._empty());
        for (std::uintptr_t i = 1; i <= capacity; ++i)
            ASSERT_TRUE(queue._push(entry(i))) << i << " of " << capacity;
        EXPECT_FALSE(queue._push(entry(999)));
        EXPECT_EQ(queue._empty(), capacity == 0);

        void* data = entry(42);
        for (std::uintptr_t i = 1; i <= capacity; ++i) {
            ASSERT_TRUE(queue._pop(data));
            ASSERT_EQ(number(data), i);
        }
        void* const last = data;
        EXPECT_FALSE(queue._pop(data));
        EXPECT_EQ(data, last);
    }
}

TEST(LockfreeQueueTest, HoldsExactlyItsCapacityInOrder) {
    for (const unsigned int capacity : {0U, 1U, 5U, 70000U}) {
        fillAndDrain<DtLockfreeMpmcQueueImpl>(capacity);
        fillAndDrain<DtLockfreeQueueImpl>(capacity);
    }
}

TEST(LockfreeQueueTest, CountsFreeAndFilledSlotsAroundTheEnd) {
    DtLockfreeQueueImpl queue(3);
    void* data = nullptr;
    for (unsigned long held = 0; held <= 2; ++held) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(queue._size(), 3UL);
            EXPECT_EQ(queue._read_available(), held);
            EXPECT_EQ(queue._write_available(), 3 - held);
            queue._push(entry(1));
            EXPECT_EQ(queue._read_available(), held + 1);
            queue._pop(data);
        }
        queue._push(entry(1));
    }
}

TEST(LockfreeQueueTest, RefusesACapacityThatNoMemoryHolds) {
    EXPECT_THROW(DtLockfreeQueueImpl(~0UL), std::bad_alloc);
}

/// Each entry carries its producer and its place in that producer's series.
constexpr std::uintptr_t thePerProducer = 20000;

template <typename Queue>
void produce(Queue& queue, std::uintptr_t producer, std::atomic<int>& waiting) {
    --waiting;
    while (waiting > 0)
        std::this_thread::yield();
    for (std::uintptr_t i = 1; i <= thePerProducer; ++i)
        while (!queue._push(entry(producer << 32 | i)))
            std::this_thread::yield();
}

/// Takes entries until `left` is 0; counts those out of order, and sums them all up.
template <typename Queue>
void consume(Queue& queue, std::atomic<std::uintptr_t>& left, std::atomic<std::uintptr_t>& sum,
             std::atomic<int>& outOfOrder) {
    std::uintptr_t lastOf[2] = {0, 0};
    void* data = nullptr;
    while (left > 0) {
        if (!queue._pop(data)) {
            std::this_thread::yield();
            continue;
        }
        const std::uintptr_t place = number(data) & 0xFFFFFFFFU;
        std::uintptr_t& last = lastOf[number(data) >> 32];
        outOfOrder += place <= last ? 1 : 0;
        last = place;
        sum += place;
        --left;
    }
}

template <typename Queue>
void runThreads(int producers, int consumers) {
    Queue queue(64);
    std::atomic<int> waiting{producers};
    std::atomic<std::uintptr_t> left{producers * thePerProducer};
    std::atomic<std::uintptr_t> sum{0};
    std::atomic<int> outOfOrder{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < producers; ++i)
        threads.emplace_back([&, i] { produce(queue, static_cast<std::uintptr_t>(i), waiting); });
    for (int i = 0; i < consumers; ++i)
        threads.emplace_back([&] { consume(queue, left, sum, outOfOrder); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(sum, producers * thePerProducer * (thePerProducer + 1) / 2);
    EXPECT_TRUE(queue._empty());
}

TEST(LockfreeQueueTest, ManyProducersAndConsumersLoseNothingAndKeepOrder) {
    runThreads<DtLockfreeMpmcQueueImpl>(2, 2);
}

TEST(LockfreeQueueTest, OneProducerAndOneConsumerLoseNothingAndKeepOrder) {
    runThreads<DtLockfreeQueueImpl>(1, 1);
}

}  // namespace

}  // namespace OrynRti
