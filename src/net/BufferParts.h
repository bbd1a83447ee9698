#ifndef RTIQNUTIL_SRC_NET_BUFFERPARTS_H
#define RTIQNUTIL_SRC_NET_BUFFERPARTS_H

#include <algorithm>
#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <sys/uio.h>

#include "InetSocket.h"

namespace OrynRti {

/// The buffers of a chain as the system's calls take them, without their bytes being copied.
class BufferParts {
public:
    BufferParts(char* bytes, std::size_t size) : size_(size) { parts_.push_back({bytes, size}); }

    /// The first `limit` bytes of a chain, all of it when it holds less.
    explicit BufferParts(const DtInetSocketBufferChain& chain,
                         std::size_t limit = static_cast<std::size_t>(-1)) {
        for (std::vector<char>* buffer : chain) {
            if (buffer == nullptr || buffer->empty())
                continue;
            if (size_ == limit)
                break;
            const std::size_t size = std::min(buffer->size(), limit - size_);
            parts_.push_back({buffer->data(), size});
            size_ += size;
        }
    }

    const iovec* data() const { return parts_.data(); }
    std::size_t count() const { return parts_.size(); }

    /// Bytes in all.
    std::size_t size() const { return size_; }

private:
    boost::container::small_vector<iovec, 32> parts_;
    std::size_t size_ = 0;
};

inline std::size_t chainSize(const DtInetSocketBufferChain& chain) {
    std::size_t size = 0;
    for (const std::vector<char>* buffer : chain)
        size += buffer != nullptr ? buffer->size() : 0;
    return size;
}

/// Bytes of all parts.
inline std::size_t partsSize(const iovec* parts, std::size_t count) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i)
        size += parts[i].iov_len;
    return size;
}

/// Copies bytes over the parts in order; the caller owes enough room.
inline void scatterBytes(const char* bytes, std::size_t size, const iovec* parts) {
    for (; size > 0; ++parts) {
        const std::size_t fits = std::min(size, parts->iov_len);
        std::copy_n(bytes, fits, static_cast<char*>(parts->iov_base));
        bytes += fits;
        size -= fits;
    }
}

/// Copies all bytes of the parts one behind the other.
inline std::vector<char> gatherBytes(const iovec* parts, std::size_t count) {
    std::vector<char> bytes;
    bytes.reserve(partsSize(parts, count));
    for (std::size_t i = 0; i < count; ++i) {
        const char* part = static_cast<const char*>(parts[i].iov_base);
        bytes.insert(bytes.end(), part, part + parts[i].iov_len);
    }
    return bytes;
}

}  // namespace OrynRti

#endif
