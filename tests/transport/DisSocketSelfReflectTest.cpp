// The send socket that suppresses self-reflection.
#include <boost/asio/ip/udp.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <thread>

#include "InetDevice.h"
#include "transport/DisPdus.h"

namespace OrynRti::Tests {
namespace {

constexpr unsigned int theQueued = theNonBlocking | DtInetSockAsyncSend;

std::unique_ptr<DtDisSocket> suppressing(unsigned int options = theNonBlocking,
                                         const char* address = "127.0.0.1") {
    return std::make_unique<DtDisSocket>(udpEndpoint(address), 0, nullptr, options, true, true);
}

int sendOption(DtDisSocket& socket, int level, int name) {
    return optionOf(socket.disSendSocket()->native_handle(), level, name);
}

TEST(DisSocketSelfReflect, DropsItsOwnDatagramsOnly) {
    const auto socket = suppressing();
    ASSERT_TRUE(socket->isOk()) << socket->getLastErrorString();
    EXPECT_NE(socket->localSenderEndpoint().port(), 0);
    EXPECT_NE(socket->localSenderEndpoint().port(), socket->localPort());
    EXPECT_EQ(sendText(*socket, ofSize(28, 'o'), socket->localEndpoint()), 28);
    const auto other = loopbackSocket();
    EXPECT_EQ(sendText(*other, ofSize(28, 'f'), socket->localEndpoint()), 28);
    EXPECT_EQ(receiveText(*socket), "(-3)");
    EXPECT_EQ(receiveText(*socket), std::string(ofSize(28, 'f')));
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_EQ(socket->disCounters().ownDatagrams, 1u);
    EXPECT_EQ(socket->state(), DtInetSockOpen);
    NetworkReceiver careless;
    EXPECT_EQ(careless.socket.disSendSocket(), nullptr);
    sendText(careless.socket, ofSize(28), careless.socket.localEndpoint());
    EXPECT_EQ(careless.receive(), std::string(ofSize(28)));
}

TEST(DisSocketSelfReflect, ThePollDescriptorKnowsOfQueuedPdus) {
    const auto socket = suppressing();
    const auto other = loopbackSocket();
    EXPECT_FALSE(isReadable(socket->pollDescriptor()));
    sendText(*other, std::string(ofSize(32)) + std::string(ofSize(40)), socket->localEndpoint());
    EXPECT_TRUE(isReadable(socket->pollDescriptor(), theLongWait_ms));
    EXPECT_EQ(receiveText(*socket), std::string(ofSize(32)));
    EXPECT_TRUE(isReadable(socket->pollDescriptor()));
    EXPECT_EQ(receiveText(*socket), std::string(ofSize(40)));
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_FALSE(isReadable(socket->pollDescriptor()));
}

TEST(DisSocketSelfReflect, TheSendPortServesTheSendSocket) {
    const unsigned short port = loopbackSocket()->localPort();  // free again by now
    const auto receiving = loopbackSocket();
    const unsigned short receivePort = receiving->localPort();
    receiving->closeSocket();
    DtDisSocket socket(udpEndpoint("127.0.0.1", receivePort), port, nullptr, theNonBlocking, false,
                       true);
    EXPECT_EQ(socket.localSenderEndpoint().port(), port);
    EXPECT_EQ(socket.localPort(), receivePort);
    const auto sameForBoth = std::make_unique<DtDisSocket>(udpEndpoint("127.0.0.1", receivePort), 0,
                                                           nullptr, theNonBlocking, false, true);
    EXPECT_EQ(sameForBoth->localSenderEndpoint().port(), receivePort);
    ASSERT_TRUE(socket.openSocket()) << socket.getLastErrorString();
    sendText(socket, "hello", socket.localEndpoint());
    DtInetEndpoint sender;
    char buffer[20];
    EXPECT_EQ(socket.DtInetUdpSocket::recvFrom(buffer, 20, sender, 0), DtInetSockFiltered);
    EXPECT_EQ(sender, socket.localSenderEndpoint());
}

TEST(DisSocketSelfReflect, OpensAsTheOptionWordSays) {
    const auto socket = suppressing(DtInetSockSend | DtInetSockNonBlocking);
    const int descriptor = socket->disSendSocket()->native_handle();
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(descriptor, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(sendOption(*socket, SOL_SOCKET, SO_REUSEADDR), 0);
    EXPECT_EQ(sendOption(*socket, SOL_SOCKET, SO_BROADCAST), 1);
    EXPECT_EQ(sendOption(*socket, IPPROTO_IP, IP_MULTICAST_LOOP), 0);
    const auto usual = suppressing(theDtInetSockDefaultOptions);
    EXPECT_EQ(fcntl(usual->disSendSocket()->native_handle(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(sendOption(*usual, SOL_SOCKET, SO_REUSEADDR), 1);
    EXPECT_EQ(sendOption(*usual, IPPROTO_IP, IP_MULTICAST_LOOP), 1);
}

TEST(DisSocketSelfReflect, SettersReachTheSendSocketWhileItIsOpen) {
    const auto socket = suppressing();
    socket->setMcastTtlOption(7);
    socket->setTtlOption(8);
    socket->setMcastLoopOption(false);
    socket->setBroadcastOption(false);
    socket->setDoNotRouteOption(true);
    EXPECT_EQ(sendOption(*socket, IPPROTO_IP, IP_MULTICAST_TTL), 7);
    EXPECT_EQ(sendOption(*socket, IPPROTO_IP, IP_TTL), 8);
    EXPECT_EQ(sendOption(*socket, IPPROTO_IP, IP_MULTICAST_LOOP), 0);
    EXPECT_EQ(sendOption(*socket, SOL_SOCKET, SO_BROADCAST), 0);
    EXPECT_EQ(sendOption(*socket, SOL_SOCKET, SO_DONTROUTE), 1);
    socket->closeSocket();
    EXPECT_FALSE(socket->setBroadcastOption(true));
    EXPECT_NE(socket->flags() & DtInetSockBroadcast, 0u);  // the receiving socket has taken it
    EXPECT_FALSE(socket->sendSockJoinMulticastGroup(DtInetAddr("239.1.2.3"), nullptr));
}

TEST(DisSocketSelfReflect, FailedSettingsAreNamed) {
    const auto socket = suppressing();
    EXPECT_FALSE(socket->setMcastTtlOption(999));
    EXPECT_EQ(lastError(*socket),
              "22 DtDisSocket::setSendSockMcastTtl(): Error setting multicast "
              "TTL for send socket to  999Invalid argument");
    EXPECT_EQ(socket->state(), DtInetSockError);
    EXPECT_FALSE(socket->setSendLowWatermark(5));
    EXPECT_EQ(lastError(*socket),
              "92 DtDisSocket::setSendSockSendLowWatermark(): Error setting send low watermark to "
              "5 on send socket\nProtocol not available");
    DtInetDevice loopback("lo");
    EXPECT_FALSE(socket->sendSockJoinMulticastGroup(DtInetAddr("10.0.0.1"), &loopback));
    EXPECT_EQ(lastError(*socket),
              "22 DtDisSocket::joinMulticastGroup(): Error joining group "
              "10.0.0.1 on send socket on interface loInvalid argument");
    EXPECT_FALSE(socket->sendSockDropMulticastGroup(DtInetAddr("239.1.2.3"), &loopback));
    EXPECT_EQ(lastError(*socket),
              "99 DtDisSocket::dropMulticastGroup(): Error leaving group 239.1.2.3 on send socket "
              "on interface loCannot assign requested address");
}

TEST(DisSocketSelfReflect, AConnectedSocketSendsToItsPeerOnly) {
    const auto peer = loopbackSocket(theNonBlocking);
    const auto other = loopbackSocket(theNonBlocking);
    const auto socket = suppressing();
    socket->setDestination(peer->localEndpoint());
    ASSERT_TRUE(socket->connectToDestination());
    EXPECT_EQ(sendText(*socket, "hello", other->localEndpoint()), 5);
    EXPECT_EQ(receiveText(*peer), "hello");
    EXPECT_EQ(receiveText(*other), "(0)");
}

TEST(DisSocketSelfReflect, FailedOpeningLeavesNothingOpen) {
    const auto holder = loopbackSocket(DtInetSockSend);
    DtDisSocket socket(udpEndpoint("127.0.0.1"), holder->localPort(), nullptr, DtInetSockSend,
                       false, true);
    const unsigned short receivePort = loopbackSocket()->localPort();
    socket.setLocalPort(receivePort);
    EXPECT_FALSE(socket.openSocket());
    EXPECT_EQ(lastError(socket),
              "98 DtDisSocket::openSocket(): Error opening Boost send socket "
              "for self-reflect suppression\nAddress already in use");
    EXPECT_EQ(socket.state(), DtInetSockError);
    EXPECT_EQ(socket.descriptor(), -1);
    EXPECT_FALSE(socket.disSendSocket()->is_open());
    holder->closeSocket();
    EXPECT_TRUE(socket.openSocket()) << socket.getLastErrorString();
    EXPECT_EQ(socket.state(), DtInetSockOpen);

    const auto nowhere = suppressing(theNonBlocking, "239.1.2.3");
    EXPECT_EQ(nowhere->state(), DtInetSockError);
    EXPECT_EQ(lastError(*nowhere),
              "14 DtDisSocket::openSocket(): Could not identify localhost "
              "interface for self-reflect suppression\n");
    EXPECT_EQ(nowhere->descriptor(), -1);
}

TEST(DisSocketSelfReflect, WorksOverIPv6) {
    if (!DtInetDevice("lo").hasIPv6())
        GTEST_SKIP() << "no IPv6 on the loopback interface";
    const auto socket = suppressing(theNonBlocking, "::1");
    ASSERT_TRUE(socket->isOk()) << socket->getLastErrorString();
    EXPECT_TRUE(socket->localSenderEndpoint().isIPv6());
    sendText(*socket, ofSize(28), socket->localEndpoint());
    EXPECT_EQ(receiveText(*socket), "(-3)");
}

TEST(DisSocketSelfReflect, TheSendSocketHasAQueueToo) {
    expectSendQueue(*suppressing(theQueued));
}

// -------------------------------------------------------------------------------------------
// Several threads

TEST(DisSocketSelfReflect, ThreadsSendReceiveAndBundleWhileOneCloses) {
    const auto receiver = loopbackSocket();
    for (const unsigned int options : {theBlocking, theQueued}) {
        const auto socket = suppressing(options);
        socket->setBundling(500, 0, 0, false);
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&] {
                while (sendText(*socket, ofSize(100), receiver->localEndpoint(),
                                DtInetSockSkipFirstChain) >= 0 ||
                       socket->state() != DtInetSockClosed)
                    sendText(*socket, ofSize(100), receiver->localEndpoint());
            });
            threads.emplace_back([&] {
                const std::string bundle = std::string(ofSize(32)) + std::string(ofSize(32));
                DtInetUdpSocket feeder(udpEndpoint("127.0.0.1"), 0, nullptr, 0xC83, true);
                for (int n = 0; n < 300; ++n)
                    sendText(feeder, bundle, socket->localEndpoint());
            });
            threads.emplace_back([&] {
                while (receiveText(*socket) != "(-1)") {
                }
            });
        }
        while (socket->totalPacketsReceived() < 100 || socket->disCounters().bundlesSent < 10)
            std::this_thread::yield();
        EXPECT_TRUE(socket->closeSocket());
        for (std::thread& thread : threads)
            thread.join();
    }
}

}  // namespace
}  // namespace OrynRti::Tests
