#ifndef RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTWISHES_H
#define RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTWISHES_H

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "CliServerRecords.h"
#include "PduFilter.h"

namespace OrynRti {

/// One test of packets, as it is asked of the server.
class PacketFilterWish {
public:
    static constexpr std::size_t theMostValues = 256;

    PacketFilterWish() = default;
    /// As they go into the record; one that is there twice counts once.
    PacketFilterWish(DtPduTestOperator op, std::vector<uint32_t> values);

    bool fits() const { return values_.size() <= theMostValues; }
    bool isSet() const { return accepts_ || !values_.empty(); }

    /// Asks for it in as many records as it takes; false as soon as one is not sent.
    using Send = std::function<bool(const DtCsFilterRecord&)>;
    bool ask(DtCsFilterTest test, const Send& send) const;

private:
    bool accepts_ = false;  ///< Only the values pass; else all others.
    std::vector<uint32_t> values_;
};

/// What a client wants of every server it is connected to.
struct PacketClientWishes {
    static constexpr std::size_t theMostGroups = 32;

    std::array<PacketFilterWish, 4> filters;  ///< By DtCsFilterTest.
    std::vector<uint32_t> groups;             ///< IPv4 addresses in network order.
};

}  // namespace OrynRti

#endif
