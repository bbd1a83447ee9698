#ifndef RTIQNUTIL_SRC_NET_STREAMIO_H
#define RTIQNUTIL_SRC_NET_STREAMIO_H

#include <cstddef>
#include <netinet/in.h>
#include <sys/types.h>
#include <sys/uio.h>

/// Work on a stream socket by descriptor. Nothing here raises SIGPIPE.
namespace OrynRti {

/// Sends some of the bytes in one system call, at most IOV_MAX parts: their number, -1 with errno.
/// The library's own bits may be set in `flags`.
ssize_t sendSome(int descriptor, const iovec* parts, std::size_t count, int flags);

/// Receives into the parts, of which the first IOV_MAX count; 0 at the end of the stream.
ssize_t receiveSome(int descriptor, const iovec* parts, std::size_t count, int flags);

/// How far the bytes of some parts have gone, which it borrows. Parts must not be empty.
class StreamPosition {
public:
    StreamPosition(const iovec* parts, std::size_t count) : parts_(parts), count_(count) {}

    bool atEnd() const { return count_ == 0; }

    /// As sendSome() for what is left, and moves on.
    ssize_t send(int descriptor, int flags);

private:
    void advance(std::size_t bytes);

    const iovec* parts_;
    std::size_t count_;
    std::size_t offset_ = 0;  ///< Within the first part left.
};

/// Reads and drops what has come so far.
void discardReceived(int descriptor);

/// Whether the peer's system has all that was sent, or the connection is dead.
bool allArrived(int descriptor);

/// How the connecting of a descriptor stands: 0 when connected, EINPROGRESS while it goes on, else
/// why it failed. Does not wait.
int connectOutcome(int descriptor);

/// The address of one end. False when there is none.
bool localAddress(int descriptor, sockaddr_storage& addr);
bool peerAddress(int descriptor, sockaddr_storage& addr);

bool isTcpSocket(int descriptor);
bool isListening(int descriptor);

}  // namespace OrynRti

#endif
