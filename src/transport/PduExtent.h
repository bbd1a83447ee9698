#ifndef RTIQNUTIL_SRC_TRANSPORT_PDUEXTENT_H
#define RTIQNUTIL_SRC_TRANSPORT_PDUEXTENT_H

#include <algorithm>
#include <climits>
#include <vector>

#include "DisSocket.h"

namespace OrynRti {

/// How far a PDU of a received datagram reaches, in bytes.
struct DtDisSocket::PduExtent {
    int status = 0;                 ///< Not 0 when it is broken; the sizes are 0 then.
    int length = 0;                 ///< What it says of itself.
    int size = 0;                   ///< With its Attribute PDU and the padding between.
    int stride = 0;                 ///< To the PDU behind it.
    bool shortLength = false;       ///< Broken: it says that it is shorter than its own header.
    bool attributeMissing = false;  ///< It announces an Attribute PDU that is not there.
};

inline int bufferSize(const std::vector<char>* buffer) {
    const std::size_t size = buffer != nullptr ? buffer->size() : 0;
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

}  // namespace OrynRti

#endif
