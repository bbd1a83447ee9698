#ifndef TESTS_NET_TCPSOCKETS_H
#define TESTS_NET_TCPSOCKETS_H

#include <netinet/in.h>
#include <string>
#include <unistd.h>

#include "InetTcpSocket.h"
#include "net/Sockets.h"
#include "support/Sanitizers.h"

namespace OrynRti::Tests {

inline DtInetEndpoint tcpEndpoint(const char* address, unsigned short port) {
    return DtInetEndpoint(DtInetAddr(address), port, DtInetTcp);
}

/// A port of the system's choice, held by a socket that is bound, does not listen, and lets
/// others bind to it as well.
class HeldPort {
public:
    explicit HeldPort(bool ipv6 = false)
        : number_(socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        setsockopt(number_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_storage addr{};
        addr.ss_family = ipv6 ? AF_INET6 : AF_INET;
        socklen_t size = ipv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
        EXPECT_EQ(bind(number_, reinterpret_cast<sockaddr*>(&addr), size), 0);
        EXPECT_EQ(getsockname(number_, reinterpret_cast<sockaddr*>(&addr), &size), 0);
        DtInetEndpoint held;
        EXPECT_TRUE(held.fromAddrStorage(DtInetTcp, addr));
        port_ = held.port();
    }
    HeldPort(const HeldPort&) = delete;
    HeldPort& operator=(const HeldPort&) = delete;
    ~HeldPort() { close(number_); }

    unsigned short port() const { return port_; }

private:
    int number_;
    unsigned short port_ = 0;
};

/// A server that listens.
struct ListeningServer {
    explicit ListeningServer(unsigned int options = theBlocking, bool ipv6 = false)
        : held(ipv6),
          socket(held.port(), nullptr, ipv6 ? DtInetUtils::IPv6 : DtInetUtils::IPv4, options, true),
          endpoint(tcpEndpoint(ipv6 ? "::1" : "127.0.0.1", held.port())) {
        EXPECT_TRUE(socket.listenForConnections()) << socket.getLastErrorString();
    }

    /// A connection to this server from outside of the library.
    int rawClient() const {
        const int number = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in addr{};
        DtInetEndpoint(endpoint).toSockaddr(&addr);
        const bool connected =
            connect(number, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 ||
            (errno == EINTR && awaitEvent(number, POLLOUT));  // which goes on by itself
        EXPECT_TRUE(connected);
        return number;
    }

    HeldPort held;
    DtInetTcpSocket socket;
    DtInetEndpoint endpoint;
};

/// Two sockets connected with each other.
struct Connection {
    explicit Connection(unsigned int acceptedOptions = theBlocking,
                        unsigned int clientOptions = theBlocking, bool ipv6 = false)
        : server(theBlocking, ipv6), client(server.endpoint, 0, nullptr, clientOptions, true) {
        EXPECT_TRUE(client.connectToDestination()) << client.getLastErrorString();
        EXPECT_TRUE(server.socket.acceptConnection(&accepted, acceptedOptions))
            << server.socket.getLastErrorString();
        while (client.state() == DtInetSockConnecting && awaitEvent(client.descriptor(), POLLOUT))
            client.connectToDestination();
        EXPECT_EQ(client.state(), DtInetSockConnected);
    }

    ListeningServer server;
    DtInetTcpSocket client;
    DtInetTcpSocket accepted;
};

/// A connection to a peer from outside of the library, which whoever uses it closes.
struct RawConnection {
    explicit RawConnection(unsigned int acceptedOptions) : peer(server.rawClient()) {
        EXPECT_TRUE(server.socket.acceptConnection(&accepted, acceptedOptions));
    }

    ListeningServer server;
    int peer;
    DtInetTcpSocket accepted;
};

/// Ends a connection by a reset.
inline void resetAndClose(int descriptor) {
    const linger atOnce{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close(descriptor);
}

inline int sendText(DtInetTcpSocket& socket, std::string text, int flags = 0) {
    return socket.send(text.data(), static_cast<int>(text.size()), flags);
}

/// What one receiving call brings, see textOrResult(). Waits until there is something.
inline std::string receiveText(DtInetTcpSocket& socket, std::size_t room = 70000) {
    std::string text(room, '?');
    int size = 0;
    while ((size = socket.recv(text.data(), static_cast<int>(room), 0)) == 0 &&
           awaitEvent(socket.pollDescriptor(), POLLIN)) {
    }
    return textOrResult(text, size);
}

/// Everything until the peer ends its stream or the connection fails.
inline std::string receiveAll(DtInetTcpSocket& socket) {
    std::string all;
    for (std::string text; (text = receiveText(socket)) != "(-1)";)
        all += text;
    return all;
}

/// Bytes that look random and differ from seed to seed.
inline std::string noise(unsigned int seed, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        bytes[i] = static_cast<char>(seed >> 24);
    }
    return bytes;
}

}  // namespace OrynRti::Tests

#endif
