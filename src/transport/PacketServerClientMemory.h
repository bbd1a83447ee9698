#ifndef RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTMEMORY_H
#define RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTMEMORY_H

#include <memory>
#include <optional>

#include "ShmPool.h"
#include "ShmReader.h"
#include "ShmSemaphores.h"

namespace OrynRti {

/// The queue that a client of the packet server gets its packets through: segment, semaphores
/// and reader. The name of the segment carries the server's key and this process, so that what
/// a client leaves that is killed can be found and removed.
///
/// The reader does not wait for the lock: a server that is stopped may hold it for ever.
///
/// Errors:    the constructor throws a DtException
class PacketClientMemory {
public:
    /// `size_bytes` is that of the area of records, a multiple of 8. Unless `openToOthers`, only
    /// programs of the same user may attach.
    PacketClientMemory(int key, int size_bytes, bool openToOthers);

    const DtString& poolName() const { return pool_->name(); }
    DtShmMsgQueueReader& reader() { return *reader_; }

private:
    // In the order in which they must go, the last one first.
    std::unique_ptr<DtSharedMemoryPoolManager> pool_;
    std::optional<DtShmSemaphores> semaphores_;
    std::optional<DtShmMsgQueueReader> reader_;
};

}  // namespace OrynRti

#endif
