#include "FomComponents.h"

#include "fom/FomText.h"

namespace OrynRti {

namespace {

DtString quoted(const DtString& text) {
    return "\"" + text + "\"";
}

template <typename... Texts>
DtString& append(DtString& out, const Texts&... texts) {
    ((out += texts), ...);
    return out;
}

}  // namespace

#define DT_IDENTITY_IS_NAME(Row)                   \
    bool Row::operator==(const Row& other) const { \
        return DtFomSameText(name, other.name);    \
    }

#define DT_ORDER_IS_NAME(Row)                           \
    bool Row::operator<(const Row& other) const {       \
        return DtFomCompareTexts(name, other.name) < 0; \
    }

#define DT_ALWAYS_AGREES(Row)                                \
    bool Row::compareSubcomponents(const Row&, bool) const { \
        return true;                                         \
    }

// -----------------------------------------------------------------------------------------------

DT_ORDER_IS_NAME(DtTimeType)
DT_ALWAYS_AGREES(DtTimeType)

bool DtTimeType::operator==(const DtTimeType& other) const {
    return DtFomSameText(name, other.name) && DtFomSameText(dataType, other.dataType) &&
           DtFomSameText(semantics, other.semantics);
}

DtString& DtTimeType::appendToString(DtString& out) const {
    return append(out, name, ": ", dataType, ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtUserSuppliedTagsType)
DT_ORDER_IS_NAME(DtUserSuppliedTagsType)

bool DtUserSuppliedTagsType::compareSubcomponents(const DtUserSuppliedTagsType& other,
                                                  bool strict) const {
    return !strict ||
           (DtFomSameText(dataType, other.dataType) && DtFomSameText(semantics, other.semantics));
}

DtString& DtUserSuppliedTagsType::appendToString(DtString& out) const {
    return append(out, name, ": ", dataType, ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtSynchronizationPointsType)
DT_ORDER_IS_NAME(DtSynchronizationPointsType)

bool DtSynchronizationPointsType::compareSubcomponents(const DtSynchronizationPointsType& other,
                                                       bool strict) const {
    return !strict ||
           (DtFomSameText(dataType, other.dataType) && DtFomSameText(semantics, other.semantics));
}

DtString& DtSynchronizationPointsType::appendToString(DtString& out) const {
    return append(out, name, ": ", dataType, ", ", DtString(static_cast<int>(capability)), ", ",
                  quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtTransportationType)
DT_ORDER_IS_NAME(DtTransportationType)

bool DtTransportationType::compareSubcomponents(const DtTransportationType& other,
                                                bool strict) const {
    if (reliable != other.reliable)
        return false;
    return !strict || (DtFomSameText(description, other.description) &&
                       DtFomSameText(semantics, other.semantics));
}

DtString& DtTransportationType::appendToString(DtString& out) const {
    return append(out, name, ": ", reliable ? "Reliable" : "BestEffort", ", ", quoted(description),
                  ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtUpdateRateType)
DT_ORDER_IS_NAME(DtUpdateRateType)

bool DtUpdateRateType::compareSubcomponents(const DtUpdateRateType& other, bool strict) const {
    return !strict || (rate == other.rate && DtFomSameText(semantics, other.semantics));
}

DtString& DtUpdateRateType::appendToString(DtString& out) const {
    return append(out, name, ": ", DtString(static_cast<double>(rate)), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtBasicDataRepresentationType)
DT_ORDER_IS_NAME(DtBasicDataRepresentationType)
DT_ALWAYS_AGREES(DtBasicDataRepresentationType)

DtString& DtBasicDataRepresentationType::appendToString(DtString& out) const {
    return append(out, name, ": ", DtString(static_cast<unsigned int>(size)), ", ",
                  DtString(static_cast<int>(endian)), ", ", quoted(interpretation), ", ",
                  quoted(encoding));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtSimpleDatatypeType)
DT_ORDER_IS_NAME(DtSimpleDatatypeType)
DT_ALWAYS_AGREES(DtSimpleDatatypeType)

DtString& DtSimpleDatatypeType::appendToString(DtString& out) const {
    return append(out, name, ": ", quoted(representation), ", ", quoted(units), ", ",
                  quoted(resolution), ", ", quoted(accuracy), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtEnumeratedDatatypeType)
DT_ORDER_IS_NAME(DtEnumeratedDatatypeType)
DT_ALWAYS_AGREES(DtEnumeratedDatatypeType)

DtString& DtEnumeratedDatatypeType::appendToString(DtString& out) const {
    return append(out, name, ": ", quoted(representation), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtArrayDatatypeType)
DT_ORDER_IS_NAME(DtArrayDatatypeType)
DT_ALWAYS_AGREES(DtArrayDatatypeType)

DtString& DtArrayDatatypeType::appendToString(DtString& out) const {
    return append(out, name, ": ", quoted(dataType), ", ", quoted(cardinality), ", ",
                  quoted(encoding), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtFixedRecordDatatypeType)
DT_ORDER_IS_NAME(DtFixedRecordDatatypeType)
DT_ALWAYS_AGREES(DtFixedRecordDatatypeType)

DtString& DtFixedRecordDatatypeType::appendToString(DtString& out) const {
    return append(out, name, ": ", quoted(encoding), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtVariantRecordDatatypeType)
DT_ORDER_IS_NAME(DtVariantRecordDatatypeType)
DT_ALWAYS_AGREES(DtVariantRecordDatatypeType)

DtString& DtVariantRecordDatatypeType::appendToString(DtString& out) const {
    // The doubled separator is what readers of these lines have always been given.
    return append(out, name, ": ", ", ", quoted(discriminant), ", ", quoted(dataType), ", ",
                  quoted(encoding), ", ", quoted(semantics));
}

// -----------------------------------------------------------------------------------------------

DT_IDENTITY_IS_NAME(DtNotesType)
DT_ORDER_IS_NAME(DtNotesType)

bool DtNotesType::compareSubcomponents(const DtNotesType& other, bool strict) const {
    return !strict || DtFomSameText(semantics, other.semantics);
}

DtString& DtNotesType::appendToString(DtString& out) const {
    return append(out, name, ": ", quoted(semantics));
}

}  // namespace OrynRti
