#include "OmtWriter.h"

#include <string>
#include <vector>

#include "OmtEmitter.h"
#include "OmtIdentification.h"
#include "OmtWriting.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

namespace {

/// The model's name. A target into which modules were merged begins with the " + " that joins them.
std::string modelName(const FomTarget& target) {
    const std::string text = textOf(target.modelIdentification());
    return collapsed(text.compare(0, 3, " + ") == 0 ? text.substr(3) : text);
}

const RowInfo* identificationInfo(const FomTarget& target, const std::string& name) {
    return target.rowInfo(OrynRti::DtMergeFomTableIdentification, name);
}

// Element style.

void writePlainElement(const IdentificationField& field, OmtEmitter& out) {
    out.open(field.element);
    for (const auto& [name, value] : field.attributes)
        out.attribute(name, value);
    out.text(field.text);
    out.close();
}

void writeElement(const IdentificationField& field, OmtEmitter& out) {
    if (field.children.empty())
        return writePlainElement(field, out);
    out.open(field.element);
    for (const auto& [name, value] : field.attributes)
        out.attribute(name, value);
    for (const IdentificationField& child : field.children)
        writePlainElement(child, out);
    out.close();
}

void writeDependencies(const FomTarget& target, OmtEmitter& out) {
    for (const OrynRti::DtString& dependency : target.fomDependencies()) {
        out.open("reference");
        out.field("type", theDependencyType);
        out.field("identification", textOf(dependency));
        out.close();
    }
}

/// Whether a field stands behind the references to other documents.
bool isBehindDependencies(const IdentificationField& field) {
    return field.element == "reference" || field.element == "other" || field.element == "glyph";
}

void writeElements(const FomTarget& target, OmtEmitter& out) {
    const std::string name = modelName(target);
    out.open("modelIdentification", identificationInfo(target, name));
    out.field("name", name);
    bool dependenciesWritten = false;
    for (const IdentificationField& field : target.identificationFields()) {
        if (!dependenciesWritten && isBehindDependencies(field)) {
            writeDependencies(target, out);
            dependenciesWritten = true;
        }
        writeElement(field, out);
    }
    if (!dependenciesWritten)
        writeDependencies(target, out);
    out.close();
}

// Attribute style.

/// The first field of that name; null when there is none.
const IdentificationField* find(const std::vector<IdentificationField>& fields, const char* name) {
    for (const IdentificationField& field : fields) {
        if (field.element == name)
            return &field;
    }
    return nullptr;
}

/// The edition of 2000 has one of each field and no dependencies.
void writeAttributes(const FomTarget& target, OmtEmitter& out) {
    out.field("name", modelName(target));
    for (const IdentificationName& name : theIdentificationNames) {
        const IdentificationField* field = find(target.identificationFields(), name.element);
        if (field && *name.child != '\0')
            field = find(field->children, name.child);
        if (!field)
            continue;
        out.field(name.attribute, field->text);
        for (const auto& [attribute, value] : field->attributes) {
            if (attribute == "notes")
                out.attribute(std::string(name.attribute) + "Notes", value);
        }
    }
}

void writeTables(const FomTarget& target, OmtEmitter& out) {
    writeClasses(target, out);
    writeSmallTables(target, out);
    writeDatatypes(target, out);
    writeNotes(target, out);
}

void writeAttributeStyle(const FomTarget& target, std::ostream& stream) {
    OmtEmitter out(stream, OmtEmitter::Style::attributes, "notes");
    out.open("objectModel", identificationInfo(target, modelName(target)));
    out.attribute("DTDversion", "1516.2");
    writeAttributes(target, out);
    writeTables(target, out);
    out.close();
}

void writeElementStyle(const FomTarget& target, std::ostream& stream) {
    const bool is2025 = target.fomType() == OrynRti::DtFomTypeIeee1516_2025;
    OmtEmitter out(stream, OmtEmitter::Style::elements, is2025 ? "noteReferences" : "notes");
    out.open("objectModel");
    out.attribute("xmlns", is2025 ? "http://standards.ieee.org/IEEE1516-2025"
                                  : "http://standards.ieee.org/IEEE1516-2010");
    writeElements(target, out);
    writeTables(target, out);
    out.close();
}

}  // namespace

void writeModule(const FomTarget& target, std::ostream& out) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    if (target.fomType() == OrynRti::DtFomTypeIeee1516_2000)
        writeAttributeStyle(target, out);
    else
        writeElementStyle(target, out);
}

}  // namespace RtiqnFom
