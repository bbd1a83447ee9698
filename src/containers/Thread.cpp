#include "Thread.h"

#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <ctime>
#include <cxxabi.h>
#include <exception>
#include <mutex>
#include <new>
#include <ostream>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "Exceptions.h"
#include "Mutex.h"
#include "Print.h"
#include "Runnable.h"
#include "ScopedLock.h"
#include "containers/CancellationOff.h"

namespace OrynRti {

namespace {

void warnOfEscape(const char* from, const char* text) {
    DtWarn << from << " ended by an exception: " << (text != nullptr ? text : "") << std::endl;
}

void warnOfEscape(const char* from, const DtException& escaped) {
    DtString place;
    try {
        place = escaped.where();
    } catch (const std::bad_alloc&) {  // the message goes out all the same
    }
    DtWarn << from << " ended by an exception: " << escaped.message() << " (" << place << ")"
           << std::endl;
}

/// Calls `function` and reports what escapes from it, so that nothing does. The unwinding of a
/// cancelled thread passes: the system ends the process when it is stopped. It is no C++ object,
/// and the reference that catches it is null, which must not be held against it.
template <class Function>
__attribute__((noinline, no_sanitize("null"))) void callGuarded(const char* from,
                                                                Function function) {
    try {
        function();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const DtException& escaped) {
        warnOfEscape(from, escaped);
    } catch (const DtException* escaped) {  // as a failed assertion throws it
        const std::unique_ptr<const DtException> owned(escaped);
        if (owned != nullptr)
            warnOfEscape(from, *owned);
        else
            warnOfEscape(from, "a null DtException*");
    } catch (const std::exception& escaped) {
        warnOfEscape(from, escaped.what());
    } catch (...) {
        warnOfEscape(from, "of unknown type");
    }
}

/// One POSIX thread from its start to its join. Everyone who may join it shares it; the last one
/// to leave without a join releases the thread.
class StartedThread {
public:
    StartedThread() = default;
    StartedThread(const StartedThread&) = delete;
    StartedThread& operator=(const StartedThread&) = delete;
    ~StartedThread() {
        if (phase_ == Phase::Joinable)
            pthread_detach(handle_);
    }

    bool start(void* (*function)(void*), void* arg) {
        if (pthread_create(&handle_, nullptr, function, arg) != 0)
            return false;
        phase_ = Phase::Joinable;
        return true;
    }

    pthread_t handle() const { return handle_; }

    /// The system may give the handle of a joined thread to a new one.
    bool isCurrent() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return phase_ != Phase::Joined && pthread_equal(handle_, pthread_self());
    }

    /// 0 when joined, by this or another call, 2 when the system refuses.
    int join();

private:
    enum class Phase { NotStarted, Joinable, Joining, Joined };
    class Attempt;

    pthread_t handle_ = 0;
    std::mutex mutex_;
    std::condition_variable leftJoining_;
    Phase phase_ = Phase::NotStarted;
};

/// The one call of pthread_join; when it fails or is cancelled, the next waiting thread tries.
class StartedThread::Attempt {
public:
    explicit Attempt(StartedThread& thread) : thread_(thread) {}
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() {
        const std::lock_guard<std::mutex> lock(thread_.mutex_);
        thread_.phase_ = result_ == 0 ? Phase::Joined : Phase::Joinable;
        thread_.leftJoining_.notify_all();
    }

    int join() { return result_ = DtThreadJoin(thread_.handle_); }

private:
    StartedThread& thread_;
    int result_ = 2;
};

int StartedThread::join() {
    if (isCurrent())
        return 2;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        leftJoining_.wait(lock, [this] { return phase_ != Phase::Joining; });
        if (phase_ == Phase::Joined)
            return 0;
        phase_ = Phase::Joining;
    }
    return Attempt(*this).join();
}

}  // namespace

//----------------------------------------------------------------------------------------------

DtThreadStart::DtThreadStart(DtRunnable* runnable)
    : runnable_(runnable), function_(nullptr), arg_(nullptr) {}

DtThreadStart::DtThreadStart(Function function, void* arg)
    : runnable_(nullptr), function_(function), arg_(arg) {}

int DtThreadStart::execute(volatile bool* stopFlag) {
    if (function_ == nullptr)
        return runnable_ != nullptr ? runnable_->execute(stopFlag) : 0;
    function_(arg_, stopFlag);
    return 0;
}

void DtThreadStart::stop() {
    if (function_ == nullptr && runnable_ != nullptr)
        runnable_->stop();
}

//----------------------------------------------------------------------------------------------

struct DtThread::State {
    explicit State(std::shared_ptr<DtThreadStart> work) : start(std::move(work)) {}

    // The order of the first five members is fixed.
    pthread_t handle = 0;
    volatile bool stopRequested = true;
    bool running = false;
    const std::shared_ptr<DtThreadStart> start;
    DtMutex mutex;  // guards all but `start`; the work reads the stop request without it

    /// The thread started last; stays after its end, to answer join().
    std::shared_ptr<StartedThread> thread;

    std::shared_ptr<StartedThread> startedThread() {
        const DtScopedLock lock(mutex);
        return thread;
    }

    void setStopRequested(bool requested) {
        // Pairs with the acquiring load of the polling work.
        __atomic_store_n(&stopRequested, requested, __ATOMIC_RELEASE);
    }

    void setRunning(bool isRunning) {
        const DtScopedLock lock(mutex);
        running = isRunning;
    }

    void execute();
    std::shared_ptr<StartedThread> requestStop();
    void forgetHandle(const std::shared_ptr<StartedThread>& joined);
};

void DtThread::State::execute() {
    struct Running {
        State& state;
        ~Running() { state.setRunning(false); }
    };
    setRunning(true);
    const Running whileWorking{*this};
    if (start != nullptr)
        start->execute(&stopRequested);
}

/// Returns the thread that was asked, null when none is started.
std::shared_ptr<StartedThread> DtThread::State::requestStop() {
    const DtScopedLock lock(mutex);
    if (handle == 0)
        return nullptr;
    if (!stopRequested) {
        setStopRequested(true);
        if (start != nullptr)
            callGuarded("DtThread: stop of the work", [this] { start->stop(); });
    }
    return thread;
}

void DtThread::State::forgetHandle(const std::shared_ptr<StartedThread>& joined) {
    const DtScopedLock lock(mutex);
    if (thread != joined || handle == 0)
        return;
    const int descriptor = static_cast<int>(handle);
    handle = 0;
    const int earlierErrno = errno;
    close(descriptor);
    errno = earlierErrno;
}

//----------------------------------------------------------------------------------------------

DtThread::DtThread(std::shared_ptr<DtThreadStart> start)
    : state_(std::make_shared<State>(std::move(start))) {}

DtThread::~DtThread() {
    const CancellationOff noCancellation;
    stop(true);
}

int DtThread::start() {
    const DtScopedLock lock(state_->mutex);  // the work begins by taking it, so after all this
    if (state_->handle != 0)
        return 1;
    const auto thread = std::make_shared<StartedThread>();
    state_->setStopRequested(false);
    if (!thread->start(threadRunHelper, this))
        return 1;
    state_->handle = thread->handle();
    state_->thread = thread;
    return 0;
}

int DtThread::startInCurrentThread() {
    {
        const DtScopedLock lock(state_->mutex);
        state_->setStopRequested(false);
    }
    run();
    return 0;
}

void* DtThread::threadRunHelper(void* thread) {
    callGuarded("DtThread: work", [thread] { static_cast<DtThread*>(thread)->run(); });
    DtThreadExit(nullptr);
}

void DtThread::run() {
    const std::shared_ptr<State> state = state_;  // the work may destroy this object
    state->execute();
}

void DtThread::stop(bool join) {
    const std::shared_ptr<State> state = state_;  // the end of the work may destroy this object
    const std::shared_ptr<StartedThread> thread = state->requestStop();
    if (join && thread != nullptr && thread->join() == 0)
        state->forgetHandle(thread);
}

int DtThread::join() {
    const std::shared_ptr<State> state = state_;
    const std::shared_ptr<StartedThread> thread = state->startedThread();
    return thread != nullptr ? thread->join() : 2;
}

bool DtThread::hasStarted() const {
    const DtScopedLock lock(state_->mutex);
    return state_->handle != 0;
}

bool DtThread::stopped() const {
    const DtScopedLock lock(state_->mutex);
    return state_->stopRequested;
}

bool DtThread::isRunning() const {
    const DtScopedLock lock(state_->mutex);
    return state_->running;
}

bool DtThread::isCurrentThread() const {
    const std::shared_ptr<StartedThread> thread = state_->startedThread();
    return thread != nullptr && thread->isCurrent();
}

pthread_t DtThread::GetCurrentThreadHandle() {
    return pthread_self();
}

//----------------------------------------------------------------------------------------------

void DtSleep(double seconds) {
    if (!(seconds > 0))
        return;
    const double bounded = std::fmin(seconds, 1e9);
    timespec left;
    left.tv_sec = static_cast<time_t>(bounded);
    left.tv_nsec = static_cast<long>((bounded - std::floor(bounded)) * 1e9);
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

unsigned long DtThreadCreate(void* (*fn)(void*), void* arg, unsigned long* id) {
    pthread_t thread = 0;
    if (fn == nullptr || pthread_create(&thread, nullptr, fn, arg) != 0)
        thread = 0;
    if (id != nullptr)
        *id = thread;
    return thread;
}

void DtThreadExit(void* result) {
    pthread_exit(result);
}

unsigned long DtGetThreadId() {
    return pthread_self();
}

int DtThreadJoin(unsigned long thread) {
    return thread != 0 && pthread_join(thread, nullptr) == 0 ? 0 : 2;
}

int DtThreadStop(unsigned long thread) {
    return thread != 0 && pthread_cancel(thread) == 0 ? 0 : 1;
}

int DtThreadCleanUp(unsigned long thread) {
    return DtThreadStop(thread);
}

}  // namespace OrynRti
