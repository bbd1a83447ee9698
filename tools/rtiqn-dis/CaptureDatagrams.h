#ifndef RTIQN_DIS_CAPTURE_DATAGRAMS_H
#define RTIQN_DIS_CAPTURE_DATAGRAMS_H

#include <cstdint>
#include <map>
#include <string>

#include "CaptureFile.h"
#include "IpPacket.h"
#include "Reassembler.h"
#include "TrafficStatistics.h"

namespace RtiqnDis {

/// A UDP datagram of a capture.
struct CapturedDatagram {
    double time_s = 0;  ///< Unix time; of several fragments that of the last
    IpAddress source;
    IpAddress destination;
    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;
    ByteView payload;  ///< borrowed until the next datagram
};

/// The UDP datagrams to one port of a capture file, put together from their fragments. What cannot
/// be delivered is counted; packets that are known to be for other ports are not.
class CaptureDatagrams {
public:
    /// Throws FileError, see CaptureFile. Borrows the statistics.
    CaptureDatagrams(const std::string& path, std::uint16_t port, TrafficStatistics& statistics);

    /// False at the end of the capture, be it its true end or where it is damaged.
    bool next(CapturedDatagram& datagram);

    /// Empty, or why the rest of the file cannot be read.
    const std::string& damage() const { return file_.damage(); }

    /// Datagrams to other ports.
    std::uint64_t others() const { return others_; }

private:
    bool readPacket(const CapturedPacket& packet, UdpCarrier& carrier);
    bool readUdp(const UdpCarrier& carrier, CapturedDatagram& datagram);
    void addLoss(const UdpCarrier& carrier, Loss loss);

    CaptureFile file_;
    std::uint16_t port_;
    TrafficStatistics& statistics_;
    Reassembler reassembler_;
    std::uint64_t others_ = 0;
    bool ended_ = false;
};

}  // namespace RtiqnDis

#endif
