#ifndef RTIQN_DIS_IP_ADDRESS_H
#define RTIQN_DIS_IP_ADDRESS_H

#include <array>
#include <cstdint>
#include <string>
#include <tuple>

#include "ByteView.h"

namespace RtiqnDis {

/// An address as it stands in a packet: 4 or 16 bytes in network order.
struct IpAddress {
    int family = 4;
    std::array<std::uint8_t, 16> bytes{};

    /// `view` holds exactly the 4 or 16 bytes.
    static IpAddress read(ByteView view);

    /// "192.0.2.1" or "2001:db8::1".
    std::string text() const;
};

inline bool operator==(const IpAddress& left, const IpAddress& right) {
    return left.family == right.family && left.bytes == right.bytes;
}
inline bool operator<(const IpAddress& left, const IpAddress& right) {
    return std::tie(left.family, left.bytes) < std::tie(right.family, right.bytes);
}

/// Address and port as DtInetEndpoint writes them: "192.0.2.1:3000", "[2001:db8::1]:3000".
std::string endpointText(const IpAddress& address, std::uint16_t port);

}  // namespace RtiqnDis

#endif
