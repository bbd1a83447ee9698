#include "net/LocalInterfaces.h"

#include <bitset>
#include <cerrno>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <string_view>
#include <sys/ioctl.h>
#include <system_error>

#include "Print.h"
#include "net/SockaddrCopy.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

[[noreturn]] void failed(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

unsigned int hostOrderOf(const sockaddr* ipv4) {
    return ntohl(readSockaddr<sockaddr_in>(ipv4).sin_addr.s_addr);
}

unsigned int prefixLenOf(const sockaddr* ipv6Netmask) {
    std::size_t length = 0;
    for (const unsigned char byte : readSockaddr<sockaddr_in6>(ipv6Netmask).sin6_addr.s6_addr)
        length += std::bitset<8>(byte).count();
    return static_cast<unsigned int>(length);
}

void addIPv4(LocalInterface& interface, const ifaddrs& entry) {
    const unsigned int netmask =
        entry.ifa_netmask != nullptr ? hostOrderOf(entry.ifa_netmask) : 0xFFFFFFFF;
    interface.addresses.emplace_back(readSockaddr<sockaddr_in>(entry.ifa_addr), netmask);
    if ((entry.ifa_flags & IFF_BROADCAST) != 0 && entry.ifa_broadaddr != nullptr)
        interface.broadcastAddresses.emplace_back(hostOrderOf(entry.ifa_broadaddr), netmask);
}

void addIPv6(LocalInterface& interface, const ifaddrs& entry) {
    const unsigned int prefixLen =
        entry.ifa_netmask != nullptr ? prefixLenOf(entry.ifa_netmask) : 128;
    interface.addresses.emplace_back(readSockaddr<sockaddr_in6>(entry.ifa_addr), prefixLen);
}

/// An IPv4 address may carry a label, as in "eth0:1"; what precedes the colon is the interface.
std::string_view interfaceName(const ifaddrs& entry) {
    const std::string_view label(entry.ifa_name);
    return label.substr(0, label.find(':'));
}

void addAddresses(LocalInterface& interface, const ifaddrs* entries) {
    for (const ifaddrs* entry = entries; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || interfaceName(*entry) != interface.name)
            continue;
        if (entry->ifa_addr->sa_family == AF_INET)
            addIPv4(interface, *entry);
        else if (entry->ifa_addr->sa_family == AF_INET6)
            addIPv6(interface, *entry);
    }
}

/// False when the interface has gone meanwhile.
bool addProperties(LocalInterface& interface, const Descriptor& anySocket) {
    ifreq request{};
    interface.name.copy(request.ifr_name, IFNAMSIZ - 1);
    const auto ask = [&](unsigned long what) {
        return repeatedCall([&] { return ::ioctl(anySocket.number(), what, &request); }) == 0;
    };
    if (!ask(SIOCGIFFLAGS))
        return false;
    interface.flags = static_cast<unsigned short>(request.ifr_flags);
    if (!ask(SIOCGIFMTU))
        return false;
    interface.mtu = static_cast<unsigned int>(request.ifr_mtu);
    return true;
}

std::vector<LocalInterface> listInterfaces() {
    const Descriptor anySocket(
        checkedCall("socket", [] { return ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); }));
    ifaddrs* entries = nullptr;
    checkedCall("getifaddrs", [&] { return ::getifaddrs(&entries); });
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> entriesOwner(entries, &::freeifaddrs);
    const std::unique_ptr<struct if_nameindex, void (*)(struct if_nameindex*)> names(
        ::if_nameindex(), &::if_freenameindex);
    if (names == nullptr)
        failed("if_nameindex");

    std::vector<LocalInterface> interfaces;
    for (const struct if_nameindex* each = names.get(); each->if_index != 0; ++each) {
        LocalInterface interface;
        interface.name = each->if_name;
        interface.index = each->if_index;
        if (!addProperties(interface, anySocket))
            continue;
        addAddresses(interface, entries);
        interfaces.push_back(std::move(interface));
    }
    return interfaces;
}

}  // namespace

std::vector<LocalInterface> localInterfaces() {
    try {
        return listInterfaces();
    } catch (const std::system_error& problem) {
        DtWarn << "DtInetDevice: Could not list the network interfaces: " << problem.what()
               << std::endl;
        return {};
    }
}

}  // namespace OrynRti
