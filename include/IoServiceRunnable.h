#ifndef RTIQNUTIL_IOSERVICERUNNABLE_H
#define RTIQNUTIL_IOSERVICERUNNABLE_H

#include <atomic>
#include <memory>

#include "Export.h"
#include "Runnable.h"

namespace boost::asio {
class io_context;
}

namespace OrynRti {

/// Runs a Boost.Asio io_context, on the thread of a DtThreadedObject as a rule, until it is told
/// to stop: the I/O thread of a socket.
///
///     boost::asio::io_context context;
///     DtThreadedObject thread(std::make_shared<DtIoServiceRunnable>(&context, nullptr));
///     thread.start();
///     boost::asio::post(context, work);
///     ...
///     thread.stop(true);
///
/// The thread sleeps while the context has nothing to do, and goes on when the context runs out
/// of work or is stopped by somebody else. A runnable that has been told to stop stays stopped:
/// its next run returns at once.
///
/// Threads:   stop() and stopped() from any thread
/// Ownership: the context and what the second pointer points to are the caller's and must
///            outlive the run
/// Errors:    what a handler of the context throws ends the run and passes through it
class DT_EXPORT DtIoServiceRunnable : public DtRunnable {
public:
    /// `owner` is kept for the caller and not used.
    DtIoServiceRunnable(boost::asio::io_context* context, void* owner);

    /// Tells a run under way to stop and waits for it, unless a handler of this very run
    /// destroys the object.
    ~DtIoServiceRunnable() override;

    int run() override;

    /// As stop(false).
    void stop() override;

    /// Makes run() return once the handler being run has returned. With `wait` true it returns
    /// when the run is over, except on the thread of the run.
    void stop(bool wait);

    /// Whether no run is under way.
    bool stopped() const { return stopped_.load(std::memory_order_acquire); }

    void* owner() const { return owner_; }  ///< As it was given.

private:
    struct State;
    class Run;

    // The order of the first three members is fixed.
    std::atomic<bool> stopped_{true};
    boost::asio::io_context* context_;
    void* owner_;
    std::shared_ptr<State> state_;  ///< Shared with the run, which may outlive this object.
};

}  // namespace OrynRti

#endif
