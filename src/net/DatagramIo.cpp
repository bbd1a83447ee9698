#include "net/DatagramIo.h"

#include <algorithm>
#include <array>
#include <climits>
#include <ctime>
#include <linux/sock_diag.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <vector>

#include "InetSocket.h"
#include "net/BufferParts.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

constexpr int theOwnFlags = DtInetSockSkipFirstChain | DtInetSockSkipPostSend;

// sendmsg() and recvmsg() declare what they only read as writable.

msghdr messageOf(const iovec* parts, std::size_t count) {
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(parts);
    message.msg_iovlen = count;
    return message;
}

ssize_t receiveScattered(int descriptor, const iovec* parts, std::size_t count,
                         sockaddr_storage* from, int flags, bool& truncated) {
    msghdr message = messageOf(parts, count);
    message.msg_name = from;
    const ssize_t size = repeatedCall([&] {
        message.msg_namelen = from != nullptr ? sizeof *from : 0;
        return recvmsg(descriptor, &message, flags);
    });
    truncated = (message.msg_flags & MSG_TRUNC) != 0;
    return size;
}

/// For more parts than the kernel takes.
ssize_t receiveAndScatter(int descriptor, const iovec* parts, std::size_t count,
                          sockaddr_storage* from, int flags, bool& truncated) {
    std::vector<char> bytes(partsSize(parts, count));
    const iovec whole{bytes.data(), bytes.size()};
    const ssize_t size = receiveDatagram(descriptor, &whole, 1, from, flags, truncated);
    if (size > 0)
        scatterBytes(bytes.data(), static_cast<std::size_t>(size), parts);
    return size;
}

}  // namespace

// -------------------------------------------------------------------------------------------

// Where there is one part, sendto() and recvfrom() are by far the cheaper calls.

ssize_t sendDatagram(int descriptor, const iovec* parts, std::size_t count, const SocketAddress& to,
                     int flags) {
    if (count > IOV_MAX) {
        std::vector<char> bytes = gatherBytes(parts, count);
        const iovec whole{bytes.data(), bytes.size()};
        return sendDatagram(descriptor, &whole, 1, to, flags);
    }
    const int systemFlags = (flags & ~theOwnFlags) | MSG_NOSIGNAL;
    if (count == 1)
        return repeatedCall([&] {
            return sendto(descriptor, parts->iov_base, parts->iov_len, systemFlags, to.get(),
                          to.size());
        });
    msghdr message = messageOf(parts, count);
    message.msg_name = const_cast<sockaddr*>(to.get());
    message.msg_namelen = to.size();
    return repeatedCall([&] { return sendmsg(descriptor, &message, systemFlags); });
}

ssize_t receiveDatagram(int descriptor, const iovec* parts, std::size_t count,
                        sockaddr_storage* from, int flags, bool& truncated) {
    const int systemFlags = flags & ~theOwnFlags;
    if (count > IOV_MAX)
        return receiveAndScatter(descriptor, parts, count, from, systemFlags, truncated);
    if (count != 1)
        return receiveScattered(descriptor, parts, count, from, systemFlags, truncated);
    const ssize_t size = repeatedCall([&] {
        socklen_t fromSize = sizeof *from;
        return recvfrom(descriptor, parts->iov_base, parts->iov_len, systemFlags | MSG_TRUNC,
                        reinterpret_cast<sockaddr*>(from), from != nullptr ? &fromSize : nullptr);
    });
    const auto room = static_cast<ssize_t>(parts->iov_len);
    truncated = size > room;
    return std::min(size, room);
}

double lastArrival(int descriptor) {
    timespec time{};
    ioctl(descriptor, SIOCGSTAMPNS, &time);  // leaves it alone when it fails
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

std::uint32_t kernelDrops(int descriptor) {
    std::array<std::uint32_t, SK_MEMINFO_VARS> info{};
    socklen_t size = sizeof info;
    getsockopt(descriptor, SOL_SOCKET, SO_MEMINFO, info.data(), &size);
    return info[SK_MEMINFO_DROPS];
}

}  // namespace OrynRti
