#include <gtest/gtest.h>
#include <memory>

#include "InetDevice.h"

namespace OrynRti::Tests {

TEST(InetDeviceTest, DescribesTheLoopbackInterface) {
    const DtInetDevice device("lo");
    EXPECT_EQ(device.index(), 1u);
    EXPECT_TRUE(device.isUp() && device.isLoopback() && !device.isBroadcastCapable());
    EXPECT_EQ(device.ipv4Addr().prefix(), 8u);
}

TEST(InetDeviceTest, WhatDoesNotExistIsNotOk) {
    for (const char* text :
         {"", "nosuchif", "192.0.2.254", "no-such-host.invalid", "lo0lo0lo0lo0lo0lo0"})
        EXPECT_FALSE(DtInetDevice(text).isOk()) << text;
    EXPECT_EQ(DtInetDevice::findInterface(DtInetAddr("239.1.2.3")), nullptr);
}

TEST(InetDeviceTest, AllOfTheLoopbackNetworkIsTheLoopbackInterface) {
    const DtInetDevice device("127.1.2.3");
    EXPECT_STREQ(device.name().c_str(), "lo");
    EXPECT_STREQ(device.ipv4Addr().toDtString().c_str(), "127.1.2.3");
    EXPECT_EQ(device.ipv4Addr().netmask(), 0xFF000000u);
}

TEST(InetDeviceTest, EveryInterfaceIsFoundByItsAddresses) {
    for (const DtInetDevice& device : DtInetDevice::interfaces())
        for (const DtInetAddr& addr : {device.ipv4Addr(), device.ipv6Addr()})
            if (!addr.isAnyAddr()) {
                const DtInetDevice found(addr.toDtString());
                const DtInetAddr& same = addr.isIPv4() ? found.ipv4Addr() : found.ipv6Addr();
                EXPECT_EQ(found.index(), device.index());
                EXPECT_EQ(same, addr);
                EXPECT_EQ(same.prefix(), addr.prefix());
            }
}

TEST(InetDeviceTest, AnAnyAddressGivesAnInterfaceToTheNetworkBeforeTheLoopback) {
    const std::unique_ptr<DtInetDevice> device(DtInetDevice::findInterface(DtInetAddr("0.0.0.0")));
    ASSERT_NE(device, nullptr);
    for (const DtInetDevice& other : DtInetDevice::interfaces())
        EXPECT_FALSE(device->isLoopback() && other.hasIPv4() && other.isUp() && !other.isLoopback())
            << other.name();
}

}  // namespace OrynRti::Tests
