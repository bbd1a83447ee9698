#ifndef RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTSOCKET_H
#define RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTSOCKET_H

#include <cstddef>

#include "net/SystemCall.h"

namespace OrynRti {

/// The socket over which a client makes its requests of the packet server. No operation waits
/// longer than it is told to.
class PacketClientSocket {
public:
    enum class Sent {
        Done,
        NoRoom,  ///< In the server's socket, for all the time.
        Gone,    ///< There is no server behind the socket.
        Failed   ///< errno tells why.
    };

    /// Makes the socket, with an address of its own, and connects it. False with errno.
    bool connect(const char* path);

    /// Sends one record.
    Sent send(const void* record, std::size_t length, double timeout_s);

    /// Takes one record that the server has sent; its length, or -1 when there is none.
    int receive(void* buffer, std::size_t size);

    /// Waits until there is something to receive, for at most that many seconds.
    void wait(double seconds);

    /// Readable when there is something to receive, and when the time is over that the last
    /// wakeAfter() set. Made at the first call; -1 with errno when it cannot be.
    int pollDescriptor();
    bool hasPollDescriptor() const { return both_.number() >= 0; }

    void wakeAfter(double seconds);

private:
    Descriptor socket_;
    Descriptor timer_;
    Descriptor both_;
};

}  // namespace OrynRti

#endif
