#include <gtest/gtest.h>
#include <utility>

#include "PerformanceStats.h"

namespace OrynRti {
namespace {

TEST(TimedSectionTest, MeasuresFromStartToStopAndToEachLap) {
    DtTimedLappingSection laps;
    laps.start();
    laps.lap();
    laps.lap();
    laps.stop();
    EXPECT_GE(laps.duration(), laps.durationSegment(1));
    EXPECT_LT(laps.duration(), 600.0);
    EXPECT_LT(laps.durationSegment(2), -1e9);  // a lap not yet over ends in 1970
    EXPECT_EQ(laps.durationSegment(3), -1.0);
}

void addTimes(DtTimeStatistic& statistic, int count, double seconds) {
    for (int i = 0; i < count; ++i)
        statistic.addTime(seconds);
}

TEST(TimeStatisticTest, ABlockIsClosedByTheFirstTimeAfterItAndAveragedIn) {
    DtTimeStatistic statistic;
    addTimes(statistic, 1000, 0.5);
    EXPECT_EQ(statistic.blockFigure(), 0.0);
    addTimes(statistic, 1000, 0.25);
    EXPECT_EQ(statistic.blockFigure(), 500.0);
    addTimes(statistic, 1001, 1.0);
    EXPECT_EQ(statistic.blockCount(), 1);
    EXPECT_EQ(statistic.blockFigure(), ((500.0 + 250.0) / 2 + 1000.0) / 2);
    EXPECT_EQ(statistic.minimum(), 0.25);
    EXPECT_EQ(statistic.maximum(), 1.0);
    statistic.reset();
    statistic.addTime(7.0);
    EXPECT_EQ(statistic.minimum(), 7.0);
}

TEST(PerformanceStatsTest, GrowsToTheStatisticThatIsAskedFor) {
    DtPerformanceStats stats;
    stats.stat(5).addTime(2.0);
    EXPECT_EQ(std::as_const(stats).stat(8).blockCount(), 0);
    EXPECT_EQ(stats.stat(5).last(), 2.0);
    stats.resetAllStats();
    EXPECT_EQ(stats.stat(5).last(), 0.0);
}

}  // namespace
}  // namespace OrynRti
