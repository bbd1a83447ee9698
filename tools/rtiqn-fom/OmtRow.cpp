#include "OmtRow.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

/// Elements that are rows of their own inside another row; their notes are not the outer row's.
constexpr std::string_view theInnerRows[] = {
    "objectClass", "interactionClass",    "attribute",  "parameter",
    "field",       "directedInteraction", "enumerator", "alternative"};

/// An alternative names its enumerator in a field, which has the same name as the row of an
/// enumerated datatype but nothing in it.
bool isInnerRow(const XmlTree& tree, XmlTree::Node node) {
    const auto end = std::end(theInnerRows);
    return std::find(std::begin(theInnerRows), end, tree.name(node)) != end &&
           !(tree.name(node) == "enumerator" && tree.children(node).empty());
}

std::optional<std::uint32_t> attributeIndex(const XmlTree::Attributes& attributes,
                                            std::string_view name) {
    for (std::uint32_t index = 0; index < attributes.size(); ++index) {
        if (attributes.name(index) == name)
            return index;
    }
    return std::nullopt;
}

/// The field whose notes an attribute of the style with attributes gives: "name" of "nameNotes".
std::string_view fieldOfNotesAttribute(std::string_view attribute) {
    constexpr std::string_view ending = "Notes";
    if (attribute.size() <= ending.size() ||
        attribute.substr(attribute.size() - ending.size()) != ending)
        return {};
    return attribute.substr(0, attribute.size() - ending.size());
}

void addNote(std::string_view field, std::string_view text, std::vector<NoteReference>& notes) {
    std::string labels = collapsed(text);
    if (!labels.empty())
        notes.push_back({std::string(field), std::move(labels)});
}

}  // namespace

bool isNotesAttribute(std::string_view attribute) {
    return attribute == "notes" || attribute == "noteReferences";
}

std::string_view OmtRow::raw(std::string_view field) const {
    const XmlTree::Attributes attributes = tree_.attributes(node_);
    if (const std::optional<std::uint32_t> index = attributeIndex(attributes, field))
        return attributes.value(*index);
    const XmlTree::Node found = child(field);
    return found == XmlTree::theNoNode ? std::string_view() : tree_.text(found);
}

std::string OmtRow::word(std::string_view field) const {
    return collapsed(raw(field));
}

std::string OmtRow::stated(std::string_view field) const {
    return statedText(raw(field));
}

Place OmtRow::placeOf(std::string_view field) const {
    const XmlTree::Attributes attributes = tree_.attributes(node_);
    if (const std::optional<std::uint32_t> index = attributeIndex(attributes, field))
        return attributes.place(*index);
    const XmlTree::Node found = child(field);
    return tree_.place(found == XmlTree::theNoNode ? node_ : found);
}

std::vector<std::string> OmtRow::list(std::string_view field, std::string_view item) const {
    const XmlTree::Node found = child(field);
    if (found == XmlTree::theNoNode || tree_.children(found).empty())
        return wordsOf(raw(field));
    std::vector<std::string> names;
    for (const OmtRow& row : OmtRow(tree_, found).rows(item)) {
        std::string name = statedText(tree_.text(row.node()));
        if (!name.empty())
            names.push_back(std::move(name));
    }
    return names;
}

std::vector<OmtRow> OmtRow::rows(std::string_view element) const {
    std::vector<OmtRow> rows;
    for (const XmlTree::Node node : tree_.children(node_)) {
        if (tree_.name(node) == element)
            rows.emplace_back(tree_, node);
    }
    return rows;
}

RowInfo OmtRow::info() const {
    return {place(), notes()};
}

void OmtRow::addNotesTo(RowInfo& whole, const char* kind, const std::string& name) const {
    for (NoteReference& note : notes()) {
        const std::string path = kind + ("/" + name);
        note.field = note.field.empty() ? path : path + "/" + note.field;
        whole.notes.push_back(std::move(note));
    }
}

XmlTree::Node OmtRow::child(std::string_view field) const {
    for (const XmlTree::Node node : tree_.children(node_)) {
        if (tree_.name(node) == field)
            return node;
    }
    return XmlTree::theNoNode;
}

std::vector<NoteReference> OmtRow::notes() const {
    std::vector<NoteReference> notes;
    const XmlTree::Attributes attributes = tree_.attributes(node_);
    for (std::uint32_t index = 0; index < attributes.size(); ++index) {
        const std::string_view field = fieldOfNotesAttribute(attributes.name(index));
        if (!field.empty() || isNotesAttribute(attributes.name(index)))
            addNote(field, attributes.value(index), notes);
    }
    for (const XmlTree::Node node : tree_.children(node_)) {
        const XmlTree::Attributes ofField = tree_.attributes(node);
        for (std::uint32_t index = 0; index < ofField.size(); ++index) {
            if (isNotesAttribute(ofField.name(index)) && !isInnerRow(tree_, node))
                addNote(tree_.name(node), ofField.value(index), notes);
        }
    }
    return notes;
}

}  // namespace RtiqnFom
