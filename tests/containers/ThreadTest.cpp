#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/time.h>
#include <thread>
#include <vector>

#include "Exceptions.h"
#include "Thread.h"
#include "containers/ThreadWork.h"
#include "support/Notifications.h"

namespace OrynRti {
namespace {

using Tests::CapturedNotifications;
using Tests::Gate;
using Tests::Work;

std::shared_ptr<DtThreadStart> startOf(Work& work) {
    return std::make_shared<DtThreadStart>(&work);
}

#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
/// Frames that cancellation unwinds stay poisoned for AddressSanitizer, and a system call that it
/// leaves stays open for ThreadSanitizer: both may report what is no fault.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool theSanitizerLosesCancelledThreads = true;
#else
constexpr bool theSanitizerLosesCancelledThreads = false;
#endif

/// Shared with a plain function that runs until its flag is set.
struct Polled {
    Gate begun;
    std::atomic<bool> sawRequest{false};
};

void pollFlag(void* arg, volatile bool* stopFlag) {
    static_cast<Polled*>(arg)->begun.open();
    while (!__atomic_load_n(stopFlag, __ATOMIC_ACQUIRE))
        std::this_thread::yield();
    static_cast<Polled*>(arg)->sawRequest = true;
}

TEST(RunnableTest, SeesItsFlagOnlyWhileItExecutes) {
    volatile bool flag = true;
    bool seen = false;
    Work work([&](Work& self) { seen = self.timeToStop(); });
    EXPECT_FALSE(work.timeToStop());
    EXPECT_EQ(7, work.execute(&flag));
    EXPECT_TRUE(seen);
    EXPECT_FALSE(work.timeToStop());

    Work failing([](Work&) { throw std::runtime_error("gives up"); });
    EXPECT_THROW(failing.execute(&flag), std::runtime_error);
    EXPECT_FALSE(failing.timeToStop());
}

TEST(ThreadTest, RunsAFunctionUntilItsFlagIsSet) {
    Polled polled;
    DtThread thread(std::make_shared<DtThreadStart>(pollFlag, &polled));
    EXPECT_TRUE(thread.stopped());
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(0, thread.start());
    polled.begun.wait();
    EXPECT_TRUE(thread.hasStarted());
    EXPECT_TRUE(thread.isRunning());
    EXPECT_FALSE(thread.stopped());
    thread.stop(true);
    EXPECT_TRUE(polled.sawRequest);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_TRUE(thread.stopped());
}

TEST(ThreadTest, WakesARunnableOnceAndCanStartAgainAfterStopWithJoin) {
    Work work;
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    EXPECT_EQ(1, thread.start());
    work.begun.wait();
    thread.stop(false);
    thread.stop(false);
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(1, work.ends);
    EXPECT_TRUE(thread.hasStarted());
    EXPECT_EQ(1, thread.start());

    errno = EDOM;
    thread.stop(true);
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ(1, work.stops);
    EXPECT_FALSE(thread.hasStarted());
    EXPECT_EQ(0, thread.join());

    EXPECT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(2, work.ends);
}

TEST(ThreadTest, TouchesNothingWhenNeverStarted) {
    ASSERT_NE(-1, fcntl(STDIN_FILENO, F_GETFD));
    {
        Work work;
        DtThread thread(startOf(work));
        EXPECT_EQ(2, thread.join());
        thread.stop(true);
        EXPECT_EQ(2, thread.join());
        EXPECT_EQ(0, work.stops);
        EXPECT_FALSE(thread.hasStarted());
    }
    EXPECT_NE(-1, fcntl(STDIN_FILENO, F_GETFD));
}

TEST(ThreadTest, RunsWithoutAnythingToDo) {
    for (const auto& start :
         {std::shared_ptr<DtThreadStart>(), std::make_shared<DtThreadStart>(nullptr),
          std::make_shared<DtThreadStart>(nullptr, nullptr)}) {
        DtThread thread(start);
        EXPECT_EQ(0, thread.start());
        thread.stop(true);
    }
}

TEST(ThreadTest, JoinsAndStopsFromManyThreadsAllWaitForTheWork) {
    for (int round = 0; round < 20; ++round) {
        Work work;
        DtThread thread(startOf(work));
        ASSERT_EQ(0, thread.start());
        Gate go;
        std::atomic<int> waited{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i)
            threads.emplace_back([&, i] {
                go.wait();
                if (i % 2 == 0)
                    thread.stop(true);
                if (thread.join() == 0 && work.ends == 1)
                    ++waited;
            });
        go.open();
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(6, waited);
        EXPECT_FALSE(thread.hasStarted());
    }
}

TEST(ThreadTest, OnlyAsksWhenItsOwnWorkStopsIt) {
    DtThread* own = nullptr;
    bool seen = false;
    Work work([&](Work& self) {
        EXPECT_TRUE(own->isCurrentThread());
        EXPECT_EQ(2, own->join());
        own->stop(true);
        EXPECT_TRUE(own->hasStarted());
        seen = self.timeToStop();
    });
    DtThread thread(startOf(work));
    own = &thread;
    ASSERT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(seen);
    EXPECT_FALSE(thread.isCurrentThread());
}

TEST(ThreadTest, GoesOnAloneWhenItsOwnWorkDestroysIt) {
    struct Owner {
        std::unique_ptr<DtThread> thread;
        Gate complete, ended;
        bool sawRequest = false;
    } owner;
    const auto destroy = [](void* arg, volatile bool* stopFlag) {
        Owner& held = *static_cast<Owner*>(arg);
        held.complete.wait();
        held.thread.reset();
        held.sawRequest = __atomic_load_n(stopFlag, __ATOMIC_ACQUIRE);
        held.ended.open();
    };
    owner.thread = std::make_unique<DtThread>(std::make_shared<DtThreadStart>(destroy, &owner));
    ASSERT_EQ(0, owner.thread->start());
    owner.complete.open();
    owner.ended.wait();
    EXPECT_TRUE(owner.sawRequest);
}

TEST(ThreadTest, ReportsWhatEscapesFromTheWorkInOneLine) {
    struct Case {
        void (*fail)();
        const char* text;
    };
    const Case cases[] = {
        {[] { throw DtException("by value", nullptr); }, "by value"},
        {[] { DT_THROW(DtInvalidInputNumber, "with place"); }, "[ThreadTest.cpp:"},
        {[] { throw new DtException("by pointer", nullptr); }, "by pointer"},
        {[] { throw static_cast<DtException*>(nullptr); }, "null"},
        {[] { throw std::runtime_error("standard"); }, "standard"},
        {[] { throw 5; }, "unknown type"},
    };
    for (const Case& each : cases) {
        CapturedNotifications notes;
        Work work([&](Work&) { each.fail(); });
        DtThread thread(startOf(work));
        ASSERT_EQ(0, thread.start());
        EXPECT_EQ(0, thread.join());
        const std::string text = notes.text(1);
        EXPECT_NE(std::string::npos, text.find(each.text)) << text;
        EXPECT_EQ(1, std::count(text.begin(), text.end(), '\n')) << text;
        EXPECT_FALSE(thread.isRunning());
        EXPECT_FALSE(work.timeToStop());
    }
}

class FailsToWake : public Work {
public:
    void stop() override {
        Work::stop();
        throw std::runtime_error("no wake-up");
    }
};

TEST(ThreadTest, WaitsForTheWorkThoughItsStopThrows) {
    CapturedNotifications notes;
    FailsToWake work;
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    thread.stop(true);
    EXPECT_EQ(1, work.ends);
    EXPECT_NE(std::string::npos, notes.text(1).find("no wake-up"));
}

/// Work that ends by being unwound, by itself or once `cancelled`.
void expectSilentUnwinding(bool cancelled) {
    std::atomic<unsigned long> id{0};
    bool unwound = false;
    Work work([&](Work& self) {
        struct Unwinding {
            bool& noted;
            ~Unwinding() { noted = true; }
        } unwinding{unwound};
        id = DtGetThreadId();
        self.asked.open();
        if (!cancelled)
            DtThreadExit(nullptr);
        for (int i = 0; i < 1000; ++i)
            DtSleep(60);
    });
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    work.asked.wait();
    if (cancelled) {
        EXPECT_EQ(0, DtThreadStop(id));
    }
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(unwound);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_FALSE(work.timeToStop());
}

TEST(ThreadTest, UnwindsExitingWorkSilently) {
    expectSilentUnwinding(false);
}

TEST(ThreadTest, UnwindsCancelledWorkSilently) {
    if (theSanitizerLosesCancelledThreads)
        GTEST_SKIP() << "the sanitizers do not follow the unwinding of a cancelled thread";
    expectSilentUnwinding(true);
}

/// While it lives the system refuses new threads: their stacks would not fit the address space.
class NoNewThreads {
public:
    NoNewThreads() {
        pthread_getattr_default_np(&earlier_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, size_t{1} << 60);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    NoNewThreads(const NoNewThreads&) = delete;
    NoNewThreads& operator=(const NoNewThreads&) = delete;
    ~NoNewThreads() {
        pthread_setattr_default_np(&earlier_);
        pthread_attr_destroy(&earlier_);
    }

private:
    pthread_attr_t earlier_;
};

TEST(ThreadTest, SaysSoWhenTheSystemRefusesAThread) {
    Work work;
    DtThread thread(startOf(work));
    {
        const NoNewThreads refused;
        EXPECT_EQ(1, thread.start());
        unsigned long id = 1;
        EXPECT_EQ(0u, DtThreadCreate([](void* arg) { return arg; }, nullptr, &id));
        EXPECT_EQ(0u, id);
    }
    EXPECT_FALSE(thread.hasStarted());
    EXPECT_EQ(2, thread.join());
    EXPECT_EQ(0, thread.start());
    thread.stop(true);
    EXPECT_EQ(1, work.ends);
}

TEST(ThreadTest, RunsInTheCallingThread) {
    DtThread* own = nullptr;
    Work work([&](Work&) {
        EXPECT_TRUE(own->isRunning());
        EXPECT_FALSE(own->hasStarted());
        EXPECT_FALSE(own->stopped());
        throw DtGetThreadId();
    });
    DtThread thread(startOf(work));
    own = &thread;
    try {
        thread.startInCurrentThread();
        ADD_FAILURE() << "what the work throws does not reach the caller";
    } catch (unsigned long id) {
        EXPECT_EQ(DtThread::GetCurrentThreadHandle(), id);
    }
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadFunctionsTest, CreateAndJoinByHandleAndRefuseTheRest) {
    std::atomic<unsigned long> seen{0};
    unsigned long id = 0;
    const auto note = [](void* arg) -> void* {
        *static_cast<std::atomic<unsigned long>*>(arg) = DtGetThreadId();
        DtThreadExit(nullptr);
    };
    const unsigned long handle = DtThreadCreate(note, &seen, &id);
    EXPECT_NE(0u, handle);
    EXPECT_EQ(handle, id);
    EXPECT_EQ(0, DtThreadJoin(handle));
    EXPECT_EQ(handle, seen);

    EXPECT_EQ(0u, DtThreadCreate(nullptr, nullptr, nullptr));
    EXPECT_EQ(2, DtThreadJoin(0));
    EXPECT_EQ(2, DtThreadJoin(DtGetThreadId()));
    EXPECT_EQ(1, DtThreadStop(0));
    EXPECT_EQ(1, DtThreadCleanUp(0));
}

TEST(SleepTest, SleepsThroughSignalsAndIgnoresWhatIsNoTime) {
    for (const double none : {0.0, -1.0, -HUGE_VAL, std::nan("")})
        DtSleep(none);

    static volatile sig_atomic_t signals;
    struct sigaction count = {};
    count.sa_handler = [](int) { signals = signals + 1; };
    ASSERT_EQ(0, sigaction(SIGALRM, &count, nullptr));
    const itimerval often = {{0, 2000}, {0, 2000}};
    ASSERT_EQ(0, setitimer(ITIMER_REAL, &often, nullptr));
    const auto begin = std::chrono::steady_clock::now();
    DtSleep(0.05);
    const auto slept = std::chrono::steady_clock::now() - begin;
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GE(slept, std::chrono::milliseconds(50));
    EXPECT_GT(signals, 0);
}

}  // namespace
}  // namespace OrynRti
