#include <string>
#include <unordered_map>
#include <vector>

#include "ObjectModelMerge.h"
#include "OmtWriting.h"

namespace RtiqnFom {

namespace {

void writeAttribute(const Attribute& attribute, OmtEmitter& out) {
    out.open("attribute", &attribute.info);
    out.field("name", attribute.name);
    out.field("dataType", attribute.dataType);
    out.field("updateType", attribute.updateType);
    out.field("updateCondition", attribute.updateCondition);
    out.field("valueRequired", attribute.valueRequired);
    out.field("ownership", attribute.ownership);
    out.field("sharing", attribute.sharing);
    out.list("dimensions", "dimension", attribute.dimensions);
    out.field("transportation", attribute.transportation);
    out.field("order", attribute.order);
    out.field("semantics", attribute.semantics);
    out.close();
}

void writeDirectedInteraction(const DirectedInteraction& interaction, OmtEmitter& out) {
    out.open("directedInteraction", &interaction.info);
    out.field("name", interaction.name);
    out.field("sharing", interaction.sharing);
    out.close();
}

void writeParameter(const Parameter& parameter, OmtEmitter& out) {
    out.open("parameter", &parameter.info);
    out.field("name", parameter.name);
    out.field("dataType", parameter.dataType);
    out.field("valueRequired", parameter.valueRequired);
    out.field("semantics", parameter.semantics);
    out.close();
}

/// Begins a class: its fields and members, not its subclasses.
void openClass(const ObjectClass& row, const std::string& name, OmtEmitter& out) {
    out.open("objectClass", &row.info);
    out.field("name", name);
    out.field("sharing", row.sharing);
    out.field("semantics", row.semantics);
    for (const Attribute& attribute : row.attributes)
        writeAttribute(attribute, out);
    for (const DirectedInteraction& interaction : row.directedInteractions)
        writeDirectedInteraction(interaction, out);
}

void openClass(const InteractionClass& row, const std::string& name, OmtEmitter& out) {
    out.open("interactionClass", &row.info);
    out.field("name", name);
    out.field("sharing", row.sharing);
    out.list("dimensions", "dimension", row.dimensions);
    out.field("transportation", row.transportation);
    out.field("order", row.order);
    out.field("semantics", row.semantics);
    for (const Parameter& parameter : row.parameters)
        writeParameter(parameter, out);
}

/// The classes of a table with the subclasses of each, in the order of the table.
template <typename Class>
struct ClassTree {
    struct Entry {
        const Class* row;
        std::vector<std::size_t> children;
    };
    std::vector<Entry> entries;
    std::vector<std::size_t> roots;
};

template <typename Class>
ClassTree<Class> treeOf(const OrderedRows<Class>& rows) {
    ClassTree<Class> tree;
    std::unordered_map<std::string, std::size_t> indexes;
    for (const auto& row : rows) {
        const std::size_t index = tree.entries.size();
        const auto parent = indexes.find(parentName(row->name));
        auto& siblings =
            parent == indexes.end() ? tree.roots : tree.entries[parent->second].children;
        siblings.push_back(index);
        tree.entries.push_back({row.get(), {}});
        indexes.emplace(row->name, index);
    }
    return tree;
}

/// A class of which some subclasses are still to be written.
struct OpenClass {
    const std::vector<std::size_t>* children;
    std::size_t next;
};

template <typename Class>
void writeTree(const OrderedRows<Class>& rows, const char* table, OmtEmitter& out) {
    if (rows.empty())
        return;
    const ClassTree<Class> tree = treeOf(rows);
    std::vector<OpenClass> open = {{&tree.roots, 0}};
    out.open(table);
    while (!open.empty()) {
        OpenClass& current = open.back();
        if (current.next == current.children->size()) {
            open.pop_back();
            out.close();
            continue;
        }
        const auto& entry = tree.entries[(*current.children)[current.next++]];
        const std::string& path = entry.row->name;
        openClass(*entry.row, path.substr(path.rfind('.') + 1), out);
        open.push_back({&entry.children, 0});
    }
}

}  // namespace

void writeClasses(const FomTarget& target, OmtEmitter& out) {
    writeTree(target.objectClasses(), "objects", out);
    writeTree(target.interactionClasses(), "interactions", out);
}

}  // namespace RtiqnFom
