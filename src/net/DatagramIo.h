#ifndef RTIQNUTIL_SRC_NET_DATAGRAMIO_H
#define RTIQNUTIL_SRC_NET_DATAGRAMIO_H

#include <cstddef>
#include <cstdint>
#include <sys/socket.h>
#include <sys/uio.h>

#include "String.h"
#include "net/SocketAddress.h"

/// Sending and receiving one datagram by descriptor, in one system call and without copying.
namespace OrynRti {

/// What the kernel says about a received datagram beside its bytes.
struct DatagramReport {
    double time = 0;          ///< Arrival in seconds since the epoch.
    std::uint32_t drops = 0;  ///< Dropped at this socket so far, modulo 2^32; 0 says nothing.
    bool truncated = false;   ///< It did not fit.
};

/// Room for what the kernel says about one datagram.
struct ReportBuffer {
    alignas(cmsghdr) unsigned char bytes[CMSG_SPACE(sizeof(timespec)) + CMSG_SPACE(4) + 64];
};

/// Fills in time (asking the clock when the kernel gives none), drops and truncated.
DatagramReport readReport(const msghdr& message);

/// Sends all parts as one datagram. The number of bytes; -1 with the system's error number in
/// errno: EAGAIN when a non-blocking descriptor has no room. The library's own bits may be set in
/// `flags`.
ssize_t sendDatagram(int descriptor, const iovec* parts, std::size_t count, const SocketAddress& to,
                     int flags);

/// Receives one datagram into the parts; -1 with errno as above. `from` is only filled in when
/// it is not null.
ssize_t receiveDatagram(int descriptor, const iovec* parts, std::size_t count,
                        sockaddr_storage* from, int flags, DatagramReport& report);

/// Waits until poll() reports one of `events`, or that the descriptor is shut down or in error.
void awaitReady(int descriptor, short events);

/// Another number for the same socket, close-on-exec. Throws a std::system_error.
int duplicateDescriptor(int descriptor);

/// The system's text for an error number.
DtString systemErrorText(int number);

}  // namespace OrynRti

#endif
