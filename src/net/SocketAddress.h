#ifndef RTIQNUTIL_SRC_NET_SOCKETADDRESS_H
#define RTIQNUTIL_SRC_NET_SOCKETADDRESS_H

#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

#include "InetEndpoint.h"
#include "net/SockaddrCopy.h"

namespace OrynRti {

/// An address and port in the form of the system's calls, scope of IPv6 included.
class SocketAddress {
public:
    /// None: a datagram sent to it goes to where its socket is connected.
    SocketAddress() = default;

    SocketAddress(const DtInetAddr& addr, unsigned short port) {
        if (addr.isIPv4()) {
            sockaddr_in ipv4{};
            addr.toSockaddr(&ipv4);
            ipv4.sin_port = htons(port);
            store(ipv4);
        } else if (addr.isIPv6()) {
            sockaddr_in6 ipv6{};
            addr.toSockaddr(&ipv6);
            ipv6.sin6_port = htons(port);
            if (ipv6.sin6_scope_id == 0)
                ipv6.sin6_scope_id = addr.scope();
            store(ipv6);
        }
    }

    explicit SocketAddress(const DtInetEndpoint& endpoint)
        : SocketAddress(endpoint.address(), endpoint.port()) {}

    /// As the system has filled it in.
    explicit SocketAddress(const sockaddr_storage& addr) {
        std::memcpy(bytes_, &addr, sizeof bytes_);
        size_ = addr.ss_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    }

    /// Null when there is none.
    const sockaddr* get() const {
        return size_ != 0 ? reinterpret_cast<const sockaddr*>(bytes_) : nullptr;
    }
    socklen_t size() const { return size_; }

    /// The interface index of an IPv6 address, 0 for none.
    std::uint32_t scope() const {
        return size_ == sizeof(sockaddr_in6) ? readSockaddr<sockaddr_in6>(bytes_).sin6_scope_id : 0;
    }

    sockaddr_storage storage() const {
        sockaddr_storage addr{};
        std::memcpy(&addr, bytes_, sizeof bytes_);
        return addr;
    }

private:
    template <typename Sockaddr>
    void store(const Sockaddr& addr) {
        std::memcpy(bytes_, &addr, sizeof addr);
        size_ = sizeof addr;
    }

    alignas(sockaddr_in6) unsigned char bytes_[sizeof(sockaddr_in6)] = {};
    socklen_t size_ = 0;
};

}  // namespace OrynRti

#endif
