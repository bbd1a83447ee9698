#include "ShmPool.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include "Exceptions.h"
#include "Print.h"
#include "net/SystemCall.h"

namespace OrynRti {

namespace {

/// The path of a key file; empty when no file can have that name. Destructors need it, so it takes
/// no memory.
class KeyFilePath {
public:
    explicit KeyFilePath(const DtString& name) {
        const char* const text = name.c_str();
        if (text == nullptr || *text == '\0' || std::strchr(text, '/') != nullptr)
            return;
        const int length = std::snprintf(path_, sizeof path_, "/tmp/%s.shared", text);
        if (length < 0 || static_cast<size_t>(length) >= sizeof path_)
            path_[0] = '\0';
    }

    const char* c_str() const { return path_; }
    bool empty() const { return path_[0] == '\0'; }

private:
    char path_[sizeof "/tmp/" + NAME_MAX] = "";
};

/// Of a key file that is there; IPC_PRIVATE when there is none.
key_t keyOfFile(const KeyFilePath& path) {
    struct stat found {};
    if (path.empty() || lstat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return IPC_PRIVATE;
    const key_t key = ftok(path.c_str(), 0);
    return key == -1 ? IPC_PRIVATE : key;
}

bool hasSegment(int id, shmid_ds& state) {
    return shmctl(id, IPC_STAT, &state) == 0;
}

bool creatorIsGone(const shmid_ds& state) {
    return kill(state.shm_cpid, 0) != 0 && errno == ESRCH;
}

bool isStale(const shmid_ds& state) {
    return state.shm_nattch == 0 && creatorIsGone(state);
}

/// Makes room when a segment of another size, left by a program that was killed, is in the way.
void removeStaleOfOtherSize(const DtString& name, key_t key, size_t size) {
    shmid_ds state{};
    const int id = key == IPC_PRIVATE ? -1 : shmget(key, 0, 0);
    if (id == -1 || !hasSegment(id, state) || state.shm_segsz == size || !isStale(state))
        return;
    if (shmctl(id, IPC_RMID, nullptr) != 0)
        return;
    DtInfo << "DtSharedMemoryPoolManager: replaced a stale segment of pool " << name << ", of "
           << state.shm_segsz << " bytes" << std::endl;
}

int createSegment(const DtString& name, key_t key, int size) {
    if (size <= 0) {
        errno = EINVAL;
        return -1;
    }
    const auto bytes = static_cast<size_t>(size);
    removeStaleOfOtherSize(name, key, bytes);
    return shmget(key, bytes, IPC_CREAT | 0666);
}

[[noreturn]] void throwText(const std::string& text) {
    throw DtException(text.c_str(), nullptr);
}

}  // namespace

// -------------------------------------------------------------------------------------------

key_t DtGetShmKeyFromString(const DtString& name) {
    const KeyFilePath path(name);
    if (path.empty())
        return IPC_PRIVATE;
    // O_NONBLOCK: a pipe in the file's place must not hold us up.
    const int flags = O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const Descriptor file(repeatedCall([&] { return open(path.c_str(), flags, 0666); }));
    return keyOfFile(path);
}

bool DtRemoveStaleSharedMemory(const DtString& name) {
    const KeyFilePath path(name);
    const key_t key = keyOfFile(path);
    if (key == IPC_PRIVATE)
        return false;
    shmid_ds state{};
    const int segment = shmget(key, 0, 0);
    if (segment == -1 ? errno != ENOENT : !hasSegment(segment, state) || !isStale(state))
        return false;
    const int semaphores = semget(key, 0, 0);
    const bool removed = (semaphores == -1 || semctl(semaphores, 0, IPC_RMID) == 0) &&
                         (segment == -1 || shmctl(segment, IPC_RMID, nullptr) == 0);
    return removed && unlink(path.c_str()) == 0;
}

// -------------------------------------------------------------------------------------------

DtSharedMemoryPool::DtSharedMemoryPool(const DtString& name, key_t key) : name_(name), key_(key) {}

DtSharedMemoryPool::~DtSharedMemoryPool() {
    detach();
}

void* DtSharedMemoryPool::address() const {
    return address_;
}

const DtString& DtSharedMemoryPool::name() const {
    return name_;
}

int DtSharedMemoryPool::segmentId() const {
    return id_;
}

key_t DtSharedMemoryPool::key() const {
    return key_;
}

size_t DtSharedMemoryPool::size() const {
    shmid_ds state{};
    return hasSegment(id_, state) ? state.shm_segsz : 0;
}

int DtSharedMemoryPool::attachCount() const {
    shmid_ds state{};
    return hasSegment(id_, state) ? static_cast<int>(state.shm_nattch) : 0;
}

pid_t DtSharedMemoryPool::creatorPid() const {
    shmid_ds state{};
    return hasSegment(id_, state) ? state.shm_cpid : 0;
}

bool DtSharedMemoryPool::attach() {
    void* const address = shmat(id_, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1))
        return false;
    address_ = address;
    return true;
}

void DtSharedMemoryPool::detach() {
    if (address_ != nullptr)
        shmdt(address_);
    address_ = nullptr;
}

// -------------------------------------------------------------------------------------------

DtSharedMemoryPoolManager::DtSharedMemoryPoolManager(const DtString& name, int size)
    : DtSharedMemoryPool(name, IPC_PRIVATE) {
    key_ = DtGetShmKeyFromString(name);
    if (key_ == IPC_PRIVATE)
        DtWarn << "DtSharedMemoryPoolManager: no key file for pool " << name
               << ", its segment is private" << std::endl;
    id_ = createSegment(name, key_, size);
    if (id_ == -1)
        throwText(std::string("DtSharedMemoryPoolManager() create has error with shmget: ") +
                  std::strerror(errno));
    if (!attach()) {
        removeUnlessAnothers();
        throwText("DtSharedMemoryPoolManager()  has error. ");
    }
}

DtSharedMemoryPoolManager::~DtSharedMemoryPoolManager() {
    detach();
    removeUnlessAnothers();
}

/// A segment that another living process created is that one's to remove. The key file goes
/// only while it is still the one that the segment goes by.
void DtSharedMemoryPoolManager::removeUnlessAnothers() {
    shmid_ds state{};
    if (!hasSegment(id_, state) || (state.shm_cpid != getpid() && !creatorIsGone(state)))
        return;
    shmctl(id_, IPC_RMID, nullptr);
    const KeyFilePath path(name_);
    if (key_ != IPC_PRIVATE && keyOfFile(path) == key_)
        unlink(path.c_str());
}

bool DtSharedMemoryPoolManager::restrictToOwner() {
    shmid_ds state{};
    if (!hasSegment(id_, state))
        return false;
    state.shm_perm.mode = 0600;
    return shmctl(id_, IPC_SET, &state) == 0;
}

// -------------------------------------------------------------------------------------------

// Without a key file there is no segment of that name either: ENOENT, as shmget() says it.
DtSharedMemoryPoolClient::DtSharedMemoryPoolClient(const DtString& name)
    : DtSharedMemoryPool(name, keyOfFile(KeyFilePath(name))) {
    errno = ENOENT;
    id_ = key_ == IPC_PRIVATE ? -1 : shmget(key_, 0, 0);
    if (id_ == -1)
        throwText(std::string("DtSharedMemoryPoolManager() create has error with shmget: ") +
                  std::strerror(errno));
    if (!attach())
        throwText(std::string("DtSharedMemoryPoolClient::join has error with shmat: ") +
                  std::strerror(errno));
}

DtSharedMemoryPoolClient::~DtSharedMemoryPoolClient() = default;

}  // namespace OrynRti
