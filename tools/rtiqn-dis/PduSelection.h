#ifndef RTIQN_DIS_PDU_SELECTION_H
#define RTIQN_DIS_PDU_SELECTION_H

#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

#include "Losses.h"
#include "PduHeader.h"

namespace RtiqnDis {

/// The values that one byte of the header may have.
using ByteSet = std::bitset<256>;

/// Which PDUs are wanted; all of them to begin with.
struct PduSelection {
    ByteSet versions = ByteSet().set();
    ByteSet exercises = ByteSet().set();
    ByteSet kinds = ByteSet().set();

    /// Lets pass the listed kinds (all when none is listed) less the excluded ones.
    void selectKinds(const std::vector<std::uint8_t>& wanted,
                     const std::vector<std::uint8_t>& excluded);

    /// Why the PDU is left out; nothing when it is wanted. Version, exercise and kind are asked in
    /// this order, as the DIS socket does.
    std::optional<Loss> rejects(const PduHeader& header) const;
};

/// The listed values, or all when none is listed.
ByteSet byteSet(const std::vector<std::uint8_t>& values);

}  // namespace RtiqnDis

#endif
