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

TEST(RunnableTest, SeesItsFlagOnlyWhileItExecutes) {
    volatile bool flag = true;
    Work work([&](Work& self) {
        EXPECT_TRUE(self.timeToStop());
        throw std::runtime_error("gives up");
    });
    EXPECT_THROW(work.execute(&flag), std::runtime_error);
    EXPECT_FALSE(work.timeToStop());
}

TEST(ThreadTest, RunsAFunctionUntilItsFlagIsSet) {
    Gate begun;
    const auto poll = [](void* gate, volatile bool* stopFlag) {
        static_cast<Gate*>(gate)->open();
        while (!__atomic_load_n(stopFlag, __ATOMIC_ACQUIRE))
            std::this_thread::yield();
    };
    DtThread thread(std::make_shared<DtThreadStart>(poll, &begun));
    EXPECT_EQ(0, thread.start());
    begun.wait();
    EXPECT_TRUE(thread.isRunning());
    thread.stop(true);
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadTest, WakesARunnableOnceAndCanStartAgainAfterStopWithJoin) {
    Work work;
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    thread.stop(false);
    thread.stop(false);
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(1, work.ends);
    EXPECT_EQ(1, thread.start());
    errno = EDOM;
    thread.stop(true);
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ(1, work.stops);
    EXPECT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
    EXPECT_EQ(2, work.ends);
}

TEST(ThreadTest, RunsWithoutAnythingToDoAndTouchesNothingBeforeItsStart) {
    ASSERT_NE(-1, fcntl(STDIN_FILENO, F_GETFD));
    for (const auto& start :
         {std::shared_ptr<DtThreadStart>(), std::make_shared<DtThreadStart>(nullptr),
          std::make_shared<DtThreadStart>(nullptr, nullptr)}) {
        DtThread thread(start);
        thread.stop(true);
        EXPECT_EQ(2, thread.join());
        EXPECT_EQ(0, thread.start());
        thread.stop(true);
    }
    EXPECT_NE(-1, fcntl(STDIN_FILENO, F_GETFD));
}

TEST(ThreadTest, ReportsWhatEscapesFromTheWorkInOneLine) {
    const struct {
        void (*fail)();
        const char* text;
    } cases[] = {
        {[] { DT_THROW(DtInvalidInputNumber, "by value"); }, "by value (operator() [ThreadTest."},
        {[] { throw new DtException("by pointer", nullptr); }, "by pointer"},
        {[] { throw static_cast<DtException*>(nullptr); }, "null"},
        {[] { throw std::runtime_error("standard"); }, "standard"},
        {[] { throw 5; }, "unknown type"},
    };
    for (const auto& each : cases) {
        CapturedNotifications notes;
        Work work([&](Work&) { each.fail(); });
        DtThread thread(startOf(work));
        ASSERT_EQ(0, thread.start());
        EXPECT_EQ(0, thread.join());
        const std::string text = notes.text(1);
        EXPECT_NE(std::string::npos, text.find(each.text)) << text;
        EXPECT_EQ(text.size() - 1, text.find('\n')) << text;
        EXPECT_FALSE(thread.isRunning());
    }
}

TEST(ThreadTest, WaitsForTheWorkThoughItsStopThrows) {
    struct FailsToWake : Work {
        void stop() override {
            Work::stop();
            throw std::runtime_error("no wake-up");
        }
    } work;
    CapturedNotifications notes;
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    thread.stop(true);
    EXPECT_EQ(1, work.ends);
    EXPECT_NE(std::string::npos, notes.text(1).find("no wake-up"));
}

TEST(ThreadTest, UnwindsCancelledWorkSilently) {
    bool unwound = false;
    Work work([&](Work&) {
        const auto note = [](bool* flag) { *flag = true; };
        const std::unique_ptr<bool, void (*)(bool*)> unwinding(&unwound, note);
        EXPECT_EQ(0, DtThreadStop(DtGetThreadId()));
        pthread_testcancel();
    });
    DtThread thread(startOf(work));
    ASSERT_EQ(0, thread.start());
    EXPECT_EQ(0, thread.join());
    EXPECT_TRUE(unwound);
    EXPECT_EQ(0, work.ends);
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadTest, SaysSoWhenTheSystemRefusesAThread) {
    pthread_attr_t earlier, huge;
    pthread_getattr_default_np(&earlier);
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, size_t{1} << 60);  // beyond the address space
    pthread_setattr_default_np(&huge);
    Work work;
    DtThread thread(startOf(work));
    EXPECT_EQ(1, thread.start());
    EXPECT_EQ(2, thread.join());
    EXPECT_EQ(0u, DtThreadCreate([](void* arg) { return arg; }, nullptr, nullptr));
    pthread_setattr_default_np(&earlier);
    EXPECT_EQ(0, thread.start());
    thread.stop(true);
    EXPECT_EQ(1, work.ends);
}

TEST(ThreadTest, RunsInTheCallingThread) {
    DtThread* own = nullptr;
    Work work([&](Work&) {
        EXPECT_TRUE(own->isRunning());
        EXPECT_FALSE(own->hasStarted() || own->stopped());
        throw DtGetThreadId();
    });
    DtThread thread(startOf(work));
    own = &thread;
    EXPECT_THROW(thread.startInCurrentThread(), unsigned long);
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadFunctionsTest, CreateAndJoinByHandleAndRefuseTheRest) {
    unsigned long seen = 0, id = 0;
    const auto note = [](void* arg) -> void* {
        *static_cast<unsigned long*>(arg) = DtGetThreadId();
        DtThreadExit(nullptr);
    };
    EXPECT_EQ(0, DtThreadJoin(DtThreadCreate(note, &seen, &id)));
    EXPECT_EQ(id, seen);
    EXPECT_EQ(2, DtThreadJoin(0));
    EXPECT_EQ(1, DtThreadStop(0));
}

TEST(SleepTest, SleepsThroughSignalsAndIgnoresWhatIsNoTime) {
    for (const double none : {0.0, -HUGE_VAL, std::nan("")})
        DtSleep(none);
    static volatile sig_atomic_t signals;
    std::signal(SIGALRM, [](int) { signals = signals + 1; });
    const itimerval often = {{0, 2000}, {0, 2000}}, never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto begin = std::chrono::steady_clock::now();
    DtSleep(0.05);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GT(signals, 0);
}

}  // namespace
}  // namespace OrynRti
