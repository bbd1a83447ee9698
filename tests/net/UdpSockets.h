#ifndef TESTS_NET_UDPSOCKETS_H
#define TESTS_NET_UDPSOCKETS_H

#include <cstring>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

#include "InetUdpSocket.h"

namespace OrynRti::Tests {

constexpr unsigned int theNonBlocking = theDtInetSockDefaultOptions | DtInetSockNonBlocking;
constexpr unsigned int theAsyncReceive = theDtInetSockDefaultOptions | DtInetSockAsyncReceive;
constexpr unsigned int theAsyncSend = theDtInetSockDefaultOptions | DtInetSockAsyncSend;

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

/// What one receiving call brings: the text, or its result in parentheses, "(0)" for nothing.
inline std::string receiveText(DtInetUdpSocket& socket, std::size_t room = 2000, int flags = 0) {
    std::string text(room, '?');
    const int size = socket.recv(text.data(), static_cast<int>(room), flags);
    return size > 0 ? text.substr(0, static_cast<std::size_t>(size))
                    : "(" + std::to_string(size) + ")";
}

inline bool isReadable(int descriptor, int timeout_ms = 0) {
    pollfd waited{descriptor, POLLIN, 0};
    return poll(&waited, 1, timeout_ms) == 1;
}

/// Longer than anything takes that a test waits for.
constexpr int theLongWait_ms = 20000;

}  // namespace OrynRti::Tests

#endif
