#ifndef RTIQNUTIL_NETTYPES_H
#define RTIQNUTIL_NETTYPES_H

#include <cstdint>
#include <type_traits>

#include "Export.h"

namespace OrynRti {

/// The byte order of every DtNet integer. A number other than 1 means host order.
enum DtNetworkByteOrdering_enum : int {
    DtHostByteOrder = 0,    ///< That of this machine.
    DtNetworkByteOrder = 1  ///< Big-endian; the default.
};

/// The process-wide byte order. Any thread may ask and set at any time; values that were
/// stored under another order are not converted. @{
DT_EXPORT DtNetworkByteOrdering_enum DtNetworkByteOrdering();
DT_EXPORT void DtSetNetworkByteOrdering(DtNetworkByteOrdering_enum ordering);
/// @}

/// An integer as it lies in a message: its bytes are in the order that is selected when it is
/// assigned, and it is converted back with the order that is selected when it is read. Use it
/// as a member of a message layout, or copy it to and from a buffer with memcpy; outside of
/// messages use the plain integer types.
///
///     DtNetU32 length(text.size());
///     std::memcpy(buffer, &length, sizeof length);
///
/// Copies copy the bytes.
template <typename Integer>
class DtNetInteger {
public:
    DtNetInteger() = default;
    DtNetInteger(Integer value) : stored_(reordered(value)) {}  ///< Takes the order selected now.
    operator Integer() const { return reordered(stored_); }     ///< Assumes the order selected now.

private:
    static Integer bigEndian(Integer value) {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        return value;
#else
        if constexpr (sizeof(Integer) == 2)
            return static_cast<Integer>(__builtin_bswap16(static_cast<std::uint16_t>(value)));
        else
            return static_cast<Integer>(__builtin_bswap32(static_cast<std::uint32_t>(value)));
#endif
    }

    // Swapping is its own inverse, so that one function stores and reads.
    static Integer reordered(Integer value) {
        return DtNetworkByteOrdering() == DtNetworkByteOrder ? bigEndian(value) : value;
    }

    Integer stored_ = 0;
};

/// The integers of message layouts. @{
using DtNetU32 = DtNetInteger<std::uint32_t>;
using DtNetInt32 = DtNetInteger<std::int32_t>;
using DtNetU16 = DtNetInteger<std::uint16_t>;
using DtNetInt16 = DtNetInteger<std::int16_t>;
/// @}

static_assert(sizeof(DtNetU32) == 4 && std::is_trivially_copyable_v<DtNetU32>);
static_assert(sizeof(DtNetInt32) == 4 && std::is_trivially_copyable_v<DtNetInt32>);
static_assert(sizeof(DtNetU16) == 2 && std::is_trivially_copyable_v<DtNetU16>);
static_assert(sizeof(DtNetInt16) == 2 && std::is_trivially_copyable_v<DtNetInt16>);

}  // namespace OrynRti

#endif
