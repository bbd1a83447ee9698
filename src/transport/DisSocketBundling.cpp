// Collecting outgoing PDUs into datagrams of several.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <new>

#include "DisSocket.h"
#include "ScopedLock.h"
#include "net/BufferParts.h"
#include "net/ScratchChain.h"
#include "transport/DisEventCounters.h"

namespace OrynRti {

namespace {

constexpr int theBundlingIsOff = 1;
constexpr int theBundleFlags = DtInetSockSkipFirstChain | DtInetSockSkipPostSend;

void append(std::vector<char>& bundle, const DtInetSocketBufferChain& chain, std::size_t size) {
    for (const std::vector<char>* buffer : chain) {
        if (buffer == nullptr)
            continue;
        const std::size_t count = std::min(buffer->size(), size);
        bundle.insert(bundle.end(), buffer->begin(), buffer->begin() + std::ptrdiff_t(count));
        size -= count;
    }
}

/// Appends the PDU behind padding up to `begin`. Without memory for all of it the bundle stays as
/// it was: a part of a PDU would spoil the datagram.
template <typename Add>
void addWhole(std::vector<char>& bundle, std::size_t begin, Add add) {
    const std::size_t before = bundle.size();
    try {
        bundle.resize(begin);
        add(bundle);
    } catch (const std::bad_alloc&) {
        bundle.resize(before);
        throw;
    }
}

}  // namespace

/// A bundle on its way out. The memory of bundles goes round between the sockets and the
/// scratch chains of the threads, so that in the long run none is allocated.
class DtDisSocket::OutgoingBundle {
public:
    /// Takes the bytes and leaves the bundle empty.
    OutgoingBundle(Bundle& bundle, const DtInetEndpoint& destination) : scratch_(nullptr, 0) {
        scratch_.endpoint() = destination;
        scratch_.chain().front()->swap(bundle);
    }

    DtInetSocketBufferChain& chain() { return scratch_.chain(); }
    DtInetEndpoint& destination() { return scratch_.endpoint(); }
    int size() { return static_cast<int>(scratch_.chain().front()->size()); }

    int sent = 0;  ///< The result of sending it.

private:
    ScratchChain scratch_;
};

// -------------------------------------------------------------------------------------------
// Settings

bool DtDisSocket::setBundling(int maxSize, int, int, bool) {
    setMaxBundleSize(maxSize);
    const DtScopedLock lock(mutex());
    if (isBundling() == bundlingRegistered_)
        return true;
    return isBundling()
               ? addProcessingCallback(DtInetSockPreSend, &DtDisSocket::addToBundle, nullptr, 1)
               : removeProcessingCallback(DtInetSockPreSend, &DtDisSocket::addToBundle);
}

bool DtDisSocket::setMaxBundleSize(int bytes) {
    DtScopedLock lock(mutex());
    maxBundleSize_ = bytes;
    lock.unlock();
    if (bytes <= 0)
        flush();
    return true;
}

int DtDisSocket::getMaxBundleSize() const {
    return maxBundleSize_;
}

bool DtDisSocket::isBundling() const {
    return getMaxBundleSize() > 0;
}

void DtDisSocket::setBundleByteAlignment(unsigned int bytes) {
    sendBundleByteAlignment_ = bytes;
}

unsigned int DtDisSocket::sendBundleByteAlignment() const {
    return sendBundleByteAlignment_;
}

// -------------------------------------------------------------------------------------------
// Adding

int DtDisSocket::addToBundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                             DtInetEndpoint& destination, void* status) {
    return static_cast<DtDisSocket*>(socket)->addToBundle(size, chain, destination,
                                                          static_cast<int*>(status));
}

int DtDisSocket::addToBundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                             int*) {
    if (size <= 0)
        return size;
    const std::size_t added = std::min(chainSize(chain), static_cast<std::size_t>(size));
    const int result =
        bundlePdu(added, destination, [&](Bundle& bundle) { append(bundle, chain, added); });
    return result == theBundlingIsOff ? size : result;
}

/// Has `add` append a PDU of `size` bytes: 0, -1 when no datagram can carry it, or
/// theBundlingIsOff.
template <typename Add>
int DtDisSocket::bundlePdu(std::size_t size, DtInetEndpoint& destination, Add add) {
    if (size > theMaxBundle_bytes)
        return -1;
    DtScopedLock lock(mutex());
    if (!isBundling())
        return theBundlingIsOff;
    Bundle& bundle = bundleTo(destination);
    const std::size_t begin = aligned(bundle.size());
    const auto limit = static_cast<std::size_t>(std::min(getMaxBundleSize(), theMaxBundle_bytes));
    if (begin == 0 || begin + size <= limit) {
        addWhole(bundle, begin, add);
        return 0;
    }
    OutgoingBundle full(bundle, destination);
    sendBundle(full);
    addWhole(bundleTo(destination), 0, add);
    lock.unlock();
    afterBundle(full);
    return 0;
}

bool DtDisSocket::addProcessingCallback(DtInetSockProcessingType type,
                                        DtInetSocketProcessingCallback callback, void* userData,
                                        int order) {
    const DtScopedLock lock(mutex());
    const bool added = DtInetUdpSocket::addProcessingCallback(type, callback, userData, order);
    noteCallbacks();
    return added;
}

bool DtDisSocket::removeProcessingCallback(DtInetSockProcessingType type,
                                           DtInetSocketProcessingCallback callback) {
    const DtScopedLock lock(mutex());
    const bool removed = DtInetUdpSocket::removeProcessingCallback(type, callback);
    noteCallbacks();
    return removed;
}

void DtDisSocket::noteCallbacks() {
    const DtInetSocketCallbackChain& preSend = chains_[DtInetSockPreSend];
    const DtInetSocketProcessingCallback add = &DtDisSocket::addToBundle;
    bundlingRegistered_ = std::any_of(preSend.begin(), preSend.end(), [add](const auto& step) {
        return step.second->callback == add;
    });
    onlyBundling_ =
        bundlingRegistered_ && preSend.size() == 1 && chains_[DtInetSockPostSend].empty();
    onlyOwnSteps_ = takesOwnStepsOnly();
}

/// Whether addToBundle alone has to see what is sent, and the send is one that is not refused:
/// then bundleOnly() spares the walk over the chains, most of the cost of a PDU.
bool DtDisSocket::bundlesOnly(DtInetEndpoint& destination, int callFlags) const {
    return onlyBundling_ && isBundling() && (callFlags & DtInetSockSkipFirstChain) == 0 &&
           descriptor() >= 0 && (flags() & (DtInetSockSend | DtInetSockAsyncSend)) != 0 &&
           isValidDestination(destination);
}

/// The same without a chain. False when it could not be done.
bool DtDisSocket::bundleDirectly(const char* bytes, std::size_t size, DtInetEndpoint& destination) {
    const auto add = [=](Bundle& bundle) {
        bundle.insert(bundle.end(), bytes, bytes + size);
        events_->pdusBundled.addAlone(1);
        events_->bytesBundled.addAlone(size);
    };
    return isNotDerived() && bundlePdu(size, destination, add) == 0;
}

int DtDisSocket::bundleOnly(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                            int callFlags, const char* operation) {
    const int size = static_cast<int>(std::min<std::size_t>(chainSize(chain), INT_MAX));
    const int left = std::min(size, addToBundle(size, chain, destination, nullptr));
    if (left == 0) {
        countSent(static_cast<std::uint64_t>(size));
        return size;
    }
    if (left < 0) {
        recordError(-1, DtString(operation) + ": Pre-send callback failed.");
        return -1;
    }
    ScratchChain rest(nullptr, 0);  // not bundled, after all
    append(*rest.chain().front(), chain, static_cast<std::size_t>(left));
    const int sent = sendThroughChains(rest.chain(), destination,
                                       callFlags | DtInetSockSkipFirstChain, operation);
    return sent > 0 ? sent + (size - left) : sent;
}

/// As a rule the one used last, which takes no search.
DtDisSocket::Bundle& DtDisSocket::bundleTo(const DtInetEndpoint& destination) {
    const bool sameAsLast = lastBundle_ != pendingBundles_.end() &&
                            lastBundle_->first == destination &&
                            lastBundle_->first.address().scope() == destination.address().scope();
    if (!sameAsLast)
        lastBundle_ = pendingBundles_.try_emplace(destination).first;
    return lastBundle_->second;
}

/// The size of a bundle with the padding that goes before its next PDU.
std::size_t DtDisSocket::aligned(std::size_t size) const {
    const unsigned int alignment = sendBundleByteAlignment();
    const unsigned int excess = alignment > 1 ? static_cast<unsigned int>(size) % alignment : 0;
    return excess == 0 ? size : size + (alignment - excess);
}

// -------------------------------------------------------------------------------------------
// Sending

int DtDisSocket::flush() {
    int answer = 1;
    ScratchChain scratch(nullptr, 0);
    DtInetEndpoint& served = scratch.endpoint();  // others may change the map meanwhile
    DtScopedLock lock(mutex());
    for (auto entry = pendingBundles_.begin(); entry != pendingBundles_.end();) {
        if (entry->second.empty()) {  // not used since the last flush
            lastBundle_ = pendingBundles_.end();
            entry = pendingBundles_.erase(entry);
            continue;
        }
        served = entry->first;
        answer = std::min(answer, sendPending(entry->second, served, lock));
        entry = pendingBundles_.upper_bound(served);
    }
    return answer;
}

int DtDisSocket::flushBundle(DtInetEndpoint& destination) {
    DtScopedLock lock(mutex());
    const auto entry = pendingBundles_.find(destination);
    if (entry == pendingBundles_.end() || entry->second.empty())
        return 1;
    return sendPending(entry->second, destination, lock);
}

/// Sends under the lock, so that no later PDU overtakes; callbacks then run without it.
int DtDisSocket::sendPending(Bundle& bundle, const DtInetEndpoint& destination,
                             DtScopedLock& lock) {
    OutgoingBundle outgoing(bundle, destination);
    sendBundle(outgoing);
    lock.unlock();
    const int answer = afterBundle(outgoing);
    lock.lock();
    return answer;
}

/// Without memory for it the bundle is lost.
void DtDisSocket::sendBundle(OutgoingBundle& outgoing) {
    try {
        outgoing.sent = sendChainTo(outgoing.chain(), outgoing.destination(), theBundleFlags);
    } catch (const std::bad_alloc&) {
        DisEventCounters::add(events_->bundlesFailed);
        throw;
    }
}

/// Runs the post-send callbacks and counts. As flush() answers for one bundle.
int DtDisSocket::afterBundle(OutgoingBundle& outgoing) {
    const int size = outgoing.size();
    int sent = outgoing.sent;
    if (sent > 0 && !runPostSend(sent, outgoing.chain(), outgoing.destination(), chainOperation()))
        sent = -1;
    const bool complete = sent >= size;
    DisEventCounters::add(complete ? events_->bundlesSent : events_->bundlesFailed);
    return complete ? 1 : sent == 0 ? 0 : -1;
}

}  // namespace OrynRti
