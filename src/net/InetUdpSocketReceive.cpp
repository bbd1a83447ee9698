// Receiving with a UDP socket.
#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "InetUdpSocket.h"
#include "net/BufferParts.h"
#include "net/DatagramIo.h"
#include "net/DescriptorIo.h"
#include "net/InetUdpSocketPimpl.h"
#include "net/ScratchChain.h"

namespace OrynRti {

/// What has come, beside its bytes.
struct ReceivedDatagram {
    int size = 0;
    sockaddr_storage from;
    double time = 0;           ///< 0 for: the kernel knows.
    std::uint64_t number = 0;  ///< No other one's; 0 when it was only looked at.
    bool truncated = false;
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
    const bool receives = (flags_ & (DtInetSockReceive | DtInetSockAsyncReceive)) != 0;
    return (receives && pimpl_->gate.descriptor() >= 0) || refuseReceiving(name);
}

bool DtInetUdpSocket::refuseReceiving(const char* name) {
    if (!isOpen())
        return refuseUnopened(name);
    return recordError(EOPNOTSUPP, DtString("DtInetUdpSocket::") + name +
                                       "(): Socket not initialized for receiving.");
}

/// What the kernel knows is asked for only when somebody wants to know it, which few do. Until then
/// the datagram's number, below 0, takes the place of the time.
void DtInetUdpSocket::noteReceiveTime(double time, std::uint64_t number) {
    if (time == 0)
        time = number != 0 ? -static_cast<double>(number) : pimpl_->lastArrival();
    receiveTime_.store(time, std::memory_order_relaxed);
}

double DtInetUdpSocket::receiveTime() const {
    double known = receiveTime_.load(std::memory_order_relaxed);
    if (known >= 0)
        return known;
    const double time = pimpl_->lastArrival();
    receiveTime_.compare_exchange_strong(known, time);  // unless a further one has come
    return time;
}

bool DtInetUdpSocket::runsReceiveChains(int flags) const {
    return hasCallbacks(DtInetSockAfterReceive) ||
           (hasCallbacks(DtInetSockBeforeRead) && (flags & DtInetSockSkipFirstChain) == 0);
}

int DtInetUdpSocket::receive(char* buffer, int size, DtInetEndpoint* sender, int flags,
                             const char* name) {
    if (!readyToReceive(name))
        return -1;
    if (buffer == nullptr || size <= 0)
        return DtInetSockIncomplete;
    if (runsReceiveChains(flags))
        return receiveThroughCopy(buffer, size, sender, flags, name);
    const iovec part{buffer, static_cast<std::size_t>(size)};
    return readDatagram(&part, 1, sender, flags, name);
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
    ScratchChain unused(nullptr, 0);
    return receiveWithCallbacks(chain, unused.endpoint(), flags, name);
}

// -------------------------------------------------------------------------------------------
// One datagram

/// Inlined, the calls cost half as much.
[[gnu::flatten]] int DtInetUdpSocket::readDatagram(const iovec* parts, std::size_t count,
                                                   DtInetEndpoint* sender, int flags,
                                                   const char* name) {
    ReceivedDatagram received;
    int error = EBADF;
    {
        const DescriptorGate::Use use(pimpl_->gate);
        if (use.descriptor() >= 0)
            error = pimpl_->async != nullptr && pimpl_->async->receiver != nullptr
                        ? readQueued(parts, count, flags, received)
                        : readDirectly(use.descriptor(), parts, count, flags, received);
        if (error == 0 && (flags & MSG_PEEK) == 0) {
            received.number = pimpl_->packetsReceived.add(use, 1);
            pimpl_->bytesReceived.add(use, static_cast<std::uint64_t>(received.size));
        }
    }
    return error == 0 ? accept(received, sender) : receivingFailed(error, name);
}

/// 0 or the error number.
int DtInetUdpSocket::readDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                                  ReceivedDatagram& received) {
    ssize_t size = -1;
    while ((size = receiveDatagram(descriptor, parts, count, &received.from, flags,
                                   received.truncated)) < 0) {
        if (errno == ECONNREFUSED)  // the report on a datagram sent earlier
            DatagramCounters::add(pimpl_->counters.portUnreachable);
        else if (errno == EAGAIN && waits(flags))  // the queues' thread makes it non-blocking
            awaitReady(descriptor, POLLIN);
        else
            return errno;
    }
    if (size == 0 && !isOpen())  // woken by closing
        return EBADF;
    received.size = static_cast<int>(size);
    return 0;
}

int DtInetUdpSocket::readQueued(const iovec* parts, std::size_t count, int flags,
                                ReceivedDatagram& received) {
    AsyncDatagramReceiver::Datagram datagram;
    int error = 0;
    switch (pimpl_->async->receiver->take(datagram, error, waits(flags))) {
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
    received.time = datagram.time;
    received.truncated = datagram.truncated || datagram.bytes.size() > partsSize(parts, count);
    if (!received.truncated)
        scatterBytes(datagram.bytes.data(), datagram.bytes.size(), parts);
    return 0;
}

/// Tells about the datagram; what the receiving call answers.
int DtInetUdpSocket::accept(const ReceivedDatagram& received, DtInetEndpoint* sender) {
    if (sender != nullptr)
        sender->fromAddrStorage(DtInetUdp, received.from);
    noteReceiveTime(received.time, received.number);
    if (received.truncated) {
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
