#ifndef RTIQN_DIS_OWN_TIMES_H
#define RTIQN_DIS_OWN_TIMES_H

#include <string>

#include "PerformanceStats.h"

namespace RtiqnDis {

/// What of the program's own work is timed: numbers of a DtPerformanceStats.
enum OwnTime : unsigned int { ReceiveCall = 0, SendCall = 1 };

/// Times a piece of the program's own work from its making to stop().
class OwnTimer {
public:
    OwnTimer() { section_.start(); }

    void stop(OrynRti::DtPerformanceStats& times, OwnTime which) {
        section_.stop();
        times.stat(which).addTime(section_.duration());
    }

private:
    OrynRti::DtTimedSection section_;
};

/// "One send call took 2.1 us lately, 1.0 to 88.0 us in all"; empty when there was none.
std::string ownTimeText(const OrynRti::DtPerformanceStats& times, OwnTime which);

}  // namespace RtiqnDis

#endif
