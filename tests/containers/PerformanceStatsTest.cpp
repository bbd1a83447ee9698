#include <gtest/gtest.h>

#include "PerformanceStats.h"

namespace OrynRti {

namespace {

/// Stopwatches whose readings the test sets.
class SteeredSection : public DtTimedSection {
public:
    SteeredSection(timeval from, timeval to) {
        start_ = from;
        stop_ = to;
    }
};

class SteeredLaps : public DtTimedLappingSection {
public:
    explicit SteeredLaps(timeval from) { start_ = from; }
};

double now() {
    DtTimedSection since1970;
    since1970.stop();
    return since1970.duration();
}

TEST(TimedSectionTest, MeasuresFromStartToStop) {
    EXPECT_EQ(DtTimedSection().duration(), 0.0);
    EXPECT_NEAR(SteeredSection({10, 900000}, {12, 100000}).duration(), 1.2, 1e-9);
    EXPECT_NEAR(SteeredSection({12, 100000}, {10, 900000}).duration(), -1.2, 1e-9);

    const double before = now();
    DtTimedSection section;
    section.start();
    section.stop();
    EXPECT_GE(section.duration(), 0.0);
    EXPECT_LE(section.duration(), now() - before);
}

TEST(TimedSectionTest, LapsCountFromTheStart) {
    SteeredLaps laps({100, 500000});
    EXPECT_EQ(laps.durationSegment(0), -100.5);
    EXPECT_EQ(laps.durationSegment(1), -1.0);

    const double before = now();
    laps.lap();
    laps.lap();
    EXPECT_EQ(laps.getCurrentLap(), 2U);
    EXPECT_GE(laps.durationSegment(0), before - 100.5);
    EXPECT_GE(laps.durationSegment(1), laps.durationSegment(0));
    EXPECT_EQ(laps.durationSegment(2), -100.5);
    EXPECT_EQ(laps.durationSegment(3), -1.0);
    EXPECT_EQ(laps.durationSegment(0xFFFFFFFFU), -1.0);

    laps.start();
    EXPECT_EQ(laps.getCurrentLap(), 2U);
    EXPECT_LE(laps.durationSegment(1), 0.0);
}

//----------------------------------------------------------------------------------------------

void addTimes(DtTimeStatistic& statistic, int count, double seconds) {
    for (int i = 0; i < count; ++i)
        statistic.addTime(seconds);
}

TEST(TimeStatisticTest, KeepsLastMinimumAndMaximum) {
    DtTimeStatistic statistic;
    EXPECT_EQ(statistic.minimum(), 0.0);
    for (const double seconds : {3.0, 5.0, 2.0, 4.0})
        statistic.addTime(seconds);
    EXPECT_EQ(statistic.last(), 4.0);
    EXPECT_EQ(statistic.minimum(), 2.0);
    EXPECT_EQ(statistic.maximum(), 5.0);
    EXPECT_EQ(statistic.blockSum(), 14.0);
    EXPECT_EQ(statistic.blockCount(), 4);
}

TEST(TimeStatisticTest, ABlockIsClosedByTheFirstTimeAfterIt) {
    DtTimeStatistic statistic;
    addTimes(statistic, 1000, 0.5);
    EXPECT_EQ(statistic.blockCount(), 1000);
    EXPECT_EQ(statistic.blockSum(), 500.0);
    EXPECT_EQ(statistic.blockFigure(), 0.0);
    EXPECT_EQ(statistic.previousBlockCount(), 0);

    statistic.addTime(0.25);
    EXPECT_EQ(statistic.blockCount(), 1);
    EXPECT_EQ(statistic.blockSum(), 0.25);
    EXPECT_EQ(statistic.blockFigure(), 500.0);
    EXPECT_EQ(statistic.previousBlockCount(), 1000);
    EXPECT_EQ(statistic.minimum(), 0.25);
    EXPECT_EQ(statistic.maximum(), 0.5);
}

TEST(TimeStatisticTest, LaterBlocksAreAveragedIn) {
    DtTimeStatistic statistic;
    addTimes(statistic, 1000, 0.5);
    addTimes(statistic, 1000, 0.25);
    EXPECT_EQ(statistic.blockFigure(), 500.0);
    addTimes(statistic, 1000, 1.0);
    EXPECT_EQ(statistic.blockFigure(), (500.0 + 250.0) / 2);
    statistic.addTime(1.0);
    EXPECT_EQ(statistic.blockFigure(), (375.0 + 1000.0) / 2);

    statistic.reset();
    EXPECT_EQ(statistic.maximum(), 0.0);
    EXPECT_EQ(statistic.blockFigure(), 0.0);
    EXPECT_EQ(statistic.previousBlockCount(), 0);
    statistic.addTime(7.0);
    EXPECT_EQ(statistic.minimum(), 7.0);
    EXPECT_EQ(statistic.blockCount(), 1);
}

TEST(PerformanceStatsTest, GrowsToTheStatisticThatIsAskedFor) {
    DtPerformanceStats stats;
    const DtPerformanceStats& constant = stats;
    stats.stat(5).addTime(2.0);
    EXPECT_EQ(stats.stats().size(), 6U);
    EXPECT_EQ(constant.stat(8).blockCount(), 0);
    EXPECT_EQ(stats.stats().size(), 9U);
    EXPECT_EQ(constant.stat(5).last(), 2.0);
    EXPECT_EQ(stats.stats().size(), 9U);

    stats.resetAllStats();
    EXPECT_EQ(stats.stats().size(), 9U);
    EXPECT_EQ(stats.stat(5).last(), 0.0);
}

}  // namespace

}  // namespace OrynRti
