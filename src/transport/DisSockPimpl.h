#ifndef RTIQNUTIL_SRC_TRANSPORT_DISSOCKPIMPL_H
#define RTIQNUTIL_SRC_TRANSPORT_DISSOCKPIMPL_H

#include <boost/asio/io_context.hpp>
#include <cstddef>
#include <memory>
#include <sys/uio.h>
#include <unistd.h>

#include "ThreadedObject.h"
#include "net/AsyncDatagramSender.h"
#include "net/DatagramCounters.h"
#include "net/DescriptorGate.h"
#include "net/SocketAddress.h"

namespace OrynRti {

/// The way out through the send socket of a DtDisSocket: a descriptor, which closing takes away
/// from the senders in good order, and with the option for asynchronous sending a queue and the
/// thread that empties it.
///
/// Threads:   send() from any thread; start() and stop() by turns, under the socket's lock
/// Ownership: borrows context and counters
class DtDisSockPimpl {
public:
    DtDisSockPimpl(boost::asio::io_context& context, DatagramCounters& counters);
    DtDisSockPimpl(const DtDisSockPimpl&) = delete;
    DtDisSockPimpl& operator=(const DtDisSockPimpl&) = delete;
    ~DtDisSockPimpl();

    /// Lets senders in. Throws what keeps the queue or the thread from being made.
    void start(Descriptor descriptor, unsigned int options);

    /// Turns senders away, lets queued datagrams go out for at most so long, and ends the thread.
    /// The socket is shut down then.
    void stop(double sendWait_s);

    /// Whether fork() has brought this here from another process, whose thread it works with.
    bool isInherited() const { return owner_ != getpid(); }

    /// Then instead of stop(), and of the destructor: closes the descriptors and nothing more.
    void closeCopies();

    /// Sends or queues one datagram, in queue with at most `queueLimit` bytes. 0; the system's
    /// error number; or theQueueIsFull.
    int send(const iovec* parts, std::size_t count, const SocketAddress& to, int flags,
             std::size_t queueLimit);

    static constexpr int theQueueIsFull = -1;  ///< No number of the system's.

private:
    int addToSendQueue(const iovec* parts, std::size_t count, const SocketAddress& to,
                       std::size_t queueLimit);
    void startThread(int descriptor);
    void endThread();

    boost::asio::io_context& context_;
    DatagramCounters& counters_;
    DescriptorGate gate_;
    std::unique_ptr<DtThreadedObject> thread_;
    std::unique_ptr<AsyncDatagramSender> sender_;
    const pid_t owner_ = getpid();
};

}  // namespace OrynRti

#endif
