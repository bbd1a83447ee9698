#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "OmtIdentification.h"
#include "OmtReading.h"
#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

void takeName(OmtReading& reading, const OmtRow& row) {
    const std::string name = row.word("name");
    if (name.empty())
        return;
    reading.target.addModelIdentification(libraryText(name));
    RowInfo info = row.info();
    const auto isOtherField = [](const NoteReference& note) {
        return !note.field.empty() && note.field != "name";
    };
    info.notes.erase(std::remove_if(info.notes.begin(), info.notes.end(), isOtherField),
                     info.notes.end());
    reading.target.setRowInfo(OrynRti::DtMergeFomTableIdentification, name, std::move(info));
}

IdentificationField plainField(const XmlTree& tree, XmlTree::Node node) {
    IdentificationField field;
    field.element = tree.name(node);
    field.text = statedText(tree.text(node));
    const XmlTree::Attributes attributes = tree.attributes(node);
    for (std::uint32_t index = 0; index < attributes.size(); ++index)
        field.attributes.emplace_back(attributes.name(index), attributes.value(index));
    return field;
}

IdentificationField fieldWithChildren(const XmlTree& tree, XmlTree::Node node) {
    IdentificationField field = plainField(tree, node);
    if (tree.children(node).empty())
        return field;
    field.text.clear();
    for (const XmlTree::Node child : tree.children(node))
        field.children.push_back(plainField(tree, child));
    return field;
}

void readElements(OmtReading& reading, const OmtRow& identification) {
    std::vector<IdentificationField> fields;
    std::vector<OrynRti::DtString> dependencies;
    for (const XmlTree::Node node : identification.tree().children(identification.node())) {
        const OmtRow row(identification.tree(), node);
        if (row.element() == "name")
            continue;
        const std::string module = row.stated("identification");
        if (row.element() == "reference" && sameWord(row.stated("type"), theDependencyType) &&
            !module.empty()) {
            dependencies.push_back(libraryText(module));
            continue;
        }
        IdentificationField field = fieldWithChildren(identification.tree(), node);
        if (!field.text.empty() || !field.children.empty() || !field.attributes.empty())
            fields.push_back(std::move(field));
    }
    reading.target.setFomDependencies(dependencies);
    reading.target.setIdentificationFields(std::move(fields));
}

void readAttributes(OmtReading& reading, const OmtRow& root) {
    std::vector<IdentificationField> fields;
    for (const IdentificationName& name : theIdentificationNames) {
        const std::string text = root.stated(name.attribute);
        const std::string labels = root.word(std::string(name.attribute) + "Notes");
        if (text.empty() && labels.empty())
            continue;
        const bool isPart = *name.child != '\0';
        if (!isPart || fields.empty() || fields.back().element != name.element)
            fields.push_back({name.element, "", {}, {}});
        IdentificationField* field = &fields.back();
        if (isPart) {
            field->children.push_back({name.child, "", {}, {}});
            field = &field->children.back();
        }
        field->text = text;
        if (!labels.empty())
            field->attributes.emplace_back("notes", labels);
    }
    reading.target.setIdentificationFields(std::move(fields));
}

}  // namespace

void readIdentification(OmtReading& reading, const OmtRow& root) {
    const std::vector<OmtRow> elements = root.rows("modelIdentification");
    if (elements.empty()) {
        takeName(reading, root);
        readAttributes(reading, root);
    } else {
        takeName(reading, elements.front());
        readElements(reading, elements.front());
    }
}

}  // namespace RtiqnFom
