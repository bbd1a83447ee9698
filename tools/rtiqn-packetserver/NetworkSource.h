#ifndef RTIQN_PACKETSERVER_NETWORK_SOURCE_H
#define RTIQN_PACKETSERVER_NETWORK_SOURCE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "DisSocket.h"
#include "PacketFilter.h"

namespace RtiqnPacketServer {

struct NetworkOptions {
    std::uint16_t port = 3000;  ///< 0 lets the system choose
    std::string bind;           ///< empty for all addresses
    std::string device;         ///< empty for all
    std::vector<std::string> groups;
    bool unbundle = true;
};

/// The DIS socket that the server reads, and the multicast groups that it is in, each as long as
/// somebody wants it.
class NetworkSource {
public:
    enum class Result { Packet, Nothing, Dropped, Failed };

    /// Throws NetworkError, UsageError.
    explicit NetworkSource(const NetworkOptions& options);

    /// For poll(). -1 while the network cannot be read.
    int descriptor();

    /// Takes one packet, which lives until the next call. After a failure the network cannot be
    /// read until reopen() has succeeded.
    Result receive(Packet& packet);

    bool isWell() const { return well_; }
    bool reopen();
    std::string failure() const;

    std::uint16_t port() const { return socket_->localPort(); }
    std::string endpointText() const;

    /// Once more, or once less. `group` is an IPv4 address in network order. False with failure()
    /// when the system refuses a group that nobody was in.
    bool join(std::uint32_t group);
    void leave(std::uint32_t group);

    const OrynRti::DtDisSocket& socket() const { return *socket_; }

private:
    OrynRti::DtInetEndpoint localEndpoint(const NetworkOptions& options);
    void setUp(const NetworkOptions& options);
    bool open();

    std::vector<OrynRti::DtInetAddr> ownGroups_;
    std::map<std::uint32_t, unsigned int> groups_;  ///< How many clients want each.
    std::optional<OrynRti::DtDisSocket> socket_;
    std::vector<char> buffer_;
    OrynRti::DtInetSocketBufferChain chain_;
    OrynRti::DtInetEndpoint sender_;
    bool well_ = false;
};

}  // namespace RtiqnPacketServer

#endif
