#include "FomTypes.h"

#include "FedTarget.h"

namespace OrynRti {

DtString DtFedTarget::enumAsString(DtResignAction action) {
    switch (action) {
        case DtUnconditionallyDivestAttributes:
            return "UnconditionallyDivestAttributes";
        case DtDeleteObjects:
            return "DeleteObjects";
        case DtCancelPendingOwnershipAcquitions:
            return "CancelPendingOwnershipAcquitions";
        case DtDeleteObjectsThanDivest:
            return "DeleteObjectsThanDivest";
        case DtCancelThenDeleteThenDivest:
            return "CancelThenDeleteThenDivest";
        case DtNoAction:
            return "NoAction";
    }
    return "unknown";
}

DtString DtFedTarget::enumAsString(DtMergeFomTableMask table) {
    switch (table) {
        case DtMergeFomTableUnknown:
            break;
        case DtMergeFomTableIdentification:
            return "Identification";
        case DtMergeFomTableObjectClass:
            return "ObjectClass";
        case DtMergeFomTableInteractionClass:
            return "InteractionClass";
        case DtMergeFomTableDirectedInteraction:
            return "DirectedInteraction";
        case DtMergeFomTableDimensions:
            return "Dimensions";
        case DtMergeFomTableTime:
            return "Time";
        case DtMergeFomTableUserDefinedTags:
            return "UserDefinedTags";
        case DtMergeFomTableSyncPoints:
            return "SyncPoints";
        case DtMergeFomTableTransportTypes:
            return "TransportTypes";
        case DtMergeFomTableUpdateRates:
            return "UpdateRates";
        case DtMergeFomTableSwitches:
            return "Switches";
        case DtMergeFomTableBasicDataRepType:
            return "BasicDataRepType";
        case DtMergeFomTableSimpleDataType:
            return "SimpleDataType";
        case DtMergeFomTableEnumeratedDataType:
            return "EnumeratedDataType";
        case DtMergeFomTableArrayDataType:
            return "ArrayDataType";
        case DtMergeFomTableFixedRecordDataType:
            return "FixedRecordDataType";
        case DtMergeFomTableVariantRecordDataType:
            return "VariantRecordDataType";
        case DtMergeFomTableReferenceType:
            return "ReferenceType";
        case DtMergeFomTableNotes:
            return "Notes";
    }
    return "Unknown";
}

}  // namespace OrynRti
