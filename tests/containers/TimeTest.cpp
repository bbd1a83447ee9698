#include <atomic>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <sys/time.h>
#include <thread>
#include <utility>
#include <vector>

#include "Time.h"
#include "support/Notifications.h"

namespace OrynRti {

namespace {

constexpr double theInfinity = std::numeric_limits<double>::infinity();

unsigned int stamped(double seconds, DtTimeStampType type = DtTimeStampRelative) {
    return DtNetTimeStamp(seconds, type);
}

/// Hours of 2^31 - 1 units while it lives.
struct Dis5Increments {
    Dis5Increments() { DtNetTimeStamp::setTimeStampDis5Increments(true); }
    ~Dis5Increments() { DtNetTimeStamp::setTimeStampDis5Increments(false); }
};

TEST(NetTimeStampTest, CountsThePlaceWithinTheHour) {
    EXPECT_EQ(DtNetTimeStamp(), 0U);
    EXPECT_EQ(stamped(1800.0), 0x80000000U);
    EXPECT_EQ(stamped(1800.0, DtTimeStampAbsolute), 0x80000001U);
    EXPECT_EQ(stamped(900.0 + 24 * 3600.0), 0x40000000U);
    EXPECT_EQ(stamped(3600.0), 0U);
    EXPECT_EQ(stamped(1.0), 596523U * 2);  // 2^31 / 3600 is 596523.2
    EXPECT_EQ(DtNetTimeStamp(1800.0, DtTimeStampAbsolute).time(), 1800.0);
}

TEST(NetTimeStampTest, IsDefinedForEveryTime) {
    EXPECT_EQ(stamped(-900.0), 0xC0000000U);
    EXPECT_EQ(stamped(-4500.0), 0xC0000000U);
    EXPECT_NEAR(DtNetTimeStamp(-1.0, DtTimeStampRelative).time(), 3599.0, 1e-5);
    for (const double odd : {-0.0, -3600.0, 1e300, -1e300, theInfinity, -theInfinity,
                             std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(stamped(odd, DtTimeStampAbsolute), 1U) << odd;
}

TEST(NetTimeStampTest, SettingTheTimeKeepsTheTypeAndTheOtherWayRound) {
    DtNetTimeStamp stamp(900.0, DtTimeStampAbsolute);
    stamp.setTime(1800.0);
    EXPECT_EQ(stamp.type(), DtTimeStampAbsolute);
    stamp.setType(static_cast<DtTimeStampType>(2));
    EXPECT_EQ(stamp.type(), DtTimeStampRelative);
    EXPECT_EQ(stamp.time(), 1800.0);
}

TEST(NetTimeStampTest, LiesInTheMessageInNetworkOrder) {
    const DtNetTimeStamp stamp(1800.0, DtTimeStampAbsolute);
    EXPECT_EQ(std::memcmp(&stamp, "\x80\x00\x00\x01", 4), 0);
}

TEST(NetTimeStampTest, CountsOneUnitLessForDis5) {
    EXPECT_FALSE(DtNetTimeStamp::timeStampDis5Increments());
    {
        Dis5Increments on;
        EXPECT_TRUE(DtNetTimeStamp::timeStampDis5Increments());
        EXPECT_EQ(DtNetTimeStamp::theHourPerHourFrac, 4.656612875245797e-10);
        EXPECT_EQ(stamped(1800.0), 1073741823U * 2);
        EXPECT_NEAR(DtNetTimeStamp(-900.0, DtTimeStampRelative).time(), 2700.0, 1e-5);
    }
    EXPECT_EQ(DtNetTimeStamp::theHourPerHourFrac, 4.656612873077393e-10);
    EXPECT_EQ(stamped(1800.0), 0x80000000U);
}

//----------------------------------------------------------------------------------------------

/// A clock whose real time the test sets.
class SteeredClock : public DtClock {
public:
    double absRealTime() const override { return now; }

    double now = 0.0;
};

SteeredClock startedAt(double now) {
    SteeredClock clock;
    clock.now = now;
    clock.init();
    return clock;
}

TEST(ClockTest, MeasuresRealTimeFromItsStart) {
    SteeredClock clock = startedAt(100.0);
    clock.now = 107.5;
    EXPECT_EQ(clock.elapsedRealTime(), 7.5);
    EXPECT_EQ(clock.approximateElapsedRealTime(), 0.0);
    clock.init();
    EXPECT_EQ(clock.elapsedRealTime(), 0.0);
}

TEST(ClockTest, SamplesTheApproximateTimeOncePerFrame) {
    SteeredClock clock = startedAt(100.0);
    clock.now = 103.0;
    clock.setSimTime(40.0);
    clock.now = 110.0;
    EXPECT_EQ(clock.simTime(), 40.0);
    EXPECT_EQ(clock.approximateElapsedRealTime(), 3.0);

    clock.setUseSimTimeForApproxRealTime();
    EXPECT_TRUE(clock.useSimTimeForApproxRealTime());
    EXPECT_EQ(clock.approximateElapsedRealTime(), 3.0);
    clock.setSimTime(41.0);
    EXPECT_EQ(clock.approximateElapsedRealTime(), 41.0);

    const SteeredClock copy = clock;
    clock.clearUseSimTimeForApproxRealTime();
    clock.setSimTime(42.0);
    EXPECT_EQ(clock.approximateElapsedRealTime(), 10.0);
    EXPECT_TRUE(copy.useSimTimeForApproxRealTime());
    EXPECT_TRUE(copy.isSimTimeSet());
    EXPECT_EQ(copy.simTime(), 41.0);
    EXPECT_EQ(copy.approximateElapsedRealTime(), 41.0);
    EXPECT_EQ(copy.elapsedRealTime(), 10.0);
}

TEST(ClockTest, RemindsUntilTheSimulationTimeIsSet) {
    DtClock clock;
    {
        Tests::CapturedNotifications captured;
        EXPECT_FALSE(clock.isSimTimeSet());
        EXPECT_EQ(captured.text(2),
                  "User error: DtSetSimTime was never called.\n"
                  "         You must call DtSetSimTime once per frame\n");
    }
    clock.setSimTime(0.0);
    Tests::CapturedNotifications captured;
    EXPECT_TRUE(clock.isSimTimeSet());
    EXPECT_EQ(captured.text(), "");
}

TEST(ClockTest, ReadsTheWallClock) {
    timeval before{};
    timeval after{};
    gettimeofday(&before, nullptr);
    const double global = DtAbsRealTime();
    const double own = DtClock().absRealTime();
    gettimeofday(&after, nullptr);
    EXPECT_LE(before.tv_sec + before.tv_usec * 1e-6, global);
    EXPECT_LE(global, own);
    EXPECT_LE(own, after.tv_sec + after.tv_usec * 1e-6);
}

/// Takes the clock of the process away, and puts it back.
struct WithoutGlobalClock {
    ~WithoutGlobalClock() { DtObsoleteGlobalClock = held; }

    DtClock* const held = std::exchange(DtObsoleteGlobalClock, nullptr);
};

TEST(GlobalClockTest, AnswersZeroUntilItIsThere) {
    const WithoutGlobalClock none;
    DtSetSimTime(5.0);
    EXPECT_EQ(DtGetSimTime(), 0.0);
    EXPECT_EQ(DtGetElapsedRealTime(), 0.0);
    EXPECT_EQ(DtGetApproximateElapsedRealTime(), 0.0);
    Tests::CapturedNotifications captured;
    EXPECT_FALSE(DtIsSimTimeSet());
    EXPECT_EQ(captured.text(), "");
}

TEST(GlobalClockTest, ForwardsToTheOneClock) {
    const WithoutGlobalClock none;
    SteeredClock clock = startedAt(100.0);
    DtObsoleteGlobalClock = &clock;
    DtTimeInit();
    ASSERT_EQ(DtObsoleteGlobalClock, &clock);
    clock.now = 101.0;
    DtSetSimTime(5.0);
    clock.now = 102.0;
    EXPECT_TRUE(DtIsSimTimeSet());
    EXPECT_EQ(DtGetSimTime(), 5.0);
    EXPECT_EQ(DtGetElapsedRealTime(), 2.0);
    EXPECT_EQ(DtGetApproximateElapsedRealTime(), 1.0);
}

TEST(GlobalClockTest, RacingThreadsCreateAndShareOneClock) {
    std::atomic<int> waiting{4};
    std::vector<DtClock*> seen(4);
    std::vector<std::thread> threads;
    for (DtClock*& clock : seen)
        threads.emplace_back([&] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            DtTimeInit();
            clock = DtObsoleteGlobalClock;
            for (int i = 0; i < 100; ++i) {
                DtSetSimTime(DtGetSimTime() + 1.0);
                DtGetApproximateElapsedRealTime();
                DtIsSimTimeSet();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_NE(seen[0], nullptr);
    for (const DtClock* clock : seen)
        EXPECT_EQ(clock, seen[0]);
    EXPECT_GE(DtGetSimTime(), 100.0);
}

}  // namespace

}  // namespace OrynRti
