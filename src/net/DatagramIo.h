#ifndef RTIQNUTIL_SRC_NET_DATAGRAMIO_H
#define RTIQNUTIL_SRC_NET_DATAGRAMIO_H

#include <cstddef>
#include <cstdint>
#include <sys/socket.h>
#include <sys/uio.h>

#include "net/SocketAddress.h"

/// Work on a datagram socket by descriptor; a datagram is one system call and is not copied.
namespace OrynRti {

/// Sends all parts as one datagram. The number of bytes; -1 with the system's error number in
/// errno: EAGAIN when a non-blocking descriptor has no room. The library's own bits may be set in
/// `flags`.
ssize_t sendDatagram(int descriptor, const iovec* parts, std::size_t count, const SocketAddress& to,
                     int flags);

/// Receives one datagram into the parts, as much of it as fits; -1 with errno as above. `from` is
/// only filled in when it is not null. `truncated` tells that it did not fit.
ssize_t receiveDatagram(int descriptor, const iovec* parts, std::size_t count,
                        sockaddr_storage* from, int flags, bool& truncated);

/// When the datagram received last came, in seconds since the epoch; 0 when there was none. See
/// SocketOptions::setArrivalReports.
double lastArrival(int descriptor);

/// How many datagrams the kernel has dropped at this socket so far, modulo 2^32.
std::uint32_t kernelDrops(int descriptor);

}  // namespace OrynRti

#endif
