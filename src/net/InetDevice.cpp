#include "InetDevice.h"

#include <algorithm>
#include <net/if.h>

#include "net/AddressText.h"
#include "net/LocalInterfaces.h"

namespace OrynRti {

namespace {

using Interfaces = std::vector<LocalInterface>;

bool isLoopbackInterface(const LocalInterface& interface) {
    return (interface.flags & IFF_LOOPBACK) != 0;
}

const DtInetAddr* firstAddress(const LocalInterface& interface,
                               DtInetUtils::DtInetAddrFamily family) {
    for (const DtInetAddr& addr : interface.addresses)
        if (addr.family() == family)
            return &addr;
    return nullptr;
}

/// The same link-local address may exist on several interfaces; only a scope tells them apart.
const DtInetAddr* ownAddress(const LocalInterface& interface, const DtInetAddr& addr) {
    for (const DtInetAddr& own : interface.addresses) {
        const bool scopeFits = addr.scope() == 0 || own.scope() == 0 || addr.scope() == own.scope();
        if (scopeFits && own.family() == addr.family() && own.toU128() == addr.toU128())
            return &own;
    }
    return nullptr;
}

const LocalInterface* loopbackInterface(const Interfaces& all) {
    const auto found = std::find_if(all.begin(), all.end(), isLoopbackInterface);
    return found != all.end() ? &*found : nullptr;
}

const LocalInterface* defaultInterface(const Interfaces& all,
                                       DtInetUtils::DtInetAddrFamily family) {
    for (const LocalInterface& interface : all)
        if ((interface.flags & IFF_UP) != 0 && !isLoopbackInterface(interface) &&
            firstAddress(interface, family) != nullptr)
            return &interface;
    return loopbackInterface(all);
}

bool isIPv4Loopback(const DtInetAddr& addr) {
    return addr.isIPv4() && addr.toULong() >> 24 == 127;
}

}  // namespace

DtInetDevice::DtInetDevice() : ipv4Addr_(DtInetUtils::IPv4), ipv6Addr_(DtInetUtils::IPv6) {}

DtInetDevice::DtInetDevice(const LocalInterface& interface) : DtInetDevice() {
    exists_ = true;
    name_ = interface.name.c_str();
    index_ = interface.index;
    mtu_ = interface.mtu;
    flags_ = interface.flags;
    if (const DtInetAddr* ipv4 = firstAddress(interface, DtInetUtils::IPv4))
        report(*ipv4);
    if (const DtInetAddr* ipv6 = firstAddress(interface, DtInetUtils::IPv6))
        report(*ipv6);
}

DtInetDevice::DtInetDevice(const DtString& nameOrAddress, DtInetUtils::DtInetAddrFamily)
    : DtInetDevice() {
    const std::string text = nameOrAddress.stdString();
    if (text.empty())
        return;
    const Interfaces all = localInterfaces();
    for (const LocalInterface& interface : all) {
        if (interface.name == text) {
            *this = DtInetDevice(interface);
            return;
        }
    }
    if (addressWithoutLookup(text.c_str()))
        *this = locate(all, DtInetAddr(text.c_str()));
}

void DtInetDevice::report(const DtInetAddr& addr) {
    (addr.isIPv4() ? hasIPv4_ : hasIPv6_) = true;
    (addr.isIPv4() ? ipv4Addr_ : ipv6Addr_) = addr;
}

DtInetDevice DtInetDevice::locate(const Interfaces& all, const DtInetAddr& addr) {
    if (addr.isAnyAddr()) {
        const LocalInterface* chosen = defaultInterface(all, addr.family());
        return chosen != nullptr ? DtInetDevice(*chosen) : DtInetDevice();
    }
    for (const LocalInterface& interface : all) {
        if (const DtInetAddr* own = ownAddress(interface, addr)) {
            DtInetDevice device(interface);
            device.report(*own);
            return device;
        }
    }
    const LocalInterface* loopback = isIPv4Loopback(addr) ? loopbackInterface(all) : nullptr;
    if (loopback == nullptr)
        return DtInetDevice();
    DtInetDevice device(*loopback);
    device.report(DtInetAddr(addr.toULong(), device.ipv4Addr_.netmask()));
    return device;
}

DtInetDevice* DtInetDevice::findInterface(const DtInetAddr& addr) {
    const DtInetDevice device = locate(localInterfaces(), addr);
    return device.isOk() ? new DtInetDevice(device) : nullptr;
}

std::vector<DtInetDevice> DtInetDevice::interfaces() {
    std::vector<DtInetDevice> devices;
    for (const LocalInterface& interface : localInterfaces())
        devices.push_back(DtInetDevice(interface));
    return devices;
}

// -------------------------------------------------------------------------------------------

bool DtInetDevice::isOk() const {
    return exists_;
}

const DtString& DtInetDevice::name() const {
    return name_;
}

unsigned int DtInetDevice::index() const {
    return index_;
}

unsigned int DtInetDevice::mtu() const {
    return mtu_;
}

bool DtInetDevice::isUp() const {
    return (flags_ & IFF_UP) != 0;
}

bool DtInetDevice::isLoopback() const {
    return (flags_ & IFF_LOOPBACK) != 0;
}

bool DtInetDevice::isBroadcastCapable() const {
    return (flags_ & IFF_BROADCAST) != 0;
}

bool DtInetDevice::isMulticastCapable() const {
    return (flags_ & IFF_MULTICAST) != 0;
}

bool DtInetDevice::hasIPv4() const {
    return hasIPv4_;
}

bool DtInetDevice::hasIPv6() const {
    return hasIPv6_;
}

const DtInetAddr& DtInetDevice::ipv4Addr() const {
    return ipv4Addr_;
}

const DtInetAddr& DtInetDevice::ipv6Addr() const {
    return ipv6Addr_;
}

}  // namespace OrynRti
