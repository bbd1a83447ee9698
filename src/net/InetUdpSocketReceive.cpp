// Receiving with a UDP socket.
#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "InetUdpSocket.h"
#include "net/BufferParts.h"
#include "net/DatagramIo.h"
#include "net/InetUdpSocketPimpl.h"
#include "net/ScratchChain.h"

namespace OrynRti {

/// What has come, beside its bytes.
struct ReceivedDatagram {
    int size = 0;
    sockaddr_storage from;
    DatagramReport report;
};

// -------------------------------------------------------------------------------------------

int DtInetUdpSocket::recv(char* buffer, int size, int flags) {
    return receive(buffer, size, nullptr, flags, "recv");
}

int DtInetUdpSocket::recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) {
    return receive(buffer, size, &sender, flags, "recvFrom");
}

int DtInetUdpSocket::recvToChain(DtInetSocketBufferChain& chain, int flags) {
    return receive(chain, nullptr, flags, "recvToChain");
}

int DtInetUdpSocket::recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                     int flags) {
    return receive(chain, &sender, flags, "recvToChainFrom");
}

// -------------------------------------------------------------------------------------------
// Around one datagram

bool DtInetUdpSocket::readyToReceive(const char* name) {
    if (!isOpen())
        return refuseUnopened(name);
    if ((flags_ & (DtInetSockReceive | DtInetSockAsyncReceive)) != 0)
        return true;
    return recordError(EOPNOTSUPP, DtString("DtInetUdpSocket::") + name +
                                       "(): Socket not initialized for receiving.");
}

bool DtInetUdpSocket::runsReceiveChains(int flags) const {
    return hasCallbacks(DtInetSockAfterReceive) ||
           (hasCallbacks(DtInetSockBeforeRead) && (flags & DtInetSockSkipFirstChain) == 0);
}

/// Callbacks work on a chain, so with any of them the bytes go through one of our own.
int DtInetUdpSocket::receive(char* buffer, int size, DtInetEndpoint* sender, int flags,
                             const char* name) {
    if (!readyToReceive(name))
        return -1;
    if (buffer == nullptr || size <= 0)
        return DtInetSockIncomplete;
    const std::size_t room = static_cast<std::size_t>(size);
    if (!runsReceiveChains(flags)) {
        const iovec part{buffer, room};
        return readDatagram(&part, 1, sender, flags, name);
    }
    ScratchChain copy(room);
    DtInetEndpoint& peer = sender != nullptr ? *sender : copy.endpoint();
    const int received = receiveWithCallbacks(copy.chain(), peer, flags, name);
    if (received <= 0)
        return received;
    const int delivered = std::min(received, size);
    std::copy_n(copy.front(), delivered, buffer);
    return delivered;
}

int DtInetUdpSocket::receive(DtInetSocketBufferChain& chain, DtInetEndpoint* sender, int flags,
                             const char* name) {
    if (!readyToReceive(name))
        return -1;
    if (chainSize(chain) == 0)
        return DtInetSockIncomplete;
    if (!runsReceiveChains(flags)) {
        const BufferParts parts(chain);
        return readDatagram(parts.data(), parts.count(), sender, flags, name);
    }
    if (sender != nullptr)
        return receiveWithCallbacks(chain, *sender, flags, name);
    ScratchChain unused(std::size_t(0));
    return receiveWithCallbacks(chain, unused.endpoint(), flags, name);
}

int DtInetUdpSocket::receiveWithCallbacks(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                          int flags, const char* name) {
    int status = 0;
    int size = 0;
    if ((flags & DtInetSockSkipFirstChain) == 0)
        size = runBeforeRead(chain, sender, status);
    if (status >= 0 || status < DtInetSockFromQueue) {
        status = 0;
        const BufferParts parts(chain);
        size = readDatagram(parts.data(), parts.count(), &sender, flags, name);
        if (size <= 0)
            return size;
    }
    size = runReceive(size, chain, sender, status);
    const int result = receiveResult(size, status);
    if (result == DtInetSockStatusError)
        recordError(-1, DtString("DtInetUdpSocket::") + name + "(): Receive callback failed.");
    return result;
}

// -------------------------------------------------------------------------------------------
// One datagram

int DtInetUdpSocket::readDatagram(const iovec* parts, std::size_t count, DtInetEndpoint* sender,
                                  int flags, const char* name) {
    ReceivedDatagram received;
    int error = EBADF;
    {
        const DescriptorGate::Use use(pimpl_->gate);
        if (use.descriptor() >= 0)
            error = pimpl_->async != nullptr && pimpl_->async->receiver != nullptr
                        ? readQueued(parts, count, flags, received)
                        : readDirectly(use.descriptor(), parts, count, flags, received);
    }
    return error == 0 ? accept(received, sender, flags) : receivingFailed(error, name);
}

/// 0 or the error number.
int DtInetUdpSocket::readDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                                  ReceivedDatagram& received) {
    const bool waits = !isNonBlocking() && (flags & MSG_DONTWAIT) == 0;
    ssize_t size = -1;
    while ((size = receiveDatagram(descriptor, parts, count, &received.from, flags,
                                   received.report)) < 0) {
        if (errno == ECONNREFUSED)  // the report on a datagram sent earlier
            DatagramCounters::add(pimpl_->counters.portUnreachable);
        else if (errno == EAGAIN && waits)  // the queues' thread makes the descriptor non-blocking
            awaitReady(descriptor, POLLIN);
        else
            return errno;
    }
    if (size == 0 && !isOpen())  // woken by closing
        return EBADF;
    pimpl_->counters.noteKernelDrops(received.report.drops);
    received.size = static_cast<int>(size);
    return 0;
}

int DtInetUdpSocket::readQueued(const iovec* parts, std::size_t count, int flags,
                                ReceivedDatagram& received) {
    const bool waits = !isNonBlocking() && (flags & MSG_DONTWAIT) == 0;
    AsyncDatagramReceiver::Datagram datagram;
    int error = 0;
    switch (pimpl_->async->receiver->take(datagram, error, waits)) {
        case AsyncDatagramReceiver::Taken:
            break;
        case AsyncDatagramReceiver::Nothing:
            return EAGAIN;
        case AsyncDatagramReceiver::Failed:
            return error;
        case AsyncDatagramReceiver::ClosedMeanwhile:
            return EBADF;
    }
    received.size = static_cast<int>(datagram.bytes.size());
    received.from = datagram.from.storage();
    received.report = datagram.report;
    std::size_t room = 0;
    for (std::size_t i = 0; i < count; ++i)
        room += parts[i].iov_len;
    if (datagram.bytes.size() > room)
        received.report.truncated = true;
    else
        scatterBytes(datagram.bytes.data(), datagram.bytes.size(), parts);
    return 0;
}

/// Counts the datagram and tells about it; what the receiving call answers.
int DtInetUdpSocket::accept(const ReceivedDatagram& received, DtInetEndpoint* sender, int flags) {
    if ((flags & MSG_PEEK) == 0)
        countReceived(static_cast<std::uint64_t>(received.size));
    setReceiveTime(received.report.time);
    if (sender != nullptr)
        sender->fromAddrStorage(DtInetUdp, received.from);
    if (received.report.truncated) {
        DatagramCounters::add(pimpl_->counters.truncatedDatagrams);
        return DtInetSockIncomplete;
    }
    if (received.size == 0) {
        DatagramCounters::add(pimpl_->counters.emptyDatagrams);
        return DtInetSockFiltered;
    }
    noteSuccess();
    return received.size;
}

int DtInetUdpSocket::receivingFailed(int error, const char* name) {
    if (error == EAGAIN) {
        pimpl_->poll.settle();
        recordWouldBlock();
        return 0;
    }
    recordFailure(error, DtString("DtInetUdpSocket::") + name + "() failed on socket at " +
                             DtInetEndpoint(localEndpoint_).toDtString() + "\n" +
                             systemErrorText(error));
    return -1;
}

}  // namespace OrynRti
