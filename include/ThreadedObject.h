#ifndef RTIQNUTIL_THREADEDOBJECT_H
#define RTIQNUTIL_THREADEDOBJECT_H

#include <memory>

#include "Export.h"
#include "Runnable.h"

namespace OrynRti {

/// Runs a DtRunnable on a thread of its own, again and again if need be, and throws when it is
/// misused. Prefer it over a DtThread unless failure to start must be known.
///
///     DtThreadedObject receiver(std::make_shared<Receiver>());
///     receiver.start();
///     ...
///     receiver.stop(true);   // asks the work to stop and waits for it
///
/// `running` is what start(), stop() and join() have made of it, not the state of the work: it
/// stays true after work that has returned by itself, until stop() or join().
///
/// Threads:   every operation from any thread, the work's own included, also while another
///            thread starts, stops, joins or destroys the object. Nothing is locked while
///            waiting, so the work may ask running() whenever it likes
/// Ownership: shares the runnable with the running thread: it lives until the work is over, even
///            if it is replaced here or the work destroys its own DtThreadedObject
/// Errors:    misuse throws the DtTemplatedException named at the operation. A thread that the
///            system refuses is not reported: the object is running, without work
class DT_EXPORT DtThreadedObject {
public:
    DtThreadedObject();
    explicit DtThreadedObject(std::shared_ptr<DtRunnable> runnable);  ///< Null: none yet.
    DtThreadedObject(const DtThreadedObject&) = delete;
    DtThreadedObject& operator=(const DtThreadedObject&) = delete;

    /// Asks the work to stop and waits for every thread not joined yet. Destroyed by its own
    /// work, the object asks and leaves the work to return by itself.
    virtual ~DtThreadedObject();

    /// The runnable of the next start(); the work of an earlier start keeps its own. @{
    void setRunnableObject(std::shared_ptr<DtRunnable> runnable);
    std::shared_ptr<DtRunnable> runnableObject() const;
    /// @}

    /// The flag told of above. Setting it neither starts nor stops anything; start() and stop()
    /// then go by what was set. @{
    bool running() const;
    void setRunning(bool running);
    /// @}

    /// Starts the work on a new thread, after having stopped and joined that of an earlier start.
    /// A stop() that arrives during that wait wins: nothing is started then.
    /// Throws DtTemplatedException<-1> without a runnable, <1001> when running or when called by
    /// the work itself, <1003> when a DtException keeps the thread from being made.
    void start();

    /// When running: asks the work to stop and, with `kill` true, waits for it and drops the
    /// thread; running() is false from the beginning of the wait. When not running it does
    /// nothing, except that `kill` true waits for the work that an earlier stop() has asked.
    /// The work itself only asks.
    /// Throws DtTemplatedException<1002> when there is no thread: before the first start() and
    /// after stop(true).
    void stop(bool kill);

    /// Waits for the work to return, also after stop(false); running() is false then. 0 when it
    /// has been joined; 2 when there is nothing to wait for (never started, dropped by
    /// stop(true)) or when called by the work itself, which changes nothing.
    int join();

private:
    struct State;

    /// Running flag, runnable, thread and lock. Shared with those who wait for the work, since
    /// the object may be destroyed meanwhile.
    std::shared_ptr<State> state_;
};

}  // namespace OrynRti

#endif
