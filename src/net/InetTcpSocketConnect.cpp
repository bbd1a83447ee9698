// Connecting a TCP socket.
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "InetTcpSocket.h"
#include "ScopedLock.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/SocketAddress.h"
#include "net/StreamIo.h"

namespace OrynRti {

/// Does not hold the lock while it waits, so that closing can end it.
bool DtInetTcpSocket::connectToDestination() {
    if (state() == DtInetSockConnecting)
        return lookAtConnecting() != Failed;
    if (state() == DtInetSockConnected)
        return true;
    if (isServerSock() || state() != DtInetSockOpen)
        return false;
    int error = EBADF;
    {
        const DescriptorGate::Use use(parts_->gate);
        if (use.descriptor() >= 0)
            error = startConnecting(use.descriptor());
    }
    const DtScopedLock lock(mutex());
    if (!isOpen())  // closed meanwhile
        return recordFailure(
            EBADF, "DtInetTcpSocket::connectToDestination() called on uninitialized socket");
    if (isNonBlocking() && (error == EAGAIN || error == EINPROGRESS)) {
        setState(DtInetSockConnecting, 0);
        return true;
    }
    return error == 0 ? connectionUp() : connectFailed(error, systemErrorText(error));
}

/// 0 or the error number. What a signal interrupts goes on by itself and must not be begun again.
int DtInetTcpSocket::startConnecting(int descriptor) {
    const SocketAddress peer(destination_);
    if (connect(descriptor, peer.get(), peer.size()) == 0)
        return 0;
    if (errno != EINTR)
        return errno;
    if (isNonBlocking())
        return EINPROGRESS;
    awaitReady(descriptor, POLLOUT);
    return connectOutcome(descriptor);
}

/// Without waiting.
DtInetTcpSocket::Progress DtInetTcpSocket::lookAtConnecting() {
    const DtScopedLock lock(mutex());
    if (state() != DtInetSockConnecting)
        return parts_->connected ? Up : Failed;
    const int error = connectOutcome(descriptor());
    if (error == EINPROGRESS)
        return Pending;
    if (error != 0) {
        connectFailed(error, systemErrorText(error));
        return Failed;
    }
    return connectionUp() ? Up : Failed;
}

bool DtInetTcpSocket::connectFailed(int number, const DtString& message) {
    return recordFailure(
        number,
        "DtInetTcpSocket::connectToDestination(): Error connecting Boost socket\n" + message);
}

/// Under the lock.
bool DtInetTcpSocket::connectionUp() {
    setState(DtInetSockConnecting, 0);
    if (localPort() == 0 || localEndpoint_.address().isAnyAddr()) {
        parts_->requested = parts_->chosen = localEndpoint_;
        sockaddr_storage local;
        if (localAddress(descriptor(), local))
            parts_->chosen.fromAddrStorage(DtInetTcp, local);
        localEndpoint_ = parts_->chosen;  // last: what is asked for must not be forgotten
    }
    const TcpFailure failure = attempt([this] { parts_->startQueues(isIPv6(), flags()); });
    if (failure.number != 0)
        return connectFailed(failure.number, failure.message);
    parts_->connected = true;
    setState(DtInetSockConnected, 0);
    return true;
}

}  // namespace OrynRti
