#ifndef RTIQN_DIS_LIVE_TABLE_H
#define RTIQN_DIS_LIVE_TABLE_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "TrafficStatistics.h"
#include "common/Console.h"

namespace RtiqnDis {

/// What a live table is drawn from, borrowed for the call.
struct LiveState {
    std::string title;  ///< what is listened to
    const TrafficStatistics& statistics;
    std::vector<std::pair<Loss, std::uint64_t>> losses;  ///< beside those of the statistics
    std::vector<std::string> messages;                   ///< the last ones, the newest behind
};

/// A line of the screen.
struct LiveLine {
    enum Style { Plain, Heading, Alarm };

    std::string text;
    Style style = Plain;
};

/// The traffic by kind and sender with the rates of late, the busiest first, as a screen of text.
class LiveTable {
public:
    /// The rates are those since the last call. `now_s` is the time since listening began.
    void update(const TrafficStatistics& statistics, double now_s);

    /// As many lines as the terminal has or fewer, none wider.
    std::vector<LiveLine> lines(const LiveState& state, RtiqnTools::TerminalSize size) const;

private:
    using KindAndSender = TrafficStatistics::KindAndSender;
    using Traffic = TrafficStatistics::Traffic;

    /// Of one kind and sender.
    struct Rate {
        Traffic before;
        double pdus_hz = 0;
        double bytes_hz = 0;
        double weight = 0;  ///< the rate of some seconds, so that rows keep their order

        void update(const Traffic& now, double time_s);
    };

    std::vector<std::string> heading(const LiveState& state) const;
    std::vector<std::string> rows(RtiqnTools::TerminalSize room) const;

    std::map<KindAndSender, Rate> rates_;
    Rate total_;
    double now_s_ = 0;
};

}  // namespace RtiqnDis

#endif
