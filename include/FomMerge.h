#ifndef RTIQNUTIL_FOM_MERGE_H
#define RTIQNUTIL_FOM_MERGE_H

#include <deque>
#include <memory>
#include <ostream>
#include <set>

#include "FomComponents.h"
#include "FomTypes.h"
#include "Print.h"
#include "String.h"

/// @file
/// Merging of one table of rows, for the row types of FomComponents.h and for any other type that
/// has their operations and whose rows, when equal, have the same name.

namespace OrynRti {

/// The row of `held` where `row` stands or would stand: the first one that is not before it.
/// `from` is a row that is not behind that place. Tables that are merged mostly have the same
/// names, so the next rows are looked at before the whole table is searched.
template <typename T>
auto DtFomPlaceOf(const T& row, const std::set<std::shared_ptr<T>, FomTypeCompare<T>>& held,
                  typename std::set<std::shared_ptr<T>, FomTypeCompare<T>>::const_iterator from) {
    constexpr int theNextRows = 8;
    for (int i = 0; i < theNextRows; ++i, ++from)
        if (from == held.end() || !(**from < row))
            return from;
    return held.lower_bound(row);
}

/// Whether no row of `held` conflicts with `incoming`: the held row that equals it, if there is
/// one, must agree with it in `compareSubcomponents`. A new name never conflicts.
/// Cost: logarithmic, since a row that equals `incoming` can only stand at its name.
template <typename T>
bool consistencyTest(const std::set<std::shared_ptr<T>, FomTypeCompare<T>>& held, const T& incoming,
                     bool strict) {
    const auto found = held.find(incoming);
    if (found == held.end() || !(**found == incoming))
        return true;
    return (*found)->compareSubcomponents(incoming, strict);
}

/// A row that `mergeComponent` is to add, and where. They are kept in a deque: the large blocks of
/// a growing vector, between the small ones of the tables, slow the allocator down.
template <typename T>
struct DtFomNewRow {
    /// In the table that is to hold it, and in the one that it comes from. @{
    typename std::set<std::shared_ptr<T>, FomTypeCompare<T>>::const_iterator before;
    const std::shared_ptr<T>* row;
    /// @}
};

/// What `mergeComponent` reports of the rows that conflict. True when there were none, and then
/// `newRows` are those that `held` has not.
///
/// `errorText` ends with the last conflicting row. A single conflict is appended to what the text
/// held, without a heading; from the second on, each one replaces the whole text by the heading
/// and its own row, so callers that want every row look for them with `consistencyTest`.
template <typename T>
bool DtReportFomConflicts(const std::set<std::shared_ptr<T>, FomTypeCompare<T>>& incoming,
                          const std::set<std::shared_ptr<T>, FomTypeCompare<T>>& held,
                          const DtString& fomName, const DtString& tableName, DtString& errorText,
                          bool strict, std::deque<DtFomNewRow<T>>& newRows) {
    bool consistent = true;
    auto place = held.begin();
    for (const std::shared_ptr<T>& row : incoming) {
        place = DtFomPlaceOf(*row, held, place);
        if (place == held.end() || !(**place == *row)) {
            newRows.push_back({place, &row});
            continue;
        }
        const T& heldRow = **place++;
        if (heldRow.compareSubcomponents(*row, strict))
            continue;
        if (!consistent)
            errorText = fomName + " has conflicts in " + tableName + ":\n";
        errorText += "\t";
        row->appendToString(errorText);
        consistent = false;
    }
    return consistent;
}

/// Adds the rows of `incoming` to `held`; of a name in both, the held row stays. Rows are shared,
/// not copied. When any row conflicts nothing is added, not even rows of new names: the answer is
/// then `conflictStatus` and `errorText` is written to DtVerbose, or, without `strict`, the answer
/// is success and the text goes to DtWarn. See `DtReportFomConflicts` for what `errorText` holds;
/// it is left alone when nothing conflicts. An empty `held` takes every row untested.
///
/// `fomName` is the identification of the module that `incoming` is from, `tableName` the table's
/// name for people. The two tables may be the same.
/// Cost: a step beside the last row, or one look-up, for each row; one hinted insertion for each
/// new one.
template <typename T>
DtMergeFomStatus_enum mergeComponent(
    const std::set<std::shared_ptr<T>, FomTypeCompare<T>>& incoming,
    std::set<std::shared_ptr<T>, FomTypeCompare<T>>& held, const DtString& fomName,
    const DtString& tableName, DtString& errorText, DtMergeFomStatus_enum conflictStatus,
    bool strict) {
    if (held.empty()) {
        held = incoming;
        return DtMergeFomSuccess;
    }
    std::deque<DtFomNewRow<T>> newRows;
    if (!DtReportFomConflicts(incoming, held, fomName, tableName, errorText, strict, newRows)) {
        if (strict) {
            DtVerbose << errorText << std::endl;
            return conflictStatus;
        }
        DtWarn << "Merge Error ignored: " << errorText << std::endl;
        return DtMergeFomSuccess;
    }
    for (const DtFomNewRow<T>& added : newRows)
        held.insert(added.before, *added.row);
    return DtMergeFomSuccess;
}

}  // namespace OrynRti

#endif
