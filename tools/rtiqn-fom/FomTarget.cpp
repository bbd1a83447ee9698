#include "FomTarget.h"

#include <algorithm>
#include <memory>
#include <type_traits>

#include "DatatypeUnion.h"
#include "LibraryTables.h"
#include "NoteReferences.h"
#include "Print.h"
#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

constexpr const char* theObjectRoot = "HLAobjectRoot";
constexpr const char* theInteractionRoot = "HLAinteractionRoot";

const FomTarget* fomTarget(const DtFedTarget& target) {
    return dynamic_cast<const FomTarget*>(&target);
}

template <typename Members>
bool hasMember(const Members& members, const std::string& name) {
    return std::any_of(members.begin(), members.end(),
                       [&](const auto& member) { return member.name == name; });
}

/// Whether the class is held and it or one above it has a member of that name.
template <typename Class, typename Members>
bool knownMember(const OrderedRows<Class>& classes, Members Class::*members, std::string className,
                 const std::string& name) {
    for (const Class* row = classes.find(className); row; row = classes.find(className)) {
        if (hasMember(row->*members, name))
            return true;
        className = parentName(className);
    }
    return false;
}

template <typename Class>
bool addClass(OrderedRows<Class>& classes, const std::string& name) {
    if (name.empty() || classes.find(name))
        return false;
    OrderedRows<Class> added;
    Class row;
    row.name = name;
    added.add(std::move(row));
    joinRows(classes, added);
    return true;
}

template <typename Class, typename Member>
bool addMember(OrderedRows<Class>& classes, std::vector<Member> Class::*members,
               const std::string& className, const std::string& name) {
    const Class* row = classes.find(className);
    if (!row || name.empty() || knownMember(classes, members, className, name))
        return false;
    Class changed = *row;
    Member member;
    member.name = name;
    (changed.*members).push_back(std::move(member));
    classes.replace(std::move(changed));
    return true;
}

OrderedRows<ObjectClass> withoutDirectedInteractions(const OrderedRows<ObjectClass>& classes) {
    OrderedRows<ObjectClass> changed = classes;
    for (const auto& row : classes) {
        if (row->directedInteractions.empty())
            continue;
        ObjectClass other = *row;
        other.directedInteractions.clear();
        changed.replace(std::move(other));
    }
    return changed;
}

}  // namespace

bool isNeverIgnored(DtMergeFomStatus_enum status) {
    return status == DtMergeFomTimeTypesConflict || status == theDimensionsStatus ||
           status == theObjectClassesStatus || status == theInteractionClassesStatus;
}

// -------------------------------------------------------------------------------------------------
// What is known of rows

void FomTarget::setRowInfo(DtMergeFomTableMask table, const std::string& name, RowInfo info) {
    rowInfos_[{table, name}] = std::move(info);
}

const RowInfo* FomTarget::rowInfo(DtMergeFomTableMask table, const std::string& name) const {
    const auto found = rowInfos_.find({table, name});
    return found == rowInfos_.end() ? nullptr : &found->second;
}

Place FomTarget::place(DtMergeFomTableMask table, const std::string& name) const {
    const RowInfo* info = rowInfo(table, name);
    return info ? info->place : Place();
}

// -------------------------------------------------------------------------------------------------
// Before merging

std::vector<MovedRoot> FomTarget::placeRoots() {
    std::vector<MovedRoot> moved;
    objectClasses_ = placedBelow(theObjectRoot, objectClasses_, moved);
    interactionClasses_ = placedBelow(theInteractionRoot, interactionClasses_, moved);
    return moved;
}

// -------------------------------------------------------------------------------------------------
// The object-model part

bool FomTarget::addObjectClass(const DtString& className) {
    return addClass(objectClasses_, textOf(className));
}

bool FomTarget::knownObjectClass(const DtString& className) const {
    return objectClasses_.find(textOf(className)) != nullptr;
}

bool FomTarget::addInteractionClass(const DtString& className) {
    return addClass(interactionClasses_, textOf(className));
}

bool FomTarget::knownInteractionClass(const DtString& className) const {
    return interactionClasses_.find(textOf(className)) != nullptr;
}

bool FomTarget::addAttribute(const DtString& className, const DtString& attribute) {
    return addMember(objectClasses_, &ObjectClass::attributes, textOf(className),
                     textOf(attribute));
}

bool FomTarget::knownAttribute(const DtString& className, const DtString& attribute) const {
    return knownMember(objectClasses_, &ObjectClass::attributes, textOf(className),
                       textOf(attribute));
}

bool FomTarget::addParameter(const DtString& className, const DtString& parameter) {
    return addMember(interactionClasses_, &InteractionClass::parameters, textOf(className),
                     textOf(parameter));
}

bool FomTarget::knownParameter(const DtString& className, const DtString& parameter) const {
    return knownMember(interactionClasses_, &InteractionClass::parameters, textOf(className),
                       textOf(parameter));
}

// -------------------------------------------------------------------------------------------------
// Merging

DtMergeFomStatus_enum FomTarget::mergeTarget(const DtFedTarget& source, bool createFederation) {
    const FomTarget* module = fomTarget(source);
    if (!module)
        return DtFedTarget::mergeTarget(source, createFederation);
    DtMergeFomStatus_enum status = uniteDatatypes(*module);
    if (status != DtMergeFomSuccess)
        return status;
    const bool first = modelIdentification_.isEmpty();
    const std::optional<FomTarget> adapted = withHeldNoteTexts(*module);
    status = DtFedTarget::mergeTarget(adapted ? *adapted : *module, createFederation);
    if (status != DtMergeFomSuccess)
        return status;
    if (first)
        modelIdentification_ = module->modelIdentification();
    adoptRows(*module);
    settleReferences();
    return status;
}

bool FomTarget::sameNote(const DtNotesType& held, const DtNotesType& incoming) const {
    return checkStringsIgnoringWhiteSpaceAndNewline(held.semantics, incoming.semantics);
}

std::optional<FomTarget> FomTarget::withHeldNoteTexts(const FomTarget& module) const {
    std::optional<FomTarget> adapted;
    for (const auto& note : module.notes_) {
        const auto held = notes_.find(note);
        if (held == notes_.end() || (*held)->compareSubcomponents(*note, true) ||
            !sameNote(**held, *note))
            continue;
        if (!adapted)
            adapted = module;
        adapted->notes_.insert(adapted->notes_.erase(adapted->notes_.find(note)), *held);
    }
    return adapted;
}

DtMergeFomStatus_enum FomTarget::mergeSpaces(const DtFedTarget& source) {
    const FomTarget* module = fomTarget(source);
    if (!module)
        return DtMergeFomSuccess;
    const std::vector<Conflict> conflicts = conflictsOf(dimensions_, module->dimensions_);
    if (!conflicts.empty())
        return refuse(*module, conflicts);
    joinRows(dimensions_, module->dimensions_);
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum FomTarget::mergeObjectClasses(const DtFedTarget& source) {
    const FomTarget* module = fomTarget(source);
    if (!module)
        return DtMergeFomSuccess;
    const std::vector<Conflict> conflicts = conflictsOf(objectClasses_, module->objectClasses_);
    if (!conflicts.empty())
        return refuse(*module, conflicts);
    const bool directed = fomTableMergeEnabled(DtMergeFomTableDirectedInteraction);
    joinRows(objectClasses_, directed ? module->objectClasses_
                                      : withoutDirectedInteractions(module->objectClasses_));
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum FomTarget::mergeInteractionClasses(const DtFedTarget& source) {
    const FomTarget* module = fomTarget(source);
    if (!module)
        return DtMergeFomSuccess;
    const std::vector<Conflict> conflicts =
        conflictsOf(interactionClasses_, module->interactionClasses_);
    if (!conflicts.empty())
        return refuse(*module, conflicts);
    joinRows(interactionClasses_, module->interactionClasses_);
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum FomTarget::refuse(const FomTarget& source,
                                        const std::vector<Conflict>& conflicts) {
    const DtMergeFomStatus_enum status = conflicts.front().status;
    std::string report = textOf(source.modelIdentification()) + " has conflicts:\n";
    for (const Conflict& conflict : conflicts)
        report += "\t" + text(conflict) + "\n";
    lastError_ = report;
    if (isStrictChecking() || isNeverIgnored(status)) {
        DtVerbose << lastError_ << std::endl;
        return status;
    }
    DtWarn << "Merge Error ignored: " << lastError_ << std::endl;
    return DtMergeFomSuccess;
}

DtMergeFomStatus_enum FomTarget::uniteDatatypes(const FomTarget& source) {
    if (fomType() != DtFomTypeIeee1516_2025)
        return DtMergeFomSuccess;
    const DtMergeFomStatus_enum status =
        uniteTable(DtMergeFomTableEnumeratedDataType, source, enumeratedDataTypes_,
                   source.enumeratedDataTypes_);
    if (status != DtMergeFomSuccess)
        return status;
    return uniteTable(DtMergeFomTableVariantRecordDataType, source, variantRecordDataTypes_,
                      source.variantRecordDataTypes_);
}

template <typename T>
DtMergeFomStatus_enum FomTarget::uniteTable(DtMergeFomTableMask table, const FomTarget& source,
                                            DtFomTable<T>& held, const DtFomTable<T>& incoming) {
    if (!fomTableMergeEnabled(table))
        return DtMergeFomSuccess;
    std::vector<std::shared_ptr<T>> unions;
    std::vector<Conflict> conflicts;
    for (const auto& row : incoming) {
        const auto found = held.find(row);
        if (found == held.end() || *found == row)
            continue;
        const std::string name = textOf(row->name);
        const auto differences = unionConflicts(
            RowPair<T>{**found, *row, place(table, name), source.place(table, name)});
        conflicts.insert(conflicts.end(), differences.begin(), differences.end());
        if (differences.empty())
            if (auto united = unionOf(**found, *row))
                unions.push_back(std::make_shared<T>(*std::move(united)));
    }
    const auto status = conflicts.empty() ? DtMergeFomSuccess : refuse(source, conflicts);
    if (status != DtMergeFomSuccess)
        return status;
    for (const auto& united : unions) {
        held.insert(held.erase(held.find(united)), united);
        joinNotesOf(table, textOf(united->name), source);
    }
    return DtMergeFomSuccess;
}

void FomTarget::joinNotesOf(DtMergeFomTableMask table, const std::string& name,
                            const FomTarget& source) {
    const RowInfo* incoming = source.rowInfo(table, name);
    const auto held = rowInfos_.find({table, name});
    if (incoming && held != rowInfos_.end())
        joinNotes(held->second.notes, incoming->notes);
}

bool FomTarget::holdsRow(DtMergeFomTableMask table, const std::string& name) const {
    bool held = false;
    const auto look = [&](const auto& libraryTable) {
        if (libraryTable.mask != table)
            return;
        typename std::decay_t<decltype(libraryTable)>::Row row;
        row.name = name;
        held = (this->*libraryTable.rows)().count(row) != 0;
    };
    look(theTimeTable);
    visitComponentTables(look);
    if (table == DtMergeFomTableSwitches)
        held = knownSwitch(name) ||
               (name == textOf(automaticResignActionName_) && isAutomaticResignActionExplicit());
    return held;
}

void FomTarget::adoptRows(const FomTarget& source) {
    for (const auto& [key, info] : source.rowInfos_)
        if (!rowInfos_.count(key) && holdsRow(key.first, key.second))
            rowInfos_.emplace(key, info);
    if (fomTableMergeEnabled(DtMergeFomTableReferenceType))
        for (const auto& row : source.referenceDatatypes_)
            referenceDatatypes_.add(row);
}

}  // namespace RtiqnFom
