#include "Conflicts.h"

#include <algorithm>
#include <string>

#include "DatatypeUnion.h"
#include "FomMerge.h"
#include "LibraryTables.h"
#include "RowFields.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

/// Looks through one pair of a held target and a module.
class Finder {
public:
    Finder(const FomTarget& held, const FomTarget& module, bool createFederation)
        : held_(held), module_(module), createFederation_(createFederation) {}

    std::vector<Conflict> find();

private:
    bool enabled(DtMergeFomTableMask table) const { return held_.fomTableMergeEnabled(table); }

    template <typename T>
    void findInUnion(const LibraryTable<T>& table);
    template <typename T>
    void findInTable(const LibraryTable<T>& table);
    template <typename T>
    void add(const LibraryTable<T>& table, const T& held, const T& incoming);
    void add(const std::vector<Conflict>& found);

    void findInTimes();
    void findInSwitches();
    void findInResignAction();
    void addSwitch(const std::string& name, const std::string& held, const std::string& incoming);

    const FomTarget& held_;
    const FomTarget& module_;
    bool createFederation_;
    std::vector<Conflict> conflicts_;
};

// -------------------------------------------------------------------------------------------------
// Rows

/// Fields that the library compares come first; of a rate that is no number, which differs from
/// itself, and of texts that differ in a way not shown, the first field is named.
std::size_t firstDifference(const FieldValues& held, const FieldValues& incoming) {
    for (std::size_t i = 0; i < held.size(); ++i)
        if (held[i].value != incoming[i].value)
            return i;
    return 0;
}

template <typename T>
void Finder::add(const LibraryTable<T>& table, const T& held, const T& incoming) {
    const std::string name = textOf(incoming.name);
    const FieldValues heldFields = fieldsOf(held);
    const FieldValues incomingFields = fieldsOf(incoming);
    const std::size_t i = firstDifference(heldFields, incomingFields);
    conflicts_.push_back({table.conflictStatus,
                          table.title,
                          name,
                          heldFields[i].name,
                          {heldFields[i].value, held_.place(table.mask, name)},
                          {incomingFields[i].value, module_.place(table.mask, name)}});
}

void Finder::add(const std::vector<Conflict>& found) {
    conflicts_.insert(conflicts_.end(), found.begin(), found.end());
}

template <typename T>
bool countsAsSame(const FomTarget&, const T&, const T&) {
    return false;
}

bool countsAsSame(const FomTarget& target, const DtNotesType& held, const DtNotesType& incoming) {
    return target.sameNote(held, incoming);
}

template <typename T>
void Finder::findInTable(const LibraryTable<T>& table) {
    const DtFomTable<T>& held = (held_.*table.rows)();
    for (const auto& row : (module_.*table.rows)()) {
        if (consistencyTest(held, *row, held_.isStrictChecking()))
            continue;
        const T& other = **held.find(row);
        if (!countsAsSame(held_, other, *row))
            add(table, other, *row);
    }
}

template <typename T>
void Finder::findInUnion(const LibraryTable<T>& table) {
    if (!enabled(table.mask))
        return;
    const DtFomTable<T>& held = (held_.*table.rows)();
    for (const auto& row : (module_.*table.rows)()) {
        const auto found = held.find(row);
        if (found == held.end() || *found == row)
            continue;
        const std::string name = textOf(row->name);
        add(unionConflicts(RowPair<T>{**found, *row, held_.place(table.mask, name),
                                      module_.place(table.mask, name)}));
    }
}

// -------------------------------------------------------------------------------------------------
// Time representations and switches

/// They agree or differ as a whole, so a row that only one side has is a conflict, too.
void Finder::findInTimes() {
    const auto& held = held_.timeTypes();
    const auto& incoming = module_.timeTypes();
    if (held.empty() || incoming.empty())
        return;
    const DtTimeType absent;
    for (const auto& row : incoming) {
        const auto found = held.find(row);
        if (found == held.end())
            add(theTimeTable, absent, *row);
        else if (!(**found == *row))
            add(theTimeTable, **found, *row);
    }
    for (const auto& row : held) {
        if (incoming.count(row))
            continue;
        DtTimeType missing;
        missing.name = row->name;
        add(theTimeTable, *row, missing);
    }
}

std::string enabledText(bool value) {
    return value ? "enabled" : "disabled";
}

void Finder::addSwitch(const std::string& name, const std::string& held,
                       const std::string& incoming) {
    const auto table = DtMergeFomTableSwitches;
    conflicts_.push_back({DtMergeFomSwitchesConflict,
                          "Switches",
                          name,
                          "value",
                          {held, held_.place(table, name)},
                          {incoming, module_.place(table, name)}});
}

void Finder::findInSwitches() {
    for (const auto& [name, value] : module_.switches()) {
        if (!held_.isStandardSwitch(name) || held_.switchValue(name) == value)
            continue;
        if (!createFederation_ || held_.knownSwitch(name))
            addSwitch(textOf(name), enabledText(!value), enabledText(value));
    }
    findInResignAction();
}

void Finder::findInResignAction() {
    const DtResignAction held = held_.automaticResignAction();
    const DtResignAction incoming = module_.automaticResignAction();
    if (held_.isAutomaticResignActionExplicit() && module_.isAutomaticResignActionExplicit() &&
        held != incoming)
        addSwitch("automaticResignAction", resignActionText(held), resignActionText(incoming));
}

// -------------------------------------------------------------------------------------------------

std::vector<Conflict> Finder::find() {
    const DtFomType type = held_.fomType();
    const bool later = type == DtFomTypeIeee1516_2010 || type == DtFomTypeIeee1516_2025;
    if (type == DtFomTypeIeee1516_2025) {
        findInUnion(theEnumeratedTable);
        findInUnion(theVariantTable);
    }
    if (enabled(DtMergeFomTableTime))
        findInTimes();
    if (enabled(DtMergeFomTableSwitches))
        findInSwitches();
    visitComponentTables([&](const auto& table) {
        if (enabled(table.mask) && (later || table.mask != DtMergeFomTableUserDefinedTags))
            findInTable(table);
    });
    if (enabled(DtMergeFomTableDimensions))
        add(conflictsOf(held_.dimensions(), module_.dimensions()));
    if (enabled(DtMergeFomTableObjectClass))
        add(conflictsOf(held_.objectClasses(), module_.objectClasses()));
    if (enabled(DtMergeFomTableInteractionClass))
        add(conflictsOf(held_.interactionClasses(), module_.interactionClasses()));
    return std::move(conflicts_);
}

}  // namespace

std::vector<Conflict> findConflicts(const FomTarget& held, const FomTarget& module,
                                    bool createFederation) {
    return Finder(held, module, createFederation).find();
}

bool refuses(const std::vector<Conflict>& conflicts, bool strict) {
    return std::any_of(conflicts.begin(), conflicts.end(), [&](const Conflict& conflict) {
        return strict || isNeverIgnored(conflict.status);
    });
}

}  // namespace RtiqnFom
