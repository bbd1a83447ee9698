#ifndef RTIQN_DIS_UNBUNDLER_H
#define RTIQN_DIS_UNBUNDLER_H

#include <cstddef>
#include <vector>

#include "ByteView.h"
#include "Losses.h"
#include "PduHeader.h"

namespace RtiqnDis {

/// One PDU of a datagram.
struct BundledPdu {
    PduHeader header;
    std::size_t offset = 0;
    /// The PDU, and when it is coupled also the padding and the Attribute PDU behind it.
    std::size_t size_bytes = 0;
    bool coupled = false;
};

/// What a datagram holds, and what of it cannot be taken as a PDU.
struct Bundle {
    std::vector<BundledPdu> pdus;
    std::vector<Loss> losses;
};

/// Bytes of padding after a PDU of that length: PDUs of version 7 and later begin at multiples of
/// 8 bytes counted from the PDU before, older ones follow each other directly.
std::size_t paddingAfter(std::size_t length_bytes, std::uint8_t version);

/// Splits a datagram as a receiving DtDisSocket does: a PDU of length 0 to 11, or longer than what
/// is left, ends the splitting and costs the rest. `bundle` is overwritten; its memory is reused.
void unbundle(ByteView datagram, Bundle& bundle);

}  // namespace RtiqnDis

#endif
