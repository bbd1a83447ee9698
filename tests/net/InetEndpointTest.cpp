#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>

#include "InetEndpoint.h"

namespace OrynRti::Tests {

namespace {

DtInetEndpoint udp(const char* addr, unsigned short port) {
    return DtInetEndpoint(DtInetAddr(addr), port, DtInetUdp);
}

DtInetEndpoint tcp(const char* addr, unsigned short port) {
    return DtInetEndpoint(DtInetAddr(addr), port, DtInetTcp);
}

DtInetEndpoint lookUp(const char* text, unsigned short port,
                      DtInetUtils::DtInetAddrFamily family = DtInetUtils::NoFamily) {
    DtString host(text);
    return DtInetEndpoint(host, port, DtInetUdp, family);
}

}  // namespace

TEST(InetEndpointTest, ShowsAddressPortAndProtocol) {
    EXPECT_STREQ(DtInetEndpoint().toDtString(true).c_str(), "0.0.0.0:any");
    EXPECT_STREQ(udp("::1", 3000).toDtString(true).c_str(), "[::1]:3000(UDP)");
    EXPECT_STREQ(tcp("10.0.0.1", 65535).toDtString(true).c_str(), "10.0.0.1:65535(TCP)");
}

TEST(InetEndpointTest, TextFollowsChangesOnlyWhileAProtocolIsChosen) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
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
    EXPECT_EQ(endpoint.udpEndpoint()->address().to_string(), "10.0.0.1");
    endpoint.setEndpoint(DtInetTcp, DtInetAddr("::"), 4000);
    EXPECT_EQ(endpoint.udpEndpoint(), nullptr);
    EXPECT_EQ(endpoint.tcpEndpoint()->protocol(), boost::asio::ip::tcp::v6());
}

TEST(InetEndpointTest, CopiesEverythingAndAssignsWithoutTheError) {
    const DtInetEndpoint failed = lookUp("no-such-host.invalid", 3000);
    DtInetEndpoint copy(failed);
    copy = udp("10.0.0.1", 4000);
    EXPECT_FALSE(copy.isOk());
    EXPECT_STREQ(copy.toDtString().c_str(), "10.0.0.1:4000");
    copy = tcp("10.0.0.2", 5000);
    const DtInetEndpoint& itself = copy;
    copy = itself;
    EXPECT_EQ(copy.udpEndpoint()->port(), 4000);
    EXPECT_EQ(copy.tcpEndpoint()->port(), 5000);
    EXPECT_STREQ(copy.toDtString().c_str(), "10.0.0.2:5000");
}

TEST(InetEndpointTest, ComparesByTheProtocolOfTheLeftSide) {
    const DtInetEndpoint none;
    EXPECT_FALSE(none == none || none < none);
    EXPECT_TRUE(udp("10.0.0.1", 3000) == udp("10.0.0.1", 3000));
    EXPECT_TRUE(udp("10.0.0.1", 3000) < udp("10.0.0.1", 3001));
    EXPECT_TRUE(udp("10.0.0.2", 1) > udp("10.0.0.1", 3000));
    EXPECT_TRUE(tcp("10.0.0.1", 3000) != udp("10.0.0.1", 3000));
    EXPECT_FALSE(tcp("10.0.0.1", 3000) < udp("10.0.0.2", 3000));
}

template <typename Sockaddr>
bool passOn(DtInetEndpoint from, DtInetEndpoint& to) {
    Sockaddr part{};
    sockaddr_storage storage{};
    const bool passed = from.toSockaddr(&part) == 0;
    std::memcpy(&storage, &part, sizeof part);
    return to.fromAddrStorage(DtInetUdp, storage) && passed;
}

TEST(InetEndpointTest, ConvertsToAndFromSockaddrs) {
    DtInetEndpoint received = tcp("::", 1);
    EXPECT_FALSE(passOn<sockaddr_in>(udp("::1", 4000), received));
    EXPECT_TRUE(received.isTcp());
    EXPECT_TRUE(passOn<sockaddr_in6>(udp("::1", 4000), received));
    EXPECT_STREQ(received.toDtString(true).c_str(), "[::1]:4000(UDP)");
    EXPECT_TRUE(passOn<sockaddr_in>(udp("10.0.0.1", 3000), received));
    EXPECT_STREQ(received.toDtString().c_str(), "10.0.0.1:3000");
}

TEST(InetEndpointTest, HearingFromTheSameSenderAgainTakesBackWhatWasChanged) {
    const std::pair<const char*, std::function<void(DtInetEndpoint&)>> changes[] = {
        {"nothing", [](DtInetEndpoint&) {}},
        {"port", [](DtInetEndpoint& each) { each.setPort(1); }},
        {"netmask",
         [](DtInetEndpoint& each) { each.setAddress(DtInetAddr("10.0.0.1", "255.255.0.0")); }},
        {"protocol", [](DtInetEndpoint& each) { each.setProtocol(DtInetTcp); }},
        {"Boost endpoint",
         [](DtInetEndpoint& each) {
             each.udpEndpoint()->port(7);
             each.setAddress(DtInetAddr("10.0.0.2"));
             each.udpEndpoint()->address(boost::asio::ip::make_address("10.0.0.1"));
         }},
        {"assignment", [](DtInetEndpoint& each) { each = udp("10.0.0.2", 3000); }},
        {"assignment from TCP", [](DtInetEndpoint& each) { each = tcp("10.0.0.1", 3000); }}};
    for (const auto& [what, change] : changes) {
        DtInetEndpoint received;
        EXPECT_TRUE(passOn<sockaddr_in>(udp("10.0.0.1", 3000), received));
        DtInetEndpoint same;
        same = received;
        change(received);
        EXPECT_TRUE(passOn<sockaddr_in>(udp("10.0.0.1", 3000), received)) << what;
        EXPECT_STREQ(received.toDtString(true).c_str(), "10.0.0.1:3000(UDP)") << what;
        EXPECT_EQ(received.address().prefix(), 8u) << what;
        EXPECT_TRUE(received == udp("10.0.0.1", 3000)) << what;
        change(same);
        same = received;
        EXPECT_STREQ(same.toDtString(true).c_str(), "10.0.0.1:3000(UDP)") << what;
        EXPECT_EQ(same.address().prefix(), 8u) << what;
        EXPECT_TRUE(same == received) << what;
    }
}

TEST(InetEndpointTest, LooksUpLiteralsNamesAndInterfacesButNotTheirPorts) {
    struct {
        const char* text;
        const char* addr;
        unsigned long prefix;
    } const cases[] = {{"10.0.0.1:5000", "10.0.0.1", 8},
                       {"10.0.0.1/24", "10.0.0.1", 8},
                       {"10.0.0.1/255.255.0.0", "10.0.0.1", 16},
                       {"[fe80::1%lo]:5000", "fe80::1%lo", 0},
                       {"fe80::1/64", "fe80::1", 0}};
    for (const auto& each : cases) {
        DtInetEndpoint endpoint = lookUp(each.text, 4000, DtInetUtils::IPv4);
        EXPECT_STREQ(endpoint.address().toDtString().c_str(), each.addr);
        EXPECT_EQ(endpoint.address().prefix(), each.prefix) << each.text;
        EXPECT_EQ(endpoint.udpEndpoint()->port(), 4000) << each.text;
    }
    EXPECT_TRUE(lookUp("localhost:5000", 4000).address().isLoopback());
    EXPECT_STREQ(lookUp("lo", 4000, DtInetUtils::IPv4).toDtString().c_str(), "127.0.0.1:4000");
}

TEST(InetEndpointTest, AFailedLookupKeepsTheAddressAndLeavesAText) {
    DtInetEndpoint endpoint = udp("10.0.0.1", 3000);
    for (const char* text : {"no-such-host.invalid", "", "no such host:1"}) {
        DtString host(text);
        EXPECT_FALSE(endpoint.hostLookup(host, 4000, DtInetUtils::NoFamily)) << text;
        EXPECT_STREQ(endpoint.toDtString().c_str(), "10.0.0.1:3000");
        EXPECT_EQ(endpoint.getLastErrorString(), DtString("Host lookup failed for ") + text);
        EXPECT_TRUE(endpoint.isOk());
    }
}

}  // namespace OrynRti::Tests
