#ifndef RTIQNUTIL_SHMSEMAPHORES_H
#define RTIQNUTIL_SHMSEMAPHORES_H

#include "Export.h"

namespace OrynRti {

class DtSharedMemoryPoolClient;
class DtSharedMemoryPoolManager;

/// The pair of System V semaphores that guards a message queue, under the key of its pool: made
/// beside the pool's manager, joined beside a pool's client.
///
///     DtSharedMemoryPoolClient pool("plotter");
///     DtShmSemaphores semaphores(pool);
///     auto* queue = static_cast<Dt_Shm_Msg_Queue*>(pool.address());
///     DtShmMsgQueueWriter writer(queue, 8000, semaphores.id(), 0, true, false, false);
///
/// Both semaphores begin at 0, where nothing can be taken, until a queue is initialised on them.
/// Who joins early thus waits, and never sees a half-made queue.
///
/// Ownership: the process that created the pair removes it in the destructor. Every wait on it ends
/// then,
///            in all processes; so it goes before the pool
/// Errors:    the constructors throw a DtException with the system's text
class DT_EXPORT DtShmSemaphores {
public:
    /// Creates the pair. One that a killed program left under this key is replaced, provided
    /// that nobody else is attached to the pool; otherwise it is somebody's and the constructor
    /// throws. Only programs of the owner may use the pair, unless `openToOthers`.
    explicit DtShmSemaphores(const DtSharedMemoryPoolManager& pool, bool openToOthers = false);

    /// Joins the pair that the pool's creator made.
    explicit DtShmSemaphores(const DtSharedMemoryPoolClient& pool);

    ~DtShmSemaphores();

    DtShmSemaphores(const DtShmSemaphores&) = delete;
    DtShmSemaphores& operator=(const DtShmSemaphores&) = delete;

    /// The semaphore-set id that queues are given; their semaphore number is 0.
    int id() const;

private:
    int id_ = -1;
    int creator_;  ///< The process that created the pair, 0 when it was joined.
};

}  // namespace OrynRti

#endif
