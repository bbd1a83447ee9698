#ifndef RTIQNUTIL_SRC_TRANSPORT_PDUHEADER_H
#define RTIQNUTIL_SRC_TRANSPORT_PDUHEADER_H

#include <cstddef>

#include "DisSocket.h"

namespace OrynRti {

using PduHeader = DtDisSocket::DtDisSocketPduHeader;

constexpr int thePduHeaderSize_bytes = 12;
constexpr int theAttributePdu = 72;
constexpr int theCoupledExtensionBit = 0x08;  // of the PDU status: an Attribute PDU follows

static_assert(sizeof(PduHeader) == thePduHeaderSize_bytes && alignof(PduHeader) == 1);
static_assert(offsetof(PduHeader, exerciseId) == 1 && offsetof(PduHeader, pduType) == 2);
static_assert(offsetof(PduHeader, timestamp) == 4 && offsetof(PduHeader, length) == 8);
static_assert(offsetof(PduHeader, status) == 10 && offsetof(PduHeader, padding) == 11);

inline int lengthOf(const PduHeader& header) {
    return header.length[0] << 8 | header.length[1];
}

/// What the PDUs of a received datagram are aligned to, in bytes; 0 for not at all.
inline unsigned int receivedAlignment(int protocolVersion) {
    return protocolVersion > 6 ? 8 : 0;
}

/// Whether it says that an Attribute PDU follows.
inline bool announcesAttributes(const PduHeader& header, DtAttributePduStrategy strategy) {
    return (header.protocolVersion >= 7 || strategy != DtAttributePduSince7) &&
           header.pduType != theAttributePdu && (header.status & theCoupledExtensionBit) != 0;
}

}  // namespace OrynRti

#endif
