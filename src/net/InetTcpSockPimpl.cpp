#include "net/InetTcpSockPimpl.h"

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <limits>
#include <new>
#include <sys/socket.h>
#include <utility>

#include "InetAddrUtils.h"
#include "InetSocket.h"
#include "Time.h"
#include "net/BufferParts.h"
#include "net/StreamIo.h"

namespace OrynRti {

namespace {

using boost::asio::ip::tcp;

/// Small messages share a block of this size, so that a queue of many does not take a multiple of
/// their bytes.
constexpr std::size_t theBlock_bytes = 4096;
constexpr std::size_t theBatchParts = 64;
constexpr std::chrono::milliseconds theLookAgain(2);

}  // namespace

DtInetTcpSockPimpl::DtInetTcpSockPimpl(int descriptor, bool ipv6, PollDescriptor& poll,
                                       const TcpQueueLimits& limits)
    : descriptor_(descriptor), poll_(poll), limits_(limits), stream_(thread_.context()) {
    stream_.assign(ipv6 ? tcp::v6() : tcp::v4(), descriptor);
}

DtInetTcpSockPimpl::~DtInetTcpSockPimpl() {
    stop();
    Error ignored;
    stream_.release(ignored);  // which leaves the descriptor open
}

void DtInetTcpSockPimpl::start(unsigned int options) {
    sends_ = (options & DtInetSockAsyncSend) != 0;
    receives_ = (options & DtInetSockAsyncReceive) != 0;
    if (receives_) {
        receiveBuffer_.reset(new char[DtInetUtils::getMaxPacketBufferSize()]);
        awaitReceive();
    }
    thread_.start();
    started_ = true;
}

void DtInetTcpSockPimpl::stop() {
    if (std::exchange(started_, false))
        thread_.stop();
}

void DtInetTcpSockPimpl::stick(int error) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!error_)
        error_.assign(error, boost::system::system_category());
    poll_.raise(PollDescriptor::ReceiveQueue);
}

// -------------------------------------------------------------------------------------------
// Receiving: the callers

int DtInetTcpSockPimpl::getFromReceiveQueue(const iovec* parts, std::size_t count, Error& error,
                                            double& time) {
    const std::size_t room = partsSize(parts, count);
    Chunk chunk;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (error_ || (received_.empty() && endOfStream_)) {
            error = error_ ? error_ : Error(boost::asio::error::eof);
            return -1;
        }
        if (received_.empty()) {
            poll_.settle();
            return 0;
        }
        chunk = std::move(received_.front());
        received_.pop_front();
        receivedBytes_ -= chunk.bytes.size();
        receivedCost_ -= chunk.cost();
        if (received_.empty() && !endOfStream_)
            poll_.lower(PollDescriptor::ReceiveQueue, false);
        resumeReceiving();
    }
    time = chunk.time;
    if (chunk.bytes.size() > room)
        return DtInetSockIncomplete;
    scatterBytes(chunk.bytes.data(), chunk.bytes.size(), parts);
    return static_cast<int>(chunk.bytes.size());
}

unsigned int DtInetTcpSockPimpl::queuedBytes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<unsigned int>(
        std::min<std::size_t>(receivedBytes_, std::numeric_limits<unsigned int>::max()));
}

/// Not before half the queue is empty, so that the thread is not told of every chunk taken.
void DtInetTcpSockPimpl::resumeReceiving() {
    const std::size_t limit = limits_.receive;
    if (!paused_ || (limit != 0 && receivedCost_ > limit / 2))
        return;
    boost::asio::post(thread_.context(), [this] { awaitReceive(); });
    paused_ = false;
}

// -------------------------------------------------------------------------------------------
// Receiving: the thread

void DtInetTcpSockPimpl::awaitReceive() {
    stream_.async_wait(tcp::socket::wait_read, [this](const Error& error) {
        if (!error)
            receiveOnce();
        else if (error != boost::asio::error::operation_aborted)
            stick(error.value());
    });
}

/// Once per turn, so that sends get theirs.
void DtInetTcpSockPimpl::receiveOnce() {
    const iovec buffer{receiveBuffer_.get(), DtInetUtils::getMaxPacketBufferSize()};
    const ssize_t size = receiveSome(descriptor_, &buffer, 1, MSG_DONTWAIT);
    try {
        if (size < 0)
            handleReceiveFrom(errno, 0);
        else
            handleReceiveFrom(0, static_cast<std::size_t>(size));
    } catch (const std::bad_alloc&) {  // a stream with a hole is of no use
        stick(ENOMEM);
    }
}

void DtInetTcpSockPimpl::handleReceiveFrom(int error, std::size_t bytes) {
    if (error == EAGAIN)
        return awaitReceive();
    if (error != 0)
        return stick(error);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        endOfStream_ = bytes == 0;
        if (!endOfStream_)
            queueChunk(bytes);
        poll_.raise(PollDescriptor::ReceiveQueue);
        paused_ = !endOfStream_ && queueIsFull();
        if (endOfStream_ || paused_)
            return;
    }
    awaitReceive();
}

void DtInetTcpSockPimpl::queueChunk(std::size_t bytes) {
    const char* begin = receiveBuffer_.get();
    received_.push_back({std::vector<char>(begin, begin + bytes), DtAbsRealTime()});
    receivedBytes_ += bytes;
    receivedCost_ += received_.back().cost();
}

bool DtInetTcpSockPimpl::queueIsFull() const {
    const std::size_t limit = limits_.receive;
    return limit != 0 && receivedCost_ >= limit;
}

// -------------------------------------------------------------------------------------------
// Sending: the callers

int DtInetTcpSockPimpl::asyncSendChain(const iovec* parts, std::size_t count, Error& error) {
    const std::size_t size = partsSize(parts, count);
    const std::size_t limit = limits_.send;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (error_) {
        error = error_;
        return -1;
    }
    if (limit != 0 && (size > limit || sendBytes_ > limit - size))
        return 0;
    // The thread is told first, since there may be no memory to do so.
    if (!sending_)
        boost::asio::post(thread_.context(), [this] { sendQueued(); });
    sending_ = true;
    addToSendQueue(parts, count, size);
    return static_cast<int>(size);
}

void DtInetTcpSockPimpl::addToSendQueue(const iovec* parts, std::size_t count, std::size_t size) {
    if (waiting_.empty() || waiting_.back().capacity() - waiting_.back().size() < size) {
        std::vector<char> block;
        block.reserve(std::max(size, theBlock_bytes));
        waiting_.push_back(std::move(block));
    }
    for (std::size_t i = 0; i < count; ++i) {
        const char* part = static_cast<const char*>(parts[i].iov_base);
        waiting_.back().insert(waiting_.back().end(), part, part + parts[i].iov_len);
    }
    sendBytes_ += size;
}

bool DtInetTcpSockPimpl::allSent() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return !sending_;
}

void DtInetTcpSockPimpl::finishSending(Clock::time_point deadline) {
    for (;;) {
        discardReceived(descriptor_);
        if ((allSent() && allArrived(descriptor_)) || Clock::now() >= deadline)
            return;
        // The system does not tell when the last byte has arrived, so look now and then.
        std::unique_lock<std::mutex> lock(mutex_);
        sendsEnded_.wait_until(lock, std::min(deadline, Clock::now() + theLookAgain));
    }
}

// -------------------------------------------------------------------------------------------
// Sending: the thread

/// One system call per turn, so that receiving gets its own.
void DtInetTcpSockPimpl::sendQueued() {
    try {
        if (nextBatch())
            sendBatch();
    } catch (const std::bad_alloc&) {
        stick(ENOMEM);
        dropSends();
    }
}

void DtInetTcpSockPimpl::sendBatch() {
    std::array<iovec, theBatchParts> parts;
    const std::size_t count = std::min(theBatchParts, batch_.size());
    for (std::size_t i = 0; i < count; ++i)
        parts[i] = {batch_[i].data(), batch_[i].size()};
    parts[0] = {batch_[0].data() + batchOffset_, batch_[0].size() - batchOffset_};
    const ssize_t sent = sendSome(descriptor_, parts.data(), count, MSG_DONTWAIT);
    if (sent < 0)
        handleSendComplete(errno, 0);
    else
        handleSendComplete(0, static_cast<std::size_t>(sent));
}

/// Fetches what is waiting once the batch is gone. False when there is nothing more.
bool DtInetTcpSockPimpl::nextBatch() {
    if (!batch_.empty())
        return true;
    const std::lock_guard<std::mutex> lock(mutex_);
    batch_.swap(waiting_);
    sending_ = !batch_.empty();
    if (!sending_)
        sendsEnded_.notify_all();
    return sending_;
}

/// A vector leaves the queue with its last byte. After an error nothing more goes out: what is
/// queued behind lost bytes would be garbage to the peer.
void DtInetTcpSockPimpl::handleSendComplete(int error, std::size_t bytes) {
    if (error == EAGAIN) {
        stream_.async_wait(tcp::socket::wait_write, [this](const Error& failure) {
            if (!failure)
                sendQueued();
            else if (failure != boost::asio::error::operation_aborted)
                handleSendComplete(failure.value(), 0);
        });
        return;
    }
    if (error != 0) {
        stick(error);
        return dropSends();
    }
    finish(bytes);
    if (nextBatch())
        boost::asio::post(thread_.context(), [this] { sendQueued(); });
}

void DtInetTcpSockPimpl::finish(std::size_t bytes) {
    batchOffset_ += bytes;
    while (!batch_.empty() && batchOffset_ >= batch_.front().size()) {
        batchOffset_ -= batch_.front().size();
        batch_.pop_front();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    sendBytes_ -= bytes;
}

void DtInetTcpSockPimpl::dropSends() {
    batch_.clear();
    batchOffset_ = 0;
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.clear();
    sendBytes_ = 0;
    sending_ = false;
    sendsEnded_.notify_all();
}

}  // namespace OrynRti
