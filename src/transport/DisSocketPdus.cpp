// What the PDUs of a received datagram say of themselves.
#include <algorithm>

#include "DisSocket.h"
#include "transport/PduExtent.h"
#include "transport/PduHeader.h"

namespace OrynRti {

namespace {

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

}  // namespace

unsigned int DtDisSocket::receiveBundleByteAlignment(int protocolVersion) const {
    return receivedAlignment(protocolVersion);
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
    coupled = announcesAttributes(header, attributePduStrategy());
    return lengthOf(header);
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

}  // namespace OrynRti
