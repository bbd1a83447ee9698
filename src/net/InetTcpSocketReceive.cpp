// Receiving from a TCP socket.
#include <algorithm>
#include <boost/asio/error.hpp>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

#include "InetTcpSocket.h"
#include "ScopedLock.h"
#include "Time.h"
#include "net/BufferParts.h"
#include "net/ChainRun.h"
#include "net/DescriptorIo.h"
#include "net/InetTcpSocketParts.h"
#include "net/ScratchChain.h"
#include "net/StreamIo.h"

namespace OrynRti {

namespace {

using Error = boost::system::error_code;

Error systemError(int number) {
    return Error(number, boost::system::system_category());
}

}  // namespace

// -------------------------------------------------------------------------------------------

int DtInetTcpSocket::recv(char* buffer, int size, int flags) {
    if (!readyToReceive("DtInetTcpSocket::recv() called on unconnected socket on "))
        return -1;
    if (buffer == nullptr || size <= 0)
        return DtInetSockIncomplete;
    const std::size_t room = static_cast<std::size_t>(size);
    const char* const uninitialized = "DtInetTcpSocket::recv() called on uninitialized socket";
    if (!runsReceiveChains(flags)) {
        const iovec part{buffer, room};
        return readStream(&part, 1, flags, uninitialized);
    }
    ScratchChain copy(room);
    const int received = receiveWithCallbacks(copy.chain(), flags, uninitialized);
    if (received <= 0)
        return received;
    const int delivered = std::min(received, size);
    std::copy_n(copy.front(), delivered, buffer);
    return delivered;
}

int DtInetTcpSocket::recvToChain(DtInetSocketBufferChain& chain, int flags) {
    if (!readyToReceive("DtInetTcpSocket::recvToChain() called on unconnected socket on "))
        return -1;
    if (chainSize(chain) == 0)
        return DtInetSockIncomplete;
    const char* const uninitialized =
        "DtInetTcpSocket()::recvToChain() called on uninitialized socket";
    if (runsReceiveChains(flags))
        return receiveWithCallbacks(chain, flags, uninitialized);
    const BufferParts parts(chain);
    return readStream(parts.data(), parts.count(), flags, uninitialized);
}

int DtInetTcpSocket::recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) {
    sender = destination_;
    return recv(buffer, size, flags);
}

int DtInetTcpSocket::recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                     int flags) {
    sender = destination_;
    return recvToChain(chain, flags);
}

// -------------------------------------------------------------------------------------------
// Around one read

bool DtInetTcpSocket::readyToReceive(const char* unconnected) {
    if (state() == DtInetSockConnecting) {
        const Progress progress = lookAtConnecting();
        if (progress == Pending)
            recordRefusal(ENOTCONN, "");
        return progress == Up;
    }
    return parts_->connected || recordFailure(ENOTCONN, unconnected + localText());
}

bool DtInetTcpSocket::runsReceiveChains(int flags) const {
    return hasCallbacks(DtInetSockAfterReceive) ||
           (hasCallbacks(DtInetSockBeforeRead) && (flags & DtInetSockSkipFirstChain) == 0);
}

int DtInetTcpSocket::receiveWithCallbacks(DtInetSocketBufferChain& chain, int flags,
                                          const char* uninitialized) {
    int status = 0;
    int size = 0;
    if ((flags & DtInetSockSkipFirstChain) == 0)
        size = askBeforeRead(chain, status);
    if (status != DtInetSockFromQueue) {
        status = 0;
        const BufferParts parts(chain);
        size = readStream(parts.data(), parts.count(), flags, uninitialized);
        if (size <= 0)
            return size;
    }
    size = runReceive(size, chain, destination_, status);
    const int result = receiveResult(size, status);
    if (result == DtInetSockStatusError)
        recordFailure(-1, "DtInetTcpSocket::recv(): Receive callback failed.");
    return result;
}

/// What the callback that delivers has answered. On a stream the callbacks have no data of each
/// other's to go on with, so each begins with a size of 0.
int DtInetTcpSocket::askBeforeRead(DtInetSocketBufferChain& chain, int& status) {
    int size = 0;
    ChainRun run(*this, DtInetSockBeforeRead);
    while (const DtInetSocketProcessingCbInfo* step = run.next()) {
        void* const argument = step->userData != nullptr ? step->userData : &status;
        size = step->callback(this, 0, chain, destination_, argument);
        if (status != 0)
            break;
    }
    return size;
}

// -------------------------------------------------------------------------------------------
// One read

int DtInetTcpSocket::readStream(const iovec* parts, std::size_t count, int flags,
                                const char* uninitialized) {
    if (state() == DtInetSockTerminated)
        return endOfStream();
    Error error;
    int size = 0;
    double time = 0;
    {
        const DescriptorGate::Use use(parts_->gate);
        DtInetTcpSockPimpl* const pimpl = parts_->pimpl;
        if (use.descriptor() < 0)
            error = systemError(EBADF);
        else if (pimpl != nullptr && pimpl->receives())
            size = pimpl->getFromReceiveQueue(parts, count, error, time);
        else
            size = readDirectly(use.descriptor(), parts, count, flags, error);
    }
    if (error)
        return receivingFailed(error, uninitialized);
    if (size == 0)
        return queueIsEmpty();
    if (size > 0) {
        if ((flags & MSG_PEEK) == 0)
            countReceived(static_cast<std::uint64_t>(size));
        receiveTime_.store(time != 0 ? time : DtAbsRealTime(), std::memory_order_relaxed);
    }
    return size;
}

/// An ordinary outcome even on a blocking socket.
int DtInetTcpSocket::queueIsEmpty() {
    if (isNonBlocking())
        recordWouldBlock();
    return 0;
}

/// Above 0, or -4, or 0 with the error.
int DtInetTcpSocket::readDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                                  Error& error) {
    const bool waits = !isNonBlocking() && (flags & MSG_DONTWAIT) == 0;
    ssize_t size = -1;
    while ((size = receiveSome(descriptor, parts, count, flags)) < 0) {
        if (errno == ENOBUFS)
            return DtInetSockIncomplete;
        if (errno != EAGAIN || !waits) {
            error = systemError(errno);
            return 0;
        }
        awaitReady(descriptor, POLLIN);  // the queues' thread has made it non-blocking
    }
    if (size == 0)  // or woken by closing
        error = isOpen() ? Error(boost::asio::error::eof) : systemError(EBADF);
    return static_cast<int>(size);
}

int DtInetTcpSocket::receivingFailed(const Error& error, const char* uninitialized) {
    if (error == boost::asio::error::eof)
        return endOfStream();
    if (error == boost::asio::error::try_again) {
        recordWouldBlock();
        return 0;
    }
    if (error == boost::asio::error::bad_descriptor)  // closed meanwhile
        recordFailure(EBADF, uninitialized);
    else
        recordFailure(error.value(), "DtInetTcpSocket::recv() failed on socket at " + localText() +
                                         "\n" + DtString(error.message()));
    return -1;
}

int DtInetTcpSocket::endOfStream() {
    const DtScopedLock lock(mutex());
    const DtString text("Connection terminated by peer");
    setTermination(theEndOfStreamCode, text);
    recordRefusal(theEndOfStreamCode, text);
    if (isOpen())
        setState(DtInetSockTerminated, 0);
    return -1;
}

}  // namespace OrynRti
