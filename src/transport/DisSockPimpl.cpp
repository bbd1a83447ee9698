#include "transport/DisSockPimpl.h"

#include <cerrno>
#include <sys/socket.h>
#include <utility>

#include "IoServiceRunnable.h"
#include "net/DatagramIo.h"

namespace OrynRti {

DtDisSockPimpl::DtDisSockPimpl(boost::asio::io_context& context, DatagramCounters& counters)
    : context_(context), counters_(counters) {}

DtDisSockPimpl::~DtDisSockPimpl() {
    stop(0);
}

void DtDisSockPimpl::start(Descriptor descriptor, unsigned int options) {
    if ((options & DtInetSockAsyncSend) != 0)
        startThread(descriptor.number());
    gate_.open(std::move(descriptor));
}

void DtDisSockPimpl::startThread(int descriptor) {
    sender_ = std::make_unique<AsyncDatagramSender>(context_, descriptor, counters_);
    auto thread =
        std::make_unique<DtThreadedObject>(std::make_shared<DtIoServiceRunnable>(&context_, this));
    thread->start();
    thread_ = std::move(thread);
}

void DtDisSockPimpl::stop(double sendWait_s) {
    const int descriptor = gate_.beginClose();
    if (descriptor >= 0) {
        if (sender_ != nullptr)
            sender_->drain(sendWait_s);
        shutdown(descriptor, SHUT_RDWR);  // wakes those who wait to send
        gate_.endClose();
    }
    endThread();
}

void DtDisSockPimpl::closeCopies() {
    const Descriptor closed = gate_.closeWithoutUsers();
    if (sender_ != nullptr)
        sender_->closeCopy();
}

void DtDisSockPimpl::endThread() {
    if (thread_ != nullptr)
        thread_->stop(true);
    thread_.reset();
    // What is posted still refers to the sender, which therefore has to see it through.
    context_.restart();
    context_.poll();
    sender_.reset();
}

// -------------------------------------------------------------------------------------------

int DtDisSockPimpl::send(const iovec* parts, std::size_t count, const SocketAddress& to, int flags,
                         std::size_t queueLimit) {
    const DescriptorGate::Use use(gate_);
    if (use.descriptor() < 0)
        return EBADF;
    if (sender_ != nullptr)
        return addToSendQueue(parts, count, to, queueLimit);
    const ssize_t sent = sendDatagram(use.descriptor(), parts, count, to, flags);
    if (sent < 0)
        return errno;
    counters_.countOnWire(1, static_cast<std::uint64_t>(sent));
    return 0;
}

int DtDisSockPimpl::addToSendQueue(const iovec* parts, std::size_t count, const SocketAddress& to,
                                   std::size_t queueLimit) {
    const int earlier = sender_->takeError();
    if (earlier != 0)
        return earlier;
    if (sender_->queue(parts, count, to, queueLimit))
        return 0;
    DatagramCounters::add(counters_.sendsRefused);
    return theQueueIsFull;
}

}  // namespace OrynRti
