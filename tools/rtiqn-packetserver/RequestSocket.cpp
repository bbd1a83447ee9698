#include "RequestSocket.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "CliServer.h"
#include "Errors.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

std::string pathOf(int key, int which) {
    char path[theDtRequestPathSize];
    DtPacketServerRequestPath(key, path, which);
    return path;
}

/// Process 0 when the message carries none: it was sent before the socket asked for it.
ucred senderOf(msghdr& message) {
    ucred sender{0, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part))
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_CREDENTIALS)
            std::memcpy(&sender, CMSG_DATA(part), sizeof sender);
    return sender;
}

}  // namespace

RequestSocket::RequestSocket(int key, int which)
    : path_(pathOf(key, which)),
      socket_(DtOpenUnixDgram(path_.c_str(), DtUnixDgramServe, "packet server")) {
    const int on = 1;
    if (!socket_.isOpen() ||
        ::setsockopt(descriptor(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0)
        throw NetworkError("cannot take requests at " + path_ + ": " + std::strerror(errno));
}

RequestSocket::~RequestSocket() {
    ::unlink(path_.c_str());
}

bool RequestSocket::receive(Request& request) {
    // No room for descriptors: those that a client passes are closed by the system.
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    iovec part{request.bytes, sizeof request.bytes};
    msghdr message{};
    message.msg_name = &request.address.address;
    message.msg_namelen = sizeof request.address.address;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t length = 0;
    do
        length = ::recvmsg(descriptor(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    while (length < 0 && errno == EINTR);
    if (length < 0)
        return false;
    request.length = static_cast<int>(length);
    request.address.size = message.msg_namelen;
    request.sender = senderOf(message);
    return true;
}

bool RequestSocket::send(const ClientAddress& to, const void* bytes, std::size_t size) {
    return ::sendto(descriptor(), bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&to.address),
                    to.size) == static_cast<ssize_t>(size);
}

}  // namespace RtiqnPacketServer
