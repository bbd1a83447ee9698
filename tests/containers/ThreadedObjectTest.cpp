#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Exceptions.h"
#include "ThreadedObject.h"
#include "containers/ThreadWork.h"

namespace OrynRti {
namespace {

using Tests::Gate;
using Tests::Work;

/// The message of the DtTemplatedException<N> that `misuse` throws, "" when it throws none.
template <int N, class Misuse>
std::string thrownBy(Misuse misuse) {
    try {
        misuse();
    } catch (const DtTemplatedException<N>& thrown) {
        return thrown.message();
    }
    return "";
}

constexpr char theAlreadyRunning[] = "DtThreadAlreadyRunning: Thread already running.";
constexpr char theNotStarted[] = "DtThreadNotStarted: Thread must be started to be stopped.";

TEST(ThreadedObjectTest, ThrowsOnMisuse) {
    DtThreadedObject object;
    EXPECT_EQ("DtInvalidInput: Runnable pointer may not be null.",
              thrownBy<-1>([&] { object.start(); }));
    EXPECT_FALSE(object.running());
    object.setRunnableObject(std::make_shared<Work>());
    EXPECT_EQ(theNotStarted, thrownBy<1002>([&] { object.stop(true); }));
    object.start();
    EXPECT_EQ(theAlreadyRunning, thrownBy<1001>([&] { object.start(); }));
    object.stop(true);
    EXPECT_EQ(theNotStarted, thrownBy<1002>([&] { object.stop(false); }));
}

TEST(ThreadedObjectTest, StartsAndStopsAgainAndAgain) {
    DtThreadedObject object;
    EXPECT_EQ(2, object.join());
    for (int round = 0; round < 3; ++round) {
        const auto work = std::make_shared<Work>();
        object.setRunnableObject(work);
        EXPECT_EQ(work, object.runnableObject());
        object.start();
        EXPECT_TRUE(object.running());
        work->begun.wait();
        object.stop(round != 1);
        EXPECT_FALSE(object.running());
        if (round == 1) {
            EXPECT_EQ(0, object.join());
            EXPECT_EQ(0, object.join());
        }
        EXPECT_EQ(1, work->ends);
        EXPECT_EQ(1, work->stops);
    }
}

TEST(ThreadedObjectTest, WaitsForTheWorkAfterAMereRequest) {
    for (const bool byJoin : {true, false}) {
        Gate mayEnd;
        const auto work = std::make_shared<Work>([&](Work& self) {
            self.asked.wait();
            mayEnd.wait();
        });
        DtThreadedObject object(work);
        object.start();
        object.stop(false);
        EXPECT_EQ(0, work->ends);
        std::thread opener([&] { mayEnd.open(); });
        if (byJoin) {
            EXPECT_EQ(0, object.join());
        } else {
            object.stop(true);
        }
        EXPECT_EQ(1, work->ends);
        opener.join();
    }
}

TEST(ThreadedObjectTest, WorkMayAskWhetherItRunsWhileOthersWaitForIt) {
    DtThreadedObject object;
    const auto work = std::make_shared<Work>([&](Work&) {
        while (object.running())
            std::this_thread::yield();
    });
    object.setRunnableObject(work);
    object.start();
    work->begun.wait();
    object.stop(true);
    EXPECT_EQ(1, work->ends);
}

TEST(ThreadedObjectTest, OnlyAsksWhenItsOwnWorkStopsIt) {
    DtThreadedObject object;
    const auto work = std::make_shared<Work>([&](Work& self) {
        object.stop(true);
        EXPECT_TRUE(self.timeToStop());
        EXPECT_EQ(2, object.join());
        EXPECT_EQ(theAlreadyRunning, thrownBy<1001>([&] { object.start(); }));
    });
    object.setRunnableObject(work);
    object.start();
    EXPECT_EQ(0, object.join());
    EXPECT_FALSE(object.running());
    EXPECT_EQ(1, work->stops);
}

//----------------------------------------------------------------------------------------------

/// An object whose first work has been asked to stop but has not returned, and a second start
/// that waits for it on another thread.
class PendingStart : public testing::Test {
protected:
    PendingStart() {
        object_.start();
        work_->begun.wait();
        object_.stop(false);
        starter_ = std::thread([this] { object_.start(); });
        while (!object_.running())
            std::this_thread::yield();
        EXPECT_EQ(1, work_->begins);
    }

    void letTheFirstWorkEnd() {
        mayEnd_.open();
        starter_.join();
    }

    Gate mayEnd_;
    std::atomic<int> atWork_{0};
    std::shared_ptr<Work> work_ = std::make_shared<Work>([this](Work& self) {
        EXPECT_EQ(1, ++atWork_);
        mayEnd_.wait();
        while (!self.timeToStop())
            std::this_thread::yield();
        --atWork_;
    });
    DtThreadedObject object_{work_};
    std::thread starter_;
};

TEST_F(PendingStart, BeginsWhenTheEarlierWorkIsOver) {
    EXPECT_EQ(theAlreadyRunning, thrownBy<1001>([&] { object_.start(); }));
    letTheFirstWorkEnd();
    EXPECT_TRUE(object_.running());
    object_.stop(true);
    EXPECT_EQ(2, work_->ends);
}

TEST_F(PendingStart, IsWithdrawnByStop) {
    object_.stop(false);
    letTheFirstWorkEnd();
    EXPECT_FALSE(object_.running());
    EXPECT_EQ(0, object_.join());
    EXPECT_EQ(1, work_->begins);
}

TEST_F(PendingStart, BeginsOnceThoughWithdrawnAndAskedForAgain) {
    object_.stop(false);
    std::thread secondStarter([this] { object_.start(); });
    while (!object_.running())
        std::this_thread::yield();
    letTheFirstWorkEnd();
    secondStarter.join();
    EXPECT_TRUE(object_.running());
    object_.stop(true);
    EXPECT_EQ(2, work_->ends);
}

//----------------------------------------------------------------------------------------------

TEST(ThreadedObjectTest, StopsAndJoinsFromManyThreadsAllWaitForTheWork) {
    for (int round = 0; round < 20; ++round) {
        const auto work = std::make_shared<Work>();
        DtThreadedObject object(work);
        object.start();
        Gate go;
        std::atomic<int> waited{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i)
            threads.emplace_back([&, i] {
                go.wait();
                try {
                    if (i % 2 == 0) {
                        object.stop(true);
                    } else {
                        object.join();
                    }
                } catch (const DtTemplatedException<1002>&) {  // after the thread was dropped
                }
                if (work->ends == 1)
                    ++waited;
            });
        go.open();
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(6, waited);
        EXPECT_EQ(1, work->stops);
    }
}

TEST(ThreadedObjectTest, GoesOnAloneWhenItsOwnWorkDestroysIt) {
    Gate complete, released;
    bool sawRequest = false;
    std::shared_ptr<DtThreadedObject> object;
    auto work = std::make_shared<Work>([&](Work& self) {
        complete.wait();
        object.reset();
        sawRequest = self.timeToStop();
    });
    work->onDestruction = [&] { released.open(); };
    object = std::make_shared<DtThreadedObject>(std::move(work));
    object->start();
    complete.open();
    released.wait();
    EXPECT_TRUE(sawRequest);
}

TEST(ThreadedObjectTest, DestructionStopsTheWork) {
    const auto work = std::make_shared<Work>();
    DtThreadedObject(work).start();
    EXPECT_EQ(1, work->ends);
    EXPECT_EQ(1, work->stops);
}

}  // namespace
}  // namespace OrynRti
