#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "InetDevice.h"

namespace OrynRti::Tests {

namespace {

std::string nameOfInterfaceWith(const char* addr) {
    const std::unique_ptr<DtInetDevice> device(DtInetDevice::findInterface(DtInetAddr(addr)));
    return device != nullptr ? device->name().c_str() : "";
}

std::string nameOfDefault(DtInetUtils::DtInetAddrFamily family) {
    for (const DtInetDevice& device : DtInetDevice::interfaces())
        if (device.isUp() && !device.isLoopback() &&
            (family == DtInetUtils::IPv4 ? device.hasIPv4() : device.hasIPv6()))
            return device.name().c_str();
    return "lo";
}

}  // namespace

TEST(InetDeviceTest, DescribesTheLoopbackInterface) {
    const DtInetDevice device("lo");
    ASSERT_TRUE(device.isOk());
    EXPECT_STREQ(device.name().c_str(), "lo");
    EXPECT_EQ(device.index(), 1u);
    EXPECT_GE(device.mtu(), 16384u);
    EXPECT_TRUE(device.isUp());
    EXPECT_TRUE(device.isLoopback());
    EXPECT_FALSE(device.isBroadcastCapable());
    ASSERT_TRUE(device.hasIPv4());
    EXPECT_TRUE(device.ipv4Addr().isLoopback());
    EXPECT_EQ(device.ipv4Addr().prefix(), 8u);
    if (device.hasIPv6()) {
        EXPECT_TRUE(device.ipv6Addr().isLoopback());
        EXPECT_EQ(device.ipv6Addr().prefix(), 128u);
    }
}

TEST(InetDeviceTest, WhatDoesNotExistIsNotOk) {
    for (const char* text :
         {"", "nosuchif", "192.0.2.254", "no-such-host.invalid", "lo0lo0lo0lo0lo0lo0"}) {
        const DtInetDevice device(text);
        EXPECT_FALSE(device.isOk()) << text;
        EXPECT_FALSE(device.hasIPv4() || device.hasIPv6()) << text;
        EXPECT_TRUE(device.ipv4Addr().isAnyAddr() && device.ipv6Addr().isAnyAddr()) << text;
    }
    EXPECT_EQ(DtInetDevice::findInterface(DtInetAddr("239.1.2.3")), nullptr);
}

TEST(InetDeviceTest, AllOfTheLoopbackNetworkIsTheLoopbackInterface) {
    EXPECT_EQ(nameOfInterfaceWith("127.0.0.1"), "lo");
    const DtInetDevice device("127.1.2.3");
    ASSERT_TRUE(device.isOk());
    EXPECT_STREQ(device.name().c_str(), "lo");
    EXPECT_STREQ(device.ipv4Addr().toDtString().c_str(), "127.1.2.3");
    EXPECT_EQ(device.ipv4Addr().netmask(), 0xFF000000u);
}

TEST(InetDeviceTest, EveryInterfaceIsFoundByItsAddresses) {
    bool sawLoopback = false;
    for (const DtInetDevice& device : DtInetDevice::interfaces()) {
        EXPECT_TRUE(device.isOk());
        EXPECT_GT(device.index(), 0u);
        sawLoopback = sawLoopback || device.isLoopback();
        for (const DtInetAddr& addr : {device.ipv4Addr(), device.ipv6Addr()})
            if (!addr.isAnyAddr()) {
                const DtInetDevice found(addr.toDtString());
                EXPECT_EQ(found.index(), device.index());
                EXPECT_EQ(addr.isIPv4() ? found.ipv4Addr() : found.ipv6Addr(), addr);
                EXPECT_EQ(addr.isIPv4() ? found.ipv4Addr().prefix() : found.ipv6Addr().prefix(),
                          addr.prefix());
            }
    }
    EXPECT_TRUE(sawLoopback);
}

TEST(InetDeviceTest, AnAnyAddressGivesTheFirstInterfaceToTheNetwork) {
    EXPECT_EQ(nameOfInterfaceWith("0.0.0.0"), nameOfDefault(DtInetUtils::IPv4));
    EXPECT_EQ(nameOfInterfaceWith("::"), nameOfDefault(DtInetUtils::IPv6));
}

TEST(InetDeviceTest, ALinkLocalAddressIsLookedForInItsScopeOnly) {
    for (const DtInetDevice& device : DtInetDevice::interfaces()) {
        DtInetAddr addr(device.ipv6Addr().toU128(), DtInetUtils::IPv6);
        if (device.ipv6Addr().scope() == 0)
            continue;
        EXPECT_EQ(device.ipv6Addr().scope(), device.index());
        addr.setScope(device.index() + 1000);
        EXPECT_EQ(DtInetDevice::findInterface(addr), nullptr);
    }
}

}  // namespace OrynRti::Tests
