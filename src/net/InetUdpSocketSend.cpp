// Sending from a UDP socket.
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "InetUdpSocket.h"
#include "net/BufferParts.h"
#include "net/DatagramIo.h"
#include "net/DescriptorIo.h"
#include "net/InetUdpSocketPimpl.h"

namespace OrynRti {

namespace {

constexpr const char* theSendOperation = "DtInetUdpSocket::send()/sendTo()";
constexpr const char* theChainOperation = "DtInetUdpSocket::sendChain()/sendChainTo()";
constexpr int theQueueIsFull = -1;  // no number of the system's
constexpr const char* theBadDestination = "(): Error - destination is invalid: ";

}  // namespace

// -------------------------------------------------------------------------------------------
// What a send asks first

bool DtInetUdpSocket::isValidDestination(DtInetEndpoint& destination) {
    return destination.isUdp() && destination.isOk() && destination.port() != 0 &&
           !destination.address().isAnyAddr();
}

bool DtInetUdpSocket::checkDestination(DtInetEndpoint& destination, const char* name,
                                       const char* words) {
    return isValidDestination(destination) || refuseDestination(destination, name, words);
}

bool DtInetUdpSocket::refuseDestination(const DtInetEndpoint& destination, const char* name,
                                        const char* words) {
    return recordError(EDESTADDRREQ, DtString("DtInetUdpSocket::") + name + words +
                                         DtInetEndpoint(destination).toDtString());
}

bool DtInetUdpSocket::readyToSend(const char* name) {
    const bool sends = (flags_ & (DtInetSockSend | DtInetSockAsyncSend)) != 0;
    return (sends && pimpl_->gate.descriptor() >= 0) || refuseSending(name);
}

bool DtInetUdpSocket::refuseSending(const char* name) {
    if (!isOpen())
        return refuseUnopened(name);
    return recordError(EOPNOTSUPP, DtString("DtInetUdpSocket::") + name +
                                       "(): Socket not initialized for sending.");
}

// -------------------------------------------------------------------------------------------

int DtInetUdpSocket::send(char* bytes, int size, int flags) {
    if (!readyToSend("send") || !checkDestination(destination_, "send", theNoDestination))
        return -1;
    return sendThroughChains(bytes, size, destination_, flags, theSendOperation);
}

int DtInetUdpSocket::sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) {
    if (!readyToSend("sendTo") || !checkDestination(destination, "sendTo", theBadDestination))
        return -1;
    return sendThroughChains(bytes, size, destination, flags, theSendOperation);
}

int DtInetUdpSocket::sendChain(DtInetSocketBufferChain& chain, int flags) {
    if (!readyToSend("sendChain") || !checkDestination(destination_, "sendChain", theNoDestination))
        return -1;
    return sendThroughChains(chain, destination_, flags, theChainOperation);
}

int DtInetUdpSocket::sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                                 int flags) {
    if (!readyToSend("sendChainTo") ||
        !checkDestination(destination, "sendChainTo", theBadDestination))
        return -1;
    return sendThroughChains(chain, destination, flags, theChainOperation);
}

// -------------------------------------------------------------------------------------------
// One datagram

int DtInetUdpSocket::transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination,
                              int flags, const char* operation) {
    int error = EBADF;
    {
        const DescriptorGate::Use use(pimpl_->gate);
        if (use.descriptor() >= 0 && pimpl_->async != nullptr && pimpl_->async->sender != nullptr) {
            error = sendQueued(parts, count, destination);
        } else if (use.descriptor() >= 0) {
            error = sendDirectly(use.descriptor(), parts, count, destination, flags);
            if (error == 0)
                pimpl_->counters.countOnWire(use, partsSize(parts, count));
        }
    }
    return error == 0 ? static_cast<int>(partsSize(parts, count))
                      : sendingFailed(error, operation, destination);
}

/// The datagram goes out whole, or the error number says why not.
int DtInetUdpSocket::sendDirectly(int descriptor, const iovec* parts, std::size_t count,
                                  const DtInetEndpoint& destination, int flags) {
    const SocketAddress to(destination);
    while (sendDatagram(descriptor, parts, count, to, flags) < 0) {
        if (errno == ECONNREFUSED)  // the report on an earlier datagram, told in place of sending
            DatagramCounters::add(pimpl_->counters.portUnreachable);
        else if (errno == EAGAIN && waits(flags))  // the queues' thread makes it non-blocking
            awaitReady(descriptor, POLLOUT);
        else
            return errno;
    }
    return 0;
}

int DtInetUdpSocket::sendQueued(const iovec* parts, std::size_t count,
                                const DtInetEndpoint& destination) {
    AsyncDatagramSender& sender = *pimpl_->async->sender;
    const int earlier = sender.takeError();
    if (earlier != 0)
        return earlier;
    if (sender.queue(parts, count, SocketAddress(destination), pimpl_->sendLimit))
        return 0;
    DatagramCounters::add(pimpl_->counters.sendsRefused);
    return theQueueIsFull;
}

int DtInetUdpSocket::sendingFailed(int error, const char* operation,
                                   const DtInetEndpoint& destination) {
    if (error == EAGAIN) {
        recordWouldBlock();
        return 0;
    }
    if (error == theQueueIsFull) {
        recordRefusal(ENOBUFS, DtString(operation) + ": Send queue is full.");
        return -1;
    }
    // The texts that an endpoint keeps are not for several threads: copies.
    recordFailure(error, DtString(operation) + " failed from " +
                             DtInetEndpoint(localEndpoint_).toDtString() + " to " +
                             DtInetEndpoint(destination).toDtString() + "\n" +
                             systemErrorText(error));
    return -1;
}

}  // namespace OrynRti
