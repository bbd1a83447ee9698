#ifndef RTIQN_DIS_IP_PACKET_H
#define RTIQN_DIS_IP_PACKET_H

#include <cstdint>

#include "ByteView.h"
#include "IpAddress.h"
#include "LinkLayer.h"

namespace RtiqnDis {

/// A UDP datagram or a fragment of one, as IPv4 or IPv6 carried it.
struct UdpCarrier {
    IpAddress source;
    IpAddress destination;
    ByteView bytes;  ///< without IP headers
    bool isFragment = false;
    bool moreFragments = false;
    std::uint32_t identification = 0;
    std::size_t fragmentOffset_bytes = 0;
};

enum class IpResult {
    Udp,
    Other,   ///< neither UDP nor a fragment of it
    CutOff,  ///< UDP, as far as can be seen; `bytes` holds what the capture kept
    Broken
};

/// Reads the IP headers. `cut` says that the capture kept less than the packet had. Checksums are
/// not tested: where the network card computes them, captures show unfinished ones.
IpResult readIp(const LinkPayload& packet, bool cut, UdpCarrier& carrier);

}  // namespace RtiqnDis

#endif
