#ifndef RTIQNUTIL_FED_TARGET_H
#define RTIQNUTIL_FED_TARGET_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "Export.h"
#include "FomComponents.h"
#include "FomTypes.h"
#include "String.h"

namespace OrynRti {

/// An attribute and a dimension or transportation that it names, in this order.
using DtUnresolvedPair = std::pair<DtString, DtString>;

/// Byte-wise order by attribute, then by name; a cleared text counts as empty.
struct DT_EXPORT DtUnresolvedPairCompare {
    bool operator()(const DtUnresolvedPair& left, const DtUnresolvedPair& right) const;  ///< `<`
};

/// Unresolved references of the attributes of each object class, by class name.
using DtUnresolvedAttributeMap =
    std::map<DtString, std::set<DtUnresolvedPair, DtUnresolvedPairCompare>>;

/// Unresolved references of each class itself, by class name.
using DtUnresolvedClassMap = std::map<DtString, std::set<DtString>>;

/// One FOM module, or the object model of a federation into which modules are merged one after
/// another. Derive from it to supply object classes, interaction classes, spaces and dimensions;
/// everything else of a module is held here.
///
///     ModuleTarget module;                     // derived from DtFedTarget
///     module.setFomType(DtFomTypeIeee1516_2010);
///     module.addModelIdentification("Vehicles");
///     module.addSwitch("autoProvide", true);   // after setFomType, which says what a switch is
///     module.addNote(new DtNotesType(note));
///     if (federation.mergeTarget(module, true) != DtMergeFomSuccess)
///         return federation.lastError();
///     DtString report;
///     return federation.postMergeCheckTarget(report) == DtMergeFomSuccess ? "" : report;
///
/// A new target has type 0, is not strict, has every table enabled in its mask, and has the
/// class-wide defaults as its switch values. Copies share the rows.
///
/// Threads:   the class-wide defaults are shared by all targets and not locked
/// Ownership: a target owns the rows that are added to it, together with every target they were
///            merged into or copied to; a merged source may die first
/// Errors:    a status code, `lastError()` and lines on DtVerbose and DtWarn; nothing is thrown
///            on bad content. `lastError()` is emptied by `mergeSwitches` only; otherwise texts
///            pile up, and of several conflicting rows it keeps the last (see mergeComponent)
/// Cost:      merging is linear in the number of rows, but for a logarithmic look-up each
///
/// The virtual functions stand in a fixed order, which derived classes outside rely on.
class DT_EXPORT DtFedTarget {
public:
    DtFedTarget();
    DtFedTarget(const DtFedTarget& other);             ///< Shares the rows.
    DtFedTarget& operator=(const DtFedTarget& other);  ///< Shares the rows.
    virtual ~DtFedTarget();

    /// Also decides which names are standard switches: the fourteen boolean ones for the types 1
    /// to 4, none for any other. Entries and values of switches stay as they are.
    virtual void setFomType(DtFomType type);
    virtual DtFomType fomType() const;  ///< As set; 0 at first.

    /// Spaces and dimensions, for derived targets; here nothing is stored and the answer is true.
    /// @{
    virtual bool addSpace(const DtString& spaceName);
    virtual bool addDimension(const DtString& dimensionName, const DtString& spaceName);
    virtual bool addDimension(const DtString& dimensionName, std::uint64_t lowerBound,
                              std::uint64_t upperBound, std::uint64_t defaultValue, bool hasDefault,
                              const DtString& normalization);
    /// @}

    /// Object and interaction classes, for derived targets. A class name is the whole path from
    /// the root, joined by '.'; an add answers false when the item was held already. @{
    virtual bool addObjectClass(const DtString& className) = 0;
    virtual bool knownObjectClass(const DtString& className) const = 0;
    virtual bool addInteractionClass(const DtString& className) = 0;
    virtual bool knownInteractionClass(const DtString& className) const = 0;
    virtual bool addAttribute(const DtString& className, const DtString& attribute) = 0;
    virtual bool knownAttribute(const DtString& className, const DtString& attribute) const = 0;
    virtual bool addParameter(const DtString& className, const DtString& parameter) = 0;
    virtual bool knownParameter(const DtString& className, const DtString& parameter) const = 0;
    /// @}

    /// Current values of the switches. Setting a value states nothing in the switches table;
    /// addSwitch does both. @{
    virtual bool autoProvide() const;
    virtual void setAutoProvide(bool value);
    virtual bool conveyRegionDesignatorSets() const;
    virtual void setConveyRegionDesignatorSets(bool value);
    virtual bool conveyProducingFederate() const;
    virtual void setConveyProducingFederate(bool value);
    virtual bool attributeScopeAdvisory() const;
    virtual void setAttributeScopeAdvisory(bool value);
    virtual bool attributeRelevanceAdvisory() const;
    virtual void setAttributeRelevanceAdvisory(bool value);
    virtual bool objectClassRelevanceAdvisory() const;
    virtual void setObjectClassRelevanceAdvisory(bool value);
    virtual bool interactionRelevanceAdvisory() const;
    virtual void setInteractionRelevanceAdvisory(bool value);
    virtual bool serviceReporting() const;
    virtual void setServiceReporting(bool value);
    virtual bool exceptionReporting() const;
    virtual void setExceptionReporting(bool value);
    virtual bool delaySubscriptionEvaluation() const;
    virtual void setDelaySubscriptionEvaluation(bool value);
    virtual DtResignAction automaticResignAction() const;
    /// Every call is a statement of the action, with an equal value too.
    virtual void setAutomaticResignAction(DtResignAction action);
    virtual bool nonRegulatedGrant() const;
    virtual void setNonRegulatedGrant(bool value);
    virtual bool sendServiceReportsToFile() const;
    virtual void setSendServiceReportsToFile(bool value);
    virtual bool advisoriesUseKnownClass() const;
    virtual void setAdvisoriesUseKnownClass(bool value);
    virtual bool allowRelaxedDdm() const;
    virtual void setAllowRelaxedDdm(bool value);
    /// @}

    /// Tables. An add takes a row made with `new`, each pointer once, and frees it at once when a
    /// row of its name is held: the held row stays. Null is ignored. A row is known when one equal
    /// to it is held. @{
    virtual std::size_t numUpdateRates() const;
    virtual void addUpdateRate(DtUpdateRateType* row);
    virtual bool knownUpdateRate(const DtUpdateRateType& row) const;

    virtual std::size_t numSyncPoints() const;
    virtual void addSyncPoint(DtSynchronizationPointsType* row);
    virtual bool knownSyncPoint(const DtSynchronizationPointsType& row) const;

    virtual std::size_t numTransports() const;
    virtual void addTransportType(DtTransportationType* row);
    virtual bool knownTransportType(const DtTransportationType& row) const;
    /// Whether `row` agrees with the held transportations under this target's strictness.
    virtual bool transportTypeConsistencyTest(const DtTransportationType& row) const;
    /// 1 for a reliable transportation, 0 for best effort, 4294967295 for one that is not held.
    virtual std::uint32_t transportTypeFromTransportation(const DtString& name) const;
    /// The part of mergeTarget() for this table, whatever the mask.
    virtual DtMergeFomStatus_enum mergeTransportTypes(const DtFedTarget& source);

    virtual std::size_t numUserSuppliedTags() const;
    virtual void addUserSuppliedTag(DtUserSuppliedTagsType* row);
    virtual bool knownUserSuppliedTag(const DtUserSuppliedTagsType& row) const;

    virtual std::size_t numNotes() const;
    virtual void addNote(DtNotesType* row);
    virtual bool knownNote(const DtNotesType& row) const;

    /// The number of switches stated explicitly.
    virtual std::size_t numSwitches() const;
    /// States a standard switch and sets its value. Other names, and a second statement that
    /// differs, are ignored with a line on DtVerbose.
    virtual void addSwitch(const DtString& name, bool value);
    /// Whether the switch is stated explicitly.
    virtual bool knownSwitch(const DtString& name) const;
    /// Whether a target of this type has a boolean switch of that name.
    virtual bool isStandardSwitch(const DtString& name) const;
    /// The current value, stated or not; false when the name is no standard switch.
    virtual bool switchValue(const DtString& name) const;
    /// Takes over what the source states. While a federation is created the first module that
    /// states a switch wins. A switch agrees when its value equals the value in force here,
    /// whether that was stated or not. Without strict checking conflicts are only warned about;
    /// switches taken over before a conflict stay either way.
    virtual DtMergeFomStatus_enum mergeSwitches(const DtFedTarget& source, bool createFederation);

    /// Rows are held one to a name, so a second row of a name is dropped whatever its fields, and
    /// is then not known.
    virtual std::size_t numTimeTypes() const;
    virtual void addTime(DtTimeType* row);
    virtual bool knownTime(const DtTimeType& row) const;
    /// Whether both hold the same rows. When counts differ `lastError()` stays as it is; otherwise
    /// it names every row of `source` that is missing here.
    virtual bool timeTypesSame(const DtFedTarget& source);
    /// A target without time types takes the source's; otherwise the source must have none or the
    /// same. A conflict is one without strict checking too.
    virtual DtMergeFomStatus_enum mergeTimeTypes(const DtFedTarget& source);

    virtual void addBasicDataRepresentation(DtBasicDataRepresentationType* row);
    virtual bool knownBasicDataRepresentation(const DtBasicDataRepresentationType& row) const;
    virtual void addSimpleDataType(DtSimpleDatatypeType* row);
    virtual bool knownSimpleDatatype(const DtSimpleDatatypeType& row) const;
    virtual void addEnumeratedDataType(DtEnumeratedDatatypeType* row);
    virtual bool knownEnumeratedDatatype(const DtEnumeratedDatatypeType& row) const;
    virtual void addArrayDataType(DtArrayDatatypeType* row);
    virtual bool knownArrayDatatype(const DtArrayDatatypeType& row) const;
    virtual void addFixedRecordDataType(DtFixedRecordDatatypeType* row);
    virtual bool knownFixedRecordDatatype(const DtFixedRecordDatatypeType& row) const;
    virtual void addVariantRecordDataType(DtVariantRecordDatatypeType* row);
    virtual bool knownVariantRecordDatatype(const DtVariantRecordDatatypeType& row) const;
    /// @}

    // Identification and dependencies.

    /// Adds to the identifications known here; the first one is also the model identification.
    virtual void addModelIdentification(const DtString& identification);
    virtual bool knownModelIdentification(const DtString& identification) const;  ///< If added.
    /// Whether the two have the same modelIdentification().
    virtual bool modelIdentificationSame(const DtFedTarget& other) const;
    /// The modules that this one says it needs. @{
    virtual void setFomDependencies(const std::vector<DtString>& dependencies);
    virtual const std::vector<DtString>& fomDependencies() const;
    virtual std::vector<DtString>& fomDependencies();
    /// @}

    // Merging.

    /// A union of DtMergeFomTableMask values: the tables that take part in merges.
    virtual void setMergeTableMask(std::uint64_t mask);
    virtual bool fomTableMergeEnabled(std::uint64_t table) const;  ///< Whether the mask has it.
    /// Merges every enabled table, in a fixed order, and stops at the first that conflicts; what
    /// was merged before it stays. On success the unresolved references are united, whatever the
    /// mask, and " + " and the source's identification are appended to this one's, to an empty
    /// identification too. `createFederation` is false for modules that join later. A target may
    /// be merged into itself.
    virtual DtMergeFomStatus_enum mergeTarget(const DtFedTarget& source, bool createFederation);
    /// These three are for derived targets; here they succeed. @{
    virtual DtMergeFomStatus_enum mergeSpaces(const DtFedTarget& source);
    virtual DtMergeFomStatus_enum mergeObjectClasses(const DtFedTarget& source);
    virtual DtMergeFomStatus_enum mergeInteractionClasses(const DtFedTarget& source);
    /// @}
    /// Runs every resolve check below; each appends what it finds to `report`. The answer is
    /// success, DtMergeFomUnresolvedReferences, or DtMergeFomCheckFailed.
    virtual DtMergeFomStatus_enum postMergeCheckTarget(DtString& report);

    /// References to dimensions and transportations that no row defined when they were read. @{
    virtual void addUnresolvedAttributeDimension(const DtString& className,
                                                 const DtString& attribute,
                                                 const DtString& dimension);
    virtual void removeUnresolvedAttributeDimension(const DtString& className,
                                                    const DtString& attribute,
                                                    const DtString& dimension);
    virtual void addUnresolvedAttributeTransportation(const DtString& className,
                                                      const DtString& attribute,
                                                      const DtString& transportation);
    virtual void removeUnresolvedAttributeTransportation(const DtString& className,
                                                         const DtString& attribute,
                                                         const DtString& transportation);
    virtual void addUnresolvedClassDimension(const DtString& className, const DtString& dimension);
    virtual void removeUnresolvedClassDimension(const DtString& className,
                                                const DtString& dimension);
    virtual void addUnresolvedInteractionTransportation(const DtString& className,
                                                        const DtString& transportation);
    virtual void removeUnresolvedInteractionTransportation(const DtString& className,
                                                           const DtString& transportation);
    /// @}

    virtual const DtString& modelIdentification() const;  ///< With those merged, joined by " + ".
    virtual const DtString& lastError() const;            ///< See the class comment.
    /// Strict checking compares every field of rows that have fields to compare, and makes
    /// conflicts fail the merge instead of being warned about. @{
    virtual bool isStrictChecking() const;
    virtual void setStrictChecking(bool strict);
    /// @}
    virtual void mergeUnresolved(const DtFedTarget& source);  ///< All four unions below.

    /// Checks after merging. Each appends to `report` and answers whether all is well; those that
    /// have no comment of their own accept everything here. Overrides for dimensions, object
    /// classes, attributes, interaction classes and parameters set `unresolvedReferences_` for a
    /// reference that stays unresolved. @{
    virtual bool resolveObjectModelIdentification(DtString& report);
    virtual bool resolveObjectClasses(DtString& report);
    virtual bool resolveInteractionClasses(DtString& report);
    virtual bool resolveAttributes(DtString& report);
    virtual bool resolveParameters(DtString& report);
    virtual bool resolveDimensions(DtString& report);
    virtual bool resolveTimeRepresentations(DtString& report);
    virtual bool resolveUserSuppliedTags(DtString& report);
    virtual bool resolveSynchronizationPoints(DtString& report);
    /// No transportation may be without a name.
    virtual bool resolveTransportationTypes(DtString& report);
    /// No rate may be without a name or 0. A missing name ends the check.
    virtual bool resolveUpdateRates(DtString& report);
    /// Types 2 and 3 must state their switches; for type 3 a missing one is reported but fails
    /// only under strict checking. Type 0 and unknown types fail.
    virtual bool resolveSwitches(DtString& report);
    /// Whether the switch is stated; if not, its name and a blank are appended to `missing`.
    virtual bool checkSpecificSwitch(const DtString& name, DtString& missing) const;
    virtual bool resolveDatatypes(DtString& report);
    virtual bool resolveNotes(DtString& report);
    virtual bool resolveServiceUsage(DtString& report);
    /// @}

    /// Unions of unresolved references, set by set. @{
    virtual void uniteUnresolvedAttributeDimensions(const DtUnresolvedAttributeMap& source);
    virtual void uniteUnresolvedAttributeTransportations(const DtUnresolvedAttributeMap& source);
    virtual void uniteUnresolvedClassDimensions(const DtUnresolvedClassMap& source);
    virtual void uniteUnresolvedInteractionTransportations(const DtUnresolvedClassMap& source);
    /// @}

    /// Whether the texts are equal once blanks, tabs and line ends are taken out.
    virtual bool checkStringsIgnoringWhiteSpaceAndNewline(const DtString& a,
                                                          const DtString& b) const;

    /// What is held, stated and left unresolved. @{
    const DtFomTable<DtTimeType>& timeTypes() const { return timeTypes_; }
    const DtFomTable<DtUserSuppliedTagsType>& userSuppliedTags() const { return userSuppliedTags_; }
    const DtFomTable<DtSynchronizationPointsType>& syncPoints() const { return syncPoints_; }
    const DtFomTable<DtTransportationType>& transportTypes() const { return transportTypes_; }
    const DtFomTable<DtUpdateRateType>& updateRates() const { return updateRates_; }
    const DtFomTable<DtNotesType>& notes() const { return notes_; }
    /// The switches stated explicitly.
    const std::map<DtString, bool>& switches() const { return switches_; }
    const DtFomTable<DtBasicDataRepresentationType>& basicDataRepresentations() const {
        return basicDataRepresentations_;
    }
    const DtFomTable<DtSimpleDatatypeType>& simpleDataTypes() const { return simpleDataTypes_; }
    const DtFomTable<DtEnumeratedDatatypeType>& enumeratedDataTypes() const {
        return enumeratedDataTypes_;
    }
    const DtFomTable<DtArrayDatatypeType>& arrayDataTypes() const { return arrayDataTypes_; }
    const DtFomTable<DtFixedRecordDatatypeType>& fixedRecordDataTypes() const {
        return fixedRecordDataTypes_;
    }
    const DtFomTable<DtVariantRecordDatatypeType>& variantRecordDataTypes() const {
        return variantRecordDataTypes_;
    }
    const DtUnresolvedAttributeMap& unresolvedAttributeDimensions() const {
        return unresolvedAttributeDimensions_;
    }
    const DtUnresolvedAttributeMap& unresolvedAttributeTransportations() const {
        return unresolvedAttributeTransportations_;
    }
    const DtUnresolvedClassMap& unresolvedClassDimensions() const {
        return unresolvedClassDimensions_;
    }
    const DtUnresolvedClassMap& unresolvedInteractionTransportations() const {
        return unresolvedInteractionTransportations_;
    }
    std::uint64_t mergeTableMask() const { return mergeTableMask_; }
    bool isAutomaticResignActionExplicit() const { return automaticResignActionExplicit_; }
    /// @}

    /// The switches of a given target, which is never null. @{
    static bool autoProvide(const DtFedTarget* target);
    static void setAutoProvide(DtFedTarget* target, bool value);
    static bool conveyRegionDesignatorSets(const DtFedTarget* target);
    static void setConveyRegionDesignatorSets(DtFedTarget* target, bool value);
    static bool conveyProducingFederate(const DtFedTarget* target);
    static void setConveyProducingFederate(DtFedTarget* target, bool value);
    static bool attributeScopeAdvisory(const DtFedTarget* target);
    static void setAttributeScopeAdvisory(DtFedTarget* target, bool value);
    static bool attributeRelevanceAdvisory(const DtFedTarget* target);
    static void setAttributeRelevanceAdvisory(DtFedTarget* target, bool value);
    static bool objectClassRelevanceAdvisory(const DtFedTarget* target);
    static void setObjectClassRelevanceAdvisory(DtFedTarget* target, bool value);
    static bool interactionRelevanceAdvisory(const DtFedTarget* target);
    static void setInteractionRelevanceAdvisory(DtFedTarget* target, bool value);
    static bool serviceReporting(const DtFedTarget* target);
    static void setServiceReporting(DtFedTarget* target, bool value);
    static bool exceptionReporting(const DtFedTarget* target);
    static void setExceptionReporting(DtFedTarget* target, bool value);
    static bool delaySubscriptionEvaluation(const DtFedTarget* target);
    static void setDelaySubscriptionEvaluation(DtFedTarget* target, bool value);
    static bool nonRegulatedGrant(const DtFedTarget* target);
    static void setNonRegulatedGrant(DtFedTarget* target, bool value);
    static bool sendServiceReportsToFile(const DtFedTarget* target);
    static void setSendServiceReportsToFile(DtFedTarget* target, bool value);
    static bool advisoriesUseKnownClass(const DtFedTarget* target);
    static void setAdvisoriesUseKnownClass(DtFedTarget* target, bool value);
    static bool allowRelaxedDdm(const DtFedTarget* target);
    static void setAllowRelaxedDdm(DtFedTarget* target, bool value);
    /// @}

    /// Class-wide defaults, copied by every new target: all false, and
    /// DtCancelThenDeleteThenDivest, until set otherwise. @{
    static bool defaultAutoProvide();
    static void setDefaultAutoProvide(bool value);
    static bool defaultConveyRegionDesignatorSets();
    static void setDefaultConveyRegionDesignatorSets(bool value);
    static bool defaultConveyProducingFederate();
    static void setDefaultConveyProducingFederate(bool value);
    static bool defaultAttributeScopeAdvisory();
    static void setDefaultAttributeScopeAdvisory(bool value);
    static bool defaultAttributeRelevanceAdvisory();
    static void setDefaultAttributeRelevanceAdvisory(bool value);
    static bool defaultObjectClassRelevanceAdvisory();
    static void setDefaultObjectClassRelevanceAdvisory(bool value);
    static bool defaultInteractionRelevanceAdvisory();
    static void setDefaultInteractionRelevanceAdvisory(bool value);
    static bool defaultServiceReporting();
    static void setDefaultServiceReporting(bool value);
    static bool defaultExceptionReporting();
    static void setDefaultExceptionReporting(bool value);
    static bool defaultDelaySubscriptionEvaluation();
    static void setDefaultDelaySubscriptionEvaluation(bool value);
    static DtResignAction defaultAutomaticResignAction();
    static void setDefaultAutomaticResignAction(DtResignAction action);
    static bool defaultNonRegulatedGrant();
    static void setDefaultNonRegulatedGrant(bool value);
    static bool defaultSendServiceReportsToFile();
    static void setDefaultSendServiceReportsToFile(bool value);
    static bool defaultAdvisoriesUseKnownClass();
    static void setDefaultAdvisoriesUseKnownClass(bool value);
    static bool defaultAllowRelaxedDdm();
    static void setDefaultAllowRelaxedDdm(bool value);
    /// @}

    /// The enumerator's name without its leading "Dt"; "unknown" for any other number.
    static DtString enumAsString(DtResignAction action);
    /// The enumerator's name without "DtMergeFomTable"; "Unknown" for 0 and for anything that is
    /// not exactly one table.
    static DtString enumAsString(DtMergeFomTableMask table);

protected:
    using SwitchSetter = void (DtFedTarget::*)(bool);  ///< One of the setters above.

    /// Fills the setter table for the current type.
    void initSwitchSetters();

    /// What the observers give; these members stand in a fixed order as well. @{
    DtFomType fomType_ = DtFomTypeUnknown;
    DtString modelIdentification_;
    DtFomTable<DtTimeType> timeTypes_;
    DtFomTable<DtUserSuppliedTagsType> userSuppliedTags_;
    DtFomTable<DtSynchronizationPointsType> syncPoints_;
    DtFomTable<DtTransportationType> transportTypes_;
    DtFomTable<DtUpdateRateType> updateRates_;
    DtFomTable<DtNotesType> notes_;
    std::map<DtString, bool> switches_;
    DtFomTable<DtBasicDataRepresentationType> basicDataRepresentations_;
    DtFomTable<DtSimpleDatatypeType> simpleDataTypes_;
    DtFomTable<DtEnumeratedDatatypeType> enumeratedDataTypes_;
    DtFomTable<DtArrayDatatypeType> arrayDataTypes_;
    DtFomTable<DtFixedRecordDatatypeType> fixedRecordDataTypes_;
    DtFomTable<DtVariantRecordDatatypeType> variantRecordDataTypes_;
    /// By standard switch name. Members, not closures, so that a copied target sets itself.
    std::map<DtString, SwitchSetter> switchSetters_;
    DtString lastError_;
    /// @}

    /// The names that the object model gives the switches. @{
    DtString advisoriesUseKnownClassName_ = "advisoriesUseKnownClass";
    DtString allowRelaxedDdmName_ = "allowRelaxedDDM";
    DtString attributeRelevanceAdvisoryName_ = "attributeRelevanceAdvisory";
    DtString attributeScopeAdvisoryName_ = "attributeScopeAdvisory";
    DtString automaticResignActionName_ = "automaticResignAction";
    DtString autoProvideName_ = "autoProvide";
    DtString conveyProducingFederateName_ = "conveyProducingFederate";
    DtString conveyRegionDesignatorSetsName_ = "conveyRegionDesignatorSets";
    DtString delaySubscriptionEvaluationName_ = "delaySubscriptionEvaluation";
    DtString exceptionReportingName_ = "exceptionReporting";
    DtString interactionRelevanceAdvisoryName_ = "interactionRelevanceAdvisory";
    DtString nonRegulatedGrantName_ = "nonRegulatedGrant";
    DtString objectClassRelevanceAdvisoryName_ = "objectClassRelevanceAdvisory";
    DtString serviceReportingName_ = "serviceReporting";
    DtString sendServiceReportsToFileName_ = "sendServiceReportsToFile";
    /// @}

    /// Values in force, what takes part in merges, and what was left unresolved. @{
    bool autoProvide_;
    bool conveyRegionDesignatorSets_;
    bool conveyProducingFederate_;
    bool attributeScopeAdvisory_;
    bool attributeRelevanceAdvisory_;
    bool objectClassRelevanceAdvisory_;
    bool interactionRelevanceAdvisory_;
    bool serviceReporting_;
    bool exceptionReporting_;
    bool delaySubscriptionEvaluation_;
    bool nonRegulatedGrant_;
    bool sendServiceReportsToFile_;
    bool advisoriesUseKnownClass_;
    bool allowRelaxedDdm_;
    DtResignAction automaticResignAction_;
    bool automaticResignActionExplicit_ = false;
    bool strictChecking_ = false;

    std::uint64_t mergeTableMask_ = DtMergeFomAllTables;
    bool merging_ = false;  ///< while mergeTarget runs
    std::vector<DtString> fomDependencies_;
    std::set<DtString> modelIdentifications_;
    DtUnresolvedAttributeMap unresolvedAttributeDimensions_;
    DtUnresolvedAttributeMap unresolvedAttributeTransportations_;
    DtUnresolvedClassMap unresolvedClassDimensions_;
    DtUnresolvedClassMap unresolvedInteractionTransportations_;
    /// @}

    /// Set by the checks of the object-model part, cleared by postMergeCheckTarget.
    bool unresolvedReferences_ = false;

private:
    /// The tables of mergeTarget.
    DtMergeFomStatus_enum mergeTables(const DtFedTarget& source, bool createFederation);
    template <typename T>
    DtMergeFomStatus_enum mergeRows(const DtFedTarget& source, DtFomTable<T> DtFedTarget::*rows,
                                    const char* tableName, DtMergeFomStatus_enum conflict);
    /// The switches that the target's type needs and that are not stated, each with a blank.
    DtString missingSwitches() const;

    struct BooleanSwitches;

    /// Whether a source that states `value` agrees with this target, or may still decide.
    bool takesSwitch(const DtString& name, bool value, bool createFederation) const;
    /// The two halves of mergeSwitches; false on a conflict.
    bool mergeStatedSwitches(const DtFedTarget& source, bool createFederation);
    bool mergeResignAction(const DtFedTarget& source, bool createFederation, bool switchesAgree);

    static bool theDefaultAutoProvide;
    static bool theDefaultConveyRegionDesignatorSets;
    static bool theDefaultConveyProducingFederate;
    static bool theDefaultAttributeScopeAdvisory;
    static bool theDefaultAttributeRelevanceAdvisory;
    static bool theDefaultObjectClassRelevanceAdvisory;
    static bool theDefaultInteractionRelevanceAdvisory;
    static bool theDefaultServiceReporting;
    static bool theDefaultExceptionReporting;
    static bool theDefaultDelaySubscriptionEvaluation;
    static bool theDefaultNonRegulatedGrant;
    static bool theDefaultSendServiceReportsToFile;
    static bool theDefaultAdvisoriesUseKnownClass;
    static bool theDefaultAllowRelaxedDdm;
    static DtResignAction theDefaultAutomaticResignAction;
};

}  // namespace OrynRti

#endif
