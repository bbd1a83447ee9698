#ifndef RTIQN_DIS_DATAGRAM_SENDER_H
#define RTIQN_DIS_DATAGRAM_SENDER_H

#include <cstdint>
#include <string>
#include <vector>

#include "DisSocket.h"
#include "PerformanceStats.h"

namespace RtiqnDis {

/// Where and how `replay` and `send` send.
struct SendingOptions {
    std::vector<std::string> targets;
    std::uint16_t port = 3000;  ///< where a target names none
    std::string device;         ///< empty: the system chooses
    int ttl = -1;               ///< routers that may be passed; -1 for the system's choice
    int bundle_bytes = 0;       ///< bundle PDUs up to that size; 0 for no bundling
};

/// Sends to several destinations, from a port that the system chooses. A failure does not stop it:
/// the first one is told on standard error, all are counted.
class DatagramSender {
public:
    /// Opens the socket. Throws UsageError, NetworkError.
    explicit DatagramSender(const SendingOptions& options);

    /// Sends a datagram as it is. Not for a sender that bundles.
    void sendDatagram(std::vector<char>& bytes);

    /// Sends a PDU, or adds it to the bundles, which never hold PDUs of different versions.
    void sendPdu(char* bytes, std::size_t size, std::uint8_t version);

    /// Sends the pending bundles.
    void flush();

    bool bundles() const { return options_.bundle_bytes > 0; }

    /// Datagrams and bytes handed to the system, and sends that failed.
    std::uint64_t datagrams() const { return socket_.counters().datagramsOnWire; }
    std::uint64_t bytes() const { return socket_.counters().bytesOnWire; }
    std::uint64_t failures() const { return failures_ + socket_.disCounters().bundlesFailed; }

    /// How long the calls took.
    const OrynRti::DtPerformanceStats& ownTimes() const { return ownTimes_; }

private:
    void open();
    void sendToAll(char* bytes, std::size_t size);
    void tellFirstFailure();

    const SendingOptions& options_;
    std::vector<OrynRti::DtInetEndpoint> targets_;
    OrynRti::DtDisSocket socket_;
    OrynRti::DtPerformanceStats ownTimes_;
    std::uint64_t failures_ = 0;
    bool toldFailure_ = false;
    int bundledVersion_ = -1;
};

/// "267 datagrams, 37820 bytes in 3.009 s: 88.7 datagrams/s, 0.101 Mbit/s", how long a call took,
/// and the failures.
std::string sendingText(const DatagramSender& sender, double duration_s);

}  // namespace RtiqnDis

#endif
