#ifndef RTIQNUTIL_SRC_NET_SOCKETOPTIONS_H
#define RTIQNUTIL_SRC_NET_SOCKETOPTIONS_H

#include "InetAddr.h"
#include "InetAddrUtils.h"

/// The settings of a socket, by descriptor: for the sockets of this library and for further
/// descriptors that they send through. Each returns 0 or the system's error number.
namespace OrynRti::SocketOptions {

using Family = DtInetUtils::DtInetAddrFamily;

int setNonBlocking(int descriptor, bool on);
int setReuseAddress(int descriptor, bool on);
int setBroadcast(int descriptor, bool on);
int setDoNotRoute(int descriptor, bool on);

/// In bytes. The system clamps them.
int setSendBufferSize(int descriptor, unsigned int bytes);
int setReceiveBufferSize(int descriptor, unsigned int bytes);
int setSendLowWatermark(int descriptor, unsigned int bytes);  // always 92 on Linux
int setReceiveLowWatermark(int descriptor, unsigned int bytes);

int getReuseAddress(int descriptor, bool& on);
int getBroadcast(int descriptor, bool& on);
int getDoNotRoute(int descriptor, bool& on);
int getSendBufferSize(int descriptor, unsigned int& bytes);
int getReceiveBufferSize(int descriptor, unsigned int& bytes);
int getSendLowWatermark(int descriptor, unsigned int& bytes);
int getReceiveLowWatermark(int descriptor, unsigned int& bytes);
int getBytesAvailable(int descriptor, unsigned int& bytes);

/// TTL (IPv4) or hop limit (IPv6); -1 for the system's default.
int setTtl(int descriptor, Family family, int hops);
int getTtl(int descriptor, Family family, int& hops);
int setMulticastTtl(int descriptor, Family family, int hops);
int getMulticastTtl(int descriptor, Family family, int& hops);

int setMulticastLoop(int descriptor, Family family, bool on);
int getMulticastLoop(int descriptor, Family family, bool& on);

/// The interface that datagrams to groups go out on; 0 for the system's choice.
int setMulticastInterface(int descriptor, Family family, unsigned int interfaceIndex);

/// Whether groups that others on this host have joined are received as well.
int setMulticastOfOthers(int descriptor, Family family, bool on);

/// On the interface; 0 for that of the group's scope, else of the system's choice.
int joinGroup(int descriptor, const DtInetAddr& group, unsigned int interfaceIndex);
int dropGroup(int descriptor, const DtInetAddr& group, unsigned int interfaceIndex);

/// Whether an IPv6 socket leaves IPv4 alone.
int setIpv6Only(int descriptor, bool on);

/// 0 for all interfaces.
int bindToInterface(int descriptor, unsigned int interfaceIndex);

/// Has the kernel note when each datagram comes: to tell with the datagram, or, which makes
/// receiving cheaper, when asked for the one received last.
int setArrivalReports(int descriptor, bool withDatagram);

}  // namespace OrynRti::SocketOptions

#endif
