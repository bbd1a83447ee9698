#ifndef TESTS_NET_UDPSOCKETS_H
#define TESTS_NET_UDPSOCKETS_H

#include <memory>
#include <string>

#include "InetUdpSocket.h"
#include "net/Sockets.h"

namespace OrynRti::Tests {

inline DtInetEndpoint udpEndpoint(const char* address, unsigned short port = 0) {
    return DtInetEndpoint(DtInetAddr(address), port, DtInetUdp);
}

/// A socket on a loopback address and a port of the system's choice.
inline std::unique_ptr<DtInetUdpSocket> loopbackSocket(
    unsigned int options = theDtInetSockDefaultOptions, const char* address = "127.0.0.1") {
    return std::make_unique<DtInetUdpSocket>(udpEndpoint(address), 0, nullptr, options, true);
}

inline int sendText(DtInetUdpSocket& socket, std::string text, const DtInetEndpoint& to,
                    int flags = 0) {
    DtInetEndpoint destination(to);
    return socket.sendTo(text.data(), static_cast<int>(text.size()), destination, flags);
}

/// What one receiving call brings, see textOrResult().
inline std::string receiveText(DtInetUdpSocket& socket, std::size_t room = 2000, int flags = 0) {
    std::string text(room, '?');
    return textOrResult(text, socket.recv(text.data(), static_cast<int>(room), flags));
}

}  // namespace OrynRti::Tests

#endif
