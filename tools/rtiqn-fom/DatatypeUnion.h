#ifndef RTIQN_FOM_DATATYPE_UNION_H
#define RTIQN_FOM_DATATYPE_UNION_H

#include <optional>
#include <vector>

#include "Conflict.h"
#include "FomComponents.h"

namespace RtiqnFom {

/// In the edition of 2025 modules are meant to extend enumerations and variants: what both state
/// must agree, and each may add to the other.

/// A row of a module and the row of its name that is held, with their places.
template <typename Row>
struct RowPair {
    const Row& held;
    const Row& incoming;
    Place heldPlace;
    Place incomingPlace;
};

/// An enumerator of one name must have the same values in both.
std::vector<Conflict> unionConflicts(const RowPair<OrynRti::DtEnumeratedDatatypeType>& rows);

/// The discriminant and its datatype must be the same, and so must the name and the datatype of an
/// alternative for one enumerator; datatypes and names that are not stated agree.
std::vector<Conflict> unionConflicts(const RowPair<OrynRti::DtVariantRecordDatatypeType>& rows);

/// The held row with what only the incoming one has behind its own; nothing when that is nothing.
/// The rows must not conflict.
std::optional<OrynRti::DtEnumeratedDatatypeType> unionOf(
    const OrynRti::DtEnumeratedDatatypeType& held,
    const OrynRti::DtEnumeratedDatatypeType& incoming);
std::optional<OrynRti::DtVariantRecordDatatypeType> unionOf(
    const OrynRti::DtVariantRecordDatatypeType& held,
    const OrynRti::DtVariantRecordDatatypeType& incoming);

}  // namespace RtiqnFom

#endif
