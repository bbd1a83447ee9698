// Addresses and UDP sockets without memory.
#include <boost/asio/ip/address.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>

#include "InetDevice.h"
#include "InetEndpoint.h"
#include "faults/Allocations.h"
#include "net/UdpSockets.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {
namespace {

constexpr auto Throws = AllocationCase::Throws;
constexpr auto Forgives = AllocationCase::Forgives;

const std::string theLongText(200, 'x');

const AllocationCase theAddressCases[] = {
    {"DtInetAddr", Throws,
     [](Attempt& attempt) {
         DtInetAddr assigned("10.1.2.3");
         attempt([&] {
             const DtInetAddr ipv6("fe80::1%1"), number(0x7F000001U, 0xFF000000U);
             DtInetAddr copy(number);
             copy.getBroadcastAddr();
             copy.getLoopbackAddr();
             assigned = ipv6;
             EXPECT_NE(assigned.toDtString(true), copy.toDtString(true));
         });
         EXPECT_THAT(assigned.toDtString().stdString(),
                     testing::AnyOf("10.1.2.3", testing::StartsWith("fe80::1")));
     }},
    {"address texts", Throws,
     [](Attempt& attempt) {
         attempt([] {
             DtString address, suffix;
             int kind = 0;
             DtInetUtils::parseNetResLoc("[fe80::1%eth0]:3000", address, suffix, kind);
             DtInetUtils::isMulticastAddrString(theLongText);
             DtInetUtils::convertStringToNetmask("255.255.0.0");
             delete newBoostAddrFromString("127.0.0.1");
             EXPECT_EQ(DtStringToInetAddr("127.0.0.1"), 0x7F000001U);
         });
     }},
    {"DtInetEndpoint", Throws,
     [](Attempt& attempt) {
         DtInetEndpoint assigned = udpEndpoint("127.0.0.1", 5);
         DtString host("127.0.0.2");
         attempt([&] {
             DtInetEndpoint endpoint(DtInetAddr("::1"), 3000, DtInetTcp);
             DtInetEndpoint lookedUp(host, 7, DtInetUdp, DtInetUtils::IPv4);
             EXPECT_EQ(endpoint.toDtString(true), DtInetEndpoint(endpoint).toDtString(true));
             assigned.setPort(6);
             assigned = lookedUp;
             assigned.setEndpoint(DtInetTcp, endpoint.address(), 8);
         });
         assigned = udpEndpoint("127.0.0.3", 9);
         EXPECT_EQ(assigned.toDtString(), udpEndpoint("127.0.0.3", 9).toDtString());
         EXPECT_TRUE(assigned == udpEndpoint("127.0.0.3", 9));
     }},
    {"DtInetDevice", Throws,
     [](Attempt& attempt) {
         attempt([] {
             const DtInetDevice loopback("lo");
             EXPECT_TRUE(loopback.isOk());
             EXPECT_FALSE(DtInetDevice::interfaces().empty());
             delete DtInetDevice::findInterface(DtInetAddr("127.0.0.1"));
         });
     }},
};

TEST(UdpAllocationTest, AddressesOutliveAShortage) {
    expectSurvival(theAddressCases);
}

// -------------------------------------------------------------------------------------------

int passOn(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return size;
}

int addNothing(DtInetSocket*, int, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return 0;
}

/// Sends a datagram to the socket and receives it.
void expectToWork(DtInetUdpSocket& socket) {
    ASSERT_EQ(sendText(socket, "after", udpEndpoint("127.0.0.1", socket.localPort())), 5);
    EXPECT_EQ(receiveText(socket), "after");
}

void openAndClose(Attempt& attempt, unsigned int options) {
    DtInetUdpSocket socket(udpEndpoint("127.0.0.1"), 0, nullptr, options, false);
    attempt([&] {
        DtInetUdpSocket(udpEndpoint("127.0.0.1"), 0, nullptr, options, true);
        EXPECT_TRUE(socket.openSocket());
    });
    if (socket.descriptor() < 0) {
        EXPECT_TRUE(socket.openSocket()) << socket.getLastErrorString();
    }
    expectToWork(socket);
}

void sendAndReceive(Attempt& attempt, bool withCallbacks) {
    const auto socket = loopbackSocket(theNonBlocking);
    if (withCallbacks) {
        for (const auto chain : {DtInetSockBeforeRead, DtInetSockAfterReceive, DtInetSockPreSend})
            socket->addProcessingCallback(chain, &passOn, nullptr, 0);
        socket->addProcessingCallback(DtInetSockPostSend, &addNothing, nullptr, 0);
    }
    DtInetEndpoint to = udpEndpoint("127.0.0.1", socket->localPort());
    DtInetEndpoint sender;
    std::string text = theLongText;
    std::vector<char> buffer(1000);
    DtInetSocketBufferChain chain{&buffer};
    attempt([&] {
        socket->sendTo(text.data(), static_cast<int>(text.size()), to, 0);
        socket->sendChainTo(chain, to, 0);
        socket->recvFrom(text.data(), static_cast<int>(text.size()), sender, 0);
        socket->recvToChainFrom(chain, sender, 0);
    });
    while (receiveText(*socket) != "(0)") {
    }
    expectToWork(*socket);
}

const AllocationCase theSocketCases[] = {
    {"a UDP socket opens", Throws,
     [](Attempt& attempt) { openAndClose(attempt, theDtInetSockDefaultOptions); }},
    {"one with queues opens", Throws,
     [](Attempt& attempt) { openAndClose(attempt, theAsyncReceive | DtInetSockAsyncSend); }},
    {"a UDP socket sends and receives", Throws,
     [](Attempt& attempt) { sendAndReceive(attempt, false); }},
    {"one with callbacks keeps no buffers", Forgives,
     [](Attempt& attempt) { sendAndReceive(attempt, true); }},
    {"a UDP socket takes settings", Throws,
     [](Attempt& attempt) {
         const auto socket = loopbackSocket();
         attempt([&] {
             socket->addProcessingCallback(DtInetSockPreSend, &passOn, nullptr, 3);
             socket->setDestination(udpEndpoint("127.0.0.1", 9));
             socket->joinMulticastGroup(DtInetAddr("239.1.2.3"), nullptr);
             socket->setMcastTtlOption(3);
             socket->bindToDevice(new DtInetDevice("lo"));
         });
         expectToWork(*socket);
     }},
    {"a UDP socket tells of errors", Throws,
     [](Attempt& attempt) {
         const auto socket = loopbackSocket();
         std::string text = "text";
         DtInetEndpoint nowhere = udpEndpoint("0.0.0.0", 0);
         DtInetUdpSocket closed(udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, false);
         DtInetUdpSocket second(udpEndpoint("127.0.0.1"), socket->localPort(), nullptr,
                                DtInetSockReceive, false);
         attempt([&] {
             EXPECT_EQ(socket->sendTo(text.data(), 4, nowhere, 0), -1);
             EXPECT_EQ(closed.send(text.data(), 4, 0), -1);
             EXPECT_FALSE(second.openSocket());
             EXPECT_NE(second.getLastErrorString(), "");
         });
         expectToWork(*socket);
     }},
};

TEST(UdpAllocationTest, UdpSocketsOutliveAShortage) {
    if (theContextsLoseMemory)
        GTEST_SKIP() << "an io_context of this Boost loses memory";
    expectSurvival(theSocketCases);
}

/// A datagram is queued and goes out, or the call has failed; the thread finds memory or counts
/// what it drops. The socket goes on.
TEST(UdpAllocationTest, QueuesOfAUdpSocketOutliveAShortage) {
    const AllocationCase queues{
        "queues", Forgives, [](Attempt& attempt) {
            const auto socket = loopbackSocket(theAsyncReceive | DtInetSockAsyncSend);
            DtInetEndpoint to = udpEndpoint("127.0.0.1", socket->localPort());
            std::string text = theLongText;
            int sent = 0;
            attempt([&] {
                for (int i = 0; i < 2; ++i)
                    sent += socket->sendTo(text.data(), 200, to, 0) == 200 ? 1 : 0;
            });
            const auto lost = [&socket] {
                const DtInetUdpSocket::Counters counters = socket->counters();
                return static_cast<int>(counters.receiveQueueDrops + counters.asyncSendsFailed);
            };
            for (int got = 0; got + lost() < sent;)
                got += receiveText(*socket, 2000, MSG_DONTWAIT) == theLongText ? 1 : 0;
            expectToWork(*socket);
        }};
    for (const Failing failing :
         {Failing::OneOfThisThread, Failing::ThisThreadFromThere, Failing::OneOfAnyThread})
        expectSurvival(queues, failing);
}

}  // namespace
}  // namespace OrynRti::Tests
