#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <cstring>
#include <gtest/gtest.h>

#include "InetEndpoint.h"

namespace OrynRti::Tests {

namespace {

constexpr auto anyFamily = DtInetUtils::NoFamily;

DtInetEndpoint udp(const char* addr, unsigned short port) {
    return DtInetEndpoint(DtInetAddr(addr), port, DtInetUdp);
}

DtInetEndpoint lookUp(const char* text, unsigned short port,
                      DtInetUtils::DtInetAddrFamily family = anyFamily) {
    DtString host(text);
    return DtInetEndpoint(host, port, DtInetUdp, family);
}

}  // namespace

TEST(InetEndpointTest, ShowsAddressPortAndProtocol) {
    EXPECT_STREQ(DtInetEndpoint().toDtString().c_str(), "0.0.0.0:any");
    EXPECT_STREQ(DtInetEndpoint().toDtString(true).c_str(), "0.0.0.0:any");
    EXPECT_STREQ(udp("::1", 3000).toDtString().c_str(), "[::1]:3000");
    EXPECT_STREQ(udp("::1", 3000).toDtString(true).c_str(), "[::1]:3000(UDP)");
    EXPECT_STREQ(DtInetEndpoint(DtInetAddr("10.0.0.1"), 65535, DtInetTcp).toDtString(true).c_str(),
                 "10.0.0.1:65535(TCP)");
}

TEST(InetEndpointTest, TextFollowsChangesOnlyWhileAProtocolIsChosen) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
    endpoint.toDtString();
    endpoint.setPort(4000);
    EXPECT_STREQ(endpoint.toDtString().c_str(), "10.0.0.1:4000");
    endpoint.setProtocol(DtInetNoProtocol);
    endpoint.toDtString();
    endpoint.setPort(5000);
    endpoint.setAddress(DtInetAddr("10.0.0.2"));
    EXPECT_STREQ(endpoint.toDtString().c_str(), "10.0.0.1:4000");
    endpoint.setProtocol(DtInetTcp);
    EXPECT_STREQ(endpoint.toDtString().c_str(), "10.0.0.2:5000");
}

TEST(InetEndpointTest, KeepsTheBoostEndpointOfItsProtocol) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
    ASSERT_NE(endpoint.udpEndpoint(), nullptr);
    EXPECT_EQ(endpoint.tcpEndpoint(), nullptr);
    EXPECT_EQ(endpoint.udpEndpoint()->port(), 3000);
    EXPECT_EQ(endpoint.udpEndpoint()->address().to_string(), "10.0.0.1");

    endpoint.setEndpoint(DtInetTcp, DtInetAddr("::"), 4000);
    ASSERT_NE(endpoint.tcpEndpoint(), nullptr);
    EXPECT_EQ(endpoint.udpEndpoint(), nullptr);
    EXPECT_TRUE(endpoint.isTcp() && endpoint.isIPv6());
    EXPECT_EQ(endpoint.tcpEndpoint()->protocol(), boost::asio::ip::tcp::v6());

    endpoint.setProtocol(DtInetNoProtocol);
    EXPECT_EQ(endpoint.tcpEndpoint(), nullptr);
}

TEST(InetEndpointTest, CopiesEverythingAndAssignsWithoutTheError) {
    DtInetEndpoint failed = lookUp("no-such-host.invalid", 3000);
    DtInetEndpoint copy(failed);
    EXPECT_FALSE(copy.isOk());
    copy = udp("10.0.0.1", 4000);
    EXPECT_FALSE(copy.isOk());
    EXPECT_STREQ(copy.toDtString().c_str(), "10.0.0.1:4000");
    EXPECT_EQ(copy.udpEndpoint()->port(), 4000);
    EXPECT_EQ(failed.udpEndpoint()->port(), 3000);

    copy = DtInetEndpoint(DtInetAddr("10.0.0.2"), 5000, DtInetTcp);
    ASSERT_NE(copy.udpEndpoint(), nullptr);
    EXPECT_EQ(copy.udpEndpoint()->port(), 4000);
    EXPECT_EQ(copy.tcpEndpoint()->port(), 5000);
    const DtInetEndpoint& itself = copy;
    copy = itself;
    EXPECT_EQ(copy.port(), 5000);
}

TEST(InetEndpointTest, ComparesByTheProtocolOfTheLeftSide) {
    const DtInetEndpoint none;
    EXPECT_FALSE(none == none);
    EXPECT_TRUE(none != none);
    EXPECT_FALSE(none < none || none > none);

    EXPECT_TRUE(udp("10.0.0.1", 3000) == udp("10.0.0.1", 3000));
    EXPECT_TRUE(udp("10.0.0.1", 3000) < udp("10.0.0.1", 3001));
    EXPECT_TRUE(udp("10.0.0.2", 1) > udp("10.0.0.1", 3000));
    const DtInetEndpoint tcp(DtInetAddr("10.0.0.1"), 3000, DtInetTcp);
    EXPECT_TRUE(tcp != udp("10.0.0.1", 3000));
    EXPECT_FALSE(tcp < udp("10.0.0.2", 3000) || tcp > udp("10.0.0.0", 3000));
}

TEST(InetEndpointTest, ConvertsToAndFromSockaddrs) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    EXPECT_EQ(endpoint.toSockaddr(&ipv6), -1);
    EXPECT_EQ(ipv6.sin6_port, 0);
    EXPECT_EQ(endpoint.toSockaddr(&ipv4), 0);
    EXPECT_EQ(ntohs(ipv4.sin_port), 3000);

    sockaddr_storage storage{};
    std::memcpy(&storage, &ipv4, sizeof ipv4);
    DtInetEndpoint received = udp("::1", 1);
    received.toDtString();
    EXPECT_TRUE(received.fromAddrStorage(DtInetUdp, storage));
    EXPECT_TRUE(received == endpoint);
    EXPECT_STREQ(received.toDtString().c_str(), "10.0.0.1:3000");
    EXPECT_FALSE(received.fromAddrStorage(DtInetTcp, sockaddr_storage{}));
    EXPECT_TRUE(received.isUdp());

    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = htons(4000);
    ipv6.sin6_addr = in6addr_loopback;
    std::memcpy(&storage, &ipv6, sizeof ipv6);
    EXPECT_TRUE(received.fromAddrStorage(DtInetUdp, storage));
    EXPECT_TRUE(received == udp("::1", 4000));
}

TEST(InetEndpointTest, LooksUpLiteralsAndLocalhostButNotTheirPorts) {
    struct {
        const char* text;
        const char* addr;
        unsigned long prefix;
    } const cases[] = {
        {"10.0.0.1", "10.0.0.1", 8},    {"10.0.0.1:5000", "10.0.0.1", 8},
        {"10.0.0.1/24", "10.0.0.1", 8}, {"10.0.0.1/255.255.0.0", "10.0.0.1", 16},
        {"127.0.0.1", "127.0.0.1", 8},  {"[fe80::1%lo]:5000", "fe80::1%lo", 0},
        {"fe80::1/64", "fe80::1", 0},
    };
    for (const auto& each : cases) {
        DtInetEndpoint endpoint = lookUp(each.text, 4000, DtInetUtils::IPv4);
        EXPECT_TRUE(endpoint.isOk()) << each.text;
        EXPECT_STREQ(endpoint.address().toDtString().c_str(), each.addr);
        EXPECT_EQ(endpoint.address().prefix(), each.prefix) << each.text;
        EXPECT_EQ(endpoint.port(), 4000) << each.text;
        EXPECT_EQ(endpoint.udpEndpoint()->port(), 4000) << each.text;
    }
    for (const char* text : {"localhost", "localhost:5000"}) {
        DtInetEndpoint endpoint = lookUp(text, 4000);
        EXPECT_TRUE(endpoint.isOk()) << text;
        EXPECT_TRUE(endpoint.address().isLoopback()) << text;
        EXPECT_EQ(endpoint.port(), 4000) << text;
    }
}

TEST(InetEndpointTest, LooksUpInterfacesByName) {
    DtInetEndpoint endpoint = lookUp("lo", 4000, DtInetUtils::IPv4);
    EXPECT_TRUE(endpoint.isOk());
    EXPECT_STREQ(endpoint.toDtString().c_str(), "127.0.0.1:4000");
}

TEST(InetEndpointTest, AFailedLookupKeepsTheAddressAndLeavesAText) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
    for (const char* text : {"no-such-host.invalid", "", "no such host:1"}) {
        DtString host(text);
        EXPECT_FALSE(endpoint.hostLookup(host, 4000, anyFamily)) << text;
        EXPECT_FALSE(endpoint.isOk());
        EXPECT_STREQ(endpoint.toDtString().c_str(), "10.0.0.1:3000");
        EXPECT_EQ(endpoint.getLastErrorString(), DtString("Host lookup failed for ") + text);
        EXPECT_TRUE(endpoint.isOk());
        EXPECT_TRUE(endpoint.getLastErrorString().isEmpty());
    }
}

}  // namespace OrynRti::Tests
