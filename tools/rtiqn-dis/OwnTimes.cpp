#include "OwnTimes.h"

#include "common/Console.h"

namespace RtiqnDis {

using namespace RtiqnTools;

std::string ownTimeText(const OrynRti::DtPerformanceStats& times, OwnTime which) {
    const OrynRti::DtTimeStatistic& time = times.stat(which);
    if (time.blockCount() == 0)
        return {};
    return formatted("One %s call took %.1f us lately, %.1f to %.1f us in all\n",
                     which == ReceiveCall ? "receive" : "send",
                     time.blockSum() / time.blockCount() * 1e6, time.minimum() * 1e6,
                     time.maximum() * 1e6);
}

}  // namespace RtiqnDis
