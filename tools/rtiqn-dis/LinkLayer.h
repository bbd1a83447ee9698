#ifndef RTIQN_DIS_LINK_LAYER_H
#define RTIQN_DIS_LINK_LAYER_H

#include <cstdint>
#include <optional>

#include "ByteView.h"

namespace RtiqnDis {

constexpr std::uint16_t theIpv4Type = 0x0800;
constexpr std::uint16_t theIpv6Type = 0x86DD;

/// What a frame carries.
struct LinkPayload {
    std::uint16_t etherType = 0;  ///< 0 when the frame names none
    ByteView bytes;
};

/// Ethernet, Linux cooked capture 1 and 2, null and loopback, raw IP.
bool knowsLinkType(int linkType);

/// Strips the link header and any VLAN tags. `linkType` is libpcap's number (DLT_...). Nothing
/// when the frame ends before its payload begins.
std::optional<LinkPayload> linkPayload(int linkType, ByteView frame);

}  // namespace RtiqnDis

#endif
