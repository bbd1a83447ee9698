#include "net/SocketOptions.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "net/SocketAddress.h"
#include "net/SystemCall.h"

#ifndef IPV6_MULTICAST_ALL
#define IPV6_MULTICAST_ALL 29  // Linux 4.20; missing in the headers of older C libraries
#endif

namespace OrynRti::SocketOptions {

namespace {

template <typename Value>
int setOption(int descriptor, int level, int name, const Value& value) {
    return setsockopt(descriptor, level, name, &value, sizeof value) == 0 ? 0 : errno;
}

int getInt(int descriptor, int level, int name, int& value) {
    int answer = 0;
    socklen_t size = sizeof answer;
    if (getsockopt(descriptor, level, name, &answer, &size) != 0)
        return errno;
    value = answer;
    return 0;
}

int setSocketOption(int descriptor, int name, int value) {
    return setOption(descriptor, SOL_SOCKET, name, value);
}

int getFlag(int descriptor, int level, int name, bool& on) {
    int value = 0;
    const int error = getInt(descriptor, level, name, value);
    if (error == 0)
        on = value != 0;
    return error;
}

int getSize(int descriptor, int name, unsigned int& bytes) {
    int value = 0;
    const int error = getInt(descriptor, SOL_SOCKET, name, value);
    if (error == 0)
        bytes = static_cast<unsigned int>(value);
    return error;
}

/// One setting that the two families number differently.
struct Option {
    int level;
    int name;
};

Option byFamily(Family family, int ipv4Name, int ipv6Name) {
    if (family == DtInetUtils::IPv6)
        return {IPPROTO_IPV6, ipv6Name};
    return {IPPROTO_IP, ipv4Name};
}

int setInt(int descriptor, Option option, int value) {
    return setOption(descriptor, option.level, option.name, value);
}

int changeGroup(int descriptor, int name, const DtInetAddr& group, unsigned int interfaceIndex) {
    const SocketAddress addr(group, 0);
    group_req request{};
    request.gr_interface = interfaceIndex != 0 ? interfaceIndex : addr.scope();
    request.gr_group = addr.storage();
    const int level = group.isIPv6() ? IPPROTO_IPV6 : IPPROTO_IP;
    return setOption(descriptor, level, name, request);
}

}  // namespace

// -------------------------------------------------------------------------------------------

int setNonBlocking(int descriptor, bool on) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags == -1)
        return errno;
    const int wanted = on ? flags | O_NONBLOCK : flags & ~O_NONBLOCK;
    return fcntl(descriptor, F_SETFL, wanted) != -1 ? 0 : errno;
}

int setReuseAddress(int descriptor, bool on) {
    return setSocketOption(descriptor, SO_REUSEADDR, on);
}

int setBroadcast(int descriptor, bool on) {
    return setSocketOption(descriptor, SO_BROADCAST, on);
}

int setDoNotRoute(int descriptor, bool on) {
    return setSocketOption(descriptor, SO_DONTROUTE, on);
}

// The kernel reads sizes as unsigned, so that 0xFFFFFFFF is the largest one.

int setSendBufferSize(int descriptor, unsigned int bytes) {
    return setSocketOption(descriptor, SO_SNDBUF, static_cast<int>(bytes));
}

int setReceiveBufferSize(int descriptor, unsigned int bytes) {
    return setSocketOption(descriptor, SO_RCVBUF, static_cast<int>(bytes));
}

int setSendLowWatermark(int descriptor, unsigned int bytes) {
    return setSocketOption(descriptor, SO_SNDLOWAT, static_cast<int>(bytes));
}

int setReceiveLowWatermark(int descriptor, unsigned int bytes) {
    return setSocketOption(descriptor, SO_RCVLOWAT, static_cast<int>(bytes));
}

int getReuseAddress(int descriptor, bool& on) {
    return getFlag(descriptor, SOL_SOCKET, SO_REUSEADDR, on);
}

int getBroadcast(int descriptor, bool& on) {
    return getFlag(descriptor, SOL_SOCKET, SO_BROADCAST, on);
}

int getDoNotRoute(int descriptor, bool& on) {
    return getFlag(descriptor, SOL_SOCKET, SO_DONTROUTE, on);
}

int getSendBufferSize(int descriptor, unsigned int& bytes) {
    return getSize(descriptor, SO_SNDBUF, bytes);
}

int getReceiveBufferSize(int descriptor, unsigned int& bytes) {
    return getSize(descriptor, SO_RCVBUF, bytes);
}

int getSendLowWatermark(int descriptor, unsigned int& bytes) {
    return getSize(descriptor, SO_SNDLOWAT, bytes);
}

int getReceiveLowWatermark(int descriptor, unsigned int& bytes) {
    return getSize(descriptor, SO_RCVLOWAT, bytes);
}

int getBytesAvailable(int descriptor, unsigned int& bytes) {
    int available = 0;
    if (ioctl(descriptor, FIONREAD, &available) != 0)
        return errno;
    bytes = static_cast<unsigned int>(available);
    return 0;
}

// -------------------------------------------------------------------------------------------
// Internet layer

int setTtl(int descriptor, Family family, int hops) {
    return setInt(descriptor, byFamily(family, IP_TTL, IPV6_UNICAST_HOPS), hops);
}

int getTtl(int descriptor, Family family, int& hops) {
    const Option option = byFamily(family, IP_TTL, IPV6_UNICAST_HOPS);
    return getInt(descriptor, option.level, option.name, hops);
}

int setMulticastTtl(int descriptor, Family family, int hops) {
    return setInt(descriptor, byFamily(family, IP_MULTICAST_TTL, IPV6_MULTICAST_HOPS), hops);
}

int getMulticastTtl(int descriptor, Family family, int& hops) {
    const Option option = byFamily(family, IP_MULTICAST_TTL, IPV6_MULTICAST_HOPS);
    return getInt(descriptor, option.level, option.name, hops);
}

int setMulticastLoop(int descriptor, Family family, bool on) {
    return setInt(descriptor, byFamily(family, IP_MULTICAST_LOOP, IPV6_MULTICAST_LOOP), on);
}

int getMulticastLoop(int descriptor, Family family, bool& on) {
    const Option option = byFamily(family, IP_MULTICAST_LOOP, IPV6_MULTICAST_LOOP);
    return getFlag(descriptor, option.level, option.name, on);
}

int setMulticastInterface(int descriptor, Family family, unsigned int interfaceIndex) {
    const int index = static_cast<int>(interfaceIndex);
    if (family == DtInetUtils::IPv6)
        return setOption(descriptor, IPPROTO_IPV6, IPV6_MULTICAST_IF, index);
    ip_mreqn request{};
    request.imr_ifindex = index;
    return setOption(descriptor, IPPROTO_IP, IP_MULTICAST_IF, request);
}

int setMulticastOfOthers(int descriptor, Family family, bool on) {
    return setInt(descriptor, byFamily(family, IP_MULTICAST_ALL, IPV6_MULTICAST_ALL), on);
}

int joinGroup(int descriptor, const DtInetAddr& group, unsigned int interfaceIndex) {
    return changeGroup(descriptor, MCAST_JOIN_GROUP, group, interfaceIndex);
}

int dropGroup(int descriptor, const DtInetAddr& group, unsigned int interfaceIndex) {
    return changeGroup(descriptor, MCAST_LEAVE_GROUP, group, interfaceIndex);
}

int setIpv6Only(int descriptor, bool on) {
    return setInt(descriptor, {IPPROTO_IPV6, IPV6_V6ONLY}, on);
}

int bindToInterface(int descriptor, unsigned int interfaceIndex) {
    return setSocketOption(descriptor, SO_BINDTOIFINDEX, static_cast<int>(interfaceIndex));
}

int setArrivalReports(int descriptor, bool withDatagram) {
    timespec ignored{};
    ioctl(descriptor, SIOCGSTAMPNS, &ignored);  // who asks once is prepared for from then on
    return setSocketOption(descriptor, SO_TIMESTAMPNS, withDatagram);
}

}  // namespace OrynRti::SocketOptions
