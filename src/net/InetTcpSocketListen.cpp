// The server's side of a TCP socket.
#include <algorithm>
#include <cerrno>
#include <iterator>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

#include "InetDevice.h"
#include "InetTcpSocket.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/SocketAddress.h"
#include "net/StreamIo.h"

namespace OrynRti {

namespace {

constexpr int theBacklog = 1024;

/// Failures to accept that concern one connection only or pass by themselves.
bool isTransient(int number) {
    static constexpr int numbers[] = {EAGAIN,  ENOMEM,      ENFILE,      EMFILE,      ENONET,
                                      EPROTO,  ENOPROTOOPT, ENETDOWN,    ENETUNREACH, ECONNABORTED,
                                      ENOBUFS, EHOSTDOWN,   EHOSTUNREACH};
    return std::find(std::begin(numbers), std::end(numbers), number) != std::end(numbers);
}

constexpr const char* theCreatingFailed = "Error creating new connection on socket\n";
constexpr const char* theAssigningFailed = "Error assigning descriptor to socket\n";

}  // namespace

/// A connection just accepted.
struct DtInetTcpSocket::Accepted {
    int descriptor = -1;
    sockaddr_storage peer;
};

bool DtInetTcpSocket::listenForConnections() {
    const DtScopedLock lock(mutex());
    if (state() == DtInetSockListening || state() == DtInetSockConnecting)
        return true;
    if (state() != DtInetSockInitial && state() != DtInetSockServerOpen)
        return recordError(
            ENOTRECOVERABLE,
            "DtInetTcpSocket::listenForConnections(): Invalid state " + DtString(state()));
    if (!takeDeviceAddress())
        return false;
    if (localPort() == 0)
        return recordError(EOPNOTSUPP, "Cannot open socket to listen on port 0");
    if (!isServerSock())
        return refuseUninitialized("listenForConnections");
    localEndpoint_.setProtocol(DtInetTcp);
    const TcpFailure failure = attempt([this] {
        Descriptor descriptor = parts_->make(isIPv6(), flags());
        const int number = descriptor.number();
        const SocketAddress local(localEndpoint_);
        checkedCall("bind", [&] { return bind(number, local.get(), local.size()); });
        checkedCall("listen", [=] { return listen(number, theBacklog); });
        parts_->begin(std::move(descriptor));
    });
    if (failure.number != 0)
        return recordError(failure.number,
                           "Error opening Boost acceptor socket\n" + failure.message);
    beginUsing(DtInetSockListening);
    return true;
}

// -------------------------------------------------------------------------------------------
// Accepting

bool DtInetTcpSocket::acceptConnection(DtInetTcpSocket* newSocket, unsigned int options) {
    if (!isServerSock() || !isOpen())
        return refuseUninitialized("acceptConnection");
    if (newSocket == nullptr || newSocket->isServerSock() || newSocket->isOpen())
        return acceptFailed(theCreatingFailed, {EINVAL, systemErrorText(EINVAL)});
    Accepted accepted;
    const int error = acceptDescriptor(accepted);
    if (error == EAGAIN) {
        recordWouldBlock();
        return false;
    }
    if (error != 0)
        return acceptFailed(isNonBlocking() ? "Error on non-blocking accept()\n"
                                            : "Error on Boost acceptor socket\n",
                            {error, systemErrorText(error)});
    return handOver(*newSocket, accepted, options);
}

/// 0 or the error number.
int DtInetTcpSocket::acceptDescriptor(Accepted& accepted) {
    const DescriptorGate::Use use(parts_->gate);
    while (use.descriptor() >= 0) {
        accepted.descriptor = repeatedCall([&] {
            socklen_t size = sizeof accepted.peer;
            return accept4(use.descriptor(), reinterpret_cast<sockaddr*>(&accepted.peer), &size,
                           SOCK_CLOEXEC);
        });
        if (accepted.descriptor >= 0)
            return 0;
        const bool aborted = errno == ECONNABORTED || errno == EPROTO;
        if (errno == EAGAIN && !isNonBlocking())
            awaitReady(use.descriptor(), POLLIN);
        else if (!aborted || parts_->reportAborted)
            return errno;
    }
    return EBADF;
}

bool DtInetTcpSocket::acceptFailed(const char* words, const TcpFailure& failure) {
    const DtString text =
        DtString("DtInetTcpSocket::acceptConnection(): ") + words + failure.message;
    return isTransient(failure.number) ? recordRefusal(failure.number, text)
                                       : recordFailure(failure.number, text);
}

/// A connection that the new socket cannot take is closed.
bool DtInetTcpSocket::handOver(DtInetTcpSocket& newSocket, const Accepted& accepted,
                               unsigned int options) {
    Descriptor descriptor(accepted.descriptor);
    sockaddr_storage localAddr;
    DtInetEndpoint local;
    DtInetEndpoint peer;
    if (localAddress(accepted.descriptor, localAddr))
        local.fromAddrStorage(DtInetTcp, localAddr);
    peer.fromAddrStorage(DtInetTcp, accepted.peer);
    if (!newSocket.initAcceptedConnection(local.address(), local.port(), options))
        return acceptFailed(theCreatingFailed,
                            {newSocket.getLastError(), newSocket.getLastErrorString()});
    const TcpFailure failure = newSocket.takeDescriptor(descriptor.number());
    if (failure.number != 0)
        return acceptFailed(theAssigningFailed, failure);
    descriptor.release();
    if (newSocket.openAcceptedConnection(peer))
        return true;
    const TcpFailure refused{newSocket.getLastError(), newSocket.getLastErrorString()};
    newSocket.closeSocket();
    return acceptFailed(theAssigningFailed, refused);
}

bool DtInetTcpSocket::initAcceptedConnection(const DtInetAddr& localAddr, unsigned short localPort,
                                             unsigned int options) {
    const DtScopedLock lock(mutex());
    if (isServerSock() || isOpen())
        return recordError(
            ENOTRECOVERABLE,
            "DtInetTcpSocket::initAcceptedConnection(): Invalid state " + DtString(state()));
    bindToDevice(nullptr);
    localEndpoint_.setEndpoint(DtInetTcp, localAddr, localPort);
    parts_->requested.reset();
    takeOptions(options);
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers override it so
bool DtInetTcpSocket::openAcceptedConnection(DtInetEndpoint peer) {
    const DtScopedLock lock(mutex());
    if (!isOpen())
        return refuseUninitialized("openAcceptedConnection");
    if (state() != DtInetSockOpen)
        return recordError(
            ENOTRECOVERABLE,
            "DtInetTcpSocket::openAcceptedConnection(): Invalid state " + DtString(state()));
    destination_ = peer;
    return connectionUp();
}

}  // namespace OrynRti
