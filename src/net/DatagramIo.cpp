#include "net/DatagramIo.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <vector>

#include "InetSocket.h"
#include "Time.h"
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

template <typename Value>
Value readControl(const cmsghdr* header) {
    Value value;
    std::memcpy(&value, CMSG_DATA(header), sizeof value);
    return value;
}

std::size_t sizeOf(const iovec* parts, std::size_t count) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i)
        size += parts[i].iov_len;
    return size;
}

/// For more parts than the kernel takes.
ssize_t receiveAndScatter(int descriptor, const iovec* parts, std::size_t count,
                          sockaddr_storage* from, int flags, DatagramReport& report) {
    std::vector<char> bytes(sizeOf(parts, count));
    const iovec whole{bytes.data(), bytes.size()};
    const ssize_t size = receiveDatagram(descriptor, &whole, 1, from, flags, report);
    if (size > 0)
        scatterBytes(bytes.data(), std::min(bytes.size(), static_cast<std::size_t>(size)), parts);
    return size;
}

}  // namespace

// -------------------------------------------------------------------------------------------

DatagramReport readReport(const msghdr& message) {
    DatagramReport report;
    report.truncated = (message.msg_flags & MSG_TRUNC) != 0;
    msghdr& walked = const_cast<msghdr&>(message);  // CMSG_NXTHDR wants it writable
    for (const cmsghdr* header = CMSG_FIRSTHDR(&walked); header != nullptr;
         header = CMSG_NXTHDR(&walked, const_cast<cmsghdr*>(header))) {
        if (header->cmsg_level != SOL_SOCKET)
            continue;
        if (header->cmsg_type == SCM_TIMESTAMPNS) {
            const auto time = readControl<timespec>(header);
            report.time = static_cast<double>(time.tv_sec) + 1e-9 * double(time.tv_nsec);
        } else if (header->cmsg_type == SO_RXQ_OVFL) {
            report.drops = readControl<std::uint32_t>(header);
        }
    }
    if (report.time == 0)
        report.time = DtAbsRealTime();
    return report;
}

ssize_t sendDatagram(int descriptor, const iovec* parts, std::size_t count, const SocketAddress& to,
                     int flags) {
    if (count > IOV_MAX) {
        std::vector<char> bytes = gatherBytes(parts, count);
        const iovec whole{bytes.data(), bytes.size()};
        return sendDatagram(descriptor, &whole, 1, to, flags);
    }
    const int systemFlags = (flags & ~theOwnFlags) | MSG_NOSIGNAL;
    if (count == 1)  // the cheaper call
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
                        sockaddr_storage* from, int flags, DatagramReport& report) {
    if (count > IOV_MAX)
        return receiveAndScatter(descriptor, parts, count, from, flags, report);
    ReportBuffer control;
    msghdr message = messageOf(parts, count);
    message.msg_name = from;
    const int systemFlags = flags & ~theOwnFlags;
    const ssize_t size = repeatedCall([&] {
        message.msg_namelen = from != nullptr ? sizeof *from : 0;
        message.msg_control = control.bytes;
        message.msg_controllen = sizeof control.bytes;
        return recvmsg(descriptor, &message, systemFlags);
    });
    if (size >= 0)
        report = readReport(message);
    return size;
}

void awaitReady(int descriptor, short events) {
    pollfd waited{descriptor, events, 0};
    repeatedCall([&] { return poll(&waited, 1, -1); });
}

int duplicateDescriptor(int descriptor) {
    return checkedCall("dup", [=] { return fcntl(descriptor, F_DUPFD_CLOEXEC, 0); });
}

DtString systemErrorText(int number) {
    return DtString(std::system_category().message(number));
}

}  // namespace OrynRti
