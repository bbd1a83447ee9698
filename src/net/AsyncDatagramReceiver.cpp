#include "net/AsyncDatagramReceiver.h"

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <new>
#include <sys/socket.h>
#include <utility>

#include "InetAddrUtils.h"
#include "Time.h"
#include "net/DescriptorIo.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

constexpr std::size_t theBatchSize = 32;
constexpr std::chrono::milliseconds thePauseAfterFailure(10);

/// Room for the time that the kernel tells with a datagram.
struct ReportBuffer {
    alignas(cmsghdr) unsigned char bytes[CMSG_SPACE(sizeof(timespec))];
};

/// When the datagram came, in seconds since the epoch; now, when the kernel does not tell.
double arrival(msghdr& message) {
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_TIMESTAMPNS)
            continue;
        timespec time;
        std::memcpy(&time, CMSG_DATA(header), sizeof time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }
    return DtAbsRealTime();
}

}  // namespace

/// Room for the datagrams of one system call. Memory that no datagram has reached yet costs
/// nothing.
struct AsyncDatagramReceiver::Batch {
    const std::size_t bufferSize = DtInetUtils::getMaxPacketBufferSize();
    const std::unique_ptr<char[]> buffers{new char[theBatchSize * bufferSize]};
    std::array<mmsghdr, theBatchSize> messages{};
    std::array<iovec, theBatchSize> parts;
    std::array<sockaddr_storage, theBatchSize> senders;
    std::array<ReportBuffer, theBatchSize> reports;
    std::size_t used = theBatchSize;  ///< Messages that are not ready to receive.

    const char* bytes(std::size_t i) const { return buffers.get() + i * bufferSize; }

    void prepare() {
        for (std::size_t i = 0; i < used; ++i) {
            parts[i] = {buffers.get() + i * bufferSize, bufferSize};
            msghdr& message = messages[i].msg_hdr;
            message = {};
            message.msg_iov = &parts[i];
            message.msg_iovlen = 1;
            message.msg_name = &senders[i];
            message.msg_namelen = sizeof senders[i];
            message.msg_control = reports[i].bytes;
            message.msg_controllen = sizeof reports[i].bytes;
        }
        used = 0;
    }
};

AsyncDatagramReceiver::AsyncDatagramReceiver(boost::asio::io_context& context, int descriptor,
                                             PollDescriptor& poll,
                                             const std::atomic<std::size_t>& limit,
                                             DatagramCounters& counters)
    : descriptor_(context),
      pause_(context),
      poll_(poll),
      limit_(limit),
      counters_(counters),
      batch_(std::make_unique<Batch>()) {
    assignDuplicate(descriptor, [this](int number) { descriptor_.assign(number); });
}

AsyncDatagramReceiver::~AsyncDatagramReceiver() = default;

AsyncDatagramReceiver::Outcome AsyncDatagramReceiver::take(Datagram& datagram, int& error,
                                                           bool wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (wait) {
        ++waiting_;
        arrived_.wait(lock, [this] { return !queue_.empty() || closed_ || error_ != 0; });
        --waiting_;
    }
    if (closed_)
        return ClosedMeanwhile;
    Outcome outcome = Taken;
    if (!queue_.empty()) {
        datagram = std::move(queue_.front());
        queue_.pop_front();
        bytes_ -= datagram.bytes.size() + theOverhead_bytes;
    } else {
        error = std::exchange(error_, 0);
        outcome = error != 0 ? Failed : Nothing;
    }
    if (queue_.empty() && error_ == 0)
        poll_.lower(PollDescriptor::ReceiveQueue, wait);
    return outcome;
}

unsigned int AsyncDatagramReceiver::nextSize() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return queue_.empty() ? 0 : static_cast<unsigned int>(queue_.front().bytes.size());
}

void AsyncDatagramReceiver::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    arrived_.notify_all();
}

// -------------------------------------------------------------------------------------------
// On the thread

void AsyncDatagramReceiver::awaitDatagrams() {
    descriptor_.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                           [this](const boost::system::error_code& error) {
                               if (error != boost::asio::error::operation_aborted)
                                   receiveDatagrams();
                           });
}

/// Empties the socket and waits again.
void AsyncDatagramReceiver::receiveDatagrams() {
    for (;;) {
        const int count = receiveBatch();
        if (count < 0 && errno == ECONNREFUSED) {
            DatagramCounters::add(counters_.portUnreachable);
            continue;
        }
        if (count < 0 && errno != EAGAIN) {
            noteFailure(errno);
            return pauseAfterFailure();
        }
        if (count > 0)
            queueBatch(count);
        if (count < static_cast<int>(theBatchSize))
            return awaitDatagrams();
    }
}

int AsyncDatagramReceiver::receiveBatch() {
    batch_->prepare();
    const int count = repeatedCall([this] {
        return recvmmsg(descriptor_.native_handle(), batch_->messages.data(), theBatchSize,
                        MSG_DONTWAIT, nullptr);
    });
    batch_->used = static_cast<std::size_t>(std::max(count, 0));
    return count;
}

void AsyncDatagramReceiver::queueBatch(int count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (int i = 0; i < count; ++i) {
        try {
            queueOne(static_cast<std::size_t>(i));
        } catch (const std::bad_alloc&) {
            DatagramCounters::add(counters_.receiveQueueDrops);
        }
    }
    announce();
}

void AsyncDatagramReceiver::queueOne(std::size_t i) {
    const std::size_t size = batch_->messages[i].msg_len;
    msghdr& message = batch_->messages[i].msg_hdr;
    const std::size_t cost = size + theOverhead_bytes;
    const std::size_t limit = limit_;
    if (limit != 0 && (cost > limit || bytes_ > limit - cost)) {
        DatagramCounters::add(counters_.receiveQueueDrops);
        return;
    }
    const char* bytes = batch_->bytes(i);
    queue_.push_back({std::vector<char>(bytes, bytes + size), SocketAddress(batch_->senders[i]),
                      arrival(message), (message.msg_flags & MSG_TRUNC) != 0});
    bytes_ += cost;
}

void AsyncDatagramReceiver::noteFailure(int error) {
    const std::lock_guard<std::mutex> lock(mutex_);
    error_ = error;
    announce();
}

/// An error that stays must not keep the thread busy.
void AsyncDatagramReceiver::pauseAfterFailure() {
    pause_.expires_after(thePauseAfterFailure);
    pause_.async_wait([this](const boost::system::error_code& error) {
        if (error != boost::asio::error::operation_aborted)
            awaitDatagrams();
    });
}

/// Tells those who wait of what has come.
void AsyncDatagramReceiver::announce() {
    if (queue_.empty() && error_ == 0)
        return;
    poll_.raise(PollDescriptor::ReceiveQueue);
    if (waiting_ > 0)
        arrived_.notify_all();
}

}  // namespace OrynRti
