#include <future>
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
    object.setRunnableObject(std::make_shared<Work>());
    EXPECT_EQ(theNotStarted, thrownBy<1002>([&] { object.stop(true); }));
    object.start();
    EXPECT_EQ(theAlreadyRunning, thrownBy<1001>([&] { object.start(); }));
    object.stop(true);
    EXPECT_EQ(theNotStarted, thrownBy<1002>([&] { object.stop(false); }));
}

TEST(ThreadedObjectTest, StartsAndStopsAgainAndAgainWhileTheWorkAsksWhetherItRuns) {
    DtThreadedObject object;
    const auto work = std::make_shared<Work>([&](Work&) {
        while (object.running())
            std::this_thread::yield();
    });
    object.setRunnableObject(work);
    for (int round = 1; round < 4; ++round) {
        object.start();
        object.stop(round == 1);
        EXPECT_FALSE(object.running());
        if (round == 2)
            object.stop(true);
        EXPECT_EQ(round == 3 ? 0 : 2, object.join());
        EXPECT_EQ(round, work->ends);
        EXPECT_EQ(round, work->stops);
    }
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
}

TEST(ThreadedObjectTest, AStartThatWaitsForEarlierWorkIsWithdrawnByStopAndBeginsOnce) {
    for (const bool again : {false, true}) {
        Gate mayEnd;
        const auto work = std::make_shared<Work>([&](Work&) { mayEnd.wait(); });
        DtThreadedObject object(work);
        const auto startElsewhere = [&] {
            std::future<void> start = std::async(std::launch::async, [&] { object.start(); });
            while (!object.running())
                std::this_thread::yield();
            return start;
        };
        object.start();
        object.stop(false);
        std::vector<std::future<void>> starts;
        starts.push_back(startElsewhere());
        EXPECT_EQ(theAlreadyRunning, thrownBy<1001>([&] { object.start(); }));
        object.stop(false);
        if (again)
            starts.push_back(startElsewhere());
        mayEnd.open();
        starts.clear();
        EXPECT_EQ(again, object.running());
        EXPECT_EQ(0, object.join());
        EXPECT_FALSE(object.running());
        EXPECT_EQ(again ? 2 : 1, work->ends);
    }
}

TEST(ThreadedObjectTest, StopsAndJoinsFromManyThreadsAllWaitForTheWork) {
    for (int round = 0; round < 20; ++round) {
        const auto work = std::make_shared<Work>();
        DtThreadedObject object(work);
        object.start();
        Tests::runTogether(6, [&](int number) {
            thrownBy<1002>([&] {  // once the thread has been dropped
                number % 2 == 0 ? object.stop(true) : static_cast<void>(object.join());
            });
            EXPECT_EQ(1, work->ends);
        });
        EXPECT_EQ(1, work->stops);
    }
}

TEST(ThreadedObjectTest, GoesOnAloneWhenItsOwnWorkDestroysIt) {
    Gate complete, released;
    std::shared_ptr<DtThreadedObject> object;
    const auto body = [&](Work& self) {
        complete.wait();
        object.reset();
        EXPECT_TRUE(self.timeToStop());
    };
    object = std::make_shared<DtThreadedObject>(std::shared_ptr<Work>(new Work(body), [&](Work* w) {
        delete w;
        released.open();
    }));
    object->start();
    complete.open();
    released.wait();
}

TEST(ThreadedObjectTest, DestructionStopsTheWork) {
    const auto work = std::make_shared<Work>();
    DtThreadedObject(work).start();
    EXPECT_EQ(1, work->ends);
}

}  // namespace
}  // namespace OrynRti
