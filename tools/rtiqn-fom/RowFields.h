#ifndef RTIQN_FOM_ROW_FIELDS_H
#define RTIQN_FOM_ROW_FIELDS_H

#include <string>
#include <vector>

#include "FomComponents.h"
#include "FomModel.h"

namespace RtiqnFom {

/// A field of a row under the name it has in OMT documents, its value as text. Collections are one
/// field: "Red = 1, Green = 2".
struct FieldValue {
    std::string name;
    std::string value;
};

using FieldValues = std::vector<FieldValue>;

/// The fields of a row without its name, those first that a merge compares.
FieldValues fieldsOf(const OrynRti::DtTimeType& row);
FieldValues fieldsOf(const OrynRti::DtUserSuppliedTagsType& row);
FieldValues fieldsOf(const OrynRti::DtSynchronizationPointsType& row);
FieldValues fieldsOf(const OrynRti::DtTransportationType& row);
FieldValues fieldsOf(const OrynRti::DtUpdateRateType& row);
FieldValues fieldsOf(const OrynRti::DtBasicDataRepresentationType& row);
FieldValues fieldsOf(const OrynRti::DtSimpleDatatypeType& row);
FieldValues fieldsOf(const OrynRti::DtEnumeratedDatatypeType& row);
FieldValues fieldsOf(const OrynRti::DtArrayDatatypeType& row);
FieldValues fieldsOf(const OrynRti::DtFixedRecordDatatypeType& row);
FieldValues fieldsOf(const OrynRti::DtVariantRecordDatatypeType& row);
FieldValues fieldsOf(const OrynRti::DtNotesType& row);
FieldValues fieldsOf(const ReferenceDatatype& row);
FieldValues fieldsOf(const Dimension& row);
FieldValues fieldsOf(const ObjectClass& row);
FieldValues fieldsOf(const Attribute& row);
FieldValues fieldsOf(const DirectedInteraction& row);
FieldValues fieldsOf(const InteractionClass& row);
FieldValues fieldsOf(const Parameter& row);

}  // namespace RtiqnFom

#endif
