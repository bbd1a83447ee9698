#include <future>
#include <gtest/gtest.h>
#include <string>

#include "Mutex.h"
#include "ScopedLock.h"
#include "containers/ThreadWork.h"

namespace OrynRti {
namespace {

/// Whether another thread could take the mutex now.
bool isFree(DtMutex& mutex) {
    const auto take = [&] { return mutex.tryLock() && (mutex.unlock(), true); };
    return std::async(std::launch::async, take).get();
}

TEST(MutexTest, IsFreeAfterAsManyUnlocksAsLocksAndSharesNoLockWithCopies) {
    DtMutex mutex;
    mutex.lock();
    EXPECT_TRUE(mutex.tryLock());
    mutex.unlock();
    EXPECT_FALSE(isFree(mutex));
    DtMutex copy(mutex);
    EXPECT_TRUE(isFree(copy));
    mutex = copy;
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(ScopedLockTest, HoldsFromItsFirstLockToItsUnlockOrEnd) {
    DtMutex mutex;
    {
        DtScopedLock lock(mutex, false);
        lock.unlock();
        EXPECT_EQ(nullptr, static_cast<const void*>(lock));
        lock.lock();
        lock.lock();
        EXPECT_NE(nullptr, static_cast<const void*>(lock));
        EXPECT_FALSE(isFree(mutex));
        lock.unlock();
        EXPECT_TRUE(isFree(mutex));
        lock.lock();
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(ScopedSequenceLockTest, CopiesLockAndEveryEndUnlocks) {
    std::string calls;
    const auto noteLock = [](void* text) { *static_cast<std::string*>(text) += '+'; };
    const auto noteUnlock = [](void* text) { *static_cast<std::string*>(text) += '-'; };
    {
        const DtScopedSequenceLock first(&calls, noteLock, noteUnlock);
        { const DtScopedSequenceLock copy(first); }
        EXPECT_EQ("+-", calls);
        const DtScopedSequenceLock withoutFunctions(&calls, nullptr, nullptr);
        const DtScopedSequenceLock copy(withoutFunctions);
    }
    EXPECT_EQ("+--", calls);
}

TEST(ThreadSafeTest, EveryAccessIsOneLockedStep) {
    DtThreadSafe<std::string> text;
    Tests::runTogether(2, [&](int) {
        for (int i = 0; i < 5000; ++i)
            text->push_back('x');
    });
    EXPECT_EQ(10000u, text->size());
}

}  // namespace
}  // namespace OrynRti
