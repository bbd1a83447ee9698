#ifndef RTIQNUTIL_RUNNABLE_H
#define RTIQNUTIL_RUNNABLE_H

#include <atomic>

#include "Export.h"

namespace OrynRti {

/// A unit of work that a thread runs until it is done or asked to stop. Derive from it, and poll
/// timeToStop() in the work; work that sleeps or blocks also overrides stop() to wake itself:
///
///     class Receiver : public DtRunnable {
///         int run() override {
///             while (!timeToStop()) receiveOne();
///             return 0;
///         }
///         void stop() override { wakeUpPipe_.write(); }
///     };
///
/// A runnable that has to know of a request before or after its run keeps a request flag of its
/// own and sets it in stop(): the flag behind timeToStop() belongs to whoever called execute()
/// and is forgotten when execute() returns. The virtual functions keep their order.
///
/// Threads:   one execute() at a time. timeToStop() is for the work itself and for stop();
///            stop() is called from other threads while the work runs
/// Ownership: the caller's; DtThreadedObject shares it with the thread that runs it
/// Errors:    what the work throws passes through execute()
class DT_EXPORT DtRunnable {
public:
    DtRunnable();
    DtRunnable(const DtRunnable&) = delete;
    DtRunnable& operator=(const DtRunnable&) = delete;

    virtual ~DtRunnable();

    /// The work. The result means what the derived class says.
    virtual int run() = 0;

    /// Wakes the work so that it notices the request to stop. Called at most once per start,
    /// maybe before run() has begun or after it has returned; a DtThread calls it under the lock
    /// of its own state, so it must not wait for the work to end. The base does nothing.
    virtual void stop();

    /// Does the work, which sees `stopFlag` through timeToStop(), and returns its result. The
    /// flag must live until then; null is a flag that is never set.
    int execute(volatile bool* stopFlag);

    /// Whether the work has been asked to stop; false outside of execute().
    bool timeToStop() const;

private:
    std::atomic<volatile bool*> stopFlag_;
};

}  // namespace OrynRti

#endif
