#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <ctime>
#include <future>
#include <gtest/gtest.h>
#include <thread>

#include "IoServiceRunnable.h"
#include "ThreadedObject.h"

namespace OrynRti::Tests {
namespace {

/// Waits until the context has done something posted now.
void awaitAnswer(boost::asio::io_context& context) {
    std::promise<void> done;
    boost::asio::post(context, [&] { done.set_value(); });
    done.get_future().wait();
}

TEST(IoServiceRunnable, RunsTheContextUntilStopped) {
    boost::asio::io_context context;
    const auto runnable = std::make_shared<DtIoServiceRunnable>(&context, &context);
    EXPECT_TRUE(runnable->stopped());
    EXPECT_EQ(runnable->owner(), &context);
    DtThreadedObject thread(runnable);
    thread.start();
    awaitAnswer(context);
    awaitAnswer(context);
    EXPECT_FALSE(runnable->stopped());
    runnable->stop(true);
    EXPECT_TRUE(runnable->stopped());
}

TEST(IoServiceRunnable, GoesOnWhenSomebodyElseStopsTheContextAndSleepsWithoutWork) {
    boost::asio::io_context context;
    DtThreadedObject thread(std::make_shared<DtIoServiceRunnable>(&context, nullptr));
    thread.start();
    for (int i = 0; i < 100; ++i) {
        context.stop();
        awaitAnswer(context);
    }
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_LT(double(std::clock() - before) / CLOCKS_PER_SEC, 0.1);
    thread.stop(true);
}

TEST(IoServiceRunnable, NeverMissesAStopHoweverEarly) {
    for (int i = 0; i < 500; ++i) {
        boost::asio::io_context context;
        DtThreadedObject thread(std::make_shared<DtIoServiceRunnable>(&context, nullptr));
        thread.start();
        if (i % 2 == 0)
            context.stop();  // a restart is under way when the stop comes
        thread.stop(true);
    }
}

TEST(IoServiceRunnable, DestructionWaitsForTheRun) {
    boost::asio::io_context context;
    std::promise<void> entered;
    std::atomic<bool> over{false};
    auto runnable = std::make_unique<DtIoServiceRunnable>(&context, nullptr);
    boost::asio::post(context, [&] {
        entered.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        over = true;
    });
    std::thread thread([work = runnable.get()] { work->run(); });
    entered.get_future().wait();
    runnable.reset();
    EXPECT_TRUE(over);
    thread.join();
}

TEST(IoServiceRunnable, MayBeStoppedAndDestroyedByAHandlerOfItsOwn) {
    boost::asio::io_context context;
    auto runnable = std::make_unique<DtIoServiceRunnable>(&context, nullptr);
    boost::asio::post(context, [&] {
        runnable->stop(true);
        runnable.reset();
    });
    std::thread thread([work = runnable.get()] { EXPECT_EQ(work->run(), 0); });
    thread.join();
    EXPECT_EQ(runnable, nullptr);
}

TEST(IoServiceRunnable, AHandlerThatThrowsEndsTheRun) {
    boost::asio::io_context context;
    DtIoServiceRunnable runnable(&context, nullptr);
    boost::asio::post(context, [] { throw 5; });
    EXPECT_THROW(runnable.run(), int);
    EXPECT_TRUE(runnable.stopped());
}

}  // namespace
}  // namespace OrynRti::Tests
