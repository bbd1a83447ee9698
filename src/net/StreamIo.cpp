#include "net/StreamIo.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <linux/sockios.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "InetSocket.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

constexpr int theOwnFlags = DtInetSockSkipFirstChain | DtInetSockSkipPostSend;

// sendmsg() and recvmsg() declare what they only read as writable.
msghdr messageOf(const iovec* parts, std::size_t count) {
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(parts);
    message.msg_iovlen = std::min<std::size_t>(count, IOV_MAX);
    return message;
}

/// 0 when the system does not tell.
int askInt(int descriptor, int level, int name) {
    int value = 0;
    socklen_t size = sizeof value;
    return getsockopt(descriptor, level, name, &value, &size) == 0 ? value : 0;
}

}  // namespace

// -------------------------------------------------------------------------------------------

ssize_t sendSome(int descriptor, const iovec* parts, std::size_t count, int flags) {
    const int systemFlags = (flags & ~theOwnFlags) | MSG_NOSIGNAL;
    if (count == 1)  // spares the system the walk over the parts
        return repeatedCall(
            [&] { return send(descriptor, parts->iov_base, parts->iov_len, systemFlags); });
    const msghdr message = messageOf(parts, count);
    return repeatedCall([&] { return sendmsg(descriptor, &message, systemFlags); });
}

ssize_t receiveSome(int descriptor, const iovec* parts, std::size_t count, int flags) {
    const int systemFlags = flags & ~theOwnFlags;
    if (count == 1)
        return repeatedCall(
            [&] { return recv(descriptor, parts->iov_base, parts->iov_len, systemFlags); });
    msghdr message = messageOf(parts, count);
    return repeatedCall([&] { return recvmsg(descriptor, &message, systemFlags); });
}

/// A part that has gone out half goes on alone.
ssize_t StreamPosition::send(int descriptor, int flags) {
    ssize_t sent = 0;
    if (offset_ != 0) {
        const iovec rest{static_cast<char*>(parts_->iov_base) + offset_, parts_->iov_len - offset_};
        sent = sendSome(descriptor, &rest, 1, flags);
    } else {
        sent = sendSome(descriptor, parts_, count_, flags);
    }
    if (sent > 0)
        advance(static_cast<std::size_t>(sent));
    return sent;
}

void StreamPosition::advance(std::size_t bytes) {
    offset_ += bytes;
    while (count_ > 0 && offset_ >= parts_->iov_len) {
        offset_ -= parts_->iov_len;
        ++parts_;
        --count_;
    }
}

void discardReceived(int descriptor) {
    std::array<char, 16384> bytes;
    while (repeatedCall(
               [&] { return recv(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT); }) > 0) {
    }
}

bool allArrived(int descriptor) {
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 ||
        info.tcpi_state == TCP_CLOSE)
        return true;
    int outstanding = 0;
    return ioctl(descriptor, SIOCOUTQ, &outstanding) != 0 || outstanding == 0;
}

int connectOutcome(int descriptor) {
    pollfd waited{descriptor, POLLOUT, 0};
    if (repeatedCall([&] { return poll(&waited, 1, 0); }) == 0)
        return EINPROGRESS;
    const int error = askInt(descriptor, SOL_SOCKET, SO_ERROR);
    sockaddr_storage peer;
    if (error != 0 || peerAddress(descriptor, peer))
        return error;
    return errno == ENOTCONN ? EINPROGRESS : errno;
}

bool localAddress(int descriptor, sockaddr_storage& addr) {
    socklen_t size = sizeof addr;
    return getsockname(descriptor, reinterpret_cast<sockaddr*>(&addr), &size) == 0;
}

bool peerAddress(int descriptor, sockaddr_storage& addr) {
    socklen_t size = sizeof addr;
    return getpeername(descriptor, reinterpret_cast<sockaddr*>(&addr), &size) == 0;
}

bool isTcpSocket(int descriptor) {
    sockaddr_storage local;
    return askInt(descriptor, SOL_SOCKET, SO_PROTOCOL) == IPPROTO_TCP &&
           localAddress(descriptor, local) &&
           (local.ss_family == AF_INET || local.ss_family == AF_INET6);
}

bool isListening(int descriptor) {
    return askInt(descriptor, SOL_SOCKET, SO_ACCEPTCONN) != 0;
}

}  // namespace OrynRti
