#ifndef RTIQNUTIL_SRC_NET_INETTCPSOCKPIMPL_H
#define RTIQNUTIL_SRC_NET_INETTCPSOCKPIMPL_H

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <sys/uio.h>
#include <vector>

#include "net/IoThread.h"
#include "net/PollDescriptor.h"

namespace OrynRti {

/// The bounds of the two queues in bytes, 0 for none.
struct TcpQueueLimits {
    std::atomic<std::size_t> send;
    std::atomic<std::size_t> receive;
};

/// Sends from a queue and receives into a queue, on a thread of its own, over a connection that
/// is up.
///
/// The first error of either direction sticks: every later receive and send is answered with it.
/// The end of the stream alone stands in the receive queue, behind what the peer has sent before
/// it, and does not stop sends: a peer that has no more to say may still be listening.
///
/// Threads:   start() and stop() by the owner, the rest in between from any thread
/// Ownership: borrows the descriptor, the poll descriptor and the limits
/// Errors:    constructor and start() throw what the system refuses
class DtInetTcpSockPimpl {
public:
    using Clock = std::chrono::steady_clock;
    using Error = boost::system::error_code;

    DtInetTcpSockPimpl(int descriptor, bool ipv6, PollDescriptor& poll,
                       const TcpQueueLimits& limits);
    DtInetTcpSockPimpl(const DtInetTcpSockPimpl&) = delete;
    DtInetTcpSockPimpl& operator=(const DtInetTcpSockPimpl&) = delete;

    /// Stops; the descriptor stays open.
    ~DtInetTcpSockPimpl();

    /// Starts the thread, which sends and receives as the option word asks.
    void start(unsigned int options);

    /// Waits for the thread.
    void stop();

    bool sends() const { return sends_; }
    bool receives() const { return receives_; }

    /// Copies all bytes of the parts into the queue and returns their number; 0 when that would
    /// be beyond the limit, -1 with the error that sticks.
    int asyncSendChain(const iovec* parts, std::size_t count, Error& error);

    /// Moves the oldest chunk into the parts: its size and when it came; -4 when it is too large,
    /// and lost; 0 when there is none; -1 with the error that sticks or the end of the stream.
    int getFromReceiveQueue(const iovec* parts, std::size_t count, Error& error, double& time);

    /// Bytes of all chunks.
    unsigned int queuedBytes();

    /// Returns when all sends have arrived at the peer's system, cannot any more, or it is late.
    /// Drops what is received, since a peer that is not listened to may stop listening itself, and
    /// since a connection that is closed with bytes unread is reset, sends included.
    void finishSending(Clock::time_point deadline);

private:
    struct Chunk {
        std::vector<char> bytes;
        double time;
        std::size_t cost() const { return bytes.size() + sizeof(Chunk); }
    };

    void addToSendQueue(const iovec* parts, std::size_t count, std::size_t size);
    void sendQueued();
    void sendBatch();
    bool nextBatch();
    void handleSendComplete(int error, std::size_t bytes);
    void finish(std::size_t bytes);
    void dropSends();

    void awaitReceive();
    void receiveOnce();
    void handleReceiveFrom(int error, std::size_t bytes);
    void queueChunk(std::size_t bytes);
    bool queueIsFull() const;
    void resumeReceiving();

    void stick(int error);
    bool allSent();

    const int descriptor_;
    PollDescriptor& poll_;
    const TcpQueueLimits& limits_;
    bool sends_ = false;
    bool receives_ = false;
    bool started_ = false;

    IoThread thread_;
    boost::asio::ip::tcp::socket stream_;  // used on the thread only

    std::unique_ptr<char[]> receiveBuffer_;  // used on the thread only

    // What the thread is sending, used by it alone; of the first `batchOffset_` bytes are gone.
    std::deque<std::vector<char>> batch_;
    std::size_t batchOffset_ = 0;

    std::mutex mutex_;  // guards the rest
    Error error_;       ///< The one that sticks.

    std::deque<Chunk> received_;
    std::size_t receivedCost_ = 0;
    std::size_t receivedBytes_ = 0;
    bool endOfStream_ = false;
    bool paused_ = false;  ///< The receive queue is full.

    std::deque<std::vector<char>> waiting_;
    std::size_t sendBytes_ = 0;  ///< Of what is waiting and of the batch.
    bool sending_ = false;       ///< The thread has been told of work, or works.
    std::condition_variable sendsEnded_;
};

}  // namespace OrynRti

#endif
