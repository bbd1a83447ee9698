#include "RowFields.h"

#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

std::string listed(const std::vector<DtEnumeratorType>& enumerators) {
    std::vector<std::string> parts;
    for (const DtEnumeratorType& enumerator : enumerators) {
        std::vector<std::string> values;
        for (const DtString& value : enumerator.values)
            values.push_back(textOf(value));
        parts.push_back(textOf(enumerator.name) + " = " + joined(values, " "));
    }
    return joined(parts, ", ");
}

std::string listed(const std::vector<DtFieldType>& fields) {
    std::vector<std::string> parts;
    parts.reserve(fields.size());
    for (const DtFieldType& field : fields)
        parts.push_back(textOf(field.name) + ": " + textOf(field.dataType));
    return joined(parts, ", ");
}

std::string listed(const std::vector<DtAlternativeType>& alternatives) {
    std::vector<std::string> parts;
    parts.reserve(alternatives.size());
    for (const DtAlternativeType& alternative : alternatives)
        parts.push_back(textOf(alternative.enumerator) + " -> " + textOf(alternative.name) + ": " +
                        textOf(alternative.dataType));
    return joined(parts, ", ");
}

}  // namespace

FieldValues fieldsOf(const DtTimeType& row) {
    return {{"dataType", textOf(row.dataType)}, {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtUserSuppliedTagsType& row) {
    return {{"dataType", textOf(row.dataType)}, {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtSynchronizationPointsType& row) {
    return {{"dataType", textOf(row.dataType)},
            {"semantics", textOf(row.semantics)},
            {"capability", capabilityText(row.capability)}};
}

FieldValues fieldsOf(const DtTransportationType& row) {
    return {{"reliable", row.reliable ? "Yes" : "No"},
            {"description", textOf(row.description)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtUpdateRateType& row) {
    return {{"rate", rateText(row.rate)}, {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtBasicDataRepresentationType& row) {
    return {{"size", std::to_string(row.size)},
            {"interpretation", textOf(row.interpretation)},
            {"endian", endianText(row.endian)},
            {"encoding", textOf(row.encoding)}};
}

FieldValues fieldsOf(const DtSimpleDatatypeType& row) {
    return {{"representation", textOf(row.representation)},
            {"units", textOf(row.units)},
            {"resolution", textOf(row.resolution)},
            {"accuracy", textOf(row.accuracy)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtEnumeratedDatatypeType& row) {
    return {{"representation", textOf(row.representation)},
            {"enumerators", listed(row.enumerators)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtArrayDatatypeType& row) {
    return {{"dataType", textOf(row.dataType)},
            {"cardinality", textOf(row.cardinality)},
            {"encoding", textOf(row.encoding)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtFixedRecordDatatypeType& row) {
    return {{"encoding", textOf(row.encoding)},
            {"fields", listed(row.fields)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtVariantRecordDatatypeType& row) {
    return {{"discriminant", textOf(row.discriminant)},
            {"dataType", textOf(row.dataType)},
            {"alternatives", listed(row.alternatives)},
            {"encoding", textOf(row.encoding)},
            {"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const DtNotesType& row) {
    return {{"semantics", textOf(row.semantics)}};
}

FieldValues fieldsOf(const ReferenceDatatype& row) {
    return {{"representation", row.representation},
            {"referencedClass", row.referencedClass},
            {"referencedAttribute", row.referencedAttribute},
            {"semantics", row.semantics}};
}

FieldValues fieldsOf(const Dimension& row) {
    return {{"dataType", row.dataType},
            {"upperBound", row.upperBound},
            {"normalization", row.normalization},
            {"value", row.valueWhenUnspecified}};
}

FieldValues fieldsOf(const ObjectClass& row) {
    return {{"sharing", row.sharing}, {"semantics", row.semantics}};
}

FieldValues fieldsOf(const Attribute& row) {
    return {{"dataType", row.dataType},
            {"updateType", row.updateType},
            {"ownership", row.ownership},
            {"sharing", row.sharing},
            {"transportation", row.transportation},
            {"order", row.order},
            {"dimensions", joined(row.dimensions, " ")},
            {"updateCondition", row.updateCondition},
            {"valueRequired", row.valueRequired},
            {"semantics", row.semantics}};
}

FieldValues fieldsOf(const DirectedInteraction& row) {
    return {{"sharing", row.sharing}};
}

FieldValues fieldsOf(const InteractionClass& row) {
    return {{"sharing", row.sharing},
            {"transportation", row.transportation},
            {"order", row.order},
            {"dimensions", joined(row.dimensions, " ")},
            {"semantics", row.semantics}};
}

FieldValues fieldsOf(const Parameter& row) {
    return {{"dataType", row.dataType},
            {"valueRequired", row.valueRequired},
            {"semantics", row.semantics}};
}

}  // namespace RtiqnFom
