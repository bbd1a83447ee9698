// Message queues in shared memory between two processes: how many messages cross, and how long one
// takes there and back. The limit of a blocking queue is the four calls on semaphores that it
// makes for a message, and the copies in and out. The time of a flow is that of the writing
// process, which a full blocking queue holds to the pace of the reader.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/interprocess/ipc/message_queue.hpp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ShmPool.h"
#include "ShmReader.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"
#include "support/Percentiles.h"
#include "support/Pinning.h"
#include "support/SystemCalls.h"

using namespace OrynRti;

namespace {

constexpr int theAreaSize = 32760;

/// What a message takes of the area, in every queue here.
int slotSize(int messageSize) {
    return messageSize + 8;
}

std::string uniqueName() {
    static int number = 0;
    return "shmbench-" + std::to_string(getpid()) + "-" + std::to_string(++number);
}

void require(bool done) {
    if (!done)
        std::abort();
}

/// Runs `work` in a process of its own, on a CPU, until this object goes.
class Peer {
public:
    template <typename Work>
    Peer(std::size_t cpu, Work work) : pid_(fork()) {
        if (pid_ == 0) {
            const bench::PinnedTo there(cpu);
            for (;;)
                work();
        }
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }

private:
    pid_t pid_;
};

// -------------------------------------------------------------------------------------------
// Queues for messages of one size; made before the fork, used on both sides of it.

class OurQueue {
public:
    OurQueue(int messageSize, bool dropOldest)
        : pool_(uniqueName(), DtShmMsgQueueManager::segmentSize(theAreaSize)),
          semaphores_(pool_),
          queue_(static_cast<Dt_Shm_Msg_Queue*>(pool_.address())),
          writer_(queue_, theAreaSize, semaphores_.id(), 0, true, true, dropOldest),
          reader_(queue_, theAreaSize, semaphores_.id(), 0, true, false, dropOldest),
          size_(messageSize) {}

    void send(const char* message) { require(writer_.Write(message, size_) == size_); }

    /// False when there is nothing, in a queue that drops the oldest.
    bool receive(char* buffer) {
        int status = 0;
        const bool got = reader_.Read(buffer, size_, &status) == size_;
        require(got || status == DtShmReadEmpty);
        return got;
    }

    void wait() { require(reader_.waitForPacket(-1.0) == 1); }
    double dropped() const { return static_cast<double>(writer_.droppedCount()); }

private:
    DtSharedMemoryPoolManager pool_;
    DtShmSemaphores semaphores_;
    Dt_Shm_Msg_Queue* queue_;
    DtShmMsgQueueWriter writer_;
    DtShmMsgQueueReader reader_;
    int size_;
};

struct Ours : OurQueue {
    explicit Ours(int messageSize) : OurQueue(messageSize, false) {}
};

/// The calls on semaphores and the copies of a blocking queue, and nothing else.
class Limit {
public:
    explicit Limit(int messageSize)
        : slot_(slotSize(messageSize)),
          size_(static_cast<std::size_t>(messageSize)),
          ring_(static_cast<char*>(mmap(nullptr, theAreaSize, PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
          semaphores_(semget(IPC_PRIVATE, 2, 0600)) {
        require(ring_ != MAP_FAILED && semaphores_ != -1);
        change({{0, static_cast<short>(theAreaSize), 0}});
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    ~Limit() {
        semctl(semaphores_, 0, IPC_RMID);
        munmap(ring_, theAreaSize);
    }

    void send(const char* message) {
        change({{0, static_cast<short>(-slot_ - 8), 0}});
        std::memcpy(nextSlot(), message, size_);
        change({{0, 8, 0}, {1, 1, 0}});
    }

    bool receive(char* buffer) {
        change({{1, -1, 0}});
        std::memcpy(buffer, nextSlot(), size_);
        change({{0, static_cast<short>(slot_), 0}});
        return true;
    }

private:
    template <std::size_t Count>
    void change(const sembuf (&operations)[Count]) const {
        sembuf copies[Count];
        std::copy_n(operations, Count, copies);
        require(semop(semaphores_, copies, Count) == 0);
    }

    char* nextSlot() {
        at_ = at_ + 2 * slot_ > theAreaSize ? 0 : at_ + slot_;
        return ring_ + at_;
    }

    int slot_;
    std::size_t size_;
    char* ring_;
    int semaphores_;
    int at_ = 0;  ///< Each process has its own.
};

class Boost {
public:
    explicit Boost(int messageSize)
        : name_(uniqueName()),
          size_(static_cast<std::size_t>(messageSize)),
          queue_(boost::interprocess::create_only, name_.c_str(),
                 static_cast<std::size_t>(theAreaSize / slotSize(messageSize)), size_) {}
    Boost(const Boost&) = delete;
    Boost& operator=(const Boost&) = delete;
    ~Boost() { boost::interprocess::message_queue::remove(name_.c_str()); }

    void send(const char* message) { queue_.send(message, size_, 0); }

    bool receive(char* buffer) {
        boost::interprocess::message_queue::size_type got = 0;
        unsigned int priority = 0;
        queue_.receive(buffer, size_, got, priority);
        return true;
    }

private:
    std::string name_;
    std::size_t size_;
    boost::interprocess::message_queue queue_;
};

// -------------------------------------------------------------------------------------------

/// The system calls of both sides for a message while neither has to wait. A copy of this process
/// makes them, so `queue` is for nothing else.
template <typename Queue>
void countSystemCalls(benchmark::State& state, Queue&& queue) {
    constexpr int theCount = 100;
    std::vector<char> message(static_cast<std::size_t>(state.range(0)), 'm');
    const long calls = bench::systemCallsOf([&] {
        for (int i = 0; i < theCount; ++i) {
            queue.send(message.data());
            queue.receive(message.data());
        }
    });
    state.counters["system_calls"] = static_cast<double>(calls) / theCount;
}

template <typename Queue, typename Receive>
void flow(benchmark::State& state, Queue& queue, Receive receive) {
    std::vector<char> buffer(theAreaSize);
    const std::vector<char> message(static_cast<std::size_t>(state.range(0)), 'm');
    const Peer reader(1, [&] { receive(buffer.data()); });
    const bench::PinnedTo here(0);
    for (auto _ : state)
        queue.send(message.data());
    state.SetItemsProcessed(state.iterations());
}

template <typename Queue>
void blockingFlow(benchmark::State& state) {
    Queue queue(static_cast<int>(state.range(0)));
    flow(state, queue, [&](char* buffer) { queue.receive(buffer); });
    countSystemCalls(state, Queue(static_cast<int>(state.range(0))));
}
BENCHMARK_TEMPLATE(blockingFlow, Ours)
    ->Name("ShmQueueBlocking/Ours")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1400)
    ->UseRealTime();
BENCHMARK_TEMPLATE(blockingFlow, Limit)
    ->Name("ShmQueueBlocking/Limit")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1400)
    ->UseRealTime();
BENCHMARK_TEMPLATE(blockingFlow, Boost)
    ->Name("ShmQueueBlocking/Boost")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1400)
    ->UseRealTime();

/// The share of the messages that the reader was too slow for is a counter of its own.
void droppingFlow(benchmark::State& state) {
    OurQueue queue(static_cast<int>(state.range(0)), true);
    flow(state, queue, [&](char* buffer) {
        if (!queue.receive(buffer))
            queue.wait();
    });
    state.counters["dropped"] =
        benchmark::Counter(queue.dropped(), benchmark::Counter::kAvgIterations);
    countSystemCalls(state, OurQueue(static_cast<int>(state.range(0)), true));
}
BENCHMARK(droppingFlow)
    ->Name("ShmQueueDropOldest/Ours")
    ->Arg(64)
    ->Arg(256)
    ->Arg(1400)
    ->UseRealTime();

template <typename Queue>
void roundTrip(benchmark::State& state) {
    const int size = 64;
    Queue there(size);
    Queue back(size);
    char message[size] = {};
    const Peer echo(0, [&] {
        there.receive(message);
        back.send(message);
    });
    const bench::PinnedTo here(0);
    bench::Percentiles latency;
    for (auto _ : state) {
        const auto begin = bench::Percentiles::Clock::now();
        there.send(message);
        back.receive(message);
        latency.add(bench::Percentiles::Clock::now() - begin);
    }
    latency.report(state);
}
BENCHMARK_TEMPLATE(roundTrip, Ours)->Name("ShmQueueRoundTrip/Ours")->UseRealTime();
BENCHMARK_TEMPLATE(roundTrip, Limit)->Name("ShmQueueRoundTrip/Limit")->UseRealTime();
BENCHMARK_TEMPLATE(roundTrip, Boost)->Name("ShmQueueRoundTrip/Boost")->UseRealTime();

}  // namespace
