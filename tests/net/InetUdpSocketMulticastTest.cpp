#include <gtest/gtest.h>
#include <memory>

#include "InetDevice.h"
#include "InetUdpSocket.h"
#include "net/NetworkNamespace.h"
#include "net/UdpSockets.h"

namespace OrynRti::Tests {
namespace {

using Socket = std::unique_ptr<DtInetUdpSocket>;

/// Two hosts, each with two interfaces, joined by two cables: "va" (10.1.0.1 and .2, fe80::1 and
/// ::2) and "vb" (10.2.0.1 and .2).
class UdpNetwork : public testing::Test {
protected:
    void SetUp() override {
        if (!left_.isOk() || !right_.isOk())
            GTEST_SKIP() << "making network namespaces is not permitted";
        const bool ready = cable("va", "10.1.0.") && cable("vb", "10.2.0.");
        if (!ready)
            GTEST_SKIP() << "the ip command cannot make veth pairs";
    }

    bool cable(const std::string& name, const std::string& network) {
        return left_.command("ip link add " + name + " type veth peer name " + name + " netns " +
                             right_.path()) &&
               configure(left_, name, network, "1") && configure(right_, name, network, "2");
    }

    static bool configure(const NetworkNamespace& side, const std::string& name,
                          const std::string& network, const std::string& host) {
        return side.command("ip link set " + name + " addrgenmode none") &&
               side.command("ip addr add " + network + host + "/24 brd + dev " + name) &&
               side.command("ip addr add fe80::" + host + "/64 nodad dev " + name) &&
               side.command("ip link set " + name + " up");
    }

    static Socket open(const NetworkNamespace& side, const char* address, unsigned short port,
                       const char* device = nullptr) {
        Socket socket;
        side.inside([&] {
            socket = std::make_unique<DtInetUdpSocket>(
                udpEndpoint(address, port), 0,
                device != nullptr ? new DtInetDevice(device) : nullptr, theNonBlocking, true);
        });
        EXPECT_TRUE(socket->isOk()) << socket->getLastErrorString();
        return socket;
    }

    static DtInetDevice device(const NetworkNamespace& side, const char* name) {
        DtInetDevice found("");
        side.inside([&] { found = DtInetDevice(name); });
        return found;
    }

    /// Sends again and again, since a cable needs a moment to carry its first packets.
    static bool carries(DtInetUdpSocket& from, const DtInetEndpoint& to, DtInetUdpSocket& at) {
        for (int i = 0; i < 100; ++i) {
            sendText(from, "ping", to);
            if (isReadable(at.pollDescriptor(), 100))
                return receiveText(at) == "ping";
        }
        return false;
    }

    static void drain(DtInetUdpSocket& socket) {
        while (receiveText(socket) != "(0)") {
        }
    }

    /// Whether a datagram fails to arrive that had arrived had it been wanted: the one sent
    /// after it to `open` does.
    static bool keepsOut(DtInetUdpSocket& from, const DtInetEndpoint& shut,
                         const DtInetEndpoint& open, DtInetUdpSocket& at) {
        drain(at);
        sendText(from, "unwanted", shut);
        sendText(from, "wanted", open);
        return isReadable(at.pollDescriptor(), theLongWait_ms) && receiveText(at) == "wanted";
    }

    NetworkNamespace left_;
    NetworkNamespace right_;
};

TEST_F(UdpNetwork, ASocketOnADeviceHearsItsBroadcastsAndUnicastButNoOtherDevice) {
    const Socket receiver = open(right_, "0.0.0.0", 4000, "va");
    EXPECT_EQ(receiver->localEndpoint().toDtString(), "10.1.0.2:4000");
    const Socket onA = open(left_, "0.0.0.0", 0, "va");
    const Socket onB = open(left_, "0.0.0.0", 0, "vb");
    const Socket onBoth = open(right_, "0.0.0.0", 4000);
    for (const char* address : {"10.1.0.2", "10.1.0.255", "255.255.255.255"})
        EXPECT_TRUE(carries(*onA, udpEndpoint(address, 4000), *receiver)) << address;
    EXPECT_TRUE(carries(*onB, udpEndpoint("255.255.255.255", 4000), *onBoth));
    drain(*receiver);
    sendText(*onB, "unwanted", udpEndpoint("255.255.255.255", 4000));
    EXPECT_TRUE(carries(*onA, udpEndpoint("255.255.255.255", 4000), *receiver));
}

TEST_F(UdpNetwork, BroadcastNeedsTheOption) {
    const Socket sender = open(left_, "0.0.0.0", 0, "va");
    ASSERT_TRUE(sender->setBroadcastOption(false));
    EXPECT_EQ(sendText(*sender, "x", udpEndpoint("10.1.0.255", 4000)), -1);
    EXPECT_EQ(sender->getLastError(), EACCES);
    EXPECT_EQ(sender->flags() & DtInetSockBroadcast, 0u);
    ASSERT_TRUE(sender->setBroadcastOption(true));
    EXPECT_EQ(sendText(*sender, "x", udpEndpoint("10.1.0.255", 4000)), 1);
}

TEST_F(UdpNetwork, GroupsAreHeardWhereTheyWereJoined) {
    const DtInetEndpoint group = udpEndpoint("239.1.2.3", 4000);
    const DtInetEndpoint unicast = udpEndpoint("10.1.0.2", 4000);
    DtInetDevice a = device(right_, "va");
    DtInetDevice b = device(right_, "vb");
    DtInetDevice fromA = device(left_, "va");
    DtInetDevice fromB = device(left_, "vb");
    const Socket receiver = open(right_, "0.0.0.0", 4000);
    const Socket other = open(right_, "0.0.0.0", 4000);
    const Socket sender = open(left_, "0.0.0.0", 0);
    ASSERT_TRUE(sender->setMcastDevice(&fromA));
    ASSERT_TRUE(other->joinMulticastGroup(group, &a));
    ASSERT_TRUE(carries(*sender, group, *other));
    other->closeSocket();

    ASSERT_TRUE(receiver->joinMulticastGroup(group, &b)) << receiver->getLastErrorString();
    EXPECT_TRUE(keepsOut(*sender, group, unicast, *receiver));
    ASSERT_TRUE(sender->setMcastDevice(&fromB));
    EXPECT_TRUE(carries(*sender, group, *receiver));
    ASSERT_TRUE(receiver->dropMulticastGroup(group.address(), &b));
    EXPECT_TRUE(keepsOut(*sender, group, unicast, *receiver));
    EXPECT_FALSE(receiver->dropMulticastGroup(group.address(), &b));
    EXPECT_EQ(receiver->getLastErrorString(),
              "DtInetUdpSocket::dropMulticastGroup(): Error leaving group 239.1.2.3 on interface "
              "vb\nCannot assign requested address");
}

TEST_F(UdpNetwork, IPv6GroupsAndAllNodes) {
    DtInetDevice a = device(right_, "va");
    const Socket receiver = open(right_, "::", 4000);
    const Socket sender = open(left_, "::", 0, "va");
    EXPECT_TRUE(carries(*sender, udpEndpoint("ff02::1", 4000), *receiver)) << "all nodes";
    const DtInetEndpoint group = udpEndpoint("ff02::4321", 4000);
    EXPECT_TRUE(keepsOut(*sender, group, udpEndpoint("ff02::1", 4000), *receiver));
    ASSERT_TRUE(receiver->joinMulticastGroup(group.address(), &a));
    EXPECT_TRUE(carries(*sender, group, *receiver));

    DtInetEndpoint linkLocal = udpEndpoint("fe80::2", 4000);
    DtInetAddr scoped = linkLocal.address();
    scoped.setScope(device(left_, "va").index());
    linkLocal.setAddress(scoped);
    const Socket unbound = open(left_, "::", 0);
    EXPECT_TRUE(carries(*unbound, linkLocal, *receiver)) << "by the stored scope";
}

TEST_F(UdpNetwork, ThisHostHearsItsOwnGroupsUnlessLoopbackIsOff) {
    const DtInetEndpoint group = udpEndpoint("239.1.2.3", 4000);
    DtInetDevice a = device(left_, "va");
    const Socket socket = open(left_, "0.0.0.0", 4000, "va");
    ASSERT_TRUE(socket->joinMulticastGroup(group, nullptr)) << "on the socket's own device";
    EXPECT_TRUE(carries(*socket, group, *socket));
    ASSERT_TRUE(socket->setMcastLoopOption(false));
    EXPECT_EQ(socket->flags() & DtInetSockMcastLoopback, 0u);
    EXPECT_TRUE(keepsOut(*socket, group, udpEndpoint("10.1.0.255", 4000), *socket));
}

}  // namespace
}  // namespace OrynRti::Tests
