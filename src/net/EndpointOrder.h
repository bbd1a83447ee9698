#ifndef RTIQNUTIL_SRC_NET_ENDPOINTORDER_H
#define RTIQNUTIL_SRC_NET_ENDPOINTORDER_H

#include <tuple>

#include "InetEndpoint.h"

namespace OrynRti {

/// A strict order of all endpoints for containers, where `<` of two endpoints is none: it knows
/// no order for endpoints without a protocol or of two protocols.
struct EndpointOrder {
    bool operator()(const DtInetEndpoint& left, const DtInetEndpoint& right) const {
        return key(left) < key(right);
    }

private:
    static auto key(const DtInetEndpoint& endpoint) {
        const DtInetAddr& addr = endpoint.address();
        return std::make_tuple(endpoint.protocol(), addr.family(), addr.toU128(), addr.scope(),
                               endpoint.port());
    }
};

}  // namespace OrynRti

#endif
