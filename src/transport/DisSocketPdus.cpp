// Where the PDUs of a received datagram begin and end.
#include <algorithm>

#include "DisSocket.h"
#include "transport/PduExtent.h"
#include "transport/PduHeader.h"

namespace OrynRti {

namespace {

constexpr unsigned int theLongestPadding = 1 << 20;  // more than any datagram holds

/// Copies up to `size` bytes from `offset` of a buffer on. Returns how many there were.
int gather(char* to, int size, DtDisSocket::BufferIterator buffer, DtDisSocket::BufferIterator end,
           int offset) {
    int copied = 0;
    for (; buffer != end && copied < size; ++buffer, offset = 0) {
        const int available = bufferSize(*buffer) - offset;
        if (available <= 0)
            continue;
        const int count = std::min(size - copied, available);
        std::copy_n((*buffer)->data() + offset, count, to + copied);
        copied += count;
    }
    return copied;
}

/// What makes a length a multiple of the alignment.
int alignedPadding(int length, unsigned int alignment) {
    const unsigned int excess = alignment > 1 ? static_cast<unsigned int>(length) % alignment : 0;
    const unsigned int padding = excess != 0 ? alignment - excess : 0;
    return static_cast<int>(std::min(padding, theLongestPadding));
}

}  // namespace

unsigned int DtDisSocket::receiveBundleByteAlignment(int protocolVersion) const {
    return protocolVersion > 6 ? 8 : 0;
}

void DtDisSocket::advanceToOffset(BufferIterator& buffer, BufferIterator end, int& offset) {
    for (; buffer != end && offset >= bufferSize(*buffer); ++buffer)
        offset -= bufferSize(*buffer);
}

int DtDisSocket::getPduSize(DtDisSocketPduHeader& header, int offset, BufferIterator buffer,
                            BufferIterator end, int* status, bool& coupled, bool expectAttribute) {
    coupled = false;
    if (gather(reinterpret_cast<char*>(&header), thePduHeaderSize_bytes, buffer, end, offset) <
        thePduHeaderSize_bytes) {
        *status = DtInetSockIncomplete;
        return 0;
    }
    if (expectAttribute && header.pduType != theAttributePdu)
        *status = DtInetSockStatusError;
    const bool mayCouple =
        header.protocolVersion >= 7 || attributePduStrategy() != DtAttributePduSince7;
    coupled = mayCouple && header.pduType != theAttributePdu &&
              (header.status & theCoupledExtensionBit) != 0;
    return header.length[0] << 8 | header.length[1];
}

int DtDisSocket::getCoupledAttributePduSize(DtDisSocketPduHeader& header, int offset,
                                            BufferIterator buffer, BufferIterator end, int* status,
                                            int position, int remaining) {
    if (remaining - position < thePduHeaderSize_bytes)
        return 0;
    offset += position;
    advanceToOffset(buffer, end, offset);
    int ownStatus = 0;
    int length = 0;
    bool coupled = false;
    if (buffer == end)
        ownStatus = DtInetSockIncomplete;
    else
        length = getPduSize(header, offset, buffer, end, &ownStatus, coupled, true);
    if (ownStatus == 0 && (length < thePduHeaderSize_bytes || length > remaining - position))
        ownStatus = DtInetSockIncomplete;
    if (ownStatus == 0)
        return length;
    *status = ownStatus;
    return 0;
}

// -------------------------------------------------------------------------------------------

DtDisSocket::PduExtent DtDisSocket::measurePdu(DtDisSocketPduHeader& header, BufferIterator buffer,
                                               BufferIterator end, int offset, int remaining) {
    PduExtent pdu;
    pdu.status = DtInetSockIncomplete;
    if (remaining < thePduHeaderSize_bytes)
        return pdu;
    bool coupled = false;
    int status = 0;
    const int length = getPduSize(header, offset, buffer, end, &status, coupled, false);
    pdu.shortLength = status == 0 && length < thePduHeaderSize_bytes;
    if (status != 0 || pdu.shortLength || length > remaining)
        return pdu;
    pdu.status = 0;
    pdu.length = pdu.size = length;
    const unsigned int alignment = receiveBundleByteAlignment(header.protocolVersion);
    pdu.stride = length + alignedPadding(length, alignment);
    if (coupled)
        addAttributePdu(pdu, alignment, buffer, end, offset, remaining);
    return pdu;
}

/// Extends the PDU by the Attribute PDU that it announces; without one it stays as it is.
void DtDisSocket::addAttributePdu(PduExtent& pdu, unsigned int alignment, BufferIterator buffer,
                                  BufferIterator end, int offset, int remaining) {
    DtDisSocketPduHeader header;
    int status = 0;
    const int position = pdu.stride;
    const int length =
        getCoupledAttributePduSize(header, offset, buffer, end, &status, position, remaining);
    pdu.attributeMissing = length == 0;
    if (pdu.attributeMissing)
        return;
    pdu.size = position + length;
    pdu.stride = pdu.size + alignedPadding(length, alignment);
}

}  // namespace OrynRti
