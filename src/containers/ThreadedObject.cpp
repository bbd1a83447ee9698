#include "ThreadedObject.h"

#include <utility>

#include "Exceptions.h"
#include "Mutex.h"
#include "ScopedLock.h"
#include "Thread.h"
#include "containers/CancellationOff.h"

namespace OrynRti {

namespace {

/// Keeps the runnable alive as long as the thread that runs it.
class RunnableStart : public DtThreadStart {
public:
    explicit RunnableStart(std::shared_ptr<DtRunnable> runnable)
        : DtThreadStart(runnable.get()), runnable_(std::move(runnable)) {}

private:
    std::shared_ptr<DtRunnable> runnable_;
};

}  // namespace

struct DtThreadedObject::State {
    // The order of the first four members is fixed.
    bool running = false;
    std::shared_ptr<DtRunnable> runnable;
    std::shared_ptr<DtThread> thread;  // shared with those who wait for it
    DtMutex mutex;                     // guards the others; never held while waiting

    /// A start() is waiting for the thread of an earlier one.
    bool startPending = false;
    /// The thread has been asked to stop by stop().
    bool stopAsked = false;

    void checkStart() const;
    void withdrawStart() { running = startPending = false; }
    void stopEarlier(DtThread& earlier, DtScopedLock& lock);
    void launch(const std::shared_ptr<DtRunnable>& work);
};

void DtThreadedObject::State::checkStart() const {
    if (runnable == nullptr)
        DT_THROW(DtInvalidInputNumber, "DtInvalidInput: Runnable pointer may not be null.");
    if (running || (thread != nullptr && thread->isCurrentThread()))
        DT_THROW(DtThreadAlreadyRunningNumber, "DtThreadAlreadyRunning: Thread already running.");
}

/// Gives the lock up meanwhile.
void DtThreadedObject::State::stopEarlier(DtThread& earlier, DtScopedLock& lock) {
    lock.unlock();
    try {
        earlier.stop(true);
    } catch (...) {  // the starting thread is being cancelled
        lock.lock();
        if (startPending)
            withdrawStart();
        throw;
    }
    lock.lock();
}

void DtThreadedObject::State::launch(const std::shared_ptr<DtRunnable>& work) {
    startPending = stopAsked = false;
    try {
        thread = std::make_shared<DtThread>(std::make_shared<RunnableStart>(work));
        thread->start();
    } catch (const DtException&) {
        withdrawStart();
        thread.reset();
        DT_THROW(DtThreadCreationErrorNumber, "DtThreadCreationError: Failed to start.");
    } catch (...) {
        withdrawStart();
        thread.reset();
        throw;
    }
}

//----------------------------------------------------------------------------------------------

DtThreadedObject::DtThreadedObject() : DtThreadedObject(nullptr) {}

DtThreadedObject::DtThreadedObject(std::shared_ptr<DtRunnable> runnable)
    : state_(std::make_shared<State>()) {
    state_->runnable = std::move(runnable);
}

DtThreadedObject::~DtThreadedObject() {
    const CancellationOff noCancellation;
    std::shared_ptr<DtThread> thread;
    {
        const DtScopedLock lock(state_->mutex);
        state_->withdrawStart();
        thread.swap(state_->thread);
    }
    if (thread != nullptr)
        thread->stop(true);
}

void DtThreadedObject::setRunnableObject(std::shared_ptr<DtRunnable> runnable) {
    const DtScopedLock lock(state_->mutex);
    state_->runnable.swap(runnable);  // the earlier one is destroyed after the lock is released
}

std::shared_ptr<DtRunnable> DtThreadedObject::runnableObject() const {
    const DtScopedLock lock(state_->mutex);
    return state_->runnable;
}

bool DtThreadedObject::running() const {
    const DtScopedLock lock(state_->mutex);
    return state_->running;
}

void DtThreadedObject::setRunning(bool running) {
    const DtScopedLock lock(state_->mutex);
    state_->running = running;
}

//----------------------------------------------------------------------------------------------

// Each of these may be waiting while another thread destroys the object: they work on the state
// only. What they let go of is declared before the lock, to be destroyed after it is released.

void DtThreadedObject::start() {
    const std::shared_ptr<State> state = state_;
    std::shared_ptr<DtThread> earlier;
    std::shared_ptr<DtRunnable> runnable;
    DtScopedLock lock(state->mutex);
    state->checkStart();
    state->running = state->startPending = true;
    earlier = state->thread;
    runnable = state->runnable;
    if (earlier != nullptr)
        state->stopEarlier(*earlier, lock);
    if (state->startPending)
        state->launch(runnable);
}

void DtThreadedObject::stop(bool kill) {
    const std::shared_ptr<State> state = state_;
    std::shared_ptr<DtThread> thread;
    DtScopedLock lock(state->mutex);
    if (state->thread == nullptr && !state->startPending)
        DT_THROW(DtThreadNotStartedNumber,
                 "DtThreadNotStarted: Thread must be started to be stopped.");
    if (state->running)
        state->stopAsked = true;
    else if (!kill || !state->stopAsked)
        return;
    state->withdrawStart();
    thread = state->thread;
    lock.unlock();
    if (thread == nullptr)
        return;
    thread->stop(kill);
    lock.lock();
    if (kill && state->thread == thread && !thread->isCurrentThread())
        state->thread.reset();
}

int DtThreadedObject::join() {
    const std::shared_ptr<State> state = state_;
    std::shared_ptr<DtThread> thread;
    DtScopedLock lock(state->mutex);
    thread = state->thread;
    lock.unlock();
    if (thread == nullptr || thread->isCurrentThread())
        return 2;
    const int result = thread->join();
    lock.lock();
    if (state->thread == thread && !state->startPending)
        state->running = false;
    return result;
}

}  // namespace OrynRti
