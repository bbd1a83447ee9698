#include <string>

#include "FedTarget.h"
#include "FomMerge.h"

namespace OrynRti {

namespace {

/// True while it lives.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& flag) : flag_(flag) { flag_ = true; }
    ~ScopedFlag() { flag_ = false; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    bool& flag_;
};

}  // namespace

DtMergeFomStatus_enum DtFedTarget::mergeTarget(const DtFedTarget& source, bool createFederation) {
    const ScopedFlag merging(merging_);
    DtMergeFomStatus_enum status = mergeTables(source, createFederation);
    if (status != DtMergeFomSuccess)
        return status;
    mergeUnresolved(source);
    // Built first, since the source may be this target.
    const DtString addition = " + " + source.modelIdentification();
    modelIdentification_ += addition;
    return status;
}

DtMergeFomStatus_enum DtFedTarget::mergeTables(const DtFedTarget& source, bool createFederation) {
    DtMergeFomStatus_enum status = DtMergeFomSuccess;
    const auto visit = [&](DtMergeFomTableMask table, auto merge) {
        if (status == DtMergeFomSuccess && fomTableMergeEnabled(table))
            status = merge();
    };
    const auto visitRows = [&](DtMergeFomTableMask table, auto rows, const char* tableName,
                               DtMergeFomStatus_enum conflict) {
        visit(table, [&] { return mergeRows(source, rows, tableName, conflict); });
    };

    visit(DtMergeFomTableTime, [&] { return mergeTimeTypes(source); });
    visit(DtMergeFomTableSwitches, [&] { return mergeSwitches(source, createFederation); });
    visitRows(DtMergeFomTableUpdateRates, &DtFedTarget::updateRates_, "Update Rates",
              DtMergeFomUpdateRatesConflict);
    visit(DtMergeFomTableTransportTypes, [&] { return mergeTransportTypes(source); });
    if (fomType_ == DtFomTypeIeee1516_2010 || fomType_ == DtFomTypeIeee1516_2025)
        visitRows(DtMergeFomTableUserDefinedTags, &DtFedTarget::userSuppliedTags_,
                  "User Supplied Tags", DtMergeFomUserSuppliedTagsConflict);
    visitRows(DtMergeFomTableBasicDataRepType, &DtFedTarget::basicDataRepresentations_,
              "Basic Data Representation", DtMergeFomBasicDataRepresentationsConflict);
    visitRows(DtMergeFomTableSimpleDataType, &DtFedTarget::simpleDataTypes_, "Simple Data Types",
              DtMergeFomSimpleDataTypesConflict);
    visitRows(DtMergeFomTableEnumeratedDataType, &DtFedTarget::enumeratedDataTypes_,
              "Enumerated Data Types", DtMergeFomEnumeratedDataTypesConflict);
    visitRows(DtMergeFomTableArrayDataType, &DtFedTarget::arrayDataTypes_, "Array Data Types",
              DtMergeFomArrayDataTypesConflict);
    visitRows(DtMergeFomTableFixedRecordDataType, &DtFedTarget::fixedRecordDataTypes_,
              "Fixed Record Data Types", DtMergeFomFixedRecordDataTypesConflict);
    visitRows(DtMergeFomTableVariantRecordDataType, &DtFedTarget::variantRecordDataTypes_,
              "Variant Record Data Types", DtMergeFomVariantRecordDataTypesConflict);
    visitRows(DtMergeFomTableSyncPoints, &DtFedTarget::syncPoints_, "Synchronizations",
              DtMergeFomSyncPointsConflict);
    visitRows(DtMergeFomTableNotes, &DtFedTarget::notes_, "Notes", DtMergeFomNotesConflict);
    visit(DtMergeFomTableDimensions, [&] { return mergeSpaces(source); });
    visit(DtMergeFomTableObjectClass, [&] { return mergeObjectClasses(source); });
    visit(DtMergeFomTableInteractionClass, [&] { return mergeInteractionClasses(source); });
    return status;
}

template <typename T>
DtMergeFomStatus_enum DtFedTarget::mergeRows(const DtFedTarget& source,
                                             DtFomTable<T> DtFedTarget::*rows,
                                             const char* tableName,
                                             DtMergeFomStatus_enum conflict) {
    return mergeComponent(source.*rows, this->*rows, source.modelIdentification(), tableName,
                          lastError_, conflict, isStrictChecking());
}

DtMergeFomStatus_enum DtFedTarget::mergeTransportTypes(const DtFedTarget& source) {
    return mergeRows(source, &DtFedTarget::transportTypes_, "Transport Types",
                     DtMergeFomTransportTypesConflict);
}

DtMergeFomStatus_enum DtFedTarget::mergeSpaces(const DtFedTarget&) {
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum DtFedTarget::mergeObjectClasses(const DtFedTarget&) {
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum DtFedTarget::mergeInteractionClasses(const DtFedTarget&) {
    return DtMergeFomSuccess;
}

// --------------------------------------------------------------------------------- time types --

DtMergeFomStatus_enum DtFedTarget::mergeTimeTypes(const DtFedTarget& source) {
    if (timeTypes_.empty()) {
        timeTypes_ = source.timeTypes_;
        return DtMergeFomSuccess;
    }
    if (source.timeTypes_.empty() || timeTypesSame(source))
        return DtMergeFomSuccess;
    return DtMergeFomTimeTypesConflict;
}

bool DtFedTarget::timeTypesSame(const DtFedTarget& source) {
    if (timeTypes_.size() != source.timeTypes_.size())
        return false;
    std::string missing;  // a DtString would be copied whole for each row
    for (const auto& row : source.timeTypes_) {
        if (knownTime(*row))
            continue;
        DtString text;
        missing.append("\t").append(row->appendToString(text).string());
    }
    if (missing.empty())
        return true;
    lastError_ = source.modelIdentification() + " has conflicts in time types: \n";
    lastError_ += DtString(missing);
    return false;
}

}  // namespace OrynRti
