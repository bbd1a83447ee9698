#ifndef RTIQNUTIL_THREAD_H
#define RTIQNUTIL_THREAD_H

#include <memory>
#include <sys/types.h>

#include "Export.h"

namespace OrynRti {

class DtRunnable;

/// What a DtThread runs: a DtRunnable, or a plain function with its argument. Without either
/// the thread ends at once.
///
/// The function is given a flag that turns true when the thread is asked to stop, and that is
/// written by another thread: read it as `__atomic_load_n(stopFlag, __ATOMIC_ACQUIRE)` where a
/// plain volatile read would be called a data race.
///
/// Ownership: runnable and argument are the caller's and must outlive the work
class DT_EXPORT DtThreadStart {
public:
    using Function = void (*)(void* arg, volatile bool* stopFlag);  ///< It should poll its flag.

    explicit DtThreadStart(DtRunnable* runnable);  ///< Null for no work.
    DtThreadStart(Function function, void* arg);   ///< Null as function for no work.

    /// Does the work on the calling thread. The result is that of the runnable, 0 for a function.
    int execute(volatile bool* stopFlag);

    /// Calls the runnable's stop(); a function has only its flag.
    void stop();

private:
    DtRunnable* runnable_;
    Function function_;
    void* arg_;
};

/// A POSIX thread that runs one DtThreadStart, is asked to stop by a flag, and is joined exactly
/// once, however join(), stop(true) and destruction meet from whichever threads.
///
///     DtThread thread(std::make_shared<DtThreadStart>(&receiver));
///     if (thread.start() != 0) DtWarn << "cannot start the receiver" << std::endl;
///     ...
///     thread.stop(true);   // asks, then waits for the work to return
///
/// The work must poll its flag (DtRunnable::timeToStop()) and return: work that never looks
/// keeps stop(true), join() and the destructor waiting. What escapes from the work ends it and
/// is reported by a line on DtWarn; cancellation (DtThreadStop) ends it silently.
///
/// Threads:   every operation from any thread, the work's own included. Nothing is locked
///            while waiting. A thread may be destroyed while others wait in join() or
///            stop(true): they return once the work is over
/// Ownership: shares the start object, and what it works on, with the running thread, so
///            both stay alive until the work is over even if the work destroys its own DtThread
/// Errors:    start() answers 1; a runnable that throws from stop() is reported on DtWarn
class DT_EXPORT DtThread {
public:
    explicit DtThread(std::shared_ptr<DtThreadStart> start);  ///< Starts nothing yet.
    DtThread(const DtThread&) = delete;
    DtThread& operator=(const DtThread&) = delete;

    /// As stop(true), without being cancelled while it waits. A thread that is destroyed by its
    /// own work, or by another thread that this work is joining, cannot be waited for: it is
    /// asked to stop and goes on alone until the work returns.
    virtual ~DtThread();

    /// Starts the thread with the system's default attributes. 0 when it runs; 1 when the
    /// system refuses, or when the thread is started already: a thread can be started again after
    /// stop(true), not after a mere join().
    virtual int start();

    /// Runs the work on the calling thread and returns 0 when it is over; what escapes from the
    /// work reaches the caller. stop() does not reach such work, so it has to end by itself. Not
    /// while the thread runs: the two would share one runnable.
    int startInCurrentThread();

    /// Asks a started thread to stop: sets the flag and, the first time, calls the start object's
    /// stop(). With `join` true it then waits for the work to return, after which the thread
    /// counts as not started. On the thread itself it only asks.
    ///
    /// Along with the join, the handle value is passed to close(). The handle is an address, and
    /// close() takes its low 32 bits for a descriptor number; that lies far beyond any open
    /// descriptor, so the caller sees nothing of it: no error, no change of errno.
    void stop(bool join);

    /// Waits for the work to return. 0 when the thread has been joined, by this call or another;
    /// 2 when it was never started or is the calling thread.
    int join();

    /// True from start() until stop(true) has joined the thread; join() alone leaves it true.
    bool hasStarted() const;

    /// Whether the thread has been asked to stop; true before the first start.
    bool stopped() const;

    /// Whether the work is running.
    bool isRunning() const;

    /// Whether the caller is the work of this thread.
    bool isCurrentThread() const;

    static pthread_t GetCurrentThreadHandle();  ///< As pthread_self().

protected:
    /// What the POSIX thread runs, given its DtThread: run(), then DtThreadExit(). Nothing but
    /// the unwinding of a cancelled thread leaves it.
    static void* threadRunHelper(void* thread);

    /// Does the work on the calling thread; isRunning() is true meanwhile.
    void run();

private:
    struct State;

    /// Handle, stop request, running, start object and lock. Shared with the running thread and
    /// with those who wait for it, since each of them may outlive this object.
    std::shared_ptr<State> state_;
};

/// Sleeps for `seconds`, whatever signals arrive. Returns at once when that is negative, zero or
/// not a number; more than 1e9 (31 years) counts as 1e9.
DT_EXPORT void DtSleep(double seconds);

/// @name Threads by raw handle
/// A handle other than 0 must be that of a thread which has been neither joined nor detached yet;
/// for anything else the system may do as it likes.
/// @{

/// Starts a thread that calls `fn(arg)`; it must be joined. Returns its handle, 0 when `fn` is
/// null or the system refuses; `id`, when not null, receives the same value, maybe after the
/// thread has begun. `fn` must not throw.
DT_EXPORT unsigned long DtThreadCreate(void* (*fn)(void*), void* arg, unsigned long* id);

/// Ends the calling thread, unwinding its stack.
[[noreturn]] DT_EXPORT void DtThreadExit(void* result);

/// The calling thread's handle.
DT_EXPORT unsigned long DtGetThreadId();

/// Waits for the thread to end: 0, or 2 when it cannot be joined (0, the calling thread).
DT_EXPORT int DtThreadJoin(unsigned long thread);

/// Cancels the thread: it unwinds its stack at the next call where it can be cancelled, and must
/// still be joined. 0, or 1 when there is no such thread (0).
DT_EXPORT int DtThreadStop(unsigned long thread);

/// The same as DtThreadStop.
DT_EXPORT int DtThreadCleanUp(unsigned long thread);

/// @}

}  // namespace OrynRti

#endif
