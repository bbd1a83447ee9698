#include "net/ScratchChain.h"

#include <new>

namespace OrynRti {

ScratchChain::ScratchChain(const DtInetSocketBufferChain& source)
    : use_(Copying), memory_(take(use_)) {
    setBufferCount(source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (source[i] != nullptr)
            memory_->buffers[i] = *source[i];
        else
            memory_->buffers[i].clear();
    }
}

ScratchChain::ScratchChain(const char* bytes, std::size_t size)
    : use_(Copying), memory_(take(use_)) {
    setBufferCount(1);
    memory_->buffers[0].assign(bytes, bytes + size);
}

ScratchChain::ScratchChain(std::size_t size) : use_(Receiving), memory_(take(use_)) {
    setBufferCount(1);
    memory_->buffers[0].resize(size);
}

ScratchChain::~ScratchChain() {
    try {
        idle(use_).push_back(std::move(memory_));
    } catch (const std::bad_alloc&) {  // then it is not kept
    }
}

std::vector<std::unique_ptr<ScratchChain::Memory>>& ScratchChain::idle(Use use) {
    thread_local std::vector<std::unique_ptr<Memory>> memories[2];
    return memories[use];
}

std::unique_ptr<ScratchChain::Memory> ScratchChain::take(Use use) {
    std::vector<std::unique_ptr<Memory>>& memories = idle(use);
    if (memories.empty())
        return std::make_unique<Memory>();
    std::unique_ptr<Memory> memory = std::move(memories.back());
    memories.pop_back();
    return memory;
}

/// Buffers beyond the count keep their memory.
void ScratchChain::setBufferCount(std::size_t count) {
    if (memory_->buffers.size() < count)
        memory_->buffers.resize(count);
    memory_->chain.clear();
    for (std::size_t i = 0; i < count; ++i)
        memory_->chain.push_back(&memory_->buffers[i]);
}

}  // namespace OrynRti
