#include "JsonReport.h"

#include <nlohmann/json.hpp>

#include "common/JsonText.h"

namespace RtiqnFom {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const TableCounts& counts) {
    Json json;
    for (std::size_t i = 0; i < theNumCounts; ++i) {
        const Count count = static_cast<Count>(i);
        json[keyOf(count)] = counts[count];
    }
    return json;
}

Json jsonOf(const Place& place) {
    return place.file ? Json(place.text()) : Json(nullptr);
}

Json jsonOf(const Statement& statement) {
    Json json;
    json["value"] = statement.value;
    json["place"] = jsonOf(statement.place);
    return json;
}

Json jsonOf(const Conflict& conflict, const ModuleResult& module) {
    Json json;
    json["module"] = module.path;
    json["status"] = static_cast<int>(conflict.status);
    json["meaning"] = meaning(conflict.status);
    json["table"] = conflict.table;
    json["row"] = conflict.row;
    json["field"] = conflict.field;
    json["ignored"] = module.merged();
    json["held"] = jsonOf(conflict.held);
    json["incoming"] = jsonOf(conflict.incoming);
    return json;
}

void addChanges(const std::vector<RowChange>& changes, Json& json) {
    json["added"] = Json::array();
    json["completed"] = Json::array();
    for (const RowChange& change : changes) {
        Json row = {{"table", change.table}, {"row", change.row}, {"place", jsonOf(change.place)}};
        if (!change.fields.empty())
            row["fields"] = change.fields;
        json[change.fields.empty() ? "added" : "completed"].push_back(std::move(row));
    }
}

Json jsonOf(const ModuleResult& module) {
    Json json;
    json["path"] = module.path;
    json["name"] = module.name;
    json["joined"] = !module.creates;
    json["status"] = static_cast<int>(module.status);
    json["meaning"] = meaning(module.status);
    json["rows"] = jsonOf(module.rows);
    json["brought"] = jsonOf(module.brought);
    if (module.changes)
        addChanges(*module.changes, json);
    return json;
}

Json jsonOf(const CheckResult& check) {
    Json json;
    json["status"] = static_cast<int>(check.status);
    json["meaning"] = meaning(check.status);
    json["report"] = check.report;
    json["skippedTables"] = check.skippedTables;
    return json;
}

}  // namespace

void printJsonReport(const Federation& federation, std::ostream& out) {
    Json json;
    json["modules"] = Json::array();
    json["totals"] = jsonOf(countsOf(federation.target()));
    json["conflicts"] = Json::array();
    for (const ModuleResult& module : federation.modules()) {
        json["modules"].push_back(jsonOf(module));
        for (const Conflict& conflict : module.conflicts)
            json["conflicts"].push_back(jsonOf(conflict, module));
    }
    json["warnings"] = federation.warnings();
    json["check"] = jsonOf(federation.checkResult());
    out << RtiqnTools::jsonText(json, 2) << '\n';
}

}  // namespace RtiqnFom
