// DtMutex beside the bare recursive POSIX mutex that it stands on.
#include <benchmark/benchmark.h>
#include <mutex>
#include <pthread.h>

#include "Mutex.h"

using namespace OrynRti;

namespace {

struct BareMutex {
    void lock() { pthread_mutex_lock(&mutex); }
    void unlock() { pthread_mutex_unlock(&mutex); }

    pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

/// The compiler does not know which mutex it is, so that virtual calls are made.
template <class Mutex>
void lockAndUnlock(benchmark::State& state) {
    Mutex own;
    Mutex* volatile unknown = &own;
    Mutex* const mutex = unknown;
    for (auto _ : state) {
        mutex->lock();
        mutex->unlock();
    }
}
BENCHMARK(lockAndUnlock<DtMutex>)->Name("MutexLockUnlock/Ours");
BENCHMARK(lockAndUnlock<BareMutex>)->Name("MutexLockUnlock/Limit");
BENCHMARK(lockAndUnlock<std::recursive_mutex>)->Name("MutexLockUnlock/Std");

}  // namespace
