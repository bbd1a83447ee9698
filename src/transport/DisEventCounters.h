#ifndef RTIQNUTIL_SRC_TRANSPORT_DISEVENTCOUNTERS_H
#define RTIQNUTIL_SRC_TRANSPORT_DISEVENTCOUNTERS_H

#include <atomic>
#include <cstdint>

#include "DisSocket.h"
#include "net/SharedCounter.h"

namespace OrynRti {

/// What DtDisSocket::DisCounters tells, while it is being counted by several threads.
struct DisEventCounters {
    using Counter = std::atomic<std::uint64_t>;

    Counter ownDatagrams{0};
    Counter belowMinSize{0};
    Counter filteredByVersion{0};
    Counter filteredByExercise{0};
    Counter filteredByKind{0};
    Counter filteredByAddress{0};
    Counter incomplete{0};
    Counter invalidLengths{0};
    Counter restsDropped{0};
    Counter attributePdusMissing{0};
    Counter queuedPdusLost{0};
    Counter bundlesSent{0};
    Counter bundlesFailed{0};

    // Of PDUs that were put into bundles directly; counted under the lock of the socket.
    SharedCounter pdusBundled;
    SharedCounter bytesBundled;

    static void add(Counter& counter) { counter.fetch_add(1, std::memory_order_relaxed); }

    void clear() {
        for (Counter* counter :
             {&ownDatagrams, &belowMinSize, &filteredByVersion, &filteredByExercise,
              &filteredByKind, &filteredByAddress, &incomplete, &invalidLengths, &restsDropped,
              &attributePdusMissing, &queuedPdusLost, &bundlesSent, &bundlesFailed})
            counter->store(0, std::memory_order_relaxed);
        pdusBundled.clear();
        bytesBundled.clear();
    }

    DtDisSocket::DisCounters snapshot() const {
        return {ownDatagrams,   belowMinSize,         filteredByVersion, filteredByExercise,
                filteredByKind, filteredByAddress,    incomplete,        invalidLengths,
                restsDropped,   attributePdusMissing, queuedPdusLost,    bundlesSent,
                bundlesFailed};
    }
};

}  // namespace OrynRti

#endif
