#ifndef RTIQN_DIS_REASSEMBLER_H
#define RTIQN_DIS_REASSEMBLER_H

#include <functional>
#include <list>
#include <map>
#include <tuple>
#include <vector>

#include "IpPacket.h"
#include "Losses.h"

namespace RtiqnDis {

/// Puts fragments of IP packets together again. A datagram whose fragments contradict each other
/// is given up (as RFC 5722 demands), and so is one that is not complete after a minute, or when
/// too many others are waiting.
///
/// Cost:      at most 256 datagrams of 64 KiB wait
class Reassembler {
public:
    /// A datagram that was given up: its addresses, in `bytes` what the first fragment held (empty
    /// when that is missing), and why.
    using GivenUp = std::function<void(const UdpCarrier&, Loss)>;

    explicit Reassembler(GivenUp givenUp) : givenUp_(std::move(givenUp)) {}

    /// Adds a fragment. True when it completes its datagram, whose bytes `carrier` then borrows
    /// until the next call.
    bool add(UdpCarrier& carrier, double time_s);

    /// Gives up everything that waits.
    void finish();

private:
    using Key = std::tuple<IpAddress, IpAddress, std::uint32_t>;

    struct Pending {
        Key key;
        double since_s = 0;
        UdpCarrier carrier;
        std::vector<std::uint8_t> bytes;
        std::map<std::size_t, std::size_t> parts;  ///< begin and end of what arrived
        std::size_t held = 0;                      ///< bytes that arrived
        std::size_t size = 0;                      ///< known once the last fragment is there
        bool contradicts = false;                  ///< given up; kept so that stragglers go with it
    };
    using Position = std::list<Pending>::iterator;

    Position pendingOf(const UdpCarrier& carrier, double time_s);
    void reportLoss(const Pending& pending, Loss loss);
    void drop(Position pending);
    void dropOld(double now_s);
    static bool addPart(Pending& pending, const UdpCarrier& fragment);

    GivenUp givenUp_;
    std::list<Pending> pending_;  ///< oldest first
    std::map<Key, Position> byKey_;
    std::vector<std::uint8_t> whole_;
};

}  // namespace RtiqnDis

#endif
