#ifndef RTIQNUTIL_FOM_TYPES_H
#define RTIQNUTIL_FOM_TYPES_H

#include <cstdint>

/// @file
/// The enumerations of FOM merging. Their underlying types are fixed, so any number that was
/// stored or received may be held in one; numbers without an enumerator are simply unknown.

namespace OrynRti {

/// The edition of the standard that a target's object model follows.
enum DtFomType : int {
    DtFomTypeUnknown = 0,
    DtFomTypeHla13 = 1,
    DtFomTypeIeee1516_2000 = 2,
    DtFomTypeIeee1516_2010 = 3,
    DtFomTypeIeee1516_2025 = 4
};

/// What the run-time infrastructure does for a federate that is lost: the value of the switch
/// automaticResignAction. The spelling of two enumerators is part of the text form.
enum DtResignAction : int {
    DtUnconditionallyDivestAttributes = 0,
    DtDeleteObjects = 1,
    DtCancelPendingOwnershipAcquitions = 2,
    DtDeleteObjectsThanDivest = 3,
    DtCancelThenDeleteThenDivest = 4,
    DtNoAction = 5
};

/// One bit per table of a FOM module; a target's merge table mask is a union of them.
enum DtMergeFomTableMask : std::uint64_t {
    DtMergeFomTableUnknown = 0,
    DtMergeFomTableIdentification = 0x1,
    DtMergeFomTableObjectClass = 0x2,
    DtMergeFomTableInteractionClass = 0x4,
    DtMergeFomTableDirectedInteraction = 0x8,
    DtMergeFomTableDimensions = 0x10,
    DtMergeFomTableTime = 0x20,
    DtMergeFomTableUserDefinedTags = 0x40,
    DtMergeFomTableSyncPoints = 0x80,
    DtMergeFomTableTransportTypes = 0x100,
    DtMergeFomTableUpdateRates = 0x200,
    DtMergeFomTableSwitches = 0x400,
    DtMergeFomTableBasicDataRepType = 0x800,
    DtMergeFomTableSimpleDataType = 0x1000,
    DtMergeFomTableEnumeratedDataType = 0x2000,
    DtMergeFomTableArrayDataType = 0x4000,
    DtMergeFomTableFixedRecordDataType = 0x8000,
    DtMergeFomTableVariantRecordDataType = 0x10000,
    DtMergeFomTableReferenceType = 0x20000,
    DtMergeFomTableNotes = 0x40000
};

/// The mask that enables every table.
constexpr std::uint64_t DtMergeFomAllTables = 0x7FFFF;

/// The result of a merge step or of the check after the merges. Derived targets may return
/// numbers of their own for the object-model part.
enum DtMergeFomStatus_enum : int {
    DtMergeFomSwitchesConflict = 1,  ///< switches or the automatic resign action
    DtMergeFomCheckFailed = 3,       ///< the check after the merges found something else
    DtMergeFomUpdateRatesConflict = 4,
    DtMergeFomTransportTypesConflict = 5,
    DtMergeFomSyncPointsConflict = 6,
    DtMergeFomUserSuppliedTagsConflict = 7,
    DtMergeFomNotesConflict = 8,
    DtMergeFomTimeTypesConflict = 9,
    DtMergeFomBasicDataRepresentationsConflict = 10,
    DtMergeFomSimpleDataTypesConflict = 11,
    DtMergeFomEnumeratedDataTypesConflict = 12,
    DtMergeFomArrayDataTypesConflict = 13,
    DtMergeFomFixedRecordDataTypesConflict = 14,
    DtMergeFomVariantRecordDataTypesConflict = 15,
    DtMergeFomUnresolvedReferences = 20,  ///< the check failed on references left unresolved
    DtMergeFomSuccess = 21
};

}  // namespace OrynRti

#endif
