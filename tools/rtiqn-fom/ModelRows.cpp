#include "ModelRows.h"

#include <map>
#include <string_view>
#include <utility>

#include "LibraryTables.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

/// Gathers the rows of one model.
class RowCollector {
public:
    explicit RowCollector(const FomTarget& target) : target_(target) {}

    template <typename Row>
    void add(const char* table, const Row& row, const std::string& owner = "") {
        rows_.push_back({table, owner + row.name, fieldsOf(row), row.info.place});
    }

    template <typename Row>
    void addTable(const char* table, const OrderedRows<Row>& rows) {
        for (const auto& row : rows)
            add(table, *row);
    }

    template <typename Class, typename Member>
    void addMembers(const char* table, const OrderedRows<Class>& classes,
                    std::vector<Member> Class::*members) {
        for (const auto& row : classes)
            for (const Member& member : (*row).*members)
                add(table, member, row->name + '.');
    }

    template <typename T>
    void addTable(const LibraryTable<T>& table) {
        for (const auto& row : (target_.*table.rows)()) {
            const std::string name = textOf(row->name);
            rows_.push_back({table.title, name, fieldsOf(*row), target_.place(table.mask, name)});
        }
    }

    void addSwitch(const std::string& name, const std::string& value) {
        rows_.push_back(
            {"Switches", name, {{"value", value}}, target_.place(DtMergeFomTableSwitches, name)});
    }

    std::vector<ModelRow> take() { return std::move(rows_); }

private:
    const FomTarget& target_;
    std::vector<ModelRow> rows_;
};

void addClasses(const FomTarget& target, RowCollector& rows) {
    rows.addTable("Object Classes", target.objectClasses());
    rows.addMembers("Attributes", target.objectClasses(), &ObjectClass::attributes);
    rows.addMembers("Directed Interactions", target.objectClasses(),
                    &ObjectClass::directedInteractions);
    rows.addTable("Interaction Classes", target.interactionClasses());
    rows.addMembers("Parameters", target.interactionClasses(), &InteractionClass::parameters);
}

void addSwitches(const FomTarget& target, RowCollector& rows) {
    for (const auto& [name, value] : target.switches())
        rows.addSwitch(textOf(name), value ? "enabled" : "disabled");
    if (target.isAutomaticResignActionExplicit())
        rows.addSwitch("automaticResignAction", resignActionText(target.automaticResignAction()));
}

std::vector<std::string> differingFields(const FieldValues& before, const FieldValues& after) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < after.size(); ++i)
        if (before[i].value != after[i].value)
            names.push_back(after[i].name);
    return names;
}

}  // namespace

std::vector<ModelRow> rowsOf(const FomTarget& target) {
    RowCollector rows(target);
    addClasses(target, rows);
    rows.addTable("Dimensions", target.dimensions());
    rows.addTable(theTimeTable);
    addSwitches(target, rows);
    visitComponentTables([&](const auto& table) { rows.addTable(table); });
    rows.addTable("Reference Datatypes", target.referenceDatatypes());
    return rows.take();
}

std::vector<RowChange> changesBetween(const FomTarget& before, const FomTarget& after) {
    const std::vector<ModelRow> held = rowsOf(before);
    std::map<std::pair<std::string_view, std::string_view>, const ModelRow*> heldRows;
    for (const ModelRow& row : held)
        heldRows[{row.table, row.name}] = &row;
    std::vector<RowChange> changes;
    for (ModelRow& row : rowsOf(after)) {
        const auto found = heldRows.find({row.table, row.name});
        const bool isNew = found == heldRows.end();
        RowChange change{row.table, row.name, row.place, {}};
        if (!isNew)
            change.fields = differingFields(found->second->fields, row.fields);
        if (isNew || !change.fields.empty())
            changes.push_back(std::move(change));
    }
    return changes;
}

}  // namespace RtiqnFom
