#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "OmtReading.h"
#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

/// Deeper classes are refused, so that what was read can be written in either style within the
/// depth of elements that is read again.
constexpr std::size_t theMaxClassDepth = 200;

/// A name is a step of the path to its class, so it cannot hold the mark between steps.
std::string className(const OmtRow& row) {
    std::string name = requiredName(row);
    if (name.find('.') != std::string::npos)
        throw MalformedModule(row.placeOf("name"),
                              "the class name \"" + name + "\" must not contain '.'");
    return name;
}

bool same(const std::string& left, const std::string& right) {
    return sameWord(left, right);
}

bool same(std::vector<std::string> left, std::vector<std::string> right) {
    std::sort(left.begin(), left.end());
    std::sort(right.begin(), right.end());
    return left == right;
}

/// Sets a field of a class that is not stated yet. False when it was stated otherwise already.
template <typename Field>
bool complete(Field& held, Field incoming) {
    if (!held.empty())
        return incoming.empty() || same(held, incoming);
    held = std::move(incoming);
    return true;
}

Attribute attributeOf(const OmtRow& row) {
    Attribute attribute;
    attribute.name = requiredName(row);
    attribute.dataType = row.stated("dataType");
    attribute.updateType = row.stated("updateType");
    attribute.updateCondition = row.stated("updateCondition");
    attribute.ownership = row.stated("ownership");
    attribute.sharing = row.stated("sharing");
    attribute.dimensions = row.list("dimensions", "dimension");
    attribute.transportation = row.stated("transportation");
    attribute.order = row.stated("order");
    attribute.semantics = row.stated("semantics");
    attribute.valueRequired = row.stated("valueRequired");
    attribute.info = row.info();
    return attribute;
}

Parameter parameterOf(const OmtRow& row) {
    Parameter parameter;
    parameter.name = requiredName(row);
    parameter.dataType = row.stated("dataType");
    parameter.semantics = row.stated("semantics");
    parameter.valueRequired = row.stated("valueRequired");
    parameter.info = row.info();
    return parameter;
}

DirectedInteraction directedInteractionOf(const OmtRow& row) {
    return {requiredName(row), row.stated("sharing"), row.info()};
}

/// Adds the members of one kind that a class has; a second one of a name is dropped.
template <typename Class, typename Member>
void addMembers(OmtReading& reading, ClassCollector<Class>& collector, const OmtRow& row,
                const std::string& element, Member (*memberOf)(const OmtRow&), Class& owner,
                std::vector<Member>& members) {
    const std::vector<OmtRow> rows = row.rows(element);
    if (members.empty())
        members.reserve(rows.size());
    for (const OmtRow& memberRow : rows) {
        Member member = memberOf(memberRow);
        if (const Member* first = collector.memberOf(owner, members, element, member.name))
            reading.duplicate(member.info.place, element + " of " + owner.name + ":", member.name,
                              first->info.place);
        else
            members.push_back(std::move(member));
    }
}

void joinNotesOf(const OmtRow& row, RowInfo& info) {
    for (NoteReference& note : row.info().notes)
        info.notes.push_back(std::move(note));
}

void differsFromFirst(OmtReading& reading, const OmtRow& row, const std::string& name,
                      const Place& first) {
    reading.failure(row.place(), "class \"" + name +
                                     "\" comes again with other fields, which are "
                                     "not taken; the first one is at " +
                                     first.text());
}

void readClass(OmtReading& reading, const OmtRow& row, ObjectClass& held) {
    if (!complete(held.sharing, row.stated("sharing")))
        differsFromFirst(reading, row, held.name, held.info.place);
    complete(held.semantics, row.stated("semantics"));
    joinNotesOf(row, held.info);
    addMembers(reading, reading.objectClasses, row, "attribute", attributeOf, held,
               held.attributes);
    addMembers(reading, reading.objectClasses, row, "directedInteraction", directedInteractionOf,
               held, held.directedInteractions);
}

void readClass(OmtReading& reading, const OmtRow& row, InteractionClass& held) {
    bool agrees = complete(held.sharing, row.stated("sharing"));
    agrees &= complete(held.dimensions, row.list("dimensions", "dimension"));
    agrees &= complete(held.transportation, row.stated("transportation"));
    agrees &= complete(held.order, row.stated("order"));
    if (!agrees)
        differsFromFirst(reading, row, held.name, held.info.place);
    complete(held.semantics, row.stated("semantics"));
    joinNotesOf(row, held.info);
    addMembers(reading, reading.interactionClasses, row, "parameter", parameterOf, held,
               held.parameters);
}

/// A class that is still to be read.
struct OpenClass {
    OmtRow row;
    std::string parent;
    std::size_t depth;
};

/// Classes in document order, so a class comes behind its parent.
template <typename Class>
void readTree(OmtReading& reading, ClassCollector<Class>& collector, const OmtRow& table,
              const char* element) {
    std::vector<OpenClass> open;
    const auto openClassesOf = [&](const OmtRow& owner, const std::string& path,
                                   std::size_t depth) {
        const std::vector<OmtRow> rows = owner.rows(element);
        for (auto row = rows.rbegin(); row != rows.rend(); ++row)
            open.push_back({*row, path, depth});
    };
    openClassesOf(table, "", 1);
    while (!open.empty()) {
        const OpenClass current = std::move(open.back());
        open.pop_back();
        const OmtRow& row = current.row;
        if (current.depth > theMaxClassDepth)
            throw MalformedModule(
                row.place(), "classes are nested deeper than " + std::to_string(theMaxClassDepth));
        const std::string name = className(row);
        const std::string path = current.parent.empty() ? name : current.parent + "." + name;
        readClass(reading, row, collector.at(path, row.place()));
        openClassesOf(row, path, current.depth + 1);
    }
}

}  // namespace

void readObjects(OmtReading& reading, const OmtRow& table) {
    readTree(reading, reading.objectClasses, table, "objectClass");
}

void readInteractions(OmtReading& reading, const OmtRow& table) {
    readTree(reading, reading.interactionClasses, table, "interactionClass");
}

}  // namespace RtiqnFom
