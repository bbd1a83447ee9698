#ifndef RTIQN_DIS_PDU_KINDS_H
#define RTIQN_DIS_PDU_KINDS_H

#include <cstdint>
#include <optional>
#include <string>

namespace RtiqnDis {

/// The name that IEEE 1278.1-2012 gives a kind (PDU type) of 0 to 72, without the word PDU;
/// "unknown" for others.
const char* kindName(std::uint8_t kind);

/// A kind from its number ("1") or its name in any case, with or without blanks and punctuation
/// ("Start/Resume-R", "startresume-r", "EntityStatePdu").
std::optional<std::uint8_t> parseKind(const std::string& text);

}  // namespace RtiqnDis

#endif
