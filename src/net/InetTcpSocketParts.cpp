#include "net/InetTcpSocketParts.h"

#include <algorithm>
#include <chrono>
#include <sys/socket.h>
#include <utility>

#include "net/SocketOptions.h"
#include "net/TcpOptions.h"

namespace OrynRti {

namespace {

using Clock = DtInetTcpSockPimpl::Clock;
using Seconds = std::chrono::duration<double>;

void require(const char* name, int error) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), name);
}

void applySizes(int descriptor, const TcpSettings& settings) {
    if (settings.sendBufferSize.has_value())
        require("send buffer size",
                SocketOptions::setSendBufferSize(descriptor, *settings.sendBufferSize));
    if (settings.receiveBufferSize.has_value())
        require("receive buffer size",
                SocketOptions::setReceiveBufferSize(descriptor, *settings.receiveBufferSize));
    if (settings.receiveLowWatermark.has_value())
        require("receive low watermark",
                SocketOptions::setReceiveLowWatermark(descriptor, *settings.receiveLowWatermark));
}

/// close() waits for the linger time, of which waiting for the queue has taken a part. The rest is
/// in whole seconds; 0 of them do not wait.
void shortenLinger(int descriptor, double left_s) {
    const double tolerance_s = 0.05;
    TcpOptions::setLinger(descriptor,
                          static_cast<unsigned short>(std::max(0.0, left_s + tolerance_s)));
}

}  // namespace

Descriptor TcpSocketParts::make(bool ipv6, unsigned int options) const {
    Descriptor descriptor(checkedCall("socket", [=] {
        return socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    }));
    if (ipv6)
        require("IPv6 only", SocketOptions::setIpv6Only(descriptor.number(), true));
    apply(descriptor.number(), options);
    return descriptor;
}

/// Those that are off as well: an accepted descriptor comes with the settings of its server.
void TcpSocketParts::apply(int descriptor, unsigned int options) const {
    require("non-blocking",
            SocketOptions::setNonBlocking(descriptor, (options & DtInetSockNonBlocking) != 0));
    require("address reuse",
            SocketOptions::setReuseAddress(descriptor, (options & DtInetSockReuseAddress) != 0));
    require("do-not-route", SocketOptions::setDoNotRoute(descriptor, settings.doNotRoute));
    require("no-delay", TcpOptions::setNoDelay(descriptor, settings.noDelay));
    require("keep-alive", TcpOptions::setKeepAlive(descriptor, settings.keepAlive));
    require("linger", TcpOptions::setLinger(descriptor, settings.linger_s));
    applySizes(descriptor, settings);
}

void TcpSocketParts::begin(Descriptor descriptor) {
    if (isInherited())
        leaveToParent();
    poll.lower(PollDescriptor::ReceiveQueue, true);
    poll.lower(PollDescriptor::Closed, true);
    gate.open(std::move(descriptor));
}

void TcpSocketParts::startQueues(bool ipv6, unsigned int options) {
    if ((options & DtInetSockAsyncReceive) == 0)
        poll.watch(gate.descriptor());
    if ((options & (DtInetSockAsyncSend | DtInetSockAsyncReceive)) == 0)
        return;
    auto queues = std::make_unique<DtInetTcpSockPimpl>(gate.descriptor(), ipv6, poll, limits);
    queues->start(options);
    queues_ = std::move(queues);
    pimpl = queues_.get();
}

/// Closes what is open here, and does nothing that the parent would notice: the connection and what
/// waits for it are shared with it. Queues, thread and Boost objects stay behind as they were.
void TcpSocketParts::leaveToParent() {
    owner_ = getpid();
    const Descriptor closed = gate.closeWithoutUsers();
    poll.leaveToParent();
    pimpl = nullptr;
    static_cast<void>(queues_.release());
    static_cast<void>(stream.release());
    static_cast<void>(acceptor.release());
    connected = false;
}

int TcpSocketParts::end() {
    if (isInherited()) {
        leaveToParent();
        return 0;
    }
    const Clock::time_point begin = Clock::now();
    const double wait_s = settings.linger_s != 0 ? settings.linger_s : closeWait_s.load();
    const int number = gate.beginClose();
    // Wakes those who receive, accept or connect; the next one those who send. That there is no
    // connection is no error.
    const bool ours = shutdown(number, SHUT_RD) == 0 || errno == ENOTCONN;
    const int error = ours ? 0 : errno;
    const bool queued = queues_ != nullptr && queues_->sends();
    if (queued)
        queues_->finishSending(begin +
                               std::chrono::duration_cast<Clock::duration>(Seconds(wait_s)));
    shutdown(number, SHUT_RDWR);
    const Descriptor closed = gate.endClose();
    pimpl = nullptr;
    queues_.reset();
    releaseBoostObjects();
    if (queued && settings.linger_s != 0)
        shortenLinger(number, wait_s - Seconds(Clock::now() - begin).count());
    poll.watch(-1);
    poll.raise(PollDescriptor::Closed);
    connected = false;
    return error;
}

/// They refer to the descriptor, which is not theirs to close.
void TcpSocketParts::releaseBoostObjects() {
    boost::system::error_code ignored;
    if (stream != nullptr)
        stream->release(ignored);
    stream.reset();
    if (acceptor != nullptr)
        acceptor->release(ignored);
    acceptor.reset();
}

}  // namespace OrynRti
