// Sending on a TCP socket.
#include <boost/asio/error.hpp>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <sys/socket.h>

#include "InetTcpSocket.h"
#include "net/BufferParts.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/StreamIo.h"

namespace OrynRti {

namespace {

using Error = boost::system::error_code;

// What begins the texts of failed callbacks is the same for one buffer as for a chain, what begins
// the others is not: the two differ by their address.
constexpr char theSendOperation[] = "DtInetTcpSocket::sendChain()/sendChainTo()";
constexpr char theChainOperation[] = "DtInetTcpSocket::sendChain()/sendChainTo()";

const char* textOf(const char* operation) {
    return operation == theSendOperation ? "DtInetTcpSocket::send()"
                                         : "DtInetTcpSocket::sendChain()";
}

Error systemError(int number) {
    return Error(number, boost::system::system_category());
}

}  // namespace

/// Above 0 when it is, else what the call answers.
int DtInetTcpSocket::readyToSend(const char* name) {
    if (isServerSock() || !isOpen()) {
        refuseUninitialized(name);
        return -1;
    }
    if ((flags_ & (DtInetSockSend | DtInetSockAsyncSend)) == 0) {
        recordFailure(EOPNOTSUPP, DtString("DtInetTcpSocket::") + name +
                                      "(): Socket not initialized for sending.");
        return -1;
    }
    if (state() != DtInetSockConnecting)
        return 1;
    const Progress progress = lookAtConnecting();
    if (progress == Pending)
        recordWouldBlock();
    return progress == Up ? 1 : progress == Pending ? 0 : -1;
}

int DtInetTcpSocket::send(char* bytes, int size, int flags) {
    const int ready = readyToSend("send");
    return ready > 0 ? sendThroughChains(bytes, size, destination_, flags, theSendOperation)
                     : ready;
}

int DtInetTcpSocket::sendTo(char* bytes, int size, DtInetEndpoint&, int flags) {
    return send(bytes, size, flags);
}

int DtInetTcpSocket::sendChain(DtInetSocketBufferChain& chain, int flags) {
    const int ready = readyToSend("sendChain");
    return ready > 0 ? sendThroughChains(chain, destination_, flags, theChainOperation) : ready;
}

int DtInetTcpSocket::sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint&, int flags) {
    return sendChain(chain, flags);
}

// -------------------------------------------------------------------------------------------

int DtInetTcpSocket::transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination,
                              int flags, const char* operation) {
    Error error;
    int sent = -1;
    {
        const DescriptorGate::Use use(parts_->gate);
        DtInetTcpSockPimpl* const pimpl = parts_->pimpl;
        if (use.descriptor() < 0)
            error = systemError(EBADF);
        else if (partsSize(parts, count) > INT_MAX)  // the result could not tell
            error = systemError(EMSGSIZE);
        else if (pimpl != nullptr && pimpl->sends())
            sent = pimpl->asyncSendChain(parts, count, error);
        else
            sent = sendDirectly(use.descriptor(), parts, count, flags, error);
    }
    if (sent > 0)
        return sent;
    if (sent < 0)
        return sendingFailed(error, operation, destination);
    recordRefusal(ENOBUFS, DtString(textOf(operation)) + ": Send queue is full.");
    return -1;
}

/// All bytes on a blocking socket, else as many as the system takes; -1 with the error.
int DtInetTcpSocket::sendDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                                  Error& error) {
    const bool waits = !isNonBlocking() && (flags & MSG_DONTWAIT) == 0;
    StreamPosition position(parts, count);
    int total = 0;
    while (!position.atEnd()) {
        const ssize_t sent = position.send(descriptor, flags);
        if (sent >= 0) {
            total += static_cast<int>(sent);
        } else if (errno == EAGAIN && waits) {  // the queues' thread makes it non-blocking
            awaitReady(descriptor, POLLOUT);
        } else if (errno == EAGAIN && total > 0) {
            return total;
        } else {
            error = systemError(errno);
            return -1;
        }
    }
    return total;
}

int DtInetTcpSocket::sendingFailed(const Error& error, const char* operation,
                                   const DtInetEndpoint& destination) {
    if (error == boost::asio::error::try_again) {
        recordWouldBlock();
        return 0;
    }
    recordFailure(error.value(), DtString(textOf(operation)) + " failed from " + localText() +
                                     " to " + DtInetEndpoint(destination).toDtString() +
                                     DtString(error.message()));
    return -1;
}

}  // namespace OrynRti
