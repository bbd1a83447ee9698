#ifndef TESTS_TRANSPORT_SHMSUPPORT_H
#define TESTS_TRANSPORT_SHMSUPPORT_H

#include <csignal>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Exceptions.h"
#include "ShmPool.h"
#include "ShmReader.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"

namespace OrynRti::Tests {

using Reader = DtShmMsgQueueReader;
using Writer = DtShmMsgQueueWriter;

/// No other process, and no other pool of this one, has it.
inline DtString uniquePoolName() {
    static int number = 0;
    return DtString("shmtest-" + std::to_string(getpid()) + "-" + std::to_string(++number));
}

inline std::string keyFileOf(const DtString& name) {
    return std::string("/tmp/") + name.c_str() + ".shared";
}

/// What the system still has of a pool.
inline std::string remainsOf(const DtString& name, key_t key) {
    return std::string(access(keyFileOf(name).c_str(), F_OK) == 0 ? "key file " : "") +
           (shmget(key, 0, 0) != -1 ? "segment " : "") +
           (semget(key, 0, 0) != -1 ? "semaphores" : "");
}

/// What an attempt throws; empty when it succeeds.
template <typename Attempt>
std::string problemOf(Attempt attempt) {
    try {
        attempt();
    } catch (const DtException& problem) {
        return problem.message();
    }
    return "";
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

    int extent() const { return static_cast<int>(length) + 8; }
};

/// Memory and semaphores for a queue; all gone when this object goes. On the heap the address
/// sanitizer sees a step outside of the memory; in the segment other processes see the queue.
/// Tests look at the records behind the back of readers and writers.
struct TestQueue {
    enum Where { OnHeap, InSegment };

    explicit TestQueue(int areaSize, Where where = OnHeap)
        : size(areaSize),
          memory(new char[static_cast<size_t>(DtShmMsgQueueManager::segmentSize(areaSize))]()),
          pool(uniquePoolName(), DtShmMsgQueueManager::segmentSize(areaSize)),
          semaphores(std::make_unique<DtShmSemaphores>(pool)),
          queue(static_cast<Dt_Shm_Msg_Queue*>(where == OnHeap ? memory.get() : pool.address())) {}

    template <typename End>
    std::unique_ptr<End> open(bool initialise, bool dropOldest, bool lockWait = true) const {
        return std::make_unique<End>(queue, size, semaphores->id(), 0, lockWait, initialise,
                                     dropOldest);
    }

    int first() const { return semctl(semaphores->id(), 0, GETVAL); }
    int packets() const { return semctl(semaphores->id(), 1, GETVAL); }
    /// Whether that many wait for one of the semaphores.
    bool isAwaited(int number, int waiting = 1) const {
        return semctl(semaphores->id(), number, GETNCNT) >= waiting;
    }

    char* area() const { return reinterpret_cast<char*>(queue + 1); }
    RawRecord record(int at) const {
        RawRecord copy;
        std::memcpy(&copy, area() + at, sizeof copy);
        return copy;
    }
    void setRecord(int at, const RawRecord& record) const {
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
        for (way.end = static_cast<int>(queue->front); record(way.end).kind != 2;) {
            const RawRecord header = record(way.end);
            way.unread += header.kind == 0 && header.state == 0 ? 1 : 0;
            way.bytes += header.extent();
            way.end += header.extent();
            if (header.kind == 1 && way.end == size)
                way.end = 0;
            if (way.end < 0 || way.end > size - 8 || way.bytes > size)
                return {"no end marker on the way from the front", 0, 0, 0};
        }
        int at = 0;
        while (at <= size - 8)
            at += record(at).extent();
        if (at != size)
            way.fault = "records end at " + std::to_string(at);
        return way;
    }

    /// Whether bytes, packets and records are as they must be while nobody is inside a call.
    void expectSound(bool dropOldest) const {
        const Way way = follow();
        ASSERT_EQ(way.fault, "");
        EXPECT_EQ(packets(), way.unread);
        EXPECT_EQ(first(), dropOldest ? 1 : size - way.bytes);
    }

    int size;
    std::unique_ptr<char[]> memory;
    DtSharedMemoryPoolManager pool;
    std::unique_ptr<DtShmSemaphores> semaphores;
    Dt_Shm_Msg_Queue* queue;
};

/// For tests whose parameter is whether the oldest is dropped.
inline std::string nameOfKind(const testing::TestParamInfo<bool>& kind) {
    return kind.param ? "DropOldest" : "Blocking";
}

}  // namespace OrynRti::Tests

#endif
