#include "ShowCommand.h"

#include <sstream>

#include "Errors.h"
#include "LibraryTables.h"
#include "ModuleReading.h"
#include "Report.h"
#include "RowFields.h"
#include "Vocabulary.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

std::string quotedIfNeeded(const std::string& value) {
    const std::string line = collapsed(value);
    return line.find_first_of(" \"=") == std::string::npos ? line : "\"" + line + "\"";
}

void printRow(const std::string& indent, const std::string& name, const FieldValues& fields,
              const RowInfo* info, std::ostream& out) {
    out << indent << name;
    for (const FieldValue& field : fields)
        if (!field.value.empty())
            out << "  " << field.name << '=' << quotedIfNeeded(field.value);
    if (info)
        for (const NoteReference& note : info->notes)
            out << "  notes" << (note.field.empty() ? "" : "(" + note.field + ")") << '='
                << quotedIfNeeded(note.labels);
    out << '\n';
}

void printHeading(const char* title, std::size_t count, std::ostream& out) {
    out << '\n' << title << " (" << count << ")\n";
}

template <typename Row>
void printRows(const std::string& indent, const std::vector<Row>& rows, std::ostream& out) {
    for (const Row& row : rows)
        printRow(indent, row.name, fieldsOf(row), &row.info, out);
}

template <typename Row>
void printRows(const char* title, const OrderedRows<Row>& rows, std::ostream& out) {
    printHeading(title, rows.size(), out);
    for (const auto& row : rows)
        printRow("  ", row->name, fieldsOf(*row), &row->info, out);
}

void printClasses(const FomTarget& target, std::ostream& out) {
    printHeading("Object Classes", target.objectClasses().size(), out);
    for (const auto& row : target.objectClasses()) {
        printRow("  ", row->name, fieldsOf(*row), &row->info, out);
        printRows("    ", row->attributes, out);
        printRows("    directed ", row->directedInteractions, out);
    }
    printHeading("Interaction Classes", target.interactionClasses().size(), out);
    for (const auto& row : target.interactionClasses()) {
        printRow("  ", row->name, fieldsOf(*row), &row->info, out);
        printRows("    ", row->parameters, out);
    }
}

template <typename T>
void printTable(const LibraryTable<T>& table, const FomTarget& target, std::ostream& out) {
    const DtFomTable<T>& rows = (target.*table.rows)();
    printHeading(table.title, rows.size(), out);
    for (const auto& row : rows) {
        const std::string name = textOf(row->name);
        printRow("  ", name, fieldsOf(*row), target.rowInfo(table.mask, name), out);
    }
}

void printSwitches(const FomTarget& target, std::ostream& out) {
    const bool action = target.isAutomaticResignActionExplicit();
    printHeading("Switches", target.numSwitches() + (action ? 1 : 0), out);
    const auto print = [&](const std::string& name, const std::string& value) {
        printRow("  ", name, {{"value", value}}, target.rowInfo(DtMergeFomTableSwitches, name),
                 out);
    };
    for (const auto& [name, value] : target.switches())
        print(textOf(name), value ? "enabled" : "disabled");
    if (action)
        print("automaticResignAction", resignActionText(target.automaticResignAction()));
}

constexpr std::size_t theMaxShownLength = 400;

/// Identifications may hold whole pictures as text.
std::string shortened(const std::string& text) {
    if (text.size() <= theMaxShownLength)
        return quotedIfNeeded(text);
    return "(" + std::to_string(text.size()) + " characters)";
}

void printIdentification(const FomTarget& target, std::ostream& out) {
    out << target.path() << ": " << textOf(target.modelIdentification()) << " ("
        << editionName(target.fomType()) << ")\n\nIdentification\n";
    for (const IdentificationField& field : target.identificationFields()) {
        out << "  " << field.element;
        if (!field.text.empty())
            out << '=' << shortened(field.text);
        for (const IdentificationField& child : field.children)
            out << "  " << child.element << '=' << shortened(child.text);
        out << '\n';
    }
    for (const DtString& dependency : target.fomDependencies())
        out << "  dependency=" << quotedIfNeeded(textOf(dependency)) << '\n';
}

}  // namespace

void printTables(const FomTarget& target, std::ostream& out) {
    printIdentification(target, out);
    printClasses(target, out);
    printRows("Dimensions", target.dimensions(), out);
    printTable(theTimeTable, target, out);
    printSwitches(target, out);
    visitComponentTables([&](const auto& table) { printTable(table, target, out); });
    printRows("Reference Datatypes", target.referenceDatatypes(), out);
}

int runShow(const std::string& path) {
    std::ostringstream tables;
    const int status = readModules(
        {path}, [&](const LoadedModule& module) { printTables(module.target, tables); });
    if (status == theSuccess)
        writeWholeOutput(tables.str());
    return status;
}

}  // namespace RtiqnFom
