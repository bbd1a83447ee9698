#include <gtest/gtest.h>
#include <string>

#include "InetAddrUtils.h"

namespace OrynRti::Tests {

namespace {

/// "family address|suffix|kind"
std::string parsed(const char* text) {
    DtString addr("old"), suffix("old");
    int kind = 9;
    const int family = DtInetUtils::parseNetResLoc(text, addr, suffix, kind);
    return std::to_string(family) + " " + addr.c_str() + "|" + suffix.c_str() + "|" +
           std::to_string(kind);
}

}  // namespace

TEST(InetAddrUtilsTest, SplitsLocatorsIntoAddressAndSuffix) {
    struct {
        const char* text;
        const char* expected;
    } const cases[] = {
        {"  10.0.0.1 : 5000 ", "4 10.0.0.1|5000|1"},
        {"10.0.0.1/255.0.0.0", "4 10.0.0.1|255.0.0.0|2"},
        {"10.0.0.1/255.0.0", "4 10.0.0.1|255.0.0|0"},
        {"10.0.0.1/8", "4 10.0.0.1|8|3"},
        {"::1:5000", "6 ::1:5000||0"},
        {" [ ::1 ] : 5000 ", "6 ::1|5000|1"},
        {"fe80::1%eth0/64", "6 fe80::1%eth0|64|3"},
        // No literals: all of it is the host, or what precedes the first ':'.
        {"", "0 ||0"},
        {"localhost:5000", "0 localhost|5000|1"},
        {"10.0.0.1:5000/8", "0 10.0.0.1|5000/8|1"},
        {"[::1]:5000/64", "0 [|:1]:5000/64|1"},
        {"[::1", "0 [|:1|1"},
        {"[::1/64]", "0 [|:1/64]|1"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(parsed(each.text), each.expected) << each.text;
}

TEST(InetAddrUtilsTest, SplittingMayWriteOverItsInputAndLeavesTheOutputsAloneOnFailure) {
    DtString text("10.0.0.1:5000"), suffix("old");
    int kind = 9;
    EXPECT_FALSE(DtInetUtils::parseIpv4NetResLoc("10.0.0:5000", text, suffix, kind));
    EXPECT_FALSE(DtInetUtils::parseIpv6NetResLoc("[localhost]:5000", text, suffix, kind));
    EXPECT_STREQ(suffix.c_str(), "old");
    EXPECT_EQ(DtInetUtils::parseNetResLoc(text, text, suffix, kind), DtInetUtils::IPv4);
    EXPECT_STREQ(text.c_str(), "10.0.0.1");
    EXPECT_STREQ(suffix.c_str(), "5000");
}

TEST(InetAddrUtilsTest, FindsTheFamilyOfBareAddressesOnly) {
    struct {
        const char* text;
        int family;
    } const cases[] = {
        {"10.0.0.1", 4},   {"[10.0.0.1]:5000", 4}, {"10.0.0.1/x", 4},
        {"10.0.0.1/8", 0}, {"10.0.0.1:5000", 0},   {"[fe80::1%eth0]", 6},
        {"fe80::1/64", 0}, {"fe80::1%eth0/64", 6}, {"localhost:5000", 0},
    };
    for (const auto& each : cases)
        EXPECT_EQ(DtInetUtils::addrStringFamily(each.text), each.family) << each.text;
}

TEST(InetAddrUtilsTest, KnowsTheKindOfTheAddressInALocator) {
    struct {
        const char* text;
        const char* kinds;  // of looPback, Linklocal, Multicast
    } const cases[] = {
        {"127.0.0.1:5000", "P"}, {"127.0.0.2", ""},
        {"[::1]:5000", "P"},     {"::1%lo", "P"},
        {"169.254.1.2/16", "L"}, {"169.255.0.1", ""},
        {"fe80::1%eth0", "L"},   {"febf::1", "L"},
        {"fec0::1", ""},         {"239.1.2.3:3000", "M"},
        {"240.0.0.1", ""},       {"[ff02::1]:3000", "M"},
        {"localhost", ""},       {"", ""},
    };
    for (const auto& each : cases) {
        std::string kinds;
        kinds += DtInetUtils::isLoopbackAddrString(each.text) ? "P" : "";
        kinds += DtInetUtils::isLinkLocalAddrString(each.text) ? "L" : "";
        kinds += DtInetUtils::isMulticastAddrString(each.text) ? "M" : "";
        EXPECT_EQ(kinds, each.kinds) << each.text;
    }
}

TEST(InetAddrUtilsTest, KnowsBroadcastAddressesWithoutResolving) {
    EXPECT_TRUE(DtInetUtils::isBroadcastAddrString("192.168.1.255", "255.255.255.0"));
    EXPECT_FALSE(DtInetUtils::isBroadcastAddrString("10.255.255.255", "255.255.255.254"));
    for (const char* text : {"10.255.255.255", "ff02::1", "ff01::1", "ff11::1", "ff02::1%lo"})
        EXPECT_TRUE(DtInetUtils::isBroadcastAddrString(text)) << text;
    for (const char* text : {"10.0.0.1", "ff05::1", "ff01::2", "ff01::1:0:0:1", "::1", "",
                             "localhost", "no-such-host.invalid", "10.255.255.255:5000"})
        EXPECT_FALSE(DtInetUtils::isBroadcastAddrString(text)) << text;
}

TEST(InetAddrUtilsTest, ConvertsNetmasksAndPrefixLengths) {
    for (unsigned int length = 0; length <= 32; ++length)
        EXPECT_EQ(DtInetUtils::netmaskToPrefixLen(DtInetUtils::prefixLenToIpv4Netmask(length)),
                  length);
    EXPECT_EQ(DtInetUtils::prefixLenToIpv4Netmask(33), 0u);
    EXPECT_EQ(DtInetUtils::netmaskToPrefixLen(0xFF00FF00), 8u);
    struct {
        const char* text;
        unsigned int netmask;
        unsigned int prefixLen;
    } const cases[] = {{"255.255.255.0", 0xFFFFFF00, 24},
                       {"10.0.0.1/255.240.0.0", 0xFFF00000, 12},
                       {"10.0.0.1/24", 0xFFFFFF00, 0},
                       {" +0x10", 0xFFFF0000, 0},
                       {"33", 0, 0},
                       {"-1", 0, 0},
                       {"255.255.255", 0, 0}};
    for (const auto& each : cases) {
        EXPECT_EQ(DtInetUtils::convertStringToNetmask(each.text), each.netmask) << each.text;
        EXPECT_EQ(DtInetUtils::convertStringToPrefixLen(each.text), each.prefixLen) << each.text;
    }
}

TEST(InetAddrUtilsTest, RemovesZoneAndBracketsInPlace) {
    char bracketed[] = "[fe80::1%eth0]:5000";
    EXPECT_STREQ(DtInetUtils::removeZoneIndex(bracketed), "fe80::1");
    char crossed[] = "]::1[";
    EXPECT_STREQ(DtInetUtils::removeZoneIndex(crossed), "");
}

}  // namespace OrynRti::Tests
