#include "LinkLayer.h"

#include <pcap/dlt.h>

namespace RtiqnDis {

namespace {

bool isVlanTag(std::uint16_t etherType) {
    return etherType == 0x8100 || etherType == 0x88A8 || etherType == 0x9100;
}

/// Tag after tag: two bytes of control information, then the type of what follows.
std::optional<LinkPayload> withoutVlanTags(LinkPayload payload) {
    constexpr std::size_t tagSize_bytes = 4;
    while (isVlanTag(payload.etherType)) {
        if (payload.bytes.size() < tagSize_bytes)
            return std::nullopt;
        payload = {payload.bytes.u16(2), payload.bytes.from(tagSize_bytes)};
    }
    return payload;
}

/// A header of fixed size that names the type of its payload.
std::optional<LinkPayload> typedPayload(ByteView frame, std::size_t headerSize,
                                        std::size_t typeAt) {
    if (frame.size() < headerSize)
        return std::nullopt;
    return withoutVlanTags({frame.u16(typeAt), frame.from(headerSize)});
}

/// Null and loopback headers name an address family of the system that captured, null in that
/// system's byte order: AF_INET is 2 everywhere, AF_INET6 10, 24, 28 or 30.
std::optional<LinkPayload> loopbackPayload(ByteView frame) {
    if (frame.size() < 4)
        return std::nullopt;
    std::uint32_t family = frame.u32(0);
    if (family > 0xFFFF)
        family = family >> 24 | (family >> 8 & 0xFF00);
    LinkPayload payload{0, frame.from(4)};
    if (family == 2)
        payload.etherType = theIpv4Type;
    else if (family == 10 || family == 24 || family == 28 || family == 30)
        payload.etherType = theIpv6Type;
    return payload;
}

std::optional<LinkPayload> rawPayload(ByteView packet) {
    if (packet.size() == 0)
        return std::nullopt;
    const int version = packet.u8(0) >> 4;
    if (version == 4)
        return LinkPayload{theIpv4Type, packet};
    return LinkPayload{version == 6 ? theIpv6Type : std::uint16_t{0}, packet};
}

}  // namespace

bool knowsLinkType(int linkType) {
    switch (linkType) {
        case DLT_EN10MB:
        case DLT_LINUX_SLL:
        case DLT_LINUX_SLL2:
        case DLT_NULL:
        case DLT_LOOP:
        case DLT_RAW:
        case DLT_IPV4:
        case DLT_IPV6:
            return true;
        default:
            return false;
    }
}

std::optional<LinkPayload> linkPayload(int linkType, ByteView frame) {
    switch (linkType) {
        case DLT_EN10MB:
            return typedPayload(frame, 14, 12);
        case DLT_LINUX_SLL:
            return typedPayload(frame, 16, 14);
        case DLT_LINUX_SLL2:
            return typedPayload(frame, 20, 0);
        case DLT_NULL:
        case DLT_LOOP:
            return loopbackPayload(frame);
        default:
            return rawPayload(frame);
    }
}

}  // namespace RtiqnDis
