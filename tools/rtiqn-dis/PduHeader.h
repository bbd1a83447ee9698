#ifndef RTIQN_DIS_PDU_HEADER_H
#define RTIQN_DIS_PDU_HEADER_H

#include <cstddef>
#include <cstdint>

#include "ByteView.h"

namespace RtiqnDis {

constexpr std::size_t theHeaderSize_bytes = 12;
constexpr std::uint8_t theAttributeKind = 72;

/// What every PDU begins with (IEEE 1278.1-2012, 6.2.66), in network order:
///
///     0  protocol version   4  timestamp (32 bits)
///     1  exercise           8  length in bytes (16 bits)
///     2  kind               10 PDU status (version 7; before that padding)
///     3  protocol family    11 padding
struct PduHeader {
    std::uint8_t version = 0;
    std::uint8_t exercise = 0;
    std::uint8_t kind = 0;
    std::uint16_t length_bytes = 0;
    std::uint8_t status = 0;

    /// `bytes` holds at least the twelve bytes of a header.
    static PduHeader read(ByteView bytes) {
        return {bytes.u8(0), bytes.u8(1), bytes.u8(2), bytes.u16(8), bytes.u8(10)};
    }

    /// Whether an Attribute PDU that belongs to this PDU follows it (the coupled extension
    /// indicator). Senders of older versions set it, too.
    bool announcesAttribute() const { return kind != theAttributeKind && (status & 0x08) != 0; }
};

}  // namespace RtiqnDis

#endif
