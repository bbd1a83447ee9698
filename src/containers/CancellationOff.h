#ifndef RTIQNUTIL_CANCELLATIONOFF_H
#define RTIQNUTIL_CANCELLATIONOFF_H

#include <pthread.h>
#include <sys/single_threaded.h>

namespace OrynRti {

/// Puts off the cancellation of the calling thread for the length of a block. For destructors
/// that wait, since left by cancellation they would end the process; and for printers, since a
/// standard stream that is left by cancellation stays bad for every other thread.
class CancellationOff {
public:
    CancellationOff() {
        if (threaded_)
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &earlier_);
    }
    CancellationOff(const CancellationOff&) = delete;
    CancellationOff& operator=(const CancellationOff&) = delete;
    ~CancellationOff() {
        if (threaded_)
            pthread_setcancelstate(earlier_, nullptr);
    }

private:
    /// Without a second thread nobody cancels the first.
    const bool threaded_ = __libc_single_threaded == 0;
    int earlier_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace OrynRti

#endif
