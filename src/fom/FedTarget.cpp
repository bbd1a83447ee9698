#include "FedTarget.h"

#include "FomMerge.h"
#include "fom/FomText.h"

namespace OrynRti {

namespace {

template <typename T>
void addRow(DtFomTable<T>& table, T* row) {
    if (row)
        table.insert(std::shared_ptr<T>(row));
}

template <typename T>
bool knownRow(const DtFomTable<T>& table, const T& row) {
    const auto held = table.find(row);
    return held != table.end() && **held == row;
}

}  // namespace

DtFedTarget::DtFedTarget()
    : autoProvide_(theDefaultAutoProvide),
      conveyRegionDesignatorSets_(theDefaultConveyRegionDesignatorSets),
      conveyProducingFederate_(theDefaultConveyProducingFederate),
      attributeScopeAdvisory_(theDefaultAttributeScopeAdvisory),
      attributeRelevanceAdvisory_(theDefaultAttributeRelevanceAdvisory),
      objectClassRelevanceAdvisory_(theDefaultObjectClassRelevanceAdvisory),
      interactionRelevanceAdvisory_(theDefaultInteractionRelevanceAdvisory),
      serviceReporting_(theDefaultServiceReporting),
      exceptionReporting_(theDefaultExceptionReporting),
      delaySubscriptionEvaluation_(theDefaultDelaySubscriptionEvaluation),
      nonRegulatedGrant_(theDefaultNonRegulatedGrant),
      sendServiceReportsToFile_(theDefaultSendServiceReportsToFile),
      advisoriesUseKnownClass_(theDefaultAdvisoriesUseKnownClass),
      allowRelaxedDdm_(theDefaultAllowRelaxedDdm),
      automaticResignAction_(theDefaultAutomaticResignAction) {}

DtFedTarget::DtFedTarget(const DtFedTarget& other) = default;
DtFedTarget& DtFedTarget::operator=(const DtFedTarget& other) = default;
DtFedTarget::~DtFedTarget() = default;

void DtFedTarget::setFomType(DtFomType type) {
    fomType_ = type;
    initSwitchSetters();
}

DtFomType DtFedTarget::fomType() const {
    return fomType_;
}

bool DtFedTarget::addSpace(const DtString&) {
    return true;
}
bool DtFedTarget::addDimension(const DtString&, const DtString&) {
    return true;
}
bool DtFedTarget::addDimension(const DtString&, std::uint64_t, std::uint64_t, std::uint64_t, bool,
                               const DtString&) {
    return true;
}

// ------------------------------------------------------------------------------------- tables --

std::size_t DtFedTarget::numUpdateRates() const {
    return updateRates_.size();
}
void DtFedTarget::addUpdateRate(DtUpdateRateType* row) {
    addRow(updateRates_, row);
}
bool DtFedTarget::knownUpdateRate(const DtUpdateRateType& row) const {
    return knownRow(updateRates_, row);
}

std::size_t DtFedTarget::numSyncPoints() const {
    return syncPoints_.size();
}
void DtFedTarget::addSyncPoint(DtSynchronizationPointsType* row) {
    addRow(syncPoints_, row);
}
bool DtFedTarget::knownSyncPoint(const DtSynchronizationPointsType& row) const {
    return knownRow(syncPoints_, row);
}

std::size_t DtFedTarget::numTransports() const {
    return transportTypes_.size();
}
void DtFedTarget::addTransportType(DtTransportationType* row) {
    addRow(transportTypes_, row);
}
bool DtFedTarget::knownTransportType(const DtTransportationType& row) const {
    return knownRow(transportTypes_, row);
}

bool DtFedTarget::transportTypeConsistencyTest(const DtTransportationType& row) const {
    return consistencyTest(transportTypes_, row, isStrictChecking());
}

std::uint32_t DtFedTarget::transportTypeFromTransportation(const DtString& name) const {
    DtTransportationType wanted;
    wanted.name = name;
    const auto held = transportTypes_.find(wanted);
    if (held == transportTypes_.end())
        return UINT32_MAX;
    return (*held)->reliable ? 1 : 0;
}

std::size_t DtFedTarget::numUserSuppliedTags() const {
    return userSuppliedTags_.size();
}
void DtFedTarget::addUserSuppliedTag(DtUserSuppliedTagsType* row) {
    addRow(userSuppliedTags_, row);
}
bool DtFedTarget::knownUserSuppliedTag(const DtUserSuppliedTagsType& row) const {
    return knownRow(userSuppliedTags_, row);
}

std::size_t DtFedTarget::numNotes() const {
    return notes_.size();
}
void DtFedTarget::addNote(DtNotesType* row) {
    addRow(notes_, row);
}
bool DtFedTarget::knownNote(const DtNotesType& row) const {
    return knownRow(notes_, row);
}

std::size_t DtFedTarget::numTimeTypes() const {
    return timeTypes_.size();
}
void DtFedTarget::addTime(DtTimeType* row) {
    addRow(timeTypes_, row);
}
bool DtFedTarget::knownTime(const DtTimeType& row) const {
    return knownRow(timeTypes_, row);
}

void DtFedTarget::addBasicDataRepresentation(DtBasicDataRepresentationType* row) {
    addRow(basicDataRepresentations_, row);
}
bool DtFedTarget::knownBasicDataRepresentation(const DtBasicDataRepresentationType& row) const {
    return knownRow(basicDataRepresentations_, row);
}

void DtFedTarget::addSimpleDataType(DtSimpleDatatypeType* row) {
    addRow(simpleDataTypes_, row);
}
bool DtFedTarget::knownSimpleDatatype(const DtSimpleDatatypeType& row) const {
    return knownRow(simpleDataTypes_, row);
}

void DtFedTarget::addEnumeratedDataType(DtEnumeratedDatatypeType* row) {
    addRow(enumeratedDataTypes_, row);
}
bool DtFedTarget::knownEnumeratedDatatype(const DtEnumeratedDatatypeType& row) const {
    return knownRow(enumeratedDataTypes_, row);
}

void DtFedTarget::addArrayDataType(DtArrayDatatypeType* row) {
    addRow(arrayDataTypes_, row);
}
bool DtFedTarget::knownArrayDatatype(const DtArrayDatatypeType& row) const {
    return knownRow(arrayDataTypes_, row);
}

void DtFedTarget::addFixedRecordDataType(DtFixedRecordDatatypeType* row) {
    addRow(fixedRecordDataTypes_, row);
}
bool DtFedTarget::knownFixedRecordDatatype(const DtFixedRecordDatatypeType& row) const {
    return knownRow(fixedRecordDataTypes_, row);
}

void DtFedTarget::addVariantRecordDataType(DtVariantRecordDatatypeType* row) {
    addRow(variantRecordDataTypes_, row);
}
bool DtFedTarget::knownVariantRecordDatatype(const DtVariantRecordDatatypeType& row) const {
    return knownRow(variantRecordDataTypes_, row);
}

// --------------------------------------------------------- identification, mask, small things --

void DtFedTarget::addModelIdentification(const DtString& identification) {
    // A copy is never cleared, and so safe in a set.
    const DtString added(identification);  // NOLINT(performance-unnecessary-copy-initialization)
    if (modelIdentifications_.empty())
        modelIdentification_ = added;
    modelIdentifications_.insert(added);
}

bool DtFedTarget::knownModelIdentification(const DtString& identification) const {
    return modelIdentifications_.count(DtString(identification)) != 0;
}

bool DtFedTarget::modelIdentificationSame(const DtFedTarget& other) const {
    return DtFomSameText(modelIdentification(), other.modelIdentification());
}

void DtFedTarget::setFomDependencies(const std::vector<DtString>& dependencies) {
    fomDependencies_ = dependencies;
}

const std::vector<DtString>& DtFedTarget::fomDependencies() const {
    return fomDependencies_;
}
std::vector<DtString>& DtFedTarget::fomDependencies() {
    return fomDependencies_;
}

void DtFedTarget::setMergeTableMask(std::uint64_t mask) {
    mergeTableMask_ = mask;
}

bool DtFedTarget::fomTableMergeEnabled(std::uint64_t table) const {
    return (table & mergeTableMask_) != 0;
}

const DtString& DtFedTarget::modelIdentification() const {
    return modelIdentification_;
}
const DtString& DtFedTarget::lastError() const {
    return lastError_;
}
bool DtFedTarget::isStrictChecking() const {
    return strictChecking_;
}
void DtFedTarget::setStrictChecking(bool strict) {
    strictChecking_ = strict;
}

}  // namespace OrynRti
