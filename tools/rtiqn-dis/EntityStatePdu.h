#ifndef RTIQN_DIS_ENTITY_STATE_PDU_H
#define RTIQN_DIS_ENTITY_STATE_PDU_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "EntityMotion.h"

namespace RtiqnDis {

constexpr std::size_t theEntityStateSize_bytes = 144;
using EntityStateBytes = std::array<char, theEntityStateSize_bytes>;

/// Who an Entity State PDU speaks of.
struct EntityIdentity {
    std::uint8_t version = 7;  ///< of DIS: 6 or 7
    std::uint8_t exercise = 1;
    std::uint16_t site = 1;
    std::uint16_t application = 1;
    std::uint16_t entity = 1;
};

/// An Entity State PDU without variable parameters, of a ship in motion. `time_s` is Unix time; the
/// PDU gets an absolute timestamp.
EntityStateBytes entityStatePdu(const EntityIdentity& identity, const EntityMotion& motion,
                                double time_s);

}  // namespace RtiqnDis

#endif
