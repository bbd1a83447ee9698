// The allocation functions of this test program, which fail when they are told to.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <sched.h>
#include <string>
#include <unistd.h>

#include "faults/Allocations.h"
#include "support/Sanitizers.h"

namespace {

std::atomic<long> theLiveBlocks{0};
std::atomic<long> theCountdown{0};  ///< The allocation that brings it to 0 fails.
std::atomic<bool> theRestFails{false};
std::atomic<bool> theOthersFail{false};
thread_local bool theThreadFails = false;

// The thread sanitizer has allocation functions of its own, which a program cannot replace.
#if !DT_TEST_THREAD_SANITIZER
bool fails() {
    if (!theThreadFails && !theOthersFail)
        return false;
    const long left = theCountdown.fetch_sub(1) - 1;
    return left == 0 || (left < 0 && theRestFails);
}

void* allocate(std::size_t size, std::size_t alignment) {
    if (fails())
        return nullptr;
    void* block = nullptr;
    if (posix_memalign(&block, alignment, size) != 0)
        return nullptr;
    theLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
    void* const block = allocate(size, alignment);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void release(void* block) {
    if (block != nullptr)
        theLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}
#endif

}  // namespace

#if !DT_TEST_THREAD_SANITIZER

// Each form is replaced: a sanitizer brings some of its own, which would not call ours.
void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignof(std::max_align_t));
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete[](void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}
#endif

namespace OrynRti::Tests {

namespace {

long entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<long>(std::distance(begin(entries), end(entries)));
}

/// Below the heading.
long linesOf(const char* path) {
    std::ifstream file(path);
    long lines = -1;
    for (std::string line; std::getline(file, line);)
        ++lines;
    return lines;
}

std::string ipcNamespace() {
    return std::filesystem::read_symlink("/proc/self/ns/ipc");
}

const std::string theIpcNamespaceOfAll = ipcNamespace();

/// A thread that has been joined may be in the system's books for a moment, and what another
/// process is attached to as well.
template <typename Condition>
Holdings holdingsOnce(Condition holds) {
    Holdings holdings = Holdings::now();
    for (int tries = 0; !holds(holdings) && tries < 10000; ++tries) {
        sched_yield();
        holdings = Holdings::now();
    }
    return holdings;
}

std::string theRunningCase;

/// An exception that leaves a destructor ends the process: tell in which case.
void tellCaseAndAbort() {
    std::fprintf(stderr, "%s: an exception that nobody can catch\n", theRunningCase.c_str());
    std::abort();
}

/// While it lives, allocations fail.
class Shortage {
public:
    Shortage(Failing failing, long nth) {
        theCountdown = nth;
        theRestFails = failing == Failing::ThisThreadFromThere;
        theThreadFails = failing != Failing::OneOfAnyThread;
        theOthersFail = failing == Failing::OneOfAnyThread;
    }
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
    ~Shortage() { theThreadFails = theOthersFail = false; }

    bool hasFailed() const { return theCountdown <= 0; }
};

}  // namespace

Holdings Holdings::now() {
    const long blocks = theLiveBlocks;
    const bool ipcIsOurs = ipcNamespace() != theIpcNamespaceOfAll;
    return {blocks, entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"),
            ipcIsOurs ? linesOf("/proc/sysvipc/shm") : 0,
            ipcIsOurs ? linesOf("/proc/sysvipc/sem") : 0};
}

bool Holdings::operator==(const Holdings& other) const {
    return isWithin(other) && other.isWithin(*this);
}

bool Holdings::isWithin(const Holdings& other) const {
    return blocks <= other.blocks && descriptors <= other.descriptors && threads <= other.threads &&
           segments <= other.segments && semaphoreSets <= other.semaphoreSets;
}

std::ostream& operator<<(std::ostream& out, const Holdings& holdings) {
    return out << holdings.blocks << " blocks, " << holdings.descriptors << " descriptors, "
               << holdings.threads << " threads, " << holdings.segments << " segments, "
               << holdings.semaphoreSets << " semaphore sets";
}

void Attempt::operator()(const std::function<void()>& work) {
    const Shortage shortage(failing_, nth_);
    try {
        work();
        done_ = true;
    } catch (const std::bad_alloc&) {
        done_ = false;
    }
    failed_ = shortage.hasFailed();
}

void expectSurvival(const AllocationCase& tried, Failing failing) {
    if (theThreadSanitizerIsOn)
        GTEST_SKIP() << "allocations cannot be made to fail here";
    constexpr long never = 1L << 40;
    const auto earlier = std::set_terminate(&tellCaseAndAbort);
    theRunningCase = tried.name;
    SCOPED_TRACE(tried.name);
    Attempt first(failing, never);
    tried.run(first);  // fills what is kept for later calls
    const Holdings before = Holdings::now();
    for (long nth = 1;; ++nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        Attempt attempt(failing, nth);
        tried.run(attempt);
        if (testing::Test::HasFailure())
            break;
        const Holdings after =
            holdingsOnce([&](const Holdings& current) { return current.isWithin(before); });
        EXPECT_TRUE(after.isWithin(before)) << after << ", but were " << before;
        EXPECT_FALSE(tried.answer == AllocationCase::Throws && attempt.hasFailed() &&
                     attempt.isDone())
            << "the failure was swallowed";
        if (!attempt.hasFailed() || testing::Test::HasFailure())
            break;
    }
    EXPECT_EQ(holdingsOnce([&](const Holdings& current) { return current == before; }), before);
    std::set_terminate(earlier);
}

TEST(AllocationsTest, TellWhatIsLeftOver) {
    if (theThreadSanitizerIsOn)
        GTEST_SKIP() << "allocations cannot be counted here";
    const Holdings before = Holdings::now();
    void* const leaked = ::operator new(1);  // no expression, which a compiler might leave out
    EXPECT_FALSE(Holdings::now().isWithin(before));
    ::operator delete(leaked);
    EXPECT_EQ(Holdings::now(), before);
}

}  // namespace OrynRti::Tests
