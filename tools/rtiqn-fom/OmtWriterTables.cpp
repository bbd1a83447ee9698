#include <optional>
#include <string>

#include "OmtWriting.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

namespace {

bool isAttributeStyle(const OmtEmitter& out) {
    return out.style() == OmtEmitter::Style::attributes;
}

void writeDimensions(const FomTarget& target, OmtEmitter& out) {
    if (target.dimensions().empty())
        return;
    out.open("dimensions");
    for (const auto& row : target.dimensions()) {
        out.open("dimension", &row->info);
        out.field("name", row->name);
        out.field("dataType", row->dataType);
        out.field("upperBound", row->upperBound);
        out.field("normalization", row->normalization);
        out.field("value", row->valueWhenUnspecified);
        out.close();
    }
    out.close();
}

/// Time representations and tags: the element's name is the row's.
template <typename Rows>
void writeNamedElements(const FomTarget& target, const Rows& rows,
                        OrynRti::DtMergeFomTableMask table, const char* element, OmtEmitter& out) {
    if (rows.empty())
        return;
    out.open(element);
    for (const auto& row : rows) {
        const std::string name = textOf(row->name);
        out.open(name, target.rowInfo(table, name));
        out.field("dataType", textOf(row->dataType));
        out.field("semantics", textOf(row->semantics));
        out.close();
    }
    out.close();
}

void writeSynchronizations(const FomTarget& target, OmtEmitter& out) {
    if (target.syncPoints().empty())
        return;
    out.open("synchronizations");
    for (const auto& row : target.syncPoints()) {
        const std::string name = textOf(row->name);
        out.open(isAttributeStyle(out) ? "synchronization" : "synchronizationPoint",
                 target.rowInfo(OrynRti::DtMergeFomTableSyncPoints, name));
        out.field("label", name);
        out.field("dataType", textOf(row->dataType));
        out.field("capability", capabilityText(row->capability));
        out.field("semantics", textOf(row->semantics));
        out.close();
    }
    out.close();
}

/// The edition of 2000 has no field for it; written there only where the name and the description
/// say otherwise.
bool mustStateReliability(const OrynRti::DtTransportationType& row, const OmtEmitter& out) {
    return !isAttributeStyle(out) ||
           impliesReliable(textOf(row.name),
                           textOf(row.description) + " " + textOf(row.semantics)) != row.reliable;
}

void writeTransportations(const FomTarget& target, OmtEmitter& out) {
    if (target.transportTypes().empty())
        return;
    out.open("transportations");
    for (const auto& row : target.transportTypes()) {
        const std::string name = textOf(row->name);
        out.open("transportation", target.rowInfo(OrynRti::DtMergeFomTableTransportTypes, name));
        out.field("name", name);
        if (mustStateReliability(*row, out))
            out.field("reliable", row->reliable ? "Yes" : "No");
        out.field("description", textOf(row->description));
        out.field("semantics", textOf(row->semantics));
        out.close();
    }
    out.close();
}

void writeUpdateRates(const FomTarget& target, OmtEmitter& out) {
    if (target.updateRates().empty())
        return;
    out.open("updateRates");
    for (const auto& row : target.updateRates()) {
        const std::string name = textOf(row->name);
        out.open("updateRate", target.rowInfo(OrynRti::DtMergeFomTableUpdateRates, name));
        out.field("name", name);
        out.field("rate", rateText(row->rate));
        out.field("semantics", textOf(row->semantics));
        out.close();
    }
    out.close();
}

std::optional<std::string> statedResignAction(const FomTarget& target) {
    const std::string text = resignActionText(target.automaticResignAction());
    if (!target.isAutomaticResignActionExplicit() || text.empty())
        return std::nullopt;
    return text;
}

void writeSwitchElement(const FomTarget& target, const std::string& name, const char* attribute,
                        const std::string& value, OmtEmitter& out) {
    out.open(name, target.rowInfo(OrynRti::DtMergeFomTableSwitches, name));
    out.attribute(attribute, value);
    out.close();
}

void writeSwitchAttribute(const FomTarget& target, const std::string& name,
                          const std::string& value, OmtEmitter& out) {
    out.attribute(name, value);
    const RowInfo* info = target.rowInfo(OrynRti::DtMergeFomTableSwitches, name);
    if (info && !info->notes.empty())
        out.attribute(name + "Notes", info->notes.front().labels);
}

void writeSwitches(const FomTarget& target, OmtEmitter& out) {
    const std::optional<std::string> action = statedResignAction(target);
    if (target.switches().empty() && !action)
        return;
    out.open("switches");
    for (const auto& [name, enabled] : target.switches()) {
        if (isAttributeStyle(out))
            writeSwitchAttribute(target, textOf(name), enabled ? "Enabled" : "Disabled", out);
        else
            writeSwitchElement(target, textOf(name), "isEnabled", enabled ? "true" : "false", out);
    }
    if (action && isAttributeStyle(out))
        writeSwitchAttribute(target, "automaticResignAction", *action, out);
    else if (action)
        writeSwitchElement(target, "automaticResignAction", "resignAction", *action, out);
    out.close();
}

}  // namespace

void writeSmallTables(const FomTarget& target, OmtEmitter& out) {
    writeDimensions(target, out);
    writeNamedElements(target, target.timeTypes(), OrynRti::DtMergeFomTableTime, "time", out);
    writeNamedElements(target, target.userSuppliedTags(), OrynRti::DtMergeFomTableUserDefinedTags,
                       "tags", out);
    writeSynchronizations(target, out);
    writeTransportations(target, out);
    writeSwitches(target, out);
    writeUpdateRates(target, out);
}

void writeNotes(const FomTarget& target, OmtEmitter& out) {
    if (target.notes().empty())
        return;
    out.open("notes");
    for (const auto& row : target.notes()) {
        const std::string name = textOf(row->name);
        out.open("note", target.rowInfo(OrynRti::DtMergeFomTableNotes, name));
        out.field(isAttributeStyle(out) ? "name" : "label", name);
        out.field("semantics", textOf(row->semantics));
        out.close();
    }
    out.close();
}

}  // namespace RtiqnFom
