#ifndef RTIQNUTIL_PERFORMANCESTATS_H
#define RTIQNUTIL_PERFORMANCESTATS_H

#include <cstdint>
#include <sys/time.h>
#include <vector>

#include "Export.h"

namespace OrynRti {

/// A stopwatch on the wall clock.
///
///     DtTimedSection reading;
///     reading.start();
///     readModule(path);
///     reading.stop();
///     DtVerbose("read in %f s\n", reading.duration());
///
/// When somebody sets the wall clock meanwhile, the duration jumps and can be negative.
class DT_EXPORT DtTimedSection {
public:
    virtual ~DtTimedSection();

    void start();  ///< Notes the time; again starts anew.
    void stop();   ///< Notes the time; again moves the end.

    /// Seconds from start() to stop(). A call that was left out counts as one in 1970.
    double duration() const;

protected:
    // The order of the members is fixed.
    struct timezone timeZone_ {};  ///< Always zero: the system keeps no time zone there.
    timeval start_{};              ///< 0 until start().
    timeval stop_{};               ///< 0 until stop().
};

/// A stopwatch that also takes lap times, all measured from the start.
class DT_EXPORT DtTimedLappingSection : public DtTimedSection {
public:
    // start() keeps the laps that were taken before; they then count from the new start. Use a
    // new object for a new series.

    void lap();  ///< Takes a lap time.

    /// Seconds from the start to lap `i`, counted from 0; -1 when `i` is above the number of
    /// laps. The lap that would be next counts as taken in 1970: its time is negative and huge.
    double durationSegment(const unsigned int& i) const;

    /// How many laps were taken.
    std::uint32_t getCurrentLap() const { return currentLap_; }

private:
    // The order of the members is fixed.
    std::vector<timeval> laps_;
    std::uint32_t currentLap_ = 0;
};

/// Figures over a series of durations, in seconds, for display while the series goes on: minimum
/// and maximum since the last reset(), and sums over blocks of 1000.
///
/// The block figure shows the blocks that are complete. It changes with the first duration of
/// the next block: to the sum of the first block, then to the mean of itself and the sum of each
/// further one. It is 0 until then.
class DT_EXPORT DtTimeStatistic {
public:
    /// Forgets every figure.
    void reset();

    /// Takes one duration into all figures.
    void addTime(double seconds);

    /// 0 as long as there was no duration. @{
    double last() const { return last_; }
    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    /// @}

    /// Of the current block, which holds 1 to 1000 durations once there was any. @{
    double blockSum() const { return blockSum_; }
    int blockCount() const { return blockCount_; }
    /// @}

    double blockFigure() const { return blockFigure_; }  ///< As told above.

    /// 1000 once a block is complete, 0 before.
    int previousBlockCount() const { return previousBlockCount_; }

private:
    void closeBlock();

    // The order of the members is fixed.
    double last_ = 0.0;
    double minimum_ = 0.0;
    double blockSum_ = 0.0;
    double blockFigure_ = 0.0;
    double maximum_ = 0.0;
    int blockCount_ = 0;
    int previousBlockCount_ = 0;
};

/// A row of statistics, for a program that numbers what it measures.
///
///     enum : unsigned int { Reading, Merging };
///     stats.stat(Merging).addTime(section.duration());
///
/// Threads:   stat() may grow the row, also on a constant object
class DT_EXPORT DtPerformanceStats {
public:
    /// Statistic number `i`; the row grows when it is shorter. Growing makes every reference
    /// that was returned before invalid. @{
    DtTimeStatistic& stat(unsigned int i);
    const DtTimeStatistic& stat(unsigned int i) const;
    /// @}

    const std::vector<DtTimeStatistic>& stats() const { return stats_; }  ///< The whole row.

    void resetAllStats();  ///< Resets each statistic; the row keeps its length.

private:
    mutable std::vector<DtTimeStatistic> stats_;
};

}  // namespace OrynRti

#endif
