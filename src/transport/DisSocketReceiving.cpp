// What a DIS socket does with what it receives: the steps of its receiving chains.
#include <algorithm>
#include <cstddef>

#include "DisSocket.h"
#include "Print.h"
#include "net/BufferParts.h"
#include "net/ScratchChain.h"
#include "transport/DisSocketSplitting.h"

namespace OrynRti {

namespace {

DtDisSocket& disSocket(DtInetSocket* socket) {
    return *static_cast<DtDisSocket*>(socket);
}

/// Guards against a callback that has claimed more than there is.
int within(const DtInetSocketBufferChain& chain, int size) {
    return static_cast<int>(std::min(chainSize(chain), static_cast<std::size_t>(size)));
}

/// The chain has room for them.
void copyBytes(const char* from, std::size_t left, const DtInetSocketBufferChain& chain) {
    for (auto buffer = chain.begin(); left > 0; ++buffer) {
        const std::size_t count = *buffer != nullptr ? std::min(left, (*buffer)->size()) : 0;
        if (count == 0)
            continue;
        std::copy_n(from, count, (*buffer)->data());
        from += count;
        left -= count;
    }
}

}  // namespace

int DtDisSocket::receiveThroughChain(char* buffer, int size, DtInetEndpoint& sender, int flags) {
    ScratchChain temporary(static_cast<std::size_t>(size));
    const int received = recvToChainFrom(temporary.chain(), sender, flags);
    if (received <= 0)
        return received;
    const int delivered = std::min(received, size);
    std::copy_n(temporary.front(), delivered, buffer);
    return delivered;
}

// -------------------------------------------------------------------------------------------
// The steps as processing callbacks

int DtDisSocket::getNextBundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                               DtInetEndpoint& sender, void* status) {
    return disSocket(socket).getNextBundle(size, chain, sender, static_cast<int*>(status));
}

int DtDisSocket::minSizeFilter(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                               DtInetEndpoint& sender, void* status) {
    return disSocket(socket).minSizeFilter(size, chain, sender, static_cast<int*>(status));
}

int DtDisSocket::suppressSelfReflect(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                                     DtInetEndpoint& sender, void* status) {
    return disSocket(socket).suppressSelfReflect(size, chain, sender, static_cast<int*>(status));
}

int DtDisSocket::unbundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                          DtInetEndpoint& sender, void* status) {
    return disSocket(socket).unbundle(size, chain, sender, static_cast<int*>(status));
}

int DtDisSocket::filterExercisePdus(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                                    DtInetEndpoint& sender, void* status) {
    return disSocket(socket).filterExercisePdus(size, chain, sender, static_cast<int*>(status));
}

// -------------------------------------------------------------------------------------------
// Delivering what is queued

int DtDisSocket::getNextBundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                               int* status) {
    if (*status != 0)
        return size;
    const int taken = takeQueued(
        chainSize(chain), sender,
        [&chain](const char* bytes, std::size_t count) { copyBytes(bytes, count, chain); });
    if (taken == 0)
        return size;
    *status = taken > 0 ? DtInetSockFromQueue : DtInetSockIncomplete;
    return std::max(taken, 0);
}

/// Under the lock, which alone tells for sure.
void DtDisSocket::noteQueue(bool waiting) {
    hasQueuedPdus_.store(waiting, std::memory_order_relaxed);
    announceQueued(waiting);
}

// -------------------------------------------------------------------------------------------
// Splitting datagrams

int DtDisSocket::unbundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                          int* status) {
    if (size <= 0 || *status == DtInetSockFromQueue)
        return size;
    const int received = within(chain, size);
    if (received < minPacketSize())
        return received;
    return splitDatagram(ChainPdus(*this, chain), received, sender, *status);
}

/// Not under the lock: a printer may have locks of its own.
void DtDisSocket::noteMissing(int attributePdus) {
    for (; attributePdus > 0; --attributePdus) {
        DisEventCounters::add(events_->attributePdusMissing);
        DtWarn << "Failed to read expected Coupled Attribute PDU\n";
    }
}

// -------------------------------------------------------------------------------------------
// Dropping

int DtDisSocket::minSizeFilter(int size, DtInetSocketBufferChain&, DtInetEndpoint&, int* status) {
    return dropSmall(size, *status);
}

int DtDisSocket::dropSmall(int size, int& status) {
    if (size <= 0 || size >= minPacketSize())
        return size;
    DisEventCounters::add(events_->belowMinSize);
    status = DtInetSockFiltered;
    return 0;
}

int DtDisSocket::suppressSelfReflect(int size, DtInetSocketBufferChain&, DtInetEndpoint& sender,
                                     int* status) {
    return dropOwn(size, sender, *status);
}

int DtDisSocket::dropOwn(int size, const DtInetEndpoint& sender, int& status) {
    if (size <= 0)
        return size;
    const DtScopedLock lock(mutex());
    // Not as endpoints: scope and protocol need not have been filled in on both sides.
    if (sender.port() != localSenderEndpoint_.port() ||
        sender.address() != localSenderEndpoint_.address())
        return size;
    DisEventCounters::add(events_->ownDatagrams);
    status = DtInetSockOwnDatagram;
    return 0;
}

int DtDisSocket::filterExercisePdus(int size, DtInetSocketBufferChain& chain,
                                    DtInetEndpoint& sender, int* status) {
    if (size <= 0)
        return size;
    return filterPdu(ChainPdus(*this, chain), within(chain, size), sender, *status);
}

/// The counter of the first filter that does not let the PDU pass, null when all do.
std::atomic<std::uint64_t>* DtDisSocket::failedFilter(DtDisSocketPduHeader& header,
                                                      DtInetEndpoint& sender) {
    if (!protocolVersion().evalTest(&header, 0, DtPduFilterByte))
        return &events_->filteredByVersion;
    if (!exerciseId().evalTest(&header, 1, DtPduFilterByte))
        return &events_->filteredByExercise;
    if (!pduKind().evalTest(&header, 2, DtPduFilterByte))
        return &events_->filteredByKind;
    if (!ipAddr().evalTest(&sender, 0, DtPduFilterOther))
        return &events_->filteredByAddress;
    return nullptr;
}

/// Drops a datagram whose first PDU is incomplete or gives an impossible length.
int DtDisSocket::dropBroken(const PduExtent& first, int& status) {
    DisEventCounters::add(first.shortLength ? events_->invalidLengths : events_->incomplete);
    status = first.status;
    return 0;
}

}  // namespace OrynRti
