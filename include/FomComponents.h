#ifndef RTIQNUTIL_FOM_COMPONENTS_H
#define RTIQNUTIL_FOM_COMPONENTS_H

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "Export.h"
#include "String.h"

/// @file
/// The rows of a FOM module's tables, one plain struct for each kind of row.
///
///     DtUpdateRateType rate;
///     rate.name = "Low";
///     rate.rate = 2.0f;
///     DtString line;
///     rate.appendToString(line);  // Low: 2, ""
///
/// Every row offers the same four operations:
/// - `==`: identity, that is the same name; for DtTimeType all three fields.
/// - `<`: byte-wise order of the names, which is the order of the tables.
/// - `compareSubcomponents`: whether two rows of the same name agree. Without `strict` only a
///   transportation's reliability is compared; datatype rows always agree, because a later
///   module's datatype of a held name is meant to give way to the held one in silence.
/// - `appendToString`: appends the row on one line, without a line end, and returns the text. The
///   enumerators, fields and alternatives of datatypes are not part of it.
///
/// In all four a text that was cleared counts as empty, so such a name cannot upset a table.
/// A row in a table must keep its name: the table is ordered by it.

namespace OrynRti {

/// A row of the time representations.
struct DT_EXPORT DtTimeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString dataType;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtTimeType& other) const;
    bool operator<(const DtTimeType& other) const;
    /// Always true: time rows of one name that differ are different rows.
    bool compareSubcomponents(const DtTimeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A row of the user-supplied tags.
struct DT_EXPORT DtUserSuppliedTagsType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString dataType;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtUserSuppliedTagsType& other) const;
    bool operator<(const DtUserSuppliedTagsType& other) const;
    bool compareSubcomponents(const DtUserSuppliedTagsType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A synchronization point.
struct DT_EXPORT DtSynchronizationPointsType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString dataType;
    std::int32_t capability = 0;  ///< a code of the module's reader; never compared
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtSynchronizationPointsType& other) const;
    bool operator<(const DtSynchronizationPointsType& other) const;
    bool compareSubcomponents(const DtSynchronizationPointsType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A transportation type.
struct DT_EXPORT DtTransportationType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString semantics;
    bool reliable = false;  ///< false is best effort
    DtString description;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtTransportationType& other) const;
    bool operator<(const DtTransportationType& other) const;
    bool compareSubcomponents(const DtTransportationType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// An update rate.
struct DT_EXPORT DtUpdateRateType {
    /// The columns, as the module states them. @{
    DtString name;
    float rate = 0;  ///< updates a second; prints with the digits of the nearest float
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtUpdateRateType& other) const;
    bool operator<(const DtUpdateRateType& other) const;
    /// When strict a rate that is not a number disagrees with every rate, itself included.
    bool compareSubcomponents(const DtUpdateRateType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A basic data representation.
struct DT_EXPORT DtBasicDataRepresentationType {
    /// The columns, as the module states them. @{
    DtString name;
    std::uint32_t size = 0;  ///< bits
    DtString interpretation;
    std::int32_t endian = 0;  ///< a code of the module's reader
    DtString encoding;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtBasicDataRepresentationType& other) const;
    bool operator<(const DtBasicDataRepresentationType& other) const;
    bool compareSubcomponents(const DtBasicDataRepresentationType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A simple datatype.
struct DT_EXPORT DtSimpleDatatypeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString representation;
    DtString units;
    DtString resolution;
    DtString accuracy;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtSimpleDatatypeType& other) const;
    bool operator<(const DtSimpleDatatypeType& other) const;
    bool compareSubcomponents(const DtSimpleDatatypeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// One enumerator of an enumerated datatype.
struct DtEnumeratorType {
    /// As the module states them. @{
    DtString name;
    std::vector<DtString> values;
    /// @}
};

/// An enumerated datatype.
struct DT_EXPORT DtEnumeratedDatatypeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString representation;
    std::vector<DtEnumeratorType> enumerators;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtEnumeratedDatatypeType& other) const;
    bool operator<(const DtEnumeratedDatatypeType& other) const;
    bool compareSubcomponents(const DtEnumeratedDatatypeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// An array datatype.
struct DT_EXPORT DtArrayDatatypeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString dataType;
    DtString cardinality;
    DtString encoding;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtArrayDatatypeType& other) const;
    bool operator<(const DtArrayDatatypeType& other) const;
    bool compareSubcomponents(const DtArrayDatatypeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// One field of a fixed record datatype.
struct DtFieldType {
    /// As the module states them. @{
    DtString name;
    DtString dataType;
    DtString semantics;
    /// @}
};

/// A fixed record datatype.
struct DT_EXPORT DtFixedRecordDatatypeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString encoding;
    DtString semantics;
    std::vector<DtFieldType> fields;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtFixedRecordDatatypeType& other) const;
    bool operator<(const DtFixedRecordDatatypeType& other) const;
    bool compareSubcomponents(const DtFixedRecordDatatypeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// One alternative of a variant record datatype.
struct DtAlternativeType {
    /// As the module states them. @{
    DtString enumerator;
    DtString name;
    DtString dataType;
    DtString semantics;
    /// @}
};

/// A variant record datatype.
struct DT_EXPORT DtVariantRecordDatatypeType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString discriminant;
    DtString dataType;
    std::vector<DtAlternativeType> alternatives;
    DtString encoding;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtVariantRecordDatatypeType& other) const;
    bool operator<(const DtVariantRecordDatatypeType& other) const;
    bool compareSubcomponents(const DtVariantRecordDatatypeType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// A note that other rows refer to by its name; `semantics` is its text.
struct DT_EXPORT DtNotesType {
    /// The columns, as the module states them. @{
    DtString name;
    DtString semantics;
    /// @}

    /// See the top of FomComponents.h. @{
    bool operator==(const DtNotesType& other) const;
    bool operator<(const DtNotesType& other) const;
    bool compareSubcomponents(const DtNotesType& other, bool strict) const;
    DtString& appendToString(DtString& out) const;
    /// @}
};

/// The order of a table: that of the rows the pointers lead to. A row itself may stand for a
/// pointer to it, so `table.find(row)` needs no pointer. Pointers are never null.
template <typename T>
struct FomTypeCompare {
    using is_transparent = void;  ///< Lets `find` take a row.

    /// By the order of the rows. @{
    bool operator()(const std::shared_ptr<T>& left, const std::shared_ptr<T>& right) const {
        return *left < *right;
    }
    bool operator()(const std::shared_ptr<T>& left, const T& right) const { return *left < right; }
    bool operator()(const T& left, const std::shared_ptr<T>& right) const { return left < *right; }
    /// @}
};

/// One table of a FOM: rows ordered by name, one of each name, shared between the targets that
/// hold them.
template <typename T>
using DtFomTable = std::set<std::shared_ptr<T>, FomTypeCompare<T>>;

}  // namespace OrynRti

#endif
