#include "net/AsyncDatagramSender.h"

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <chrono>
#include <new>
#include <sys/socket.h>
#include <utility>

#include "net/BufferParts.h"
#include "net/DescriptorIo.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

constexpr std::size_t theBatchSize = 64;

}  // namespace

AsyncDatagramSender::AsyncDatagramSender(boost::asio::io_context& context, int descriptor,
                                         DatagramCounters& counters)
    : context_(context), descriptor_(context), counters_(counters) {
    assignDuplicate(descriptor, [this](int number) { descriptor_.assign(number); });
}

bool AsyncDatagramSender::queue(const iovec* parts, std::size_t count, const SocketAddress& to,
                                std::size_t limit) {
    Outgoing datagram{gatherBytes(parts, count), to};
    const std::size_t cost = datagram.cost();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (limit != 0 && (cost > limit || bytes_ > limit - cost))
        return false;
    // The thread is told first, since there may be no memory to do so.
    if (!active_)
        boost::asio::post(context_, [this] { sendQueued(); });
    active_ = true;
    waiting_.push_back(std::move(datagram));
    bytes_ += cost;
    return true;
}

bool AsyncDatagramSender::drain(double seconds) {
    std::unique_lock<std::mutex> lock(mutex_);
    return idle_.wait_for(lock, std::chrono::duration<double>(seconds),
                          [this] { return !active_; });
}

// -------------------------------------------------------------------------------------------
// On the thread

void AsyncDatagramSender::sendQueued() {
    while (nextBatch())
        if (!sendBatch() && awaitRoom())
            return;
}

/// False when there is no memory to wait with, which costs a datagram.
bool AsyncDatagramSender::awaitRoom() {
    try {
        descriptor_.async_wait(boost::asio::posix::stream_descriptor::wait_write,
                               [this](const boost::system::error_code& error) {
                                   if (error != boost::asio::error::operation_aborted)
                                       sendQueued();
                               });
        return true;
    } catch (const std::bad_alloc&) {
        noteFailure(ENOMEM);
        return false;
    }
}

/// Fetches what is waiting once the batch is done. False when there is nothing more.
bool AsyncDatagramSender::nextBatch() {
    if (batchDone_ < batch_.size())
        return true;
    batch_.clear();
    batchDone_ = 0;
    const std::lock_guard<std::mutex> lock(mutex_);
    batch_.swap(waiting_);
    active_ = !batch_.empty();
    if (!active_)
        idle_.notify_all();
    return active_;
}

/// Sends some of the batch. False when the system has no room at the moment.
bool AsyncDatagramSender::sendBatch() {
    std::array<mmsghdr, theBatchSize> messages{};
    std::array<iovec, theBatchSize> parts;
    const std::size_t count = std::min(theBatchSize, batch_.size() - batchDone_);
    for (std::size_t i = 0; i < count; ++i) {
        Outgoing& datagram = batch_[batchDone_ + i];
        parts[i] = {datagram.bytes.data(), datagram.bytes.size()};
        messages[i].msg_hdr.msg_name = const_cast<sockaddr*>(datagram.to.get());
        messages[i].msg_hdr.msg_namelen = datagram.to.size();
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    const int sent = repeatedCall([&] {
        return sendmmsg(descriptor_.native_handle(), messages.data(),
                        static_cast<unsigned int>(count), MSG_DONTWAIT | MSG_NOSIGNAL);
    });
    if (sent > 0)
        counters_.countOnWire(static_cast<std::uint64_t>(sent),
                              finish(static_cast<std::size_t>(sent)));
    else if (errno != EAGAIN)
        noteFailure(errno);
    else
        return false;
    return true;
}

/// Takes the next datagrams of the batch off the queue. Their bytes.
std::uint64_t AsyncDatagramSender::finish(std::size_t datagrams) {
    std::size_t cost = 0;
    for (std::size_t i = 0; i < datagrams; ++i)
        cost += batch_[batchDone_++].cost();
    const std::lock_guard<std::mutex> lock(mutex_);
    bytes_ -= cost;
    return cost - datagrams * theOverhead_bytes;
}

/// The report that an earlier datagram met no open port keeps the next one from going out once;
/// any other error costs the datagram.
void AsyncDatagramSender::noteFailure(int error) {
    if (error == ECONNREFUSED) {
        DatagramCounters::add(counters_.portUnreachable);
        return;
    }
    error_ = error;
    DatagramCounters::add(counters_.asyncSendsFailed);
    finish(1);
}

}  // namespace OrynRti
