#ifndef TESTS_TRANSPORT_SHMSUPPORT_H
#define TESTS_TRANSPORT_SHMSUPPORT_H

#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ShmPool.h"
#include "ShmQueue.h"
#include "ShmSemaphores.h"

namespace OrynRti::Tests {

/// No other process, and no other pool of this one, has it.
inline DtString uniquePoolName() {
    static int number = 0;
    return DtString("shmtest-" + std::to_string(getpid()) + "-" + std::to_string(++number));
}

inline std::string keyFileOf(const DtString& name) {
    return std::string("/tmp/") + name.c_str() + ".shared";
}

/// Runs work in a process of its own, which ends with the result of the work. Killed and waited
/// for at the latest when this object goes.
class Child {
public:
    template <typename Work>
    explicit Child(Work work) : pid_(fork()) {
        if (pid_ == 0)
            _exit(work());
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { kill(); }

    pid_t pid() const { return pid_; }

    /// The exit status, or minus the signal that ended it.
    int wait() {
        int status = 0;
        if (waitpid(pid_, &status, 0) == pid_)
            result_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        pid_ = -1;
        return result_;
    }

    void kill() {
        if (pid_ <= 0)
            return;
        ::kill(pid_, SIGKILL);
        wait();
    }

private:
    pid_t pid_;
    int result_ = -1;
};

/// A record's header as it lies in the queue.
struct RawRecord {
    uint16_t state;
    uint16_t kind;
    uint32_t length;
};

/// What a test looks at behind the back of readers and writers.
class QueueView {
public:
    QueueView(Dt_Shm_Msg_Queue* queue, int size, int semId)
        : queue_(queue), size_(size), semId_(semId) {}

    int first() const { return semctl(semId_, 0, GETVAL); }
    int packets() const { return semctl(semId_, 1, GETVAL); }
    int front() const { return static_cast<int>(queue_->front); }

    RawRecord record(int at) const {
        RawRecord copy;
        std::memcpy(&copy, area() + at, sizeof copy);
        return copy;
    }
    void setRecord(int at, const RawRecord& record) {
        std::memcpy(area() + at, &record, sizeof record);
    }

    struct Way {
        std::string fault;  ///< Empty when all is well.
        int end = 0;        ///< Where the end marker is.
        int unread = 0;     ///< Messages.
        int bytes = 0;      ///< Of all records from the front to the end marker.
    };

    /// Follows the records from the front, and holds the whole area against the rule that they
    /// tile it.
    Way follow() const {
        Way way;
        for (way.end = front(); record(way.end).kind != 2;) {
            const RawRecord header = record(way.end);
            const int extent = static_cast<int>(header.length) + 8;
            way.unread += header.kind == 0 && header.state == 0 ? 1 : 0;
            way.bytes += extent;
            way.end = header.kind == 1 ? 0 : way.end + extent;
            if (way.end < 0 || way.end > size_ - 8 || way.bytes > size_)
                return {"no end marker on the way from the front", 0, 0, 0};
        }
        int at = 0;
        while (at <= size_ - 8)
            at += static_cast<int>(record(at).length) + 8;
        if (at != size_)
            way.fault = "records end at " + std::to_string(at);
        return way;
    }

private:
    char* area() const { return reinterpret_cast<char*>(queue_ + 1); }

    Dt_Shm_Msg_Queue* queue_;
    int size_;
    int semId_;
};

/// Memory and semaphores for a queue; all gone when this object goes. On the heap the address
/// sanitizer sees a step outside of the memory; in the segment other processes see the queue.
struct TestQueue {
    enum Where { OnHeap, InSegment };

    explicit TestQueue(int areaSize, Where where = OnHeap)
        : size(areaSize),
          memory(new char[static_cast<size_t>(DtShmMsgQueueManager::segmentSize(areaSize))]()),
          pool(uniquePoolName(), DtShmMsgQueueManager::segmentSize(areaSize)),
          semaphores(std::make_unique<DtShmSemaphores>(pool)),
          queue(static_cast<Dt_Shm_Msg_Queue*>(where == OnHeap ? memory.get() : pool.address())) {}

    QueueView view() const { return {queue, size, semaphores->id()}; }

    template <typename End>
    std::unique_ptr<End> open(bool initialise, bool dropOldest, bool lockWait = true) const {
        return std::make_unique<End>(queue, size, semaphores->id(), 0, lockWait, initialise,
                                     dropOldest);
    }

    int size;
    std::unique_ptr<char[]> memory;
    DtSharedMemoryPoolManager pool;
    std::unique_ptr<DtShmSemaphores> semaphores;
    Dt_Shm_Msg_Queue* queue;
};

}  // namespace OrynRti::Tests

#endif
