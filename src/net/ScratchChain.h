#ifndef RTIQNUTIL_SRC_NET_SCRATCHCHAIN_H
#define RTIQNUTIL_SRC_NET_SCRATCHCHAIN_H

#include <cstddef>
#include <memory>
#include <vector>

#include "InetSocket.h"

namespace OrynRti {

/// A buffer chain of the library's own for the length of a call. Its memory is kept by the
/// thread and used again, so that in the long run it allocates nothing. Calls may nest: each
/// takes a chain of its own.
class ScratchChain {
public:
    /// A copy of a chain.
    explicit ScratchChain(const DtInetSocketBufferChain& source);

    /// One buffer with a copy of the bytes.
    ScratchChain(const char* bytes, std::size_t size);

    /// One buffer of that size, to receive into.
    explicit ScratchChain(std::size_t size);

    ScratchChain(const ScratchChain&) = delete;
    ScratchChain& operator=(const ScratchChain&) = delete;
    ~ScratchChain();

    DtInetSocketBufferChain& chain() { return memory_->chain; }
    const char* front() const { return memory_->buffers.front().data(); }

    /// An endpoint that goes with it, for senders that nobody asked for.
    DtInetEndpoint& endpoint() { return memory_->endpoint; }

private:
    // To receive and to copy by turns, a buffer would be filled anew each time it grows.
    enum Use { Copying, Receiving };

    struct Memory {
        std::vector<std::vector<char>> buffers;
        DtInetSocketBufferChain chain;
        DtInetEndpoint endpoint;
    };

    static std::vector<std::unique_ptr<Memory>>& idle(Use use);
    static std::unique_ptr<Memory> take(Use use);
    void setBufferCount(std::size_t count);

    const Use use_;
    std::unique_ptr<Memory> memory_;
};

}  // namespace OrynRti

#endif
