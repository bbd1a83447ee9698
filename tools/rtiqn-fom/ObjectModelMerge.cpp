#include "ObjectModelMerge.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string_view>
#include <unordered_map>

#include "InheritedNames.h"
#include "NoteReferences.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

namespace {

template <typename Row>
struct ComparedField {
    const char* name;
    std::string Row::*text;
    bool fixedWords;  ///< compared without regard to case
};

/// How rows of one kind join: `compared` fields must agree, `others` are only completed.
template <typename Row>
struct Rules;

template <>
struct Rules<Dimension> {
    static constexpr auto status = theDimensionsStatus;
    static constexpr const char* table = "Dimensions";
    static constexpr ComparedField<Dimension> compared[] = {
        {"dataType", &Dimension::dataType, false},
        {"upperBound", &Dimension::upperBound, false},
        {"normalization", &Dimension::normalization, false},
        {"value", &Dimension::valueWhenUnspecified, true}};
    static constexpr std::array<std::string Dimension::*, 0> others{};
};

template <>
struct Rules<ObjectClass> {
    static constexpr auto status = theObjectClassesStatus;
    static constexpr const char* table = "Object Classes";
    static constexpr ComparedField<ObjectClass> compared[] = {
        {"sharing", &ObjectClass::sharing, true}};
    static constexpr std::string ObjectClass::*others[] = {&ObjectClass::semantics};
};

template <>
struct Rules<Attribute> {
    static constexpr auto status = theObjectClassesStatus;
    static constexpr const char* table = "Attributes";
    static constexpr ComparedField<Attribute> compared[] = {
        {"dataType", &Attribute::dataType, false},
        {"updateType", &Attribute::updateType, true},
        {"ownership", &Attribute::ownership, true},
        {"sharing", &Attribute::sharing, true},
        {"transportation", &Attribute::transportation, false},
        {"order", &Attribute::order, true}};
    static constexpr std::string Attribute::*others[] = {
        &Attribute::updateCondition, &Attribute::semantics, &Attribute::valueRequired};
};

/// These are only completed, no conflict is looked for.
template <>
struct Rules<DirectedInteraction> {
    static constexpr ComparedField<DirectedInteraction> compared[] = {
        {"sharing", &DirectedInteraction::sharing, true}};
    static constexpr std::array<std::string DirectedInteraction::*, 0> others{};
};

template <>
struct Rules<InteractionClass> {
    static constexpr auto status = theInteractionClassesStatus;
    static constexpr const char* table = "Interaction Classes";
    static constexpr ComparedField<InteractionClass> compared[] = {
        {"sharing", &InteractionClass::sharing, true},
        {"transportation", &InteractionClass::transportation, false},
        {"order", &InteractionClass::order, true}};
    static constexpr std::string InteractionClass::*others[] = {&InteractionClass::semantics};
};

template <>
struct Rules<Parameter> {
    static constexpr auto status = theInteractionClassesStatus;
    static constexpr const char* table = "Parameters";
    static constexpr ComparedField<Parameter> compared[] = {
        {"dataType", &Parameter::dataType, false}};
    static constexpr std::string Parameter::*others[] = {&Parameter::semantics,
                                                         &Parameter::valueRequired};
};

using Names = std::vector<std::string>;

/// The dimensions of a row; null for kinds of rows that have none.
Names* dimensionsOf(Attribute& row) {
    return &row.dimensions;
}
const Names* dimensionsOf(const Attribute& row) {
    return &row.dimensions;
}
Names* dimensionsOf(InteractionClass& row) {
    return &row.dimensions;
}
const Names* dimensionsOf(const InteractionClass& row) {
    return &row.dimensions;
}
template <typename Row>
Names* dimensionsOf(Row&) {
    return nullptr;
}

// -------------------------------------------------------------------------------------------------
// Finding conflicts

bool agree(const std::string& held, const std::string& incoming, bool fixedWords) {
    if (held.empty() || incoming.empty() || held == incoming)
        return true;
    return fixedWords && sameWord(held, incoming);
}

bool agree(const Names& held, const Names& incoming) {
    return held.empty() || incoming.empty() ||
           std::set<std::string>(held.begin(), held.end()) ==
               std::set<std::string>(incoming.begin(), incoming.end());
}

template <typename Row>
void compareRows(const std::string& path, const Row& held, const Row& incoming,
                 std::vector<Conflict>& conflicts) {
    const auto report = [&](const char* field, const std::string& heldValue,
                            const std::string& incomingValue) {
        conflicts.push_back({Rules<Row>::status,
                             Rules<Row>::table,
                             path,
                             field,
                             {heldValue, held.info.place},
                             {incomingValue, incoming.info.place}});
    };
    for (const auto& field : Rules<Row>::compared)
        if (!agree(held.*field.text, incoming.*field.text, field.fixedWords))
            report(field.name, held.*field.text, incoming.*field.text);
    const Names* heldDimensions = dimensionsOf(held);
    const Names* incomingDimensions = dimensionsOf(incoming);
    if (heldDimensions && !agree(*heldDimensions, *incomingDimensions))
        report("dimensions", joined(*heldDimensions, " "), joined(*incomingDimensions, " "));
}

template <typename Member>
std::unordered_map<std::string_view, std::size_t> indexesByName(
    const std::vector<Member>& members) {
    std::unordered_map<std::string_view, std::size_t> indexes;
    for (std::size_t i = 0; i < members.size(); ++i)
        indexes.emplace(members[i].name, i);
    return indexes;
}

template <typename Member>
void compareMembers(const std::string& className, const std::vector<Member>& held,
                    const std::vector<Member>& incoming, std::vector<Conflict>& conflicts) {
    if (held.empty() || incoming.empty())
        return;
    const auto indexes = indexesByName(held);
    for (const Member& member : incoming) {
        const auto found = indexes.find(member.name);
        if (found != indexes.end())
            compareRows(className + "." + member.name, held[found->second], member, conflicts);
    }
}

void compareMembers(const Dimension&, const Dimension&, std::vector<Conflict>&) {}
void compareMembers(const ObjectClass& held, const ObjectClass& incoming,
                    std::vector<Conflict>& conflicts) {
    compareMembers(held.name, held.attributes, incoming.attributes, conflicts);
}
void compareMembers(const InteractionClass& held, const InteractionClass& incoming,
                    std::vector<Conflict>& conflicts) {
    compareMembers(held.name, held.parameters, incoming.parameters, conflicts);
}

template <typename Row>
std::vector<Conflict> conflictsOfRows(const OrderedRows<Row>& held,
                                      const OrderedRows<Row>& incoming) {
    std::vector<Conflict> conflicts;
    for (const auto& row : incoming) {
        if (const Row* other = held.find(row->name)) {
            compareRows(row->name, *other, *row, conflicts);
            compareMembers(*other, *row, conflicts);
        }
    }
    return conflicts;
}

// -------------------------------------------------------------------------------------------------
// Joining

template <typename Row>
bool statesAnything(const Row& row) {
    for (const auto& field : Rules<Row>::compared)
        if (!(row.*field.text).empty())
            return true;
    const Names* dimensions = dimensionsOf(row);
    return dimensions && !dimensions->empty();
}

template <typename Value>
bool fill(Value& held, const Value& incoming) {
    if (!held.empty() || incoming.empty())
        return false;
    held = incoming;
    return true;
}

/// Completes `held` by what only `incoming` states. True when that was anything.
template <typename Row>
bool completeRow(Row& held, const Row& incoming) {
    const bool defined = !statesAnything(held) && statesAnything(incoming);
    if (defined)
        held.info.place = incoming.info.place;
    bool changed = defined;
    for (const auto& field : Rules<Row>::compared)
        changed |= fill(held.*field.text, incoming.*field.text);
    for (const auto other : Rules<Row>::others)
        changed |= fill(held.*other, incoming.*other);
    if (Names* dimensions = dimensionsOf(held))
        changed |= fill(*dimensions, *dimensionsOf(incoming));
    return joinNotes(held.info.notes, incoming.info.notes) || changed;
}

template <typename Member>
bool joinMembers(std::vector<Member>& held, const std::vector<Member>& incoming) {
    if (incoming.empty())
        return false;
    // The index refers to names inside `held`: nothing is added to it before the end.
    std::vector<Member> added;
    bool changed = false;
    const auto indexes = indexesByName(held);
    for (const Member& member : incoming) {
        const auto found = indexes.find(member.name);
        if (found == indexes.end())
            added.push_back(member);
        else
            changed |= completeRow(held[found->second], member);
    }
    changed |= !added.empty();
    std::move(added.begin(), added.end(), std::back_inserter(held));
    return changed;
}

bool complete(Dimension& held, const Dimension& incoming) {
    return completeRow(held, incoming);
}

bool complete(ObjectClass& held, const ObjectClass& incoming) {
    bool changed = completeRow(held, incoming);
    changed |= joinMembers(held.attributes, incoming.attributes);
    changed |= joinMembers(held.directedInteractions, incoming.directedInteractions);
    return changed;
}

bool complete(InteractionClass& held, const InteractionClass& incoming) {
    const bool changed = completeRow(held, incoming);
    return joinMembers(held.parameters, incoming.parameters) || changed;
}

template <typename Class>
void addMissingParents(OrderedRows<Class>& held, const Class& below) {
    std::vector<std::string> missing;
    for (std::string name = parentName(below.name); !name.empty() && !held.find(name);
         name = parentName(name))
        missing.push_back(name);
    for (auto name = missing.rbegin(); name != missing.rend(); ++name) {
        Class scaffold;
        scaffold.name = *name;
        scaffold.info.place = below.info.place;
        held.add(std::move(scaffold));
    }
}

void addMissingParents(OrderedRows<Dimension>&, const Dimension&) {}

template <typename Row>
void join(OrderedRows<Row>& held, const std::shared_ptr<const Row>& incoming) {
    const Row* found = held.find(incoming->name);
    if (!found) {
        addMissingParents(held, *incoming);
        held.add(incoming);
        return;
    }
    Row joinedRow = *found;
    if (complete(joinedRow, *incoming))
        held.replace(std::move(joinedRow));
}

// -------------------------------------------------------------------------------------------------
// Roots

std::string rootOf(const std::string& className) {
    return className.substr(0, className.find('.'));
}

template <typename Class>
OrderedRows<Class> rowsPlacedBelow(const std::string& root, const OrderedRows<Class>& rows,
                                   std::vector<MovedRoot>& moved) {
    const auto inPlace = [&](const auto& row) { return rootOf(row->name) == root; };
    if (std::all_of(rows.begin(), rows.end(), inPlace))
        return rows;
    OrderedRows<Class> placed;
    for (const auto& row : rows) {
        if (inPlace(row)) {
            join(placed, row);
            continue;
        }
        if (parentName(row->name).empty())
            moved.push_back({row->name, row->info.place});
        Class below = *row;
        below.name = root + "." + row->name;
        join(placed, std::make_shared<const Class>(std::move(below)));
    }
    return placed;
}

}  // namespace

// -------------------------------------------------------------------------------------------------

std::vector<Conflict> conflictsOf(const OrderedRows<Dimension>& held,
                                  const OrderedRows<Dimension>& incoming) {
    return conflictsOfRows(held, incoming);
}

std::vector<Conflict> conflictsOf(const OrderedRows<ObjectClass>& held,
                                  const OrderedRows<ObjectClass>& incoming) {
    std::vector<Conflict> conflicts = conflictsOfRows(held, incoming);
    for (Conflict& conflict : inheritedNameConflicts(held, incoming))
        conflicts.push_back(std::move(conflict));
    return conflicts;
}

std::vector<Conflict> conflictsOf(const OrderedRows<InteractionClass>& held,
                                  const OrderedRows<InteractionClass>& incoming) {
    return conflictsOfRows(held, incoming);
}

void joinRows(OrderedRows<Dimension>& held, const OrderedRows<Dimension>& incoming) {
    for (const auto& row : incoming)
        join(held, row);
}

void joinRows(OrderedRows<ObjectClass>& held, const OrderedRows<ObjectClass>& incoming) {
    for (const auto& row : incoming)
        join(held, row);
}

void joinRows(OrderedRows<InteractionClass>& held, const OrderedRows<InteractionClass>& incoming) {
    for (const auto& row : incoming)
        join(held, row);
}

OrderedRows<ObjectClass> placedBelow(const std::string& root, const OrderedRows<ObjectClass>& rows,
                                     std::vector<MovedRoot>& moved) {
    return rowsPlacedBelow(root, rows, moved);
}

OrderedRows<InteractionClass> placedBelow(const std::string& root,
                                          const OrderedRows<InteractionClass>& rows,
                                          std::vector<MovedRoot>& moved) {
    return rowsPlacedBelow(root, rows, moved);
}

std::string parentName(const std::string& className) {
    const std::size_t dot = className.rfind('.');
    return dot == std::string::npos ? std::string() : className.substr(0, dot);
}

}  // namespace RtiqnFom
