#include "NetTypes.h"

#include <atomic>

namespace OrynRti {

namespace {

// Nothing else is published with the setting, so that its accesses need no order.
std::atomic<DtNetworkByteOrdering_enum> theByteOrdering{DtNetworkByteOrder};

}  // namespace

DtNetworkByteOrdering_enum DtNetworkByteOrdering() {
    return theByteOrdering.load(std::memory_order_relaxed);
}

void DtSetNetworkByteOrdering(DtNetworkByteOrdering_enum ordering) {
    theByteOrdering.store(ordering, std::memory_order_relaxed);
}

}  // namespace OrynRti
