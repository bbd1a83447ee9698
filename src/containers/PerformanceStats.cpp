#include "PerformanceStats.h"

#include <algorithm>
#include <cstddef>

namespace OrynRti {

namespace {

constexpr int theBlockSize = 1000;

double inSeconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void growTo(std::vector<DtTimeStatistic>& stats, unsigned int i) {
    const std::size_t size = static_cast<std::size_t>(i) + 1;
    if (stats.size() < size)
        stats.resize(size);
}

}  // namespace

DtTimedSection::~DtTimedSection() = default;

void DtTimedSection::start() {
    gettimeofday(&start_, &timeZone_);
}

void DtTimedSection::stop() {
    gettimeofday(&stop_, &timeZone_);
}

double DtTimedSection::duration() const {
    return inSeconds(stop_) - inSeconds(start_);
}

//----------------------------------------------------------------------------------------------

void DtTimedLappingSection::lap() {
    timeval now{};
    gettimeofday(&now, &timeZone_);
    laps_.push_back(now);
    ++currentLap_;
}

double DtTimedLappingSection::durationSegment(const unsigned int& i) const {
    if (i > laps_.size())
        return -1.0;
    const timeval lap = i < laps_.size() ? laps_[i] : timeval{};
    return inSeconds(lap) - inSeconds(start_);
}

//----------------------------------------------------------------------------------------------

void DtTimeStatistic::reset() {
    *this = DtTimeStatistic();
}

void DtTimeStatistic::addTime(double seconds) {
    if (blockCount_ == 0) {
        minimum_ = maximum_ = seconds;
    } else {
        minimum_ = std::min(minimum_, seconds);
        maximum_ = std::max(maximum_, seconds);
        if (blockCount_ == theBlockSize)
            closeBlock();
    }
    last_ = seconds;
    blockSum_ += seconds;
    ++blockCount_;
}

void DtTimeStatistic::closeBlock() {
    const bool first = previousBlockCount_ != theBlockSize;
    blockFigure_ = first ? blockSum_ : (blockFigure_ + blockSum_) / 2.0;
    previousBlockCount_ = theBlockSize;
    blockSum_ = 0.0;
    blockCount_ = 0;
}

//----------------------------------------------------------------------------------------------

DtTimeStatistic& DtPerformanceStats::stat(unsigned int i) {
    growTo(stats_, i);
    return stats_[i];
}

const DtTimeStatistic& DtPerformanceStats::stat(unsigned int i) const {
    growTo(stats_, i);
    return stats_[i];
}

void DtPerformanceStats::resetAllStats() {
    for (DtTimeStatistic& statistic : stats_)
        statistic.reset();
}

}  // namespace OrynRti
