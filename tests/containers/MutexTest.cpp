#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

#include "Mutex.h"
#include "ScopedLock.h"

namespace OrynRti {
namespace {

/// Whether another thread could take the mutex now.
bool isFree(DtMutex& mutex) {
    bool taken = false;
    std::thread([&] {
        taken = mutex.tryLock();
        if (taken)
            mutex.unlock();
    }).join();
    return taken;
}

TEST(MutexTest, IsFreeAfterAsManyUnlocksAsLocks) {
    DtMutex mutex;
    mutex.lock();
    EXPECT_TRUE(mutex.tryLock());
    mutex.unlock();
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexTest, CopiesAndAssignmentsShareNoLock) {
    DtMutex locked;
    locked.lock();
    DtMutex copy(locked);
    EXPECT_TRUE(isFree(copy));
    locked = copy;
    EXPECT_FALSE(isFree(locked));
    locked.unlock();
}

TEST(ScopedLockTest, HoldsFromItsFirstLockToItsUnlockOrEnd) {
    DtMutex mutex;
    {
        DtScopedLock lock(mutex, false);
        EXPECT_FALSE(lock.locked());
        EXPECT_EQ(nullptr, static_cast<const void*>(lock));
        lock.unlock();
        lock.lock();
        lock.lock();
        EXPECT_TRUE(lock.locked());
        EXPECT_NE(nullptr, static_cast<const void*>(lock));
        EXPECT_FALSE(isFree(mutex));
        lock.unlock();
        EXPECT_FALSE(lock.locked());
        EXPECT_TRUE(isFree(mutex));
        lock.lock();
    }
    EXPECT_TRUE(isFree(mutex));
    EXPECT_THROW(
        {
            const DtScopedLock lock(mutex, true);
            EXPECT_FALSE(isFree(mutex));
            throw std::runtime_error("leaves the block");
        },
        std::runtime_error);
    EXPECT_TRUE(isFree(mutex));
}

//----------------------------------------------------------------------------------------------

void noteLock(void* calls) {
    *static_cast<std::string*>(calls) += '+';
}
void noteUnlock(void* calls) {
    *static_cast<std::string*>(calls) += '-';
}

TEST(ScopedSequenceLockTest, CopiesLockAndEveryEndUnlocks) {
    std::string calls;
    {
        const DtScopedSequenceLock first(&calls, noteLock, noteUnlock);
        EXPECT_EQ("", calls);
        {
            const DtScopedSequenceLock copy(first);
            EXPECT_EQ("+", calls);
        }
        EXPECT_EQ("+-", calls);
        const DtScopedSequenceLock withoutFunctions(&calls, nullptr, nullptr);
        const DtScopedSequenceLock copy(withoutFunctions);
    }
    EXPECT_EQ("+--", calls);
}

//----------------------------------------------------------------------------------------------

/// Counts up in two steps, which threads that are not kept apart would mix.
struct SlowCounter {
    int value = 0;
    void increase() {
        const int before = value;
        std::this_thread::yield();
        value = before + 1;
    }
};

TEST(ThreadSafeTest, EveryAccessIsOneLockedStep) {
    constexpr int count = 500;
    DtThreadSafe<SlowCounter> counter;
    const auto work = [&] {
        for (int i = 0; i < count; ++i)
            counter->increase();
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(2 * count, counter->value);
}

}  // namespace
}  // namespace OrynRti
