// What a DIS socket does with what it receives: the steps of its receiving chains.
#include <algorithm>
#include <cstddef>
#include <utility>

#include "DisSocket.h"
#include "Print.h"
#include "ScopedLock.h"
#include "net/BufferParts.h"
#include "net/ScratchChain.h"
#include "transport/DisEventCounters.h"
#include "transport/PduExtent.h"
#include "transport/PduHeader.h"

namespace OrynRti {

namespace {

DtDisSocket& disSocket(DtInetSocket* socket) {
    return *static_cast<DtDisSocket*>(socket);
}

/// Guards against a callback that has claimed more than there is.
int within(const DtInetSocketBufferChain& chain, int size) {
    return static_cast<int>(std::min(chainSize(chain), static_cast<std::size_t>(size)));
}

/// Copies `size` bytes from `offset` of a buffer on, which the caller knows to be there.
std::vector<char> copyBytes(DtDisSocket::BufferIterator buffer, int offset, int size) {
    std::vector<char> bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    for (; size > 0; ++buffer, offset = 0) {
        const int count = std::min(size, bufferSize(*buffer) - offset);
        if (count <= 0)
            continue;
        const char* from = (*buffer)->data() + offset;
        bytes.insert(bytes.end(), from, from + count);
        size -= count;
    }
    return bytes;
}

/// The chain has room for them.
void copyBytes(const std::vector<char>& bytes, const DtInetSocketBufferChain& chain) {
    const char* from = bytes.data();
    std::size_t left = bytes.size();
    for (auto buffer = chain.begin(); left > 0; ++buffer) {
        const std::size_t count = *buffer != nullptr ? std::min(left, (*buffer)->size()) : 0;
        if (count == 0)
            continue;
        std::copy_n(from, count, (*buffer)->data());
        from += count;
        left -= count;
    }
}

void warnAboutAttributePdus(int missing) {
    for (; missing > 0; --missing)
        DtWarn << "Failed to read expected Coupled Attribute PDU\n";
}

}  // namespace

int DtDisSocket::recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) {
    const bool hasRoom = buffer != nullptr && size > 0;
    ScratchChain temporary(hasRoom ? static_cast<std::size_t>(size) : 0);
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
    const DtScopedLock lock(mutex());
    if (receiveQueue_.empty())
        return size;
    const QueuedPdu pdu = std::move(receiveQueue_.front());
    receiveQueue_.pop_front();
    if (receiveQueue_.empty())
        announceQueued(false);
    sender = *pdu.sender;
    if (pdu.bytes.size() > chainSize(chain)) {
        DisEventCounters::add(events_->queuedPdusLost);
        *status = DtInetSockIncomplete;
        return 0;
    }
    copyBytes(pdu.bytes, chain);
    setReceiveTime(pdu.receiveTime);
    *status = DtInetSockFromQueue;
    return static_cast<int>(pdu.bytes.size());
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
    DtScopedLock lock(mutex());
    int attributePdusMissing = 0;
    const int first = splitDatagram(received, chain, sender, status, attributePdusMissing);
    lock.unlock();
    warnAboutAttributePdus(attributePdusMissing);  // a printer may have locks of its own
    return first;
}

/// Queues all but the first PDU, whose size it returns.
int DtDisSocket::splitDatagram(int size, DtInetSocketBufferChain& chain,
                               const DtInetEndpoint& sender, int* status,
                               int& attributePdusMissing) {
    DtDisSocketPduHeader header;
    const PduExtent first = measurePdu(header, chain.begin(), chain.end(), 0, size);
    if (first.status != 0)
        return dropBroken(first, status);
    if (first.length == size)  // alone, whatever it announces
        return size;
    countMissing(first, attributePdusMissing);
    queueRest(first, size, chain, sender, attributePdusMissing);
    return first.size;
}

void DtDisSocket::countMissing(const PduExtent& pdu, int& attributePdusMissing) {
    if (!pdu.attributeMissing)
        return;
    ++attributePdusMissing;
    DisEventCounters::add(events_->attributePdusMissing);
}

/// Queues what follows the first PDU, until something is no PDU.
void DtDisSocket::queueRest(PduExtent pdu, int remaining, DtInetSocketBufferChain& chain,
                            const DtInetEndpoint& sender, int& attributePdusMissing) {
    std::shared_ptr<const DtInetEndpoint> from;  // one for all of them
    BufferIterator buffer = chain.begin();
    int offset = 0;
    while (remaining > pdu.stride) {
        remaining -= pdu.stride;
        offset += pdu.stride;
        advanceToOffset(buffer, chain.end(), offset);
        DtDisSocketPduHeader header;
        pdu = measurePdu(header, buffer, chain.end(), offset, remaining);
        if (pdu.status != 0 || remaining < minPacketSize()) {
            DisEventCounters::add(events_->restsDropped);
            if (pdu.shortLength)
                DisEventCounters::add(events_->invalidLengths);
            return;
        }
        countMissing(pdu, attributePdusMissing);
        if (from == nullptr)
            from = std::make_shared<const DtInetEndpoint>(sender);
        queuePdu({copyBytes(buffer, offset, pdu.size), from, receiveTime()});
    }
}

void DtDisSocket::queuePdu(QueuedPdu pdu) {
    receiveQueue_.push_back(std::move(pdu));
    if (receiveQueue_.size() == 1)
        announceQueued(true);
}

// -------------------------------------------------------------------------------------------
// Dropping

int DtDisSocket::minSizeFilter(int size, DtInetSocketBufferChain&, DtInetEndpoint&, int* status) {
    if (size <= 0 || size >= minPacketSize())
        return size;
    DisEventCounters::add(events_->belowMinSize);
    *status = DtInetSockFiltered;
    return 0;
}

int DtDisSocket::suppressSelfReflect(int size, DtInetSocketBufferChain&, DtInetEndpoint& sender,
                                     int* status) {
    if (size <= 0)
        return size;
    const DtScopedLock lock(mutex());
    // Not as endpoints: scope and protocol need not have been filled in on both sides.
    if (sender.port() != localSenderEndpoint_.port() ||
        sender.address() != localSenderEndpoint_.address())
        return size;
    DisEventCounters::add(events_->ownDatagrams);
    *status = DtInetSockOwnDatagram;
    return 0;
}

int DtDisSocket::filterExercisePdus(int size, DtInetSocketBufferChain& chain,
                                    DtInetEndpoint& sender, int* status) {
    if (size <= 0)
        return size;
    DtDisSocketPduHeader header;
    const int received = within(chain, size);
    const PduExtent pdu = measurePdu(header, chain.begin(), chain.end(), 0, received);
    if (received < thePduHeaderSize_bytes)
        return dropBroken(pdu, status);
    if (std::atomic<std::uint64_t>* failed = failedFilter(header, sender)) {
        DisEventCounters::add(*failed);
        *status = DtInetSockFiltered;
        return 0;
    }
    return pdu.status == 0 ? pdu.size : dropBroken(pdu, status);
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
int DtDisSocket::dropBroken(const PduExtent& first, int* status) {
    DisEventCounters::add(first.shortLength ? events_->invalidLengths : events_->incomplete);
    *status = first.status;
    return 0;
}

}  // namespace OrynRti
