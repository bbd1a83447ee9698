#include "text/ForkLocks.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iterator>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <vector>

namespace OrynRti {

namespace {

using Clock = std::chrono::steady_clock;

struct KeptLock {
    DtMutex* lock;
    DtForkRank rank;
};

struct KeptLocks {
    std::mutex mutex;
    std::vector<KeptLock> locks;  // by rank
};

KeptLocks* theKeptLocks = nullptr;  // never destroyed: threads may outlive main()

/// Whoever holds it that long may be waiting for a lock that is taken already. Threads that take it
/// again and again leave gaps of some nanoseconds only, so this asks as often as it can.
bool takeSoon(DtMutex& lock) {
    constexpr auto patience = std::chrono::milliseconds(10);
    constexpr int triesBeforeYield = 1000;
    Clock::time_point end{};
    for (int tries = 1; !lock.tryLock(); ++tries) {
        if (tries % triesBeforeYield != 0)
            continue;
        const Clock::time_point now = Clock::now();
        end = end == Clock::time_point{} ? now + patience : end;
        if (now > end)
            return false;
        sched_yield();
    }
    return true;
}

/// All of them or none.
bool takeAll(const std::vector<KeptLock>& locks) {
    for (std::size_t i = 0; i < locks.size(); ++i) {
        if (takeSoon(*locks[i].lock))
            continue;
        while (i > 0)
            locks[--i].lock->unlock();
        return false;
    }
    return true;
}

void beforeFork() {
    constexpr timespec pause{0, 2000000};
    for (;;) {
        theKeptLocks->mutex.lock();
        if (takeAll(theKeptLocks->locks))
            return;
        theKeptLocks->mutex.unlock();
        nanosleep(&pause, nullptr);  // in which their holders get on
    }
}

void inParent() {
    for (const KeptLock& kept : theKeptLocks->locks)
        kept.lock->unlock();
    theKeptLocks->mutex.unlock();
}

/// The forking thread has another number here, by which it could not unlock what it has locked.
void inChild() {
    for (const KeptLock& kept : theKeptLocks->locks)
        new (kept.lock) DtMutex;
    new (&theKeptLocks->mutex) std::mutex;
}

KeptLocks& keptLocks() {
    static const bool made = [] {
        theKeptLocks = new KeptLocks;
        if (pthread_atfork(&beforeFork, &inParent, &inChild) != 0)
            throw std::bad_alloc();
        return true;
    }();
    static_cast<void>(made);
    return *theKeptLocks;
}

}  // namespace

void DtKeepForForks(DtMutex& lock, DtForkRank rank) {
    KeptLocks& kept = keptLocks();
    const std::lock_guard<std::mutex> guard(kept.mutex);
    const auto place = std::find_if(kept.locks.rbegin(), kept.locks.rend(),
                                    [rank](const KeptLock& each) { return each.rank <= rank; });
    kept.locks.insert(place.base(), {&lock, rank});
}

void DtForgetForForks(DtMutex& lock) {
    KeptLocks& kept = keptLocks();
    const std::lock_guard<std::mutex> guard(kept.mutex);
    const auto found = std::find_if(kept.locks.rbegin(), kept.locks.rend(),
                                    [&lock](const KeptLock& each) { return each.lock == &lock; });
    if (found != kept.locks.rend())
        kept.locks.erase(std::prev(found.base()));
}

}  // namespace OrynRti
