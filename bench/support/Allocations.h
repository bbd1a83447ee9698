#ifndef RTIQNUTIL_BENCH_ALLOCATIONS_H
#define RTIQNUTIL_BENCH_ALLOCATIONS_H

// Stands in front of the allocator of the C library, for the whole program: to be included by one
// source file of an executable.

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <malloc.h>

#define DT_BENCH_ALLOCATOR __attribute__((visibility("default"), used))

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace bench {

inline std::atomic<bool> theCounting{false};
inline std::atomic<long> theAllocations{0};
inline std::atomic<long> theHeldBytes{0};

/// What all threads of the program allocate while this object lives; one at a time. Without it
/// an allocation costs one load more than usual.
class CountedAllocations {
public:
    CountedAllocations() {
        theAllocations.store(0, std::memory_order_relaxed);
        theHeldBytes.store(0, std::memory_order_relaxed);
        theCounting.store(true, std::memory_order_relaxed);
    }
    CountedAllocations(const CountedAllocations&) = delete;
    CountedAllocations& operator=(const CountedAllocations&) = delete;
    ~CountedAllocations() { theCounting.store(false, std::memory_order_relaxed); }

    /// How often memory was asked for.
    long count() const { return theAllocations.load(std::memory_order_relaxed); }

    /// Usable bytes of the blocks taken less those given back.
    long heldBytes() const { return theHeldBytes.load(std::memory_order_relaxed); }
};

inline void* taken(void* block) {
    if (block != nullptr && theCounting.load(std::memory_order_relaxed)) {
        theAllocations.fetch_add(1, std::memory_order_relaxed);
        theHeldBytes.fetch_add(long(malloc_usable_size(block)), std::memory_order_relaxed);
    }
    return block;
}

inline void givenBack(void* block) {
    if (block != nullptr && theCounting.load(std::memory_order_relaxed))
        theHeldBytes.fetch_sub(long(malloc_usable_size(block)), std::memory_order_relaxed);
}

}  // namespace bench

extern "C" {

DT_BENCH_ALLOCATOR void* malloc(std::size_t size) noexcept {
    return bench::taken(__libc_malloc(size));
}

DT_BENCH_ALLOCATOR void* calloc(std::size_t count, std::size_t size) noexcept {
    return bench::taken(__libc_calloc(count, size));
}

DT_BENCH_ALLOCATOR void* realloc(void* block, std::size_t size) noexcept {
    const bool counting = bench::theCounting.load(std::memory_order_relaxed);
    const long before = counting && block != nullptr ? long(malloc_usable_size(block)) : 0;
    void* const moved = __libc_realloc(block, size);
    if (counting && moved != nullptr)
        bench::theHeldBytes.fetch_sub(before, std::memory_order_relaxed);
    return bench::taken(moved);
}

DT_BENCH_ALLOCATOR void free(void* block) noexcept {
    bench::givenBack(block);
    __libc_free(block);
}

DT_BENCH_ALLOCATOR void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return bench::taken(__libc_memalign(alignment, size));
}

DT_BENCH_ALLOCATOR void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}

DT_BENCH_ALLOCATOR int posix_memalign(void** block, std::size_t alignment,
                                      std::size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

}  // extern "C"

#undef DT_BENCH_ALLOCATOR

#endif
