#ifndef RTIQNUTIL_SHMPOOL_H
#define RTIQNUTIL_SHMPOOL_H

#include <cstddef>
#include <sys/types.h>

#include "Export.h"
#include "String.h"

namespace OrynRti {

/// The key of System V IPC for a pool of that name: that of the file "/tmp/" + name + ".shared",
/// which is made, or emptied, for the purpose. A regular file that may not be written serves as
/// it is.
///
/// Returns 0, the key of private segments, when there can be no such file: for a name that is
/// empty or holds a '/', and where something other than a regular file (a symbolic link, a
/// directory) is in the way. Keys have few bits: two names can get the same one.
DT_EXPORT key_t DtGetShmKeyFromString(const DtString& name);

/// Removes what a program that was killed left of its pool: the semaphores, the segment and the
/// key file, in this order. True when there was something and all of it is gone; false, and
/// nothing is touched, when some process is attached to the segment or its creator lives. The
/// caller owes that no process is just now making a pool of that name.
DT_EXPORT bool DtRemoveStaleSharedMemory(const DtString& name);

/// A segment of shared memory in this process: what its two kinds, the manager and the client,
/// have in common. The figures are those of the system at the moment of the question; they are
/// 0 once the segment cannot be asked any more.
///
/// Cost:      size(), attachCount() and creatorPid() are a system call each
class DT_EXPORT DtSharedMemoryPool {
public:
    DtSharedMemoryPool(const DtSharedMemoryPool&) = delete;
    DtSharedMemoryPool& operator=(const DtSharedMemoryPool&) = delete;

    /// Where the segment begins in this process.
    void* address() const;

    const DtString& name() const;  ///< As given.
    int segmentId() const;         ///< As the calls of System V IPC take it.

    /// What the semaphores of the pool go by too; 0 (IPC_PRIVATE) for a private segment.
    key_t key() const;

    /// Bytes of the segment. The creator chose it: check it against what you expect there.
    size_t size() const;

    /// How many attachments there are, this one included. A manager that finds more than its
    /// own on a segment it meant to create shares it with somebody else.
    int attachCount() const;

    /// The process that created the segment.
    pid_t creatorPid() const;

protected:
    DtSharedMemoryPool(const DtString& name, key_t key);  ///< Attaches to nothing yet.

    /// Not virtual: a pool is not destroyed through this type.
    ~DtSharedMemoryPool();

    /// Maps the segment; false with errno.
    bool attach();
    void detach();  ///< Unmaps the segment, if it is mapped.

    /// What the observers give. The order of the first three members is fixed. @{
    DtString name_;
    void* address_ = nullptr;
    int id_ = -1;
    key_t key_;
    /// @}
};

/// Creates the shared segment of a name, and removes it at the end.
///
///     DtSharedMemoryPoolManager pool("plotter", DtShmMsgQueueManager::segmentSize(8000));
///     DtShmSemaphores semaphores(pool);
///     auto* queue = static_cast<Dt_Shm_Msg_Queue*>(pool.address());
///     DtShmMsgQueueReader reader(queue, 8000, semaphores.id(), 0, true, true, false);
///
/// A segment of that name that is already there is taken as it is, contents and all. When it
/// has another size, and nobody is attached and its creator is gone, it is replaced, with a line
/// on DtInfo; one in use is never touched. Without a key file the segment is private to this
/// process and its later children, with a line on DtWarn.
///
/// Any program may attach (mode 0666) until restrictToOwner().
///
/// Ownership: the segment and its key file, removed by the destructor. Declare the semaphores
///            after the pool: they must go first, since only that wakes who waits for them
/// Errors:    the constructor throws a DtException, with the system's text when the segment
///            cannot be created
class DT_EXPORT DtSharedMemoryPoolManager : public DtSharedMemoryPool {
public:
    /// `size` in bytes, above 0.
    DtSharedMemoryPoolManager(const DtString& name, int size);

    /// Removes the segment: who is attached keeps the memory, nobody can join any more. One that
    /// another living process created is left to that process.
    ~DtSharedMemoryPoolManager();

    /// From now on only programs of the owner may attach. False when the system refuses.
    bool restrictToOwner();

private:
    void removeUnlessAnothers();
};

/// Attaches to the segment that a DtSharedMemoryPoolManager in another process created. No key
/// file is made for it.
///
/// Errors:    the constructor throws a DtException with the system's text
class DT_EXPORT DtSharedMemoryPoolClient : public DtSharedMemoryPool {
public:
    explicit DtSharedMemoryPoolClient(const DtString& name);  ///< That of the manager.

    /// Detaches; the segment stays.
    ~DtSharedMemoryPoolClient();
};

}  // namespace OrynRti

#endif
