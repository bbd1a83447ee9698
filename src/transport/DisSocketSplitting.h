#ifndef RTIQNUTIL_SRC_TRANSPORT_DISSOCKETSPLITTING_H
#define RTIQNUTIL_SRC_TRANSPORT_DISSOCKETSPLITTING_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "DisSocket.h"
#include "ScopedLock.h"
#include "transport/DisEventCounters.h"
#include "transport/PduExtent.h"
#include "transport/PduHeader.h"
#include "transport/PduQueue.h"

/// What a DIS socket does with the PDUs of a received datagram, be they scattered over the buffers
/// of a chain or in one piece.
namespace OrynRti {

/// PDUs in the buffers of a chain from some place on, read by the virtual functions of the socket.
class DtDisSocket::ChainPdus {
public:
    ChainPdus(DtDisSocket& socket, const DtInetSocketBufferChain& chain)
        : socket_(socket), buffer_(chain.begin()), end_(chain.end()) {}

    /// As DtDisSocket::getPduSize.
    int pduSize(DtDisSocketPduHeader& header, int& status, bool& coupled) const {
        return socket_.getPduSize(header, offset_, buffer_, end_, &status, coupled, false);
    }

    /// As DtDisSocket::getCoupledAttributePduSize.
    int attributePduSize(int position, int remaining) const {
        DtDisSocketPduHeader header;
        int status = 0;
        return socket_.getCoupledAttributePduSize(header, offset_, buffer_, end_, &status, position,
                                                  remaining);
    }

    void advance(int bytes) {
        offset_ += bytes;
        socket_.advanceToOffset(buffer_, end_, offset_);
    }

    unsigned int alignment(int protocolVersion) const {
        return socket_.receiveBundleByteAlignment(protocolVersion);
    }

    void copyTo(std::vector<char>& bytes, int size) const {
        bytes.clear();
        int offset = offset_;
        for (BufferIterator buffer = buffer_; size > 0; ++buffer, offset = 0) {
            const int count = std::min(size, bufferSize(*buffer) - offset);
            if (count <= 0)
                continue;
            const char* const from = (*buffer)->data() + offset;
            bytes.insert(bytes.end(), from, from + count);
            size -= count;
        }
    }

private:
    DtDisSocket& socket_;
    BufferIterator buffer_;
    const BufferIterator end_;
    int offset_ = 0;
};

/// The same in one piece, of a socket that is not derived.
class DtDisSocket::FlatPdus {
public:
    FlatPdus(const char* bytes, DtAttributePduStrategy strategy)
        : bytes_(bytes), strategy_(strategy) {}

    int pduSize(DtDisSocketPduHeader& header, int&, bool& coupled) const {
        std::memcpy(&header, bytes_ + at_, sizeof header);
        coupled = announcesAttributes(header, strategy_);
        return lengthOf(header);
    }

    int attributePduSize(int position, int remaining) const {
        const int room = remaining - position;
        if (room < thePduHeaderSize_bytes)
            return 0;
        DtDisSocketPduHeader header;
        std::memcpy(&header, bytes_ + at_ + position, sizeof header);
        const int length = lengthOf(header);
        const bool whole = length >= thePduHeaderSize_bytes && length <= room;
        return whole && header.pduType == theAttributePdu ? length : 0;
    }

    static unsigned int alignment(int protocolVersion) {
        return receivedAlignment(protocolVersion);
    }

    void advance(int bytes) { at_ += bytes; }

    void copyTo(std::vector<char>& bytes, int size) const {
        bytes.assign(bytes_ + at_, bytes_ + at_ + size);
    }

private:
    const char* const bytes_;
    std::ptrdiff_t at_ = 0;  // beyond the end at times, by padding
    const DtAttributePduStrategy strategy_;
};

// -------------------------------------------------------------------------------------------

/// What makes a length a multiple of the alignment.
inline int alignedPadding(int length, unsigned int alignment) {
    constexpr unsigned int theLongest = 1 << 20;  // more than any datagram holds
    const unsigned int excess = alignment > 1 ? static_cast<unsigned int>(length) % alignment : 0;
    const unsigned int padding = excess != 0 ? alignment - excess : 0;
    return static_cast<int>(std::min(padding, theLongest));
}

/// How far the first PDU reaches. One that announces an Attribute PDU is extended by it; when that
/// is not there, it stays as it is.
template <typename Pdus>
DtDisSocket::PduExtent DtDisSocket::measurePdu(DtDisSocketPduHeader& header, const Pdus& pdus,
                                               int remaining) {
    PduExtent pdu;
    pdu.status = DtInetSockIncomplete;
    if (remaining < thePduHeaderSize_bytes)
        return pdu;
    bool coupled = false;
    int status = 0;
    const int length = pdus.pduSize(header, status, coupled);
    pdu.shortLength = status == 0 && length < thePduHeaderSize_bytes;
    if (status != 0 || pdu.shortLength || length > remaining)
        return pdu;
    pdu.status = 0;
    pdu.length = pdu.size = pdu.stride = length;
    pdu.attributeMissing = coupled;
    if (length == remaining)
        return pdu;
    const unsigned int alignment = pdus.alignment(header.protocolVersion);
    pdu.stride += alignedPadding(length, alignment);
    if (!coupled)
        return pdu;
    const int attributes = pdus.attributePduSize(pdu.stride, remaining);
    pdu.attributeMissing = attributes == 0;
    if (pdu.attributeMissing)
        return pdu;
    pdu.size = pdu.stride + attributes;
    pdu.stride = pdu.size + alignedPadding(attributes, alignment);
    return pdu;
}

/// Queues all but the first PDU, whose size it returns.
template <typename Pdus>
int DtDisSocket::splitDatagram(const Pdus& pdus, int size, const DtInetEndpoint& sender,
                               int& status) {
    DtDisSocketPduHeader header;
    const PduExtent first = measurePdu(header, pdus, size);
    if (first.status != 0)
        return dropBroken(first, status);
    if (first.length == size)  // alone, whatever it announces
        return size;
    int missing = first.attributeMissing ? 1 : 0;
    if (size > first.stride) {
        Pdus rest(pdus);
        rest.advance(first.stride);
        missing += queueRest(rest, size - first.stride, sender);
    }
    noteMissing(missing);
    return first.size;
}

/// Queues PDUs until something is none. How many Attribute PDUs were missing.
template <typename Pdus>
int DtDisSocket::queueRest(Pdus pdus, int size, const DtInetEndpoint& sender) {
    const Pdus all(pdus);
    const int smallest = minPacketSize();
    int missing = 0;
    const DtScopedLock lock(mutex());
    PduQueue::Datagram& rest = receiveQueue_->prepare(sender);
    for (int remaining = size; remaining > 0;) {
        DtDisSocketPduHeader header;
        const PduExtent pdu = measurePdu(header, pdus, remaining);
        if (pdu.status != 0 || remaining < smallest) {
            DisEventCounters::add(events_->restsDropped);
            if (pdu.shortLength)
                DisEventCounters::add(events_->invalidLengths);
            break;
        }
        missing += pdu.attributeMissing ? 1 : 0;
        rest.addPdu(size - remaining, pdu.size);
        pdus.advance(pdu.stride);
        remaining -= pdu.stride;
    }
    all.copyTo(rest.bytes, rest.size());
    const bool wasEmpty = receiveQueue_->isEmpty();
    receiveQueue_->add();
    if (wasEmpty && !receiveQueue_->isEmpty())
        noteQueue(true);
    return missing;
}

/// Hands the oldest queued PDU to `deliver`: its size, 0 when there is none, DtInetSockIncomplete
/// when there is no room for it and it is lost.
template <typename Deliver>
int DtDisSocket::takeQueued(std::size_t room, DtInetEndpoint& sender, Deliver deliver) {
    if (!hasQueuedPdus_.load(std::memory_order_relaxed))
        return 0;
    const DtScopedLock lock(mutex());
    if (receiveQueue_->isEmpty())
        return 0;
    const PduQueue::Pdu pdu = receiveQueue_->front();
    sender = pdu.sender;
    const bool fits = pdu.size <= room;
    if (fits)
        deliver(pdu.bytes, pdu.size);
    else
        DisEventCounters::add(events_->queuedPdusLost);
    const int size = fits ? static_cast<int>(pdu.size) : static_cast<int>(DtInetSockIncomplete);
    receiveQueue_->pop();
    if (receiveQueue_->isEmpty())
        noteQueue(false);
    return size;
}

/// The size of the first PDU when it passes the four filters.
template <typename Pdus>
int DtDisSocket::filterPdu(const Pdus& pdus, int size, DtInetEndpoint& sender, int& status) {
    DtDisSocketPduHeader header;
    const PduExtent pdu = measurePdu(header, pdus, size);
    if (size < thePduHeaderSize_bytes)
        return dropBroken(pdu, status);
    if (std::atomic<std::uint64_t>* failed = failedFilter(header, sender)) {
        DisEventCounters::add(*failed);
        status = DtInetSockFiltered;
        return 0;
    }
    return pdu.status == 0 ? pdu.size : dropBroken(pdu, status);
}

}  // namespace OrynRti

#endif
