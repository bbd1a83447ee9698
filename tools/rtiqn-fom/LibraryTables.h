#ifndef RTIQN_FOM_LIBRARY_TABLES_H
#define RTIQN_FOM_LIBRARY_TABLES_H

#include "FedTarget.h"

namespace RtiqnFom {

/// One of the library's tables of rows: how it is named, which status its conflicts have, where a
/// target holds it.
template <typename T>
struct LibraryTable {
    using Row = T;

    OrynRti::DtMergeFomTableMask mask;
    const char* title;
    OrynRti::DtMergeFomStatus_enum conflictStatus;
    const OrynRti::DtFomTable<T>& (OrynRti::DtFedTarget::*rows)() const;
};

inline constexpr LibraryTable<OrynRti::DtTimeType> theTimeTable = {
    OrynRti::DtMergeFomTableTime, "Time Representations", OrynRti::DtMergeFomTimeTypesConflict,
    &OrynRti::DtFedTarget::timeTypes};

inline constexpr LibraryTable<OrynRti::DtEnumeratedDatatypeType> theEnumeratedTable = {
    OrynRti::DtMergeFomTableEnumeratedDataType, "Enumerated Datatypes",
    OrynRti::DtMergeFomEnumeratedDataTypesConflict, &OrynRti::DtFedTarget::enumeratedDataTypes};

inline constexpr LibraryTable<OrynRti::DtVariantRecordDatatypeType> theVariantTable = {
    OrynRti::DtMergeFomTableVariantRecordDataType, "Variant Record Datatypes",
    OrynRti::DtMergeFomVariantRecordDataTypesConflict,
    &OrynRti::DtFedTarget::variantRecordDataTypes};

/// Calls `visit` with each of the six kinds of datatype.
template <typename Visit>
void visitDatatypeTables(Visit visit) {
    using namespace OrynRti;
    using Target = DtFedTarget;
    visit(LibraryTable<DtBasicDataRepresentationType>{
        DtMergeFomTableBasicDataRepType, "Basic Data Representations",
        DtMergeFomBasicDataRepresentationsConflict, &Target::basicDataRepresentations});
    visit(LibraryTable<DtSimpleDatatypeType>{DtMergeFomTableSimpleDataType, "Simple Datatypes",
                                             DtMergeFomSimpleDataTypesConflict,
                                             &Target::simpleDataTypes});
    visit(theEnumeratedTable);
    visit(LibraryTable<DtArrayDatatypeType>{DtMergeFomTableArrayDataType, "Array Datatypes",
                                            DtMergeFomArrayDataTypesConflict,
                                            &Target::arrayDataTypes});
    visit(LibraryTable<DtFixedRecordDatatypeType>{
        DtMergeFomTableFixedRecordDataType, "Fixed Record Datatypes",
        DtMergeFomFixedRecordDataTypesConflict, &Target::fixedRecordDataTypes});
    visit(theVariantTable);
}

/// Calls `visit` with each table whose rows the library merges one by one, in the order of its
/// merge. Time representations, which agree or differ as a whole, and switches, which are no
/// rows, come before these.
template <typename Visit>
void visitComponentTables(Visit visit) {
    using namespace OrynRti;
    using Target = DtFedTarget;
    visit(LibraryTable<DtUpdateRateType>{DtMergeFomTableUpdateRates, "Update Rates",
                                         DtMergeFomUpdateRatesConflict, &Target::updateRates});
    visit(LibraryTable<DtTransportationType>{DtMergeFomTableTransportTypes, "Transportation Types",
                                             DtMergeFomTransportTypesConflict,
                                             &Target::transportTypes});
    visit(LibraryTable<DtUserSuppliedTagsType>{DtMergeFomTableUserDefinedTags, "User-Supplied Tags",
                                               DtMergeFomUserSuppliedTagsConflict,
                                               &Target::userSuppliedTags});
    visitDatatypeTables(visit);
    visit(LibraryTable<DtSynchronizationPointsType>{
        DtMergeFomTableSyncPoints, "Synchronization Points", DtMergeFomSyncPointsConflict,
        &Target::syncPoints});
    visit(LibraryTable<DtNotesType>{DtMergeFomTableNotes, "Notes", DtMergeFomNotesConflict,
                                    &Target::notes});
}

}  // namespace RtiqnFom

#endif
