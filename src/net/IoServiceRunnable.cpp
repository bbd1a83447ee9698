#include "IoServiceRunnable.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace OrynRti {

struct DtIoServiceRunnable::State {
    std::atomic<bool> stopRequested{false};
    std::mutex mutex;  // guards the rest
    std::condition_variable runEnded;
    bool running = false;
    bool runnableGone = false;
    std::thread::id runner;

    /// Returns when no run is under way, or at once on the thread of the run.
    void awaitEnd() {
        std::unique_lock<std::mutex> lock(mutex);
        if (runner != std::this_thread::get_id())
            runEnded.wait(lock, [this] { return !running; });
    }
};

/// A run from its beginning to its end, however it ends.
class DtIoServiceRunnable::Run {
public:
    explicit Run(DtIoServiceRunnable& runnable) : runnable_(runnable), state_(runnable.state_) {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->running = true;
        state_->runner = std::this_thread::get_id();
        runnable_.stopped_.store(false, std::memory_order_release);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->running = false;
        state_->runner = std::thread::id();
        if (!state_->runnableGone)
            runnable_.stopped_.store(true, std::memory_order_release);
        state_->runEnded.notify_all();
    }

    /// A runnable that a handler has destroyed has been told to stop, so it is not asked.
    bool goesOn() const { return !state_->stopRequested && !runnable_.timeToStop(); }

private:
    DtIoServiceRunnable& runnable_;
    const std::shared_ptr<State> state_;
};

// -------------------------------------------------------------------------------------------

DtIoServiceRunnable::DtIoServiceRunnable(boost::asio::io_context* context, void* owner)
    : context_(context), owner_(owner), state_(std::make_shared<State>()) {}

DtIoServiceRunnable::~DtIoServiceRunnable() {
    state_->stopRequested = true;
    if (!stopped())
        stop(true);
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->runnableGone = true;
}

int DtIoServiceRunnable::run() {
    const Run thisRun(*this);
    boost::asio::io_context& context = *context_;
    const auto workGuard = boost::asio::make_work_guard(context);  // lets an idle run sleep
    for (;;) {
        // A stop() before this line is seen by the question, one after it ends the call below.
        context.restart();
        if (!thisRun.goesOn())
            return 0;
        context.run();
    }
}

void DtIoServiceRunnable::stop() {
    stop(false);
}

void DtIoServiceRunnable::stop(bool wait) {
    state_->stopRequested = true;
    context_->stop();
    if (wait)
        state_->awaitEnd();
}

}  // namespace OrynRti
