#ifndef RTIQNUTIL_FUZZ_MEMORY_FILE_H
#define RTIQNUTIL_FUZZ_MEMORY_FILE_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

/// A file that lives in memory only, for readers that want a path.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size)
        : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
        if (write(descriptor_, data, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

#endif
