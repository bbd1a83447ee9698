#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

#include "Time.h"
#include "containers/ThreadWork.h"

namespace OrynRti {
namespace {

TEST(NetTimeStampTest, CountsThePlaceWithinTheHour) {
    const struct {
        double seconds;
        unsigned int bits;
    } cases[] = {
        {1800.0, 0x80000000U},
        {900.0 + 24 * 3600.0, 0x40000000U},
        {1.0, 596523U * 2},  // 2^31 / 3600 is 596523.2
        {-4500.0, 0xC0000000U},
        {-3600.0, 0U},
        {1e300, 0U},
        {std::numeric_limits<double>::quiet_NaN(), 0U},
    };
    for (const auto& each : cases)
        EXPECT_EQ(DtNetTimeStamp(each.seconds, DtTimeStampAbsolute), each.bits + 1) << each.seconds;
    EXPECT_NEAR(DtNetTimeStamp(-1.0, DtTimeStampRelative).time(), 3599.0, 1e-5);
}

TEST(NetTimeStampTest, SettingTheTimeKeepsTheTypeAndTheOtherWayRound) {
    DtNetTimeStamp stamp(900.0, DtTimeStampAbsolute);
    stamp.setTime(1800.0);
    EXPECT_EQ(std::memcmp(&stamp, "\x80\x00\x00\x01", 4), 0);  // in network order
    stamp.setType(static_cast<DtTimeStampType>(2));
    EXPECT_EQ(stamp, 0x80000000U);
    DtNetTimeStamp::setTimeStampDis5Increments(true);  // one unit less
    stamp.setTime(1800.0);
    DtNetTimeStamp::setTimeStampDis5Increments(false);
    EXPECT_EQ(stamp, 1073741823U * 2);
}

/// A clock whose real time the test sets.
class SteeredClock : public DtClock {
public:
    SteeredClock() { DtClock::init(); }
    double absRealTime() const override { return now; }

    double now = 100.0;
};

TEST(ClockTest, SamplesTheApproximateTimeOncePerFrame) {
    SteeredClock clock;
    clock.now = 103.0;
    clock.setSimTime(40.0);
    clock.now = 110.0;
    EXPECT_EQ(clock.elapsedRealTime(), 10.0);
    clock.setUseSimTimeForApproxRealTime();
    EXPECT_EQ(clock.approximateElapsedRealTime(), 3.0);
    clock.setSimTime(41.0);
    const SteeredClock copy = clock;
    clock.clearUseSimTimeForApproxRealTime();
    clock.setSimTime(42.0);
    EXPECT_EQ(clock.approximateElapsedRealTime(), 10.0);
    EXPECT_TRUE(copy.useSimTimeForApproxRealTime() && copy.isSimTimeSet());
    EXPECT_EQ(copy.approximateElapsedRealTime(), 41.0);
    EXPECT_EQ(copy.elapsedRealTime(), 10.0);
}

TEST(GlobalClockTest, AnswersZeroUntilItIsThereThenForwardsToIt) {
    SteeredClock clock;
    DtClock* const held = std::exchange(DtObsoleteGlobalClock, nullptr);
    DtSetSimTime(5.0);
    EXPECT_EQ(DtGetSimTime() + DtGetElapsedRealTime() + DtGetApproximateElapsedRealTime(), 0.0);
    DtObsoleteGlobalClock = &clock;
    DtTimeInit();
    clock.now = 101.0;
    DtSetSimTime(5.0);
    clock.now = 102.0;
    EXPECT_EQ(DtGetSimTime(), 5.0);
    EXPECT_EQ(DtGetElapsedRealTime(), 2.0);
    EXPECT_EQ(DtGetApproximateElapsedRealTime(), 1.0);
    DtObsoleteGlobalClock = held;
}

TEST(GlobalClockTest, RacingThreadsCreateAndShareOneClock) {
    std::vector<DtClock*> seen(4);
    Tests::runTogether(4, [&](int thread) {
        DtTimeInit();
        seen[thread] = __atomic_load_n(&DtObsoleteGlobalClock, __ATOMIC_ACQUIRE);
        DtSetSimTime(DtGetSimTime() + DtGetApproximateElapsedRealTime());
    });
    EXPECT_EQ(seen, std::vector<DtClock*>(4, DtObsoleteGlobalClock));
    EXPECT_NE(seen[0], nullptr);
}

}  // namespace
}  // namespace OrynRti
