#ifndef RTIQN_PACKETSERVER_PACKET_FILTER_H
#define RTIQN_PACKETSERVER_PACKET_FILTER_H

#include <array>
#include <cstdint>
#include <vector>

#include "CliServerRecords.h"
#include "PduFilter.h"

namespace RtiqnPacketServer {

/// A packet from the network, on its way to the clients.
struct Packet {
    const char* bytes = nullptr;
    int length = 0;             ///< At least that of a PDU header.
    std::uint32_t address = 0;  ///< Of the sender, in network order; 0 when it is not IPv4.
    std::uint16_t port = 0;
};

/// One of a client's tests on a byte of each packet. A value is in its list at most once, so that
/// it has no more than 256.
class ByteTest {
public:
    /// False when a byte cannot have the value, or for an unknown action.
    bool change(std::uint8_t action, std::uint32_t value);

    bool isSet() const { return accepts_ || count_ > 0; }
    bool passes(const Packet& packet, int index);

private:
    void change(OrynRti::DtPduTestOperator op, unsigned int value);
    bool isListed(unsigned int value);

    OrynRti::DtPduFilterTest test_;
    bool accepts_ = false;
    int count_ = 0;
};

/// A client's test on the sender of each packet. A packet whose sender has no IPv4 address is
/// from 0.0.0.0.
class SenderTest {
public:
    static constexpr std::size_t theMostValues = 256;

    /// False when it would have too many values, or for an unknown action.
    bool change(std::uint8_t action, std::uint32_t address);

    bool isSet() const { return accepts_ || !addresses_.empty(); }
    bool passes(const Packet& packet) const { return isListed(packet.address) == accepts_; }

private:
    bool isListed(std::uint32_t address) const;

    bool accepts_ = false;
    std::vector<std::uint32_t> addresses_;
};

/// Which packets a client gets: those that pass all four tests. At first all.
class PacketFilter {
public:
    /// False, and nothing is changed, for what cannot be.
    bool change(const OrynRti::DtCsFilterRecord& request);

    bool passes(const Packet& packet);

    /// How many tests do not let everything pass: 0 to 4.
    int count() const;

private:
    std::array<ByteTest, 3> bytes_;  ///< Of the bytes 0, 1 and 2.
    SenderTest sender_;
    bool isSet_ = false;
};

}  // namespace RtiqnPacketServer

#endif
