#ifndef RTIQNUTIL_SRC_NET_CHAINRUN_H
#define RTIQNUTIL_SRC_NET_CHAINRUN_H

#include <boost/container/static_vector.hpp>
#include <climits>

#include "InetSocket.h"
#include "ScopedLock.h"

namespace OrynRti {

/// One walk over a callback chain that goes on rightly when callbacks come and go meanwhile:
/// those added after its beginning are left out, those removed are not called any more. It
/// copies a few registrations at a time, so that a walk as a rule takes the lock once.
///
///     ChainRun run(*this, DtInetSockPreSend);
///     while (const DtInetSocketProcessingCbInfo* step = run.next())
///         size = step->callback(this, size, chain, peer, step->userData);
class DtInetSocket::ChainRun {
public:
    ChainRun(const DtInetSocket& socket, DtInetSockProcessingType type)
        : socket_(socket), chain_(socket.chains_[type]) {
        const DtScopedLock lock(socket_.mutex_);
        end_ = socket_.nextSequence_;
        copySteps();
    }

    /// The next callback, null at the end; valid until the next call.
    const DtInetSocketProcessingCbInfo* next() {
        // Pairs with the increment in removeProcessingCallback().
        const bool outdated = version_ != socket_.chainVersion_.load(std::memory_order_acquire);
        if (outdated || (position_ == steps_.size() && steps_.size() == steps_.capacity())) {
            const DtScopedLock lock(socket_.mutex_);
            copySteps();
        }
        if (position_ == steps_.size())
            return nullptr;
        last_ = steps_[position_++];
        return &last_;
    }

private:
    /// Copies what comes after the last step.
    void copySteps() {
        version_ = socket_.chainVersion_.load(std::memory_order_acquire);
        position_ = 0;
        steps_.clear();
        for (auto entry = chain_.lower_bound(last_.order);
             entry != chain_.end() && steps_.size() < steps_.capacity(); ++entry) {
            const DtInetSocketProcessingCbInfo& info = *entry->second;
            const bool done = info.order == last_.order && info.sequence <= last_.sequence;
            if (!done && info.sequence < end_)
                steps_.push_back(info);
        }
    }

    const DtInetSocket& socket_;
    const DtInetSocketCallbackChain& chain_;
    boost::container::static_vector<DtInetSocketProcessingCbInfo, 8> steps_;
    std::size_t position_ = 0;
    DtInetSocketProcessingCbInfo last_{nullptr, nullptr, INT_MIN, 0};
    std::uint64_t end_ = 0;
    std::uint32_t version_ = 0;
};

}  // namespace OrynRti

#endif
