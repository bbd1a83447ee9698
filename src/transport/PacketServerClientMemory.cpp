#include "transport/PacketServerClientMemory.h"

#include <atomic>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

#include "Exceptions.h"
#include "ShmQueue.h"

namespace OrynRti {

namespace {

constexpr int theMostNames = 16;

std::string nextName(int key) {
    static std::atomic<unsigned int> number{0};
    return "rtiqn-packets-" + std::to_string(key) + "-" + std::to_string(getpid()) + "-" +
           std::to_string(number.fetch_add(1, std::memory_order_relaxed) + 1);
}

std::string keyFileOf(const std::string& name) {
    return "/tmp/" + name + ".shared";
}

/// Different names can have the same key. Joining the segment of another one, even for a moment,
/// could remove it.
bool isTaken(key_t key) {
    return shmget(key, 0, 0) != -1;
}

/// Whether the segment is new, and nobody got in before it was narrowed.
bool isAlone(const DtSharedMemoryPoolManager& pool, int size_bytes) {
    return pool.key() != IPC_PRIVATE && pool.creatorPid() == getpid() && pool.attachCount() == 1 &&
           pool.size() == static_cast<size_t>(size_bytes);
}

/// Null when the name will not do.
std::unique_ptr<DtSharedMemoryPoolManager> makePool(const std::string& name, int size_bytes,
                                                    bool openToOthers) {
    const DtString poolName(name);
    const std::string keyFile = keyFileOf(name);
    DtRemoveStaleSharedMemory(poolName);
    if (access(keyFile.c_str(), F_OK) == 0)
        return nullptr;  // somebody lives under that name
    const key_t key = DtGetShmKeyFromString(poolName);
    if (key == IPC_PRIVATE)
        return nullptr;
    std::unique_ptr<DtSharedMemoryPoolManager> pool;
    try {
        if (!isTaken(key))
            pool = std::make_unique<DtSharedMemoryPoolManager>(poolName, size_bytes);
    } catch (...) {
        unlink(keyFile.c_str());
        throw;
    }
    if (pool && (openToOthers || pool->restrictToOwner()) && isAlone(*pool, size_bytes))
        return pool;
    pool.reset();
    unlink(keyFile.c_str());
    return nullptr;
}

std::unique_ptr<DtSharedMemoryPoolManager> makeOwnPool(int key, int size_bytes, bool openToOthers) {
    for (int i = 0; i < theMostNames; ++i)
        if (auto pool = makePool(nextName(key), size_bytes, openToOthers))
            return pool;
    throw DtException("there is no segment of shared memory to be had for this client alone",
                      nullptr);
}

}  // namespace

PacketClientMemory::PacketClientMemory(int key, int size_bytes, bool openToOthers)
    : pool_(makeOwnPool(key, DtShmMsgQueueManager::segmentSize(size_bytes), openToOthers)) {
    semaphores_.emplace(*pool_, openToOthers);
    auto* const queue = static_cast<Dt_Shm_Msg_Queue*>(pool_->address());
    reader_.emplace(queue, size_bytes, semaphores_->id(), 0, false, true, true);
}

}  // namespace OrynRti
