#ifndef RTIQN_DIS_PACER_H
#define RTIQN_DIS_PACER_H

#include <chrono>
#include <cstdint>

namespace RtiqnDis {

/// Waits for moments that are counted from its construction, so that delays do not add up.
class Pacer {
public:
    /// Seconds since construction.
    double elapsed_s() const;

    /// Returns at that moment, at once when it has passed, or earlier when the program is asked to
    /// end (see StopSignals). Counts how late it is.
    void waitUntil(double moment_s);

    /// The longest that a moment had passed when it was waited for, or reached.
    double latest_s() const { return latest_s_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
    double latest_s_ = 0;
};

/// One line on standard error that tells how far a long job is, twice a second. Silent unless that
/// is a terminal.
class ProgressLine {
public:
    ProgressLine() = default;
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void update(double elapsed_s, std::uint64_t datagrams);

private:
    double next_s_ = 0.5;
};

}  // namespace RtiqnDis

#endif
