// Both kinds of queue between two processes beside a pipe, the system's own way to do the same,
// and beside the bare copy into a ring of that size, which nothing can beat. The time is that of
// the writing process, which a full pipe or blocking queue holds to the pace of the reader.
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ShmPool.h"
#include "ShmReader.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"

using namespace OrynRti;

namespace {

constexpr int theAreaSize = 32760;

/// Runs `work` in a process of its own until this object goes.
class Peer {
public:
    template <typename Work>
    explicit Peer(Work work) : pid_(fork()) {
        if (pid_ == 0) {
            work();
            _exit(0);
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

void readForEver(Dt_Shm_Msg_Queue* queue, int semId, bool waitFirst) {
    DtShmMsgQueueReader reader(queue, theAreaSize, semId, 0, true, false, false);
    std::vector<char> buffer(theAreaSize);
    for (int status = 0; status != DtShmReadGoAway;) {
        if (waitFirst)
            reader.waitForPacket(1.0);
        while (reader.Read(buffer.data(), theAreaSize, &status) >= 0) {
        }
    }
}

void queueWrite(benchmark::State& state, bool dropOldest) {
    const DtSharedMemoryPoolManager pool(DtString("shmbench-" + std::to_string(getpid())),
                                         DtShmMsgQueueManager::segmentSize(theAreaSize));
    const DtShmSemaphores semaphores(pool);
    auto* const queue = static_cast<Dt_Shm_Msg_Queue*>(pool.address());
    DtShmMsgQueueWriter writer(queue, theAreaSize, semaphores.id(), 0, true, true, dropOldest);
    const Peer reader([&] { readForEver(queue, semaphores.id(), dropOldest); });
    const std::vector<char> message(static_cast<size_t>(state.range(0)), 'm');
    for (auto _ : state)
        if (writer.Write(message.data(), static_cast<int>(message.size())) < 0)
            std::abort();
    state.SetItemsProcessed(state.iterations());
    state.counters["dropped"] = benchmark::Counter(static_cast<double>(writer.droppedCount()),
                                                   benchmark::Counter::kAvgIterations);
}

void blockingQueue(benchmark::State& state) {
    queueWrite(state, false);
}
BENCHMARK(blockingQueue)->Arg(144)->Arg(1400)->UseRealTime();

void droppingQueue(benchmark::State& state) {
    queueWrite(state, true);
}
BENCHMARK(droppingQueue)->Arg(144)->Arg(1400)->UseRealTime();

void pipeWrite(benchmark::State& state) {
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    const auto size = static_cast<size_t>(state.range(0));
    {
        const Peer reader([&] {
            std::vector<char> buffer(size);
            while (read(ends[0], buffer.data(), size) > 0) {
            }
        });
        const std::vector<char> message(size, 'm');
        for (auto _ : state)
            if (write(ends[1], message.data(), size) != static_cast<ssize_t>(size))
                std::abort();
    }
    state.SetItemsProcessed(state.iterations());
    close(ends[0]);
    close(ends[1]);
}
BENCHMARK(pipeWrite)->Arg(144)->Arg(1400)->UseRealTime();

void bareCopyIntoARing(benchmark::State& state) {
    std::vector<char> ring(theAreaSize);
    const auto size = static_cast<size_t>(state.range(0));
    const std::vector<char> message(size, 'm');
    size_t at = 0;
    char* const start = ring.data();
    for (auto _ : state) {
        benchmark::DoNotOptimize(start);
        std::memcpy(start + at, message.data(), size);
        benchmark::ClobberMemory();
        at += size;
        if (at + size > ring.size())
            at = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bareCopyIntoARing)->Arg(144)->Arg(1400);

}  // namespace
