#include <boost/asio/ip/address.hpp>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "InetAddr.h"
#include "support/Notifications.h"

namespace OrynRti::Tests {

namespace {

sockaddr_in6 linkLocalSockaddr(DtInetIpv6Scope scope) {
    sockaddr_in6 addr{};
    addr.sin6_family = AF_INET6;
    addr.sin6_addr.s6_addr[0] = 0xFE;
    addr.sin6_addr.s6_addr[1] = 0x80;
    addr.sin6_addr.s6_addr[15] = 1;
    addr.sin6_scope_id = scope;
    return addr;
}

template <typename Sockaddr>
sockaddr_storage asStorage(const Sockaddr& addr) {
    sockaddr_storage storage{};
    std::memcpy(&storage, &addr, sizeof addr);
    return storage;
}

}  // namespace

TEST(InetAddrTest, ReadsLiteralsAndKeywordsAndTakesTheUnknownForAny) {
    struct {
        const char* text;
        const char* expected;
        DtInetIpv6Scope scope;
    } const cases[] = {{nullptr, "0.0.0.0", 0},
                       {"LocalHost", "127.0.0.1", 0},
                       {"INADDR_ANY", "0.0.0.0", 0},
                       {"[::1]:5000", "::1", 0},
                       {"fe80::1%lo", "fe80::1%lo", 1},
                       {"[fe80::1%lo]:5000", "fe80::1", 0},
                       {"fe80::1%nosuchif", "fe80::1", 0},
                       {"no-such-host.invalid", "0.0.0.0", 0}};
    for (const auto& each : cases) {
        const DtInetAddr addr(each.text);
        EXPECT_STREQ(addr.toDtString().c_str(), each.expected) << each.text;
        EXPECT_EQ(addr.scope(), each.scope) << each.text;
    }
}

TEST(InetAddrTest, ReadsAndWritesLiteralsAsBoostDoes) {
    using boost::asio::ip::address;
    std::mt19937 random(1);
    boost::asio::ip::address_v6::bytes_type bytes{};
    const auto expectSame = [](const std::string& text) {
        boost::system::error_code error;
        const address expected = boost::asio::ip::make_address(text, error);
        if (!error)
            ASSERT_EQ(DtInetAddr(text.c_str()).boostAddress(), expected) << text;
        else  // and no name service is asked
            ASSERT_EQ(DtInetUtils::addrStringFamily(text.c_str()), 0) << text;
    };
    for (int i = 0; i < 20000; ++i) {
        const boost::asio::ip::address_v4 ipv4(std::uint32_t(random() >> random() % 32));
        for (unsigned char& byte : bytes)  // runs of zeros, which the text leaves out
            byte = random() % 3 == 0 ? static_cast<unsigned char>(random()) : 0;
        const boost::asio::ip::address_v6 ipv6(bytes);
        address scoped(boost::asio::ip::address_v6(bytes, 1 + i % 3));
        ASSERT_EQ(DtInetAddr(&scoped).toDtString(), scoped.to_string().c_str());
        for (address addr : {address(ipv4), address(ipv6)}) {
            std::string text = addr.to_string();
            ASSERT_EQ(DtInetAddr(&addr).toDtString(), text.c_str());
            expectSame(text);
            for (int changes = 0; changes < 3; ++changes) {
                text[random() % text.size()] = "0123456789af.:xg-"[random() % 17];
                expectSame(text);
            }
        }
    }
}

TEST(InetAddrTest, TakesNetmaskAndPrefixFromTheMaskElseFromTheClass) {
    struct {
        const char* addr;
        const char* mask;
        unsigned int netmask;
        unsigned long prefix;
    } const cases[] = {
        {"10.1.2.3", "255.255.255.0", 0xFFFFFF00, 24}, {"10.1.2.3", "24", 0xFF000000, 8},
        {"10.1.2.3", nullptr, 0xFF000000, 8},          {"172.16.0.1", "", 0xFFFF0000, 16},
        {"191.255.0.1", "nonsense", 0xFFFF0000, 16},   {"192.0.0.1", "0.0.0.0", 0xFFFFFF00, 24},
        {"224.0.0.1", nullptr, 0xFFFFFFFF, 32},        {"::1", "255.255.0.0", 0, 16},
    };
    for (const auto& each : cases) {
        const DtInetAddr addr(each.addr, each.mask);
        EXPECT_EQ(addr.netmask(), each.netmask) << each.addr;
        EXPECT_EQ(addr.prefix(), each.prefix) << each.addr;
    }
}

TEST(InetAddrTest, KnowsWhatKindOfAddressItIs) {
    struct {
        const char* addr;
        const char* mask;
        const char* kinds;  // of Broadcast, Multicast, Loopback, Any
    } const cases[] = {{"192.168.1.255", "255.255.255.0", "B"},
                       {"10.255.255.255", nullptr, "B"},
                       {"255.255.255.255", nullptr, ""},
                       {"239.255.255.255", nullptr, "M"},
                       {"127.0.0.1", nullptr, "L"},
                       {"127.0.0.2", nullptr, ""},
                       {"::", nullptr, "A"},
                       {"FF12::1", nullptr, "BM"},
                       {"FF02::2", nullptr, "M"},
                       {"FF01::1", nullptr, "M"}};
    for (const auto& each : cases) {
        const DtInetAddr addr(each.addr, each.mask);
        std::string kinds;
        kinds += addr.isBroadcast() ? "B" : "";
        kinds += addr.isMulticast() ? "M" : "";
        kinds += addr.isLoopback() ? "L" : "";
        kinds += addr.isAnyAddr() ? "A" : "";
        EXPECT_EQ(kinds, each.kinds) << each.addr;
    }
}

TEST(InetAddrTest, KeepsTheScopeOfASockaddrButNotOfAStorage) {
    const sockaddr_in6 source = linkLocalSockaddr(7);
    const DtInetAddr kept(source, 64);
    sockaddr_in6 out{};
    EXPECT_EQ(kept.toSockaddr(&out), 0);
    EXPECT_EQ(out.sin6_scope_id, 7u);
    EXPECT_EQ(DtInetAddr(asStorage(source)).scope(), 0u);

    DtInetAddr received(linkLocalSockaddr(3));
    EXPECT_TRUE(received.fromAddrStorage(asStorage(source)));
    EXPECT_EQ(received.scope(), 7u);
    EXPECT_FALSE(received.fromAddrStorage(sockaddr_storage{}));
    EXPECT_EQ(received, kept);
}

TEST(InetAddrTest, ConvertsToAndFromNumbersAndSockaddrs) {
    const DtInetAddr ipv4(0x0A010203u, 0xFFFF0000u);
    EXPECT_EQ(ipv4.toU128(), DtU128(0, 0x0A010203));
    EXPECT_EQ(DtInetAddr(DtU128(9, 0x50A010203), DtInetUtils::IPv4, 16), ipv4);

    const DtU128 bits(0x20010DB800000001, 0x0203040506070809);
    const DtInetAddr ipv6(bits, DtInetUtils::NoFamily, 48);
    EXPECT_STREQ(ipv6.toDtString().c_str(), "2001:db8:0:1:203:405:607:809");
    EXPECT_EQ(ipv6.toU128(), bits);

    sockaddr_in out{};
    out.sin_port = htons(3000);
    EXPECT_EQ(ipv6.toSockaddr(&out), -1);
    sockaddr_storage storage = asStorage(out);
    EXPECT_EQ(ipv4.toAddrStorage(&storage), 0);
    std::memcpy(&out, &storage, sizeof out);
    EXPECT_EQ(ntohs(out.sin_port), 3000);
    EXPECT_EQ(DtInetAddr(storage, 16), ipv4);
    EXPECT_EQ(DtInetAddr(storage, 33).netmask(), 0xFF000000u);
    EXPECT_TRUE(DtInetAddr(static_cast<void*>(nullptr)).isAnyAddr());
}

TEST(InetAddrTest, SettersChangeNetmaskAndPrefixButNotTheKind) {
    DtInetAddr ipv4("192.168.1.255", "255.255.255.0");
    ipv4.setPrefixLen(31);
    EXPECT_EQ(ipv4.netmask(), 0xFFFFFFFEu);
    EXPECT_TRUE(ipv4.isBroadcast());
    ipv4.setPrefixLen(0x100000018);
    EXPECT_EQ(ipv4.netmask(), 0u);
}

TEST(InetAddrTest, ScopeOfTheBoostValueWins) {
    DtInetAddr unscoped("fe80::1"), scoped(linkLocalSockaddr(7)), ipv4("10.0.0.1");
    unscoped.setScope(3);
    EXPECT_EQ(unscoped.scope(), 3u);
    scoped.setScope(3);
    EXPECT_EQ(scoped.scope(), 7u);
    EXPECT_THROW(ipv4.setScope(3), boost::asio::ip::bad_address_cast);
}

TEST(InetAddrTest, WorksOutTheBroadcastAddressAndKeepsItThroughAssignment) {
    DtInetAddr ipv4("192.168.1.20", "255.255.255.0");
    const DtInetAddr& broadcast = ipv4.getBroadcastAddr();
    ipv4.setNetmask(0xFFFF0000);
    EXPECT_EQ(&ipv4.getBroadcastAddr(), &broadcast);
    EXPECT_STREQ(broadcast.toDtString().c_str(), "192.168.255.255");
    DtInetAddr copy(ipv4);
    copy = DtInetAddr("2001:db8::1");
    EXPECT_STREQ(copy.getBroadcastAddr().toDtString().c_str(), "ff02::1");
    ipv4 = copy;
    EXPECT_STREQ(ipv4.getBroadcastAddr().toDtString().c_str(), "192.168.255.255");
}

TEST(InetAddrTest, ComparesByFamilyThenValueAndIgnoresAMissingScope) {
    const DtInetAddr unscoped("fe80::1");
    const DtInetAddr scope3(linkLocalSockaddr(3)), scope4(linkLocalSockaddr(4));
    EXPECT_TRUE(unscoped == scope3 && scope3 == unscoped && unscoped == scope4);
    EXPECT_TRUE(scope3 != scope4 && scope3 < scope4 && scope4 > scope3);
    EXPECT_FALSE(unscoped < scope3 || unscoped > scope3);
    EXPECT_TRUE(DtInetAddr("255.255.255.255") < DtInetAddr("::"));
}

TEST(InetAddrTest, ResolvesToAnIPv4NumberOrWarns) {
    EXPECT_EQ(DtStringToInetAddr(DtString("192.168.0.1")), 0xC0A80001u);
    EXPECT_STREQ(DtInetAddrString(0xC0A80001), "192.168.0.1");
    CapturedNotifications notifications(1);
    EXPECT_EQ(DtStringToInetAddr("no-such-host.invalid"), 0u);
    EXPECT_EQ(DtStringToInetAddr(static_cast<const char*>(nullptr)), 0u);
    EXPECT_EQ(notifications.text(),
              "DtStringToInetAddr: Could not resolve no-such-host.invalid returning 0\n"
              "DtStringToInetAddr: Could not resolve  returning 0\n");
}

TEST(InetAddrTest, ReadsEightHexadecimalDigits) {
    EXPECT_EQ(DtHexStringToInetAddr("7F000001ff"), 0x7F000001u);
    for (const char* text : {"c0a8000", "c0a8000g", "........", static_cast<const char*>(nullptr)})
        EXPECT_EQ(DtHexStringToInetAddr(text), 0xFFFFFFFFu);
}

}  // namespace OrynRti::Tests
