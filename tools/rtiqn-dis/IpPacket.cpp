#include "IpPacket.h"

namespace RtiqnDis {

namespace {

constexpr std::uint8_t theUdpProtocol = 17;

/// What it means that a packet ends too early.
IpResult endsEarly(bool cut) {
    return cut ? IpResult::CutOff : IpResult::Broken;
}

/// Cuts the packet to the size its header gives; beyond that is padding of the link layer. A size
/// of 0 is what offloading network cards leave in captures, and means all of it.
IpResult takePayload(ByteView packet, std::size_t headerSize, std::size_t totalSize, bool cut,
                     UdpCarrier& carrier) {
    if (headerSize > packet.size())
        return endsEarly(cut);
    carrier.bytes = packet.from(headerSize);
    if (totalSize == 0)
        return cut ? IpResult::CutOff : IpResult::Udp;
    if (totalSize > packet.size())
        return endsEarly(cut);
    if (totalSize < headerSize)
        return IpResult::Broken;
    carrier.bytes = carrier.bytes.first(totalSize - headerSize);
    return IpResult::Udp;
}

IpResult readIpv4(ByteView packet, bool cut, UdpCarrier& carrier) {
    constexpr std::size_t minHeaderSize = 20;
    if (packet.size() < minHeaderSize)
        return endsEarly(cut);
    const std::size_t headerSize = std::size_t{4} * (packet.u8(0) & 0x0F);
    if (packet.u8(0) >> 4 != 4 || headerSize < minHeaderSize)
        return IpResult::Broken;
    if (packet.u8(9) != theUdpProtocol)
        return IpResult::Other;
    carrier.source = IpAddress::read(packet.from(12).first(4));
    carrier.destination = IpAddress::read(packet.from(16).first(4));
    carrier.identification = packet.u16(4);
    carrier.moreFragments = (packet.u16(6) & 0x2000) != 0;
    carrier.fragmentOffset_bytes = std::size_t{8} * (packet.u16(6) & 0x1FFF);
    carrier.isFragment = carrier.moreFragments || carrier.fragmentOffset_bytes > 0;
    return takePayload(packet, headerSize, packet.u16(2), cut, carrier);
}

bool isExtension(std::uint8_t header) {
    return header == 0 || header == 43 || header == 44 || header == 51 || header == 60;
}

/// Reads over the extension headers from `at` on, which then is where the payload begins.
/// Other when they end in something that is not UDP.
IpResult readExtensions(ByteView packet, std::uint8_t header, bool cut, std::size_t& at,
                        UdpCarrier& carrier) {
    constexpr std::uint8_t fragmentHeader = 44;
    constexpr std::uint8_t authenticationHeader = 51;
    while (isExtension(header)) {
        if (packet.size() < at + 8)
            return endsEarly(cut);
        std::size_t size = std::size_t{8} * (packet.u8(at + 1) + 1U);
        if (header == authenticationHeader)
            size = std::size_t{4} * (packet.u8(at + 1) + 2U);
        if (header == fragmentHeader) {
            size = 8;
            carrier.fragmentOffset_bytes = packet.u16(at + 2) & 0xFFF8;
            carrier.moreFragments = (packet.u16(at + 2) & 1) != 0;
            carrier.identification = packet.u32(at + 4);
            carrier.isFragment = carrier.moreFragments || carrier.fragmentOffset_bytes > 0;
        }
        header = packet.u8(at);
        at += size;
        if (carrier.isFragment)
            break;  // what follows belongs to the payload that is put together
    }
    return header == theUdpProtocol ? IpResult::Udp : IpResult::Other;
}

IpResult readIpv6(ByteView packet, bool cut, UdpCarrier& carrier) {
    constexpr std::size_t headerSize = 40;
    if (packet.size() < headerSize)
        return endsEarly(cut);
    if (packet.u8(0) >> 4 != 6)
        return IpResult::Broken;
    carrier.source = IpAddress::read(packet.from(8).first(16));
    carrier.destination = IpAddress::read(packet.from(24).first(16));
    std::size_t at = headerSize;
    const IpResult result = readExtensions(packet, packet.u8(6), cut, at, carrier);
    if (result != IpResult::Udp)
        return result;
    const std::size_t payloadSize = packet.u16(4);
    return takePayload(packet, at, payloadSize == 0 ? 0 : headerSize + payloadSize, cut, carrier);
}

}  // namespace

IpResult readIp(const LinkPayload& packet, bool cut, UdpCarrier& carrier) {
    carrier = UdpCarrier();
    if (packet.etherType == theIpv4Type)
        return readIpv4(packet.bytes, cut, carrier);
    if (packet.etherType == theIpv6Type)
        return readIpv6(packet.bytes, cut, carrier);
    return IpResult::Other;
}

}  // namespace RtiqnDis
