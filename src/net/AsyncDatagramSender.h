#ifndef RTIQNUTIL_SRC_NET_ASYNCDATAGRAMSENDER_H
#define RTIQNUTIL_SRC_NET_ASYNCDATAGRAMSENDER_H

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

#include "net/DatagramCounters.h"
#include "net/SocketAddress.h"

namespace OrynRti {

/// A bounded queue of datagrams that the thread of an io_context sends, in order and several per
/// system call.
///
/// Threads:   queue(), takeError(), drain() and the limit from any thread; the rest while the
///            context does not run
/// Ownership: works on a duplicate of the descriptor; borrows the counters
/// Errors:    the constructor throws a std::system_error; a datagram that cannot be sent is lost
///            and counted, and the error kept for takeError()
class AsyncDatagramSender {
public:
    /// What a datagram counts for in the queue beside its bytes.
    static constexpr std::size_t theOverhead_bytes = 128;

    AsyncDatagramSender(boost::asio::io_context& context, int descriptor,
                        DatagramCounters& counters);

    /// Copies the datagram into the queue. False when the queue is full; `limit` is in bytes, 0
    /// for none.
    bool queue(const iovec* parts, std::size_t count, const SocketAddress& to, std::size_t limit);

    /// The error of the thread that has not been asked for yet, 0 for none.
    int takeError() { return error_.exchange(0); }

    /// Waits until all datagrams queued are gone, for at most so long. Whether they are.
    bool drain(double seconds);

    /// In a child of fork(), which has no thread to send: only so that the socket does not stay
    /// open for its sake. The object is of no use then and must not be destroyed.
    void closeCopy() { ::close(descriptor_.native_handle()); }

private:
    struct Outgoing {
        std::vector<char> bytes;
        SocketAddress to;
        std::size_t cost() const { return bytes.size() + theOverhead_bytes; }
    };

    void sendQueued();
    bool nextBatch();
    bool sendBatch();
    bool awaitRoom();
    std::uint64_t finish(std::size_t datagrams);
    void noteFailure(int error);

    boost::asio::io_context& context_;
    boost::asio::posix::stream_descriptor descriptor_;  // used on the thread only
    DatagramCounters& counters_;

    // Those that the thread is sending, used by it alone; the first `batchDone_` are gone.
    std::deque<Outgoing> batch_;
    std::size_t batchDone_ = 0;

    std::mutex mutex_;  // guards the next four
    std::condition_variable idle_;
    std::deque<Outgoing> waiting_;
    std::size_t bytes_ = 0;  ///< Cost of what is waiting and of the batch.
    bool active_ = false;    ///< The thread has been told of work, or works.

    std::atomic<int> error_{0};
};

}  // namespace OrynRti

#endif
