#ifndef RTIQN_FOM_FOM_TARGET_H
#define RTIQN_FOM_FOM_TARGET_H

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Conflict.h"
#include "FedTarget.h"
#include "FomModel.h"
#include "ObjectModelMerge.h"
#include "OrderedRows.h"

namespace RtiqnFom {

/// One FOM module, or the federation's object model after merging: the library's target with the
/// object-model part added to it, by the rules of ObjectModelMerge.h and DatatypeUnion.h.
///
///     FomTarget module = readModule(path, findings);
///     module.placeRoots();
///     module.collectUnresolvedReferences();
///     if (federation.mergeTarget(module, true) != DtMergeFomSuccess)
///         ...  // findConflicts(federation, module, true) names every disagreement
///
/// A merge that fails leaves the tables merged before it in place: merge into a copy.
class FomTarget : public OrynRti::DtFedTarget {
public:
    /// Where the module came from; empty for a merged target.
    const std::string& path() const { return path_; }
    void setPath(std::string path) { path_ = std::move(path); }

    /// Filling, as the reader does it. False when a row of that name is held already.
    bool store(ObjectClass row) { return objectClasses_.add(std::move(row)); }
    bool store(InteractionClass row) { return interactionClasses_.add(std::move(row)); }
    bool store(Dimension row) { return dimensions_.add(std::move(row)); }
    bool store(ReferenceDatatype row) { return referenceDatatypes_.add(std::move(row)); }
    void setIdentificationFields(std::vector<IdentificationField> fields) {
        identificationFields_ = std::move(fields);
    }

    /// What is known of a row of one of the library's tables beside its fields.
    void setRowInfo(OrynRti::DtMergeFomTableMask table, const std::string& name, RowInfo info);
    const RowInfo* rowInfo(OrynRti::DtMergeFomTableMask table, const std::string& name) const;
    /// Where the row stands; a place without a file when that is not known.
    Place place(OrynRti::DtMergeFomTableMask table, const std::string& name) const;

    const OrderedRows<ObjectClass>& objectClasses() const { return objectClasses_; }
    const OrderedRows<InteractionClass>& interactionClasses() const { return interactionClasses_; }
    const OrderedRows<Dimension>& dimensions() const { return dimensions_; }
    const OrderedRows<ReferenceDatatype>& referenceDatatypes() const { return referenceDatatypes_; }
    const std::vector<IdentificationField>& identificationFields() const {
        return identificationFields_;
    }

    /// Puts every class below HLAobjectRoot or HLAinteractionRoot, as merging expects it, and
    /// answers with the roots that stood elsewhere.
    std::vector<MovedRoot> placeRoots();

    /// Enters the module's references to dimensions and transportations that it does not define
    /// itself, and that not every federation has, among its unresolved references.
    void collectUnresolvedReferences();

    // The object-model part. Names of classes are whole paths; a class below one that is not held
    // brings that one along. Inherited attributes and parameters are known in the classes below,
    // and so cannot be added there.

    bool addObjectClass(const OrynRti::DtString& className) override;
    bool knownObjectClass(const OrynRti::DtString& className) const override;
    bool addInteractionClass(const OrynRti::DtString& className) override;
    bool knownInteractionClass(const OrynRti::DtString& className) const override;
    bool addAttribute(const OrynRti::DtString& className,
                      const OrynRti::DtString& attribute) override;
    bool knownAttribute(const OrynRti::DtString& className,
                        const OrynRti::DtString& attribute) const override;
    bool addParameter(const OrynRti::DtString& className,
                      const OrynRti::DtString& parameter) override;
    bool knownParameter(const OrynRti::DtString& className,
                        const OrynRti::DtString& parameter) const override;

    /// Also takes the held text of notes that differ in white space only, unites enumerations and
    /// variants in the edition of 2025, merges reference datatypes, and settles the unresolved
    /// references that now have a row. The first module's identification stands without " + ".
    OrynRti::DtMergeFomStatus_enum mergeTarget(const OrynRti::DtFedTarget& source,
                                               bool createFederation) override;
    OrynRti::DtMergeFomStatus_enum mergeSpaces(const OrynRti::DtFedTarget& source) override;
    OrynRti::DtMergeFomStatus_enum mergeObjectClasses(const OrynRti::DtFedTarget& source) override;
    OrynRti::DtMergeFomStatus_enum mergeInteractionClasses(
        const OrynRti::DtFedTarget& source) override;

    // Checks of tables that take no part in merging pass.

    bool resolveAttributes(OrynRti::DtString& report) override;
    bool resolveInteractionClasses(OrynRti::DtString& report) override;
    bool resolveTransportationTypes(OrynRti::DtString& report) override;
    bool resolveUpdateRates(OrynRti::DtString& report) override;
    bool resolveSwitches(OrynRti::DtString& report) override;

    /// Whether two notes of one name count as the same: white space does not matter.
    bool sameNote(const OrynRti::DtNotesType& held, const OrynRti::DtNotesType& incoming) const;

private:
    bool transportationDefined(const std::string& name) const;
    bool dimensionDefined(const std::string& name) const;
    void settleReferences();
    bool reportUnresolved(const std::string& text, OrynRti::DtString& report);

    std::optional<FomTarget> withHeldNoteTexts(const FomTarget& module) const;
    OrynRti::DtMergeFomStatus_enum uniteDatatypes(const FomTarget& source);
    template <typename T>
    OrynRti::DtMergeFomStatus_enum uniteTable(OrynRti::DtMergeFomTableMask table,
                                              const FomTarget& source, OrynRti::DtFomTable<T>& held,
                                              const OrynRti::DtFomTable<T>& incoming);
    void joinNotesOf(OrynRti::DtMergeFomTableMask table, const std::string& name,
                     const FomTarget& source);
    bool holdsRow(OrynRti::DtMergeFomTableMask table, const std::string& name) const;
    void adoptRows(const FomTarget& source);
    OrynRti::DtMergeFomStatus_enum refuse(const FomTarget& source,
                                          const std::vector<Conflict>& conflicts);

    std::string path_;
    OrderedRows<ObjectClass> objectClasses_;  ///< a class stands behind its parent
    OrderedRows<InteractionClass> interactionClasses_;
    OrderedRows<Dimension> dimensions_;
    OrderedRows<ReferenceDatatype> referenceDatatypes_;
    std::vector<IdentificationField> identificationFields_;
    std::map<std::pair<OrynRti::DtMergeFomTableMask, std::string>, RowInfo> rowInfos_;
};

/// Whether conflicts of that status refuse a module though checking is not strict.
bool isNeverIgnored(OrynRti::DtMergeFomStatus_enum status);

}  // namespace RtiqnFom

#endif
