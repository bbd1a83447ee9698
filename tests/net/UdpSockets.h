#ifndef TESTS_NET_UDPSOCKETS_H
#define TESTS_NET_UDPSOCKETS_H

#include <memory>
#include <string>
#include <thread>

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

/// The queue of a sender that was made with DtInetSockAsyncSend: bounded, in order, emptied by
/// closing, and heard of when the thread behind it fails.
inline void expectSendQueue(DtInetUdpSocket& sender) {
    const auto receiver = loopbackSocket();
    const DtInetEndpoint to = receiver->localEndpoint();
    sender.setSendQueueLimit(300);
    EXPECT_EQ(sendText(sender, std::string(200, 'x'), to), -1);
    EXPECT_EQ(sender.getLastError(), ENOBUFS);
    EXPECT_EQ(sender.state(), DtInetSockOpen) << "a full queue is no failure of the socket";
    EXPECT_EQ(sender.counters().sendsRefused, 1u);
    sender.setSendQueueLimit(0);
    for (int round = 1; round <= 2; ++round, sender.openSocket()) {
        for (int i = 10; i < 60; ++i)
            EXPECT_EQ(sendText(sender, std::to_string(i), to), 2);
        EXPECT_TRUE(sender.closeSocket());
        EXPECT_EQ(sender.counters().datagramsOnWire, 50u * unsigned(round));
        for (int i = 10; i < 60; ++i)
            EXPECT_EQ(receiveText(*receiver), std::to_string(i));
    }
    EXPECT_EQ(sendText(sender, std::string(65508, 'x'), to), 65508);
    while (sender.counters().asyncSendsFailed == 0)
        std::this_thread::yield();
    EXPECT_EQ(sendText(sender, "a", to), -1);
    EXPECT_EQ(sender.getLastError(), EMSGSIZE);
    EXPECT_EQ(sender.state(), DtInetSockError);
    EXPECT_EQ(sendText(sender, "b", to), 1) << "told once";
    EXPECT_EQ(sender.state(), DtInetSockOpen);
    EXPECT_EQ(receiveText(*receiver), "b");
}

}  // namespace OrynRti::Tests

#endif
