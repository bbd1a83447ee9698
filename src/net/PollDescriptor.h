#ifndef RTIQNUTIL_SRC_NET_POLLDESCRIPTOR_H
#define RTIQNUTIL_SRC_NET_POLLDESCRIPTOR_H

#include <mutex>

#include "net/SystemCall.h"

namespace OrynRti {

/// A descriptor that is readable while a socket is, or while there is a reason to be so that
/// the kernel does not know of. As long as nobody asks for it, there is none and no system call
/// is made.
///
/// Threads: everything from any thread
class PollDescriptor {
public:
    enum Reason : unsigned int { ReceiveQueue = 1, DerivedQueue = 2, Closed = 4 };

    /// -1 when the system refuses.
    int descriptor();

    /// Whether there is one, so that reasons are seen by somebody. Not beside descriptor().
    bool isMade() const { return epoll_.number() >= 0; }

    /// The socket to watch; -1 for none any more, before it is closed.
    void watch(int socket);

    void raise(Reason reason);

    /// At once, or at the next settle() unless raised before: that spares the system calls of
    /// one who takes the last queued piece and goes on receiving.
    void lower(Reason reason, bool atOnce);

    /// A receiving call has found nothing.
    void settle();

    /// In a child of fork(): begins anew. What is watched and raised is the parent's business, and
    /// a thread that is not there may have the lock.
    void leaveToParent();

private:
    bool make();
    void takeBackDue();
    void setReasons(unsigned int reasons);

    std::mutex mutex_;  // guards all
    int socket_ = -1;
    unsigned int reasons_ = 0;
    unsigned int due_ = 0;  ///< Reasons that settle() takes back.
    Descriptor event_;
    Descriptor epoll_;
};

}  // namespace OrynRti

#endif
