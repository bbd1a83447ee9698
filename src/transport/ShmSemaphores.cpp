#include "ShmSemaphores.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include "Exceptions.h"
#include "ShmPool.h"

namespace OrynRti {

namespace {

constexpr int thePair = 2;

[[noreturn]] void throwSystemText(const char* what) {
    throw DtException(
        (std::string("DtShmSemaphores() ") + what + ": " + std::strerror(errno)).c_str(), nullptr);
}

/// Only one of those who try at the same time gets it.
int createPair(key_t key, bool openToOthers) {
    return semget(key, thePair, IPC_CREAT | IPC_EXCL | (openToOthers ? 0666 : 0600));
}

/// A pair outlives the program that was killed; the segment tells whether somebody is there.
void removeStalePair(const DtSharedMemoryPoolManager& pool) {
    const int old = pool.attachCount() == 1 ? semget(pool.key(), 0, 0) : -1;
    if (old != -1)
        semctl(old, 0, IPC_RMID);
}

}  // namespace

DtShmSemaphores::DtShmSemaphores(const DtSharedMemoryPoolManager& pool, bool openToOthers)
    : id_(createPair(pool.key(), openToOthers)), creator_(getpid()) {
    if (id_ == -1 && errno == EEXIST) {
        removeStalePair(pool);
        id_ = createPair(pool.key(), openToOthers);
    }
    if (id_ == -1)
        throwSystemText("create has error with semget");
}

DtShmSemaphores::DtShmSemaphores(const DtSharedMemoryPoolClient& pool)
    : id_(semget(pool.key(), thePair, 0)), creator_(0) {
    if (id_ == -1)
        throwSystemText("join has error with semget");
}

DtShmSemaphores::~DtShmSemaphores() {
    if (creator_ == getpid())
        semctl(id_, 0, IPC_RMID);
}

int DtShmSemaphores::id() const {
    return id_;
}

}  // namespace OrynRti
