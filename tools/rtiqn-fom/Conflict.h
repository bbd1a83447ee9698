#ifndef RTIQN_FOM_CONFLICT_H
#define RTIQN_FOM_CONFLICT_H

#include <string>

#include "FomModel.h"
#include "FomTypes.h"

namespace RtiqnFom {

/// Statuses of the object-model part, beside those of the library.
constexpr auto theDimensionsStatus = static_cast<OrynRti::DtMergeFomStatus_enum>(16);
constexpr auto theObjectClassesStatus = static_cast<OrynRti::DtMergeFomStatus_enum>(17);
constexpr auto theInteractionClassesStatus = static_cast<OrynRti::DtMergeFomStatus_enum>(18);

/// What one side says of a field, and where. The place is without a file when no module says it.
struct Statement {
    std::string value;
    Place place;
};

/// One field on which a module disagrees with what the federation holds.
struct Conflict {
    OrynRti::DtMergeFomStatus_enum status = OrynRti::DtMergeFomSuccess;
    std::string table;
    std::string row;
    std::string field;
    Statement held;
    Statement incoming;
};

/// What a status says, as a part of a sentence, e.g. "update rates conflict".
const char* meaning(OrynRti::DtMergeFomStatus_enum status);

/// One line: table, row, field, both values and both places.
std::string text(const Conflict& conflict);

}  // namespace RtiqnFom

#endif
