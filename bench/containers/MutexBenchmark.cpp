// DtMutex beside the bare recursive POSIX mutex it stands on.
#include <benchmark/benchmark.h>
#include <pthread.h>

#include "Mutex.h"
#include "ScopedLock.h"

using namespace OrynRti;

namespace {

pthread_mutex_t* bareMutex() {
    static pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
    return &mutex;
}

void bareRecursiveMutex(benchmark::State& state) {
    for (auto _ : state) {
        pthread_mutex_lock(bareMutex());
        pthread_mutex_unlock(bareMutex());
    }
}
BENCHMARK(bareRecursiveMutex)->Threads(1)->Threads(2);

void scopedLock(benchmark::State& state) {
    static DtMutex mutex;
    for (auto _ : state)
        DtScopedLock lock(mutex, true);
}
BENCHMARK(scopedLock)->Threads(1)->Threads(2);

}  // namespace
