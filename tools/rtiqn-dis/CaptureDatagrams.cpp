#include "CaptureDatagrams.h"

#include "LinkLayer.h"

namespace RtiqnDis {

namespace {

constexpr std::size_t theUdpHeaderSize_bytes = 8;

}  // namespace

CaptureDatagrams::CaptureDatagrams(const std::string& path, std::uint16_t port,
                                   TrafficStatistics& statistics)
    : file_(path),
      port_(port),
      statistics_(statistics),
      reassembler_([this](const UdpCarrier& carrier, Loss loss) { addLoss(carrier, loss); }) {}

bool CaptureDatagrams::next(CapturedDatagram& datagram) {
    CapturedPacket packet;
    UdpCarrier carrier;
    while (!ended_ && file_.next(packet))
        if (readPacket(packet, carrier) && readUdp(carrier, datagram)) {
            datagram.time_s = packet.time_s;
            return true;
        }
    if (!ended_) {
        ended_ = true;
        reassembler_.finish();
        if (!file_.damage().empty())
            statistics_.addLoss(Loss::CaptureDamaged, "");
    }
    return false;
}

/// Whether the packet is, or completes, a datagram.
bool CaptureDatagrams::readPacket(const CapturedPacket& packet, UdpCarrier& carrier) {
    const auto payload = linkPayload(file_.linkType(), packet.bytes);
    if (!payload) {
        statistics_.addLoss(packet.cut ? Loss::CutOff : Loss::BrokenPacket, "");
        return false;
    }
    switch (readIp(*payload, packet.cut, carrier)) {
        case IpResult::Udp:
            return !carrier.isFragment || reassembler_.add(carrier, packet.time_s);
        case IpResult::CutOff:
            addLoss(carrier, Loss::CutOff);
            return false;
        case IpResult::Broken:
            addLoss(carrier, Loss::BrokenPacket);
            return false;
        default:
            return false;
    }
}

bool CaptureDatagrams::readUdp(const UdpCarrier& carrier, CapturedDatagram& datagram) {
    const ByteView udp = carrier.bytes;
    const std::size_t size = udp.size() < theUdpHeaderSize_bytes ? 0 : udp.u16(4);
    if (size < theUdpHeaderSize_bytes || size > udp.size()) {
        addLoss(carrier, Loss::BrokenPacket);
        return false;
    }
    if (udp.u16(2) != port_) {
        ++others_;
        return false;
    }
    datagram.source = carrier.source;
    datagram.destination = carrier.destination;
    datagram.sourcePort = udp.u16(0);
    datagram.destinationPort = udp.u16(2);
    datagram.payload = udp.first(size).from(theUdpHeaderSize_bytes);
    return true;
}

/// The ports are only known when the bytes begin a datagram.
void CaptureDatagrams::addLoss(const UdpCarrier& carrier, Loss loss) {
    static const IpAddress unknown;
    const bool portsKnown = carrier.fragmentOffset_bytes == 0 && carrier.bytes.size() >= 4;
    if (portsKnown && carrier.bytes.u16(2) != port_) {
        ++others_;
        return;
    }
    std::string sender = carrier.source == unknown ? "" : carrier.source.text();
    if (portsKnown)
        sender = endpointText(carrier.source, carrier.bytes.u16(0));
    statistics_.addLoss(loss, sender);
}

}  // namespace RtiqnDis
