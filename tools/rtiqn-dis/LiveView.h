#ifndef RTIQN_DIS_LIVE_VIEW_H
#define RTIQN_DIS_LIVE_VIEW_H

#include <deque>

#include "LiveTable.h"

namespace RtiqnDis {

/// A live table on the terminal, on a screen of its own: what stood there before is back when the
/// object goes. Lines of printError() wait for that; the last ones are shown meanwhile.
///
/// Threads:   one object at a time
class LiveView {
public:
    /// Throws UsageError when standard output is none.
    static void requireTerminal();

    LiveView();
    ~LiveView();
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;

    /// See LiveTable.
    void update(const TrafficStatistics& statistics, double now_s) {
        table_.update(statistics, now_s);
    }

    /// Throws FileError.
    void draw(const std::string& title, const TrafficStatistics& statistics,
              std::vector<std::pair<Loss, std::uint64_t>> losses);

    /// Whether the terminal has another size since the last question; ends a poll().
    static bool wasResized();

private:
    LiveTable table_;
    std::deque<std::string> messages_;  ///< in their order
    std::size_t forgotten_ = 0;         ///< older ones, of which there were too many
};

}  // namespace RtiqnDis

#endif
