#ifndef RTIQNUTIL_SRC_NET_ASYNCDATAGRAMRECEIVER_H
#define RTIQNUTIL_SRC_NET_ASYNCDATAGRAMRECEIVER_H

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <unistd.h>
#include <vector>

#include "net/DatagramCounters.h"
#include "net/PollDescriptor.h"
#include "net/SocketAddress.h"

namespace OrynRti {

/// A bounded queue of datagrams that the thread of an io_context receives, several per system
/// call.
///
/// Threads:   take() and close() from any thread; the rest while the context does not run
/// Ownership: works on a duplicate of the descriptor; borrows the poll descriptor, the limit and
///            the counters
/// Errors:    the constructor throws a std::system_error
class AsyncDatagramReceiver {
public:
    /// What a datagram counts for in the queue beside its bytes.
    static constexpr std::size_t theOverhead_bytes = 128;

    struct Datagram {
        std::vector<char> bytes;
        SocketAddress from;
        double time;  ///< Arrival in seconds since the epoch.
        bool truncated;
    };

    enum Outcome { Taken, Nothing, Failed, ClosedMeanwhile };

    /// `poll` is raised while something is queued. `limit` is that of the queue in bytes, 0 for
    /// none.
    AsyncDatagramReceiver(boost::asio::io_context& context, int descriptor, PollDescriptor& poll,
                          const std::atomic<std::size_t>& limit, DatagramCounters& counters);
    AsyncDatagramReceiver(const AsyncDatagramReceiver&) = delete;
    AsyncDatagramReceiver& operator=(const AsyncDatagramReceiver&) = delete;
    ~AsyncDatagramReceiver();

    /// Begins to receive once the context runs.
    void start() { awaitDatagrams(); }

    /// The oldest datagram; without one the error of the thread, which is told once; with
    /// neither, waits or answers Nothing.
    Outcome take(Datagram& datagram, int& error, bool wait);

    /// Bytes of the oldest datagram, 0 when there is none.
    unsigned int nextSize();

    /// From now on take() answers ClosedMeanwhile, also to those who wait.
    void close();

    /// As AsyncDatagramSender::closeCopy().
    void closeCopy() { ::close(descriptor_.native_handle()); }

private:
    struct Batch;

    void awaitDatagrams();
    void receiveDatagrams();
    int receiveBatch();
    void queueBatch(int count);
    void queueOne(std::size_t index);
    void noteFailure(int error);
    void pauseAfterFailure();
    void announce();

    boost::asio::posix::stream_descriptor descriptor_;  // used on the thread only
    boost::asio::steady_timer pause_;
    PollDescriptor& poll_;
    const std::atomic<std::size_t>& limit_;
    DatagramCounters& counters_;
    std::unique_ptr<Batch> batch_;  // used on the thread only

    std::mutex mutex_;  // guards the next five
    std::condition_variable arrived_;
    std::deque<Datagram> queue_;
    std::size_t bytes_ = 0;
    unsigned int waiting_ = 0;
    bool closed_ = false;
    int error_ = 0;
};

}  // namespace OrynRti

#endif
