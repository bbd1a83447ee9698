// Destinations, callbacks and errors of sending.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "InetDevice.h"
#include "transport/DisPdus.h"

namespace OrynRti::Tests {
namespace {

/// With and without the send socket that suppresses self-reflection.
class DisSocketSending : public testing::TestWithParam<bool> {
protected:
    std::string operation(const std::string& name) const {
        return (GetParam() ? "DtDisSocket::" : "DtInetUdpSocket::") + name;
    }

    int sendAll(const std::string& text) {
        std::string bytes = text;
        return socket.send(bytes.data(), int(bytes.size()), 0);
    }

    std::unique_ptr<DtInetUdpSocket> one = loopbackSocket(theNonBlocking);
    std::unique_ptr<DtInetUdpSocket> two = loopbackSocket(theNonBlocking);
    DtDisSocket socket{udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Sockets, DisSocketSending, testing::Bool(), [](const auto& mode) {
    return std::string(mode.param ? "SendSocket" : "OneSocket");
});

TEST_P(DisSocketSending, GoesToTheDestinationAndAllAdditionalOnes) {
    socket.setDestination(one->localEndpoint());
    EXPECT_TRUE(socket.addDestination(two->localEndpoint()));
    EXPECT_TRUE(socket.addDestination(two->localEndpoint()));
    EXPECT_FALSE(socket.addDestination(udpEndpoint("::1", 3000)));
    EXPECT_EQ(sendAll("hello"), 5);
    EXPECT_EQ(receiveText(*one), "hello");
    EXPECT_EQ(receiveText(*two), "hello");
    EXPECT_EQ(receiveText(*two), "(0)");
    EXPECT_TRUE(socket.removeDestination(two->localEndpoint()));
    EXPECT_FALSE(socket.removeDestination(two->localEndpoint()));
    Buffers parts({3, -1, 0, 4});
    parts.fill("in parts");
    EXPECT_EQ(socket.sendChain(parts.chain, 0), 7);
    EXPECT_EQ(receiveText(*one), "in part");
    EXPECT_EQ(receiveText(*two), "(0)");
    EXPECT_EQ(socket.totalPacketsSent(), 3u);
    EXPECT_EQ(socket.counters().datagramsOnWire, 3u);
}

TEST_P(DisSocketSending, WithoutADestinationNothingGoesOut) {
    socket.addDestination(two->localEndpoint());
    EXPECT_EQ(sendAll("hello"), -1);
    EXPECT_EQ(socket.state(), DtInetSockError);
    EXPECT_EQ(lastError(socket),
              "89 DtDisSocket::send(): Error - no default destination set: 0.0.0.0:any");
    EXPECT_EQ(receiveText(*two), "(0)");
    Buffers parts({3});
    EXPECT_EQ(socket.sendChain(parts.chain, 0), -1);
    EXPECT_EQ(lastError(socket),
              "89 DtDisSocket::sendChain(): Error - no default destination set: 0.0.0.0:any");
    const DtInetEndpoint tcp(DtInetAddr("127.0.0.1"), 3000, DtInetTcp);
    for (const DtInetEndpoint& bad : {udpEndpoint("127.0.0.1"), udpEndpoint("0.0.0.0", 9), tcp}) {
        EXPECT_EQ(sendText(socket, "hello", bad), -1);
        EXPECT_EQ(socket.getLastError(), EDESTADDRREQ);
    }
}

TEST_P(DisSocketSending, InvalidAdditionalDestinationsAreNamedTogether) {
    socket.setDestination(one->localEndpoint());
    socket.addDestination(udpEndpoint("10.0.0.1"));
    socket.addDestination(udpEndpoint("0.0.0.0", 3000));
    EXPECT_EQ(sendAll("hello"), -1);
    EXPECT_EQ(receiveText(*one), "hello");
    EXPECT_EQ(lastError(socket),
              "89 DtDisSocket::send(): Error - additional destination is "
              "invalid: 0.0.0.0:3000, 10.0.0.1:any");
    socket.addDestination(two->localEndpoint());  // the last one
    EXPECT_EQ(sendAll("hello"), 5);
    EXPECT_EQ(socket.state(), DtInetSockOpen);
}

TEST_P(DisSocketSending, TellsWhatTheSystemHasRefused) {
    EXPECT_EQ(sendText(socket, std::string(65508, 'x'), one->localEndpoint()), -1);
    const DtInetEndpoint& from = GetParam() ? socket.localSenderEndpoint() : socket.localEndpoint();
    EXPECT_EQ(lastError(socket),
              "90 " + operation("send()/sendTo() failed from ") + from.toDtString().c_str() +
                  " to " + one->localEndpoint().toDtString().c_str() + "\nMessage too long");
    EXPECT_EQ(socket.state(), DtInetSockError);
    EXPECT_EQ(sendText(socket, "hello", one->localEndpoint()), 5);
    EXPECT_EQ(socket.state(), DtInetSockOpen);
}

TEST_P(DisSocketSending, AClosedSocketSendsNothing) {
    EXPECT_TRUE(socket.closeSocket());
    EXPECT_EQ(sendText(socket, "hello", one->localEndpoint()), -1);
    EXPECT_EQ(socket.getLastError(), EBADF);
    EXPECT_EQ(socket.state(), DtInetSockClosed);
    EXPECT_FALSE(socket.isOk());
    EXPECT_TRUE(socket.closeSocket());
}

TEST_P(DisSocketSending, NeedsTheSendOption) {
    DtDisSocket mute(udpEndpoint("127.0.0.1"), 0, nullptr, DtInetSockReceive, true, GetParam());
    Buffers parts({3});
    DtInetEndpoint to = one->localEndpoint();
    EXPECT_EQ(mute.sendChainTo(parts.chain, to, 0), -1);
    EXPECT_EQ(mute.getLastError(), EOPNOTSUPP);
    const std::string reason = "(): Send socket not initialized for sending.";
    if (GetParam()) {
        EXPECT_EQ(lastError(mute), "95 DtDisSocket::sendChain()/sendChainTo" + reason);
        EXPECT_EQ(sendText(mute, "x", to), -1);
        EXPECT_EQ(lastError(mute), "95 DtDisSocket::send()/sendTo" + reason);
    }
}

int halve(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return size / 2;
}

int addHundred(DtInetSocket*, int, DtInetSocketBufferChain&, DtInetEndpoint& peer, void*) {
    peer = DtInetEndpoint();  // its own copy
    return 100;
}

int fail(DtInetSocket*, int, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return -1;
}

TEST_P(DisSocketSending, CallbacksChangeWhatIsSentAndCounted) {
    socket.setDestination(one->localEndpoint());
    socket.addDestination(two->localEndpoint());
    socket.addProcessingCallback(DtInetSockPreSend, halve, nullptr, 0);
    socket.addProcessingCallback(DtInetSockPostSend, addHundred, nullptr, 0);
    EXPECT_EQ(sendAll("hello!"), 106);
    EXPECT_EQ(receiveText(*one), "hel");
    EXPECT_EQ(receiveText(*two), "hel");
    EXPECT_EQ(socket.totalBytesSent(), 12u);
    socket.addProcessingCallback(DtInetSockPostSend, fail, nullptr, 1);
    EXPECT_EQ(sendAll("hello!"), -1);
    EXPECT_EQ(lastError(socket), "-1 " + operation("send()/sendTo(): Post-send callback failed."));
    socket.addProcessingCallback(DtInetSockPreSend, fail, nullptr, 1);
    Buffers parts({3});
    EXPECT_EQ(socket.sendChain(parts.chain, 0), -1);
    EXPECT_EQ(lastError(socket),
              "-1 " + operation("sendChain()/sendChainTo(): Pre-send callback failed."));
}

TEST_P(DisSocketSending, EveryOptionReachesTheOpenSocket) {
    DtInetDevice loopback("lo");
    const DtInetAddr group("239.1.2.3");
    EXPECT_TRUE(socket.setNonBlockingOption(false) && socket.setBroadcastOption(false) &&
                socket.setReuseAddressOption(false) && socket.setDoNotRouteOption(true) &&
                socket.setSendBufferSize(20000) && socket.setReceiveBufferSize(20000) &&
                socket.setReceiveLowWatermark(2) && socket.setMcastTtlOption(3) &&
                socket.setTtlOption(9) && socket.setMcastLoopOption(false) &&
                socket.setSendMcastDevice(&loopback))
        << socket.getLastErrorString();
    EXPECT_FALSE(socket.setSendLowWatermark(5));
    EXPECT_EQ(socket.sendSockJoinMulticastGroup(group, &loopback), GetParam());
    EXPECT_EQ(socket.sendSockDropMulticastGroup(DtInetEndpoint(group, 1, DtInetUdp), &loopback),
              GetParam());
}

}  // namespace
}  // namespace OrynRti::Tests
