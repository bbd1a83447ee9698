#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "OmtReading.h"
#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

using OrynRti::DtFedTarget;

constexpr std::string_view theResignActionName = "automaticResignAction";

/// Of the edition of 2000, whose transportations state no reliability: it is what their name or
/// description says.
bool reliabilityOf(OmtReading& reading, const OmtRow& row, const std::string& name) {
    const std::string text = row.stated("reliable");
    if (const std::optional<bool> reliable = booleanOf(text))
        return *reliable;
    const std::string owner = "transportation \"" + name + "\"";
    if (!text.empty())
        reading.failure(row.placeOf("reliable"),
                        owner + " has the reliability \"" + text + "\", not Yes or No");
    else if (reading.target.fomType() != OrynRti::DtFomTypeIeee1516_2000)
        reading.failure(row.place(), owner + " does not state whether it is reliable");
    return impliesReliable(name, row.stated("description") + " " + row.stated("semantics"));
}

float rateOfRow(const OmtRow& row, const std::string& name) {
    const std::string text = row.stated("rate");
    const std::optional<float> rate = rateOf(text.empty() ? "0" : text);
    if (!rate)
        throw MalformedModule(row.placeOf("rate"), "update rate \"" + name + "\" has the rate \"" +
                                                       text + "\", which is no number");
    return *rate;
}

/// One switch as the document states it.
struct StatedSwitch {
    std::string name;
    std::string value;
    RowInfo info;
};

/// True when the switch was stated before, which is told of.
bool isRepeated(OmtReading& reading, const StatedSwitch& stated) {
    const RowInfo* first = reading.target.rowInfo(OrynRti::DtMergeFomTableSwitches, stated.name);
    if (first)
        reading.duplicate(stated.info.place, "switch", stated.name, first->place);
    return first != nullptr;
}

void rejectValue(OmtReading& reading, const StatedSwitch& stated) {
    reading.failure(stated.info.place, "switch \"" + stated.name + "\" has the value \"" +
                                           stated.value + "\", which is none of its values");
}

void storeResignAction(OmtReading& reading, StatedSwitch stated) {
    const std::optional<OrynRti::DtResignAction> action = resignActionOf(stated.value);
    if (!action)
        return rejectValue(reading, stated);
    if (isRepeated(reading, stated))
        return;
    reading.target.setAutomaticResignAction(*action);
    reading.target.setRowInfo(OrynRti::DtMergeFomTableSwitches, stated.name,
                              std::move(stated.info));
}

/// A switch without a value is not stated. The library tells of switches that are not standard.
void storeSwitch(OmtReading& reading, StatedSwitch stated) {
    if (stated.value.empty())
        return;
    if (stated.name == theResignActionName)
        return storeResignAction(reading, std::move(stated));
    const std::optional<bool> value = booleanOf(stated.value);
    const OrynRti::DtString name = libraryText(stated.name);
    const bool standard = reading.target.isStandardSwitch(name);
    if (!value) {
        if (standard)
            rejectValue(reading, stated);
        return;
    }
    if (isRepeated(reading, stated))
        return;
    reading.target.addSwitch(name, *value);
    if (standard)
        reading.target.setRowInfo(OrynRti::DtMergeFomTableSwitches, stated.name,
                                  std::move(stated.info));
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

void addNotesOfAttribute(const OmtRow& table, const std::string& name, RowInfo& info) {
    std::string labels = table.word(name + "Notes");
    if (!labels.empty())
        info.notes.push_back({"", std::move(labels)});
}

/// Switches that are attributes of the table's element.
void readSwitchAttributes(OmtReading& reading, const OmtRow& table) {
    const XmlTree::Attributes attributes = table.tree().attributes(table.node());
    for (std::uint32_t index = 0; index < attributes.size(); ++index) {
        const std::string name(attributes.name(index));
        if (isNotesAttribute(name) || endsWith(name, "Notes"))
            continue;
        RowInfo info{attributes.place(index), {}};
        if (reading.target.isStandardSwitch(libraryText(name)))
            addNotesOfAttribute(table, name, info);
        storeSwitch(reading, {name, statedText(attributes.value(index)), std::move(info)});
    }
}

}  // namespace

void readDimensions(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("dimension")) {
        Dimension dimension;
        dimension.name = requiredName(row);
        dimension.dataType = row.stated("dataType");
        dimension.upperBound = row.stated("upperBound");
        dimension.normalization = row.stated("normalization");
        dimension.valueWhenUnspecified = row.stated("value");
        dimension.info = row.info();
        if (const Dimension* first = reading.target.dimensions().find(dimension.name))
            reading.duplicate(row.place(), "dimension", dimension.name, first->info.place);
        else
            reading.target.store(std::move(dimension));
    }
}

void readTime(OmtReading& reading, const OmtRow& table) {
    for (const XmlTree::Node node : table.tree().children(table.node())) {
        const OmtRow row(table.tree(), node);
        const std::string dataType = row.stated("dataType");
        if ((row.element() != "timeStamp" && row.element() != "lookahead") || dataType.empty())
            continue;
        auto time = std::make_unique<OrynRti::DtTimeType>();
        time->name = libraryText(row.element());
        time->dataType = libraryText(dataType);
        time->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableTime, "time representation",
                 &DtFedTarget::addTime, std::move(time), row.info());
    }
}

void readTags(OmtReading& reading, const OmtRow& table) {
    for (const XmlTree::Node node : table.tree().children(table.node())) {
        const OmtRow row(table.tree(), node);
        const std::string dataType = row.stated("dataType");
        const std::string semantics = row.stated("semantics");
        if (!endsWith(row.element(), "Tag") || (dataType.empty() && semantics.empty()))
            continue;
        auto tag = std::make_unique<OrynRti::DtUserSuppliedTagsType>();
        tag->name = libraryText(row.element());
        tag->dataType = libraryText(dataType);
        tag->semantics = libraryText(semantics);
        storeRow(reading, OrynRti::DtMergeFomTableUserDefinedTags, "user-supplied tag",
                 &DtFedTarget::addUserSuppliedTag, std::move(tag), row.info());
    }
}

void readSynchronizations(OmtReading& reading, const OmtRow& table) {
    for (const XmlTree::Node node : table.tree().children(table.node())) {
        const OmtRow row(table.tree(), node);
        if (row.element() != "synchronizationPoint" && row.element() != "synchronization")
            continue;
        auto point = std::make_unique<OrynRti::DtSynchronizationPointsType>();
        const std::string label = requiredName(row, "label");
        const std::string text = row.stated("capability");
        const std::optional<std::int32_t> capability = capabilityOf(text);
        if (!capability)
            reading.failure(row.placeOf("capability"), "synchronization point \"" + label +
                                                           "\" has the unknown capability \"" +
                                                           text + "\"");
        point->name = libraryText(label);
        point->dataType = libraryText(row.stated("dataType"));
        point->capability = capability.value_or(0);
        point->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableSyncPoints, "synchronization point",
                 &DtFedTarget::addSyncPoint, std::move(point), row.info());
    }
}

void readTransportations(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("transportation")) {
        auto transportation = std::make_unique<OrynRti::DtTransportationType>();
        const std::string name = requiredName(row);
        transportation->name = libraryText(name);
        transportation->reliable = reliabilityOf(reading, row, name);
        transportation->description = libraryText(row.stated("description"));
        transportation->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableTransportTypes, "transportation",
                 &DtFedTarget::addTransportType, std::move(transportation), row.info());
    }
}

void readUpdateRates(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("updateRate")) {
        auto rate = std::make_unique<OrynRti::DtUpdateRateType>();
        const std::string name = requiredName(row);
        rate->name = libraryText(name);
        rate->rate = rateOfRow(row, name);
        if (rate->rate < 0)
            reading.failure(row.placeOf("rate"), "update rate \"" + name + "\" is negative");
        rate->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableUpdateRates, "update rate",
                 &DtFedTarget::addUpdateRate, std::move(rate), row.info());
    }
}

void readSwitches(OmtReading& reading, const OmtRow& table) {
    readSwitchAttributes(reading, table);
    for (const XmlTree::Node node : table.tree().children(table.node())) {
        const OmtRow row(table.tree(), node);
        const bool isAction = row.element() == theResignActionName;
        std::string value = row.stated(isAction ? "resignAction" : "isEnabled");
        if (value.empty())
            value = statedText(table.tree().text(node));
        storeSwitch(reading, {row.element(), std::move(value), row.info()});
    }
}

/// The text of a note keeps its white space.
void readNotes(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("note")) {
        auto note = std::make_unique<OrynRti::DtNotesType>();
        const bool labelled = !row.word("label").empty();
        note->name = libraryText(requiredName(row, labelled ? "label" : "name"));
        note->semantics = libraryText(std::string(row.raw("semantics")));
        storeRow(reading, OrynRti::DtMergeFomTableNotes, "note", &DtFedTarget::addNote,
                 std::move(note), row.info());
    }
}

}  // namespace RtiqnFom
