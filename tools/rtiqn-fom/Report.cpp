#include "Report.h"

#include <algorithm>
#include <string>
#include <vector>

#include "DiffReport.h"
#include "SummaryTable.h"
#include "Vocabulary.h"
#include "Words.h"
#include "common/Console.h"
#include "common/TextLayout.h"

namespace RtiqnFom {

using namespace RtiqnTools;

namespace {

struct Heading {
    Count count;
    const char* upper;
    const char* lower;
};

constexpr Heading theHeadings[] = {{Count::objectClasses, "object", "classes"},
                                   {Count::attributes, "attri-", "butes"},
                                   {Count::interactionClasses, "inter-", "actions"},
                                   {Count::parameters, "para-", "meters"},
                                   {Count::datatypes, "data-", "types"},
                                   {Count::notes, "", "notes"},
                                   {Count::directedInteractions, "directed", "interact."},
                                   {Count::dimensions, "dimen-", "sions"},
                                   {Count::transportations, "trans-", "ports"},
                                   {Count::updateRates, "update", "rates"},
                                   {Count::tags, "", "tags"},
                                   {Count::timeRepresentations, "", "times"},
                                   {Count::synchronizationPoints, "sync", "points"},
                                   {Count::switches, "", "switches"}};

// -------------------------------------------------------------------------------------------------
// The summary

/// The folder that all paths begin with, with its slash.
std::string commonFolder(const std::vector<ModuleResult>& modules) {
    std::string folder = modules.front().path.substr(0, modules.front().path.rfind('/') + 1);
    for (const ModuleResult& module : modules) {
        while (!folder.empty() && module.path.compare(0, folder.size(), folder) != 0) {
            folder.pop_back();
            folder.resize(folder.rfind('/') + 1);
        }
    }
    return folder;
}

std::vector<std::string> rowNames(const std::vector<ModuleResult>& modules,
                                  const std::string& folder) {
    std::vector<std::string> names;
    names.reserve(modules.size());
    for (const ModuleResult& module : modules)
        names.push_back((module.creates ? "" : "+ ") + module.path.substr(folder.size()));
    names.emplace_back("federation");
    return names;
}

std::string number(std::size_t count) {
    return count == 0 ? "-" : std::to_string(count);
}

void addCounts(const Federation& federation, SummaryTable& table) {
    const TableCounts totals = countsOf(federation.target());
    for (const Heading& heading : theHeadings) {
        const bool isMain = heading.count <= Count::datatypes;
        if (totals[heading.count] == 0 && !isMain)
            continue;
        SummaryTable::Column column{heading.upper, heading.lower, {}};
        for (const ModuleResult& module : federation.modules())
            column.cells.push_back(module.merged() ? number(module.brought[heading.count]) : "");
        column.cells.push_back(std::to_string(totals[heading.count]));
        table.add(std::move(column));
    }
}

std::size_t conflictCount(const Federation& federation) {
    std::size_t count = 0;
    for (const ModuleResult& module : federation.modules())
        if (!module.merged())
            count += module.conflicts.size();
    return count;
}

void addConflictCounts(const Federation& federation, SummaryTable& table) {
    SummaryTable::Column column{"con-", "flicts", {}};
    for (const ModuleResult& module : federation.modules())
        column.cells.push_back(number(module.merged() ? 0 : module.conflicts.size()));
    column.cells.push_back(std::to_string(conflictCount(federation)));
    table.add(std::move(column));
}

void printSummary(const Federation& federation, std::ostream& out) {
    const std::vector<ModuleResult>& modules = federation.modules();
    const std::string folder = commonFolder(modules);
    const bool anyJoins = std::any_of(modules.begin(), modules.end(),
                                      [](const ModuleResult& module) { return !module.creates; });
    out << "Rows that each module brought to the federation ("
        << editionName(federation.target().fomType()) << ")";
    if (!folder.empty())
        out << "\nfrom " << folder;
    out << "\n\n";
    SummaryTable table("module", rowNames(modules, folder));
    addConflictCounts(federation, table);
    addCounts(federation, table);
    table.print(out);
    if (anyJoins)
        out << "\n+ joined the federation after it was created\n";
}

/// Of the modules of which the changes are kept.
void printDiffs(const Federation& federation, int descriptor, std::ostream& out) {
    const std::size_t folder = commonFolder(federation.modules()).size();
    for (const ModuleResult& module : federation.modules())
        if (module.changes)
            printDiff(module.path.substr(folder), *module.changes, descriptor, out);
}

// -------------------------------------------------------------------------------------------------
// Conflicts

constexpr std::size_t theMaxValueLength = 160;

/// On one line, and of a long value the part around the first difference.
std::string shownValue(const std::string& value, const std::string& other) {
    if (value.empty())
        return "(not stated)";
    std::string line = collapsed(value);
    if (line.size() <= theMaxValueLength)
        return line;
    const std::string otherLine = collapsed(other);
    const auto difference =
        std::mismatch(line.begin(), line.end(), otherLine.begin(), otherLine.end()).first;
    const auto differs = static_cast<std::size_t>(difference - line.begin());
    const std::size_t begin = differs > theMaxValueLength / 2 ? differs - theMaxValueLength / 2 : 0;
    const bool cutBehind = line.size() - begin > theMaxValueLength;
    return (begin ? "..." : "") + line.substr(begin, theMaxValueLength) + (cutBehind ? "..." : "");
}

void printStatement(const char* side, const Statement& statement, const Statement& other,
                    std::ostream& out) {
    out << "      " << side << shownValue(statement.value, other.value);
    if (statement.place.file)
        out << "  (" << statement.place.text() << ")";
    out << '\n';
}

void printConflicts(const ModuleResult& module, int descriptor, std::ostream& out) {
    out << '\n'
        << styled(module.path, Style::red, descriptor)
        << " is refused: " << counted(module.conflicts.size(), "conflict") << '\n';
    for (const Conflict& conflict : module.conflicts) {
        out << "  status " << conflict.status << ", " << meaning(conflict.status) << '\n'
            << "    " << conflict.table << ": " << conflict.row << ": " << conflict.field << '\n';
        printStatement("held      ", conflict.held, conflict.incoming, out);
        printStatement("incoming  ", conflict.incoming, conflict.held, out);
    }
}

// -------------------------------------------------------------------------------------------------
// The check and the closing line

/// A line that may be long: wrapped between words on a terminal, whole for other programs.
std::string lineOf(const std::string& text, std::size_t indent, int descriptor) {
    return std::string(indent, ' ') +
           (isTerminal(descriptor) ? wrapped(text, indent, indent) : text) + '\n';
}

void printCheck(const CheckResult& check, int descriptor, std::ostream& out) {
    if (!check.skippedTables.empty())
        out << '\n'
            << lineOf("Left out of the merge and not checked: " + joined(check.skippedTables, ", "),
                      0, descriptor);
    if (check.report.empty())
        return;
    if (check.passed())
        out << "\nThe check after the merge passed, but says:\n";
    else
        out << "\nStatus " << check.status << ", " << meaning(check.status) << ":\n";
    for (std::size_t begin = 0; begin < check.report.size();) {
        const std::size_t end = std::min(check.report.find('\n', begin), check.report.size());
        if (end > begin)
            out << lineOf(check.report.substr(begin, end - begin), 2, descriptor);
        begin = end + 1;
    }
}

void printVerdict(const Federation& federation, int descriptor, std::ostream& out) {
    const std::vector<ModuleResult>& modules = federation.modules();
    const auto merged = static_cast<std::size_t>(
        std::count_if(modules.begin(), modules.end(),
                      [](const ModuleResult& module) { return module.merged(); }));
    out << '\n';
    if (merged == modules.size())
        out << counted(merged, "module") << " merged without conflict";
    else
        out << merged << " of " << counted(modules.size(), "module") << " merged, "
            << modules.size() - merged << " refused with "
            << counted(conflictCount(federation), "conflict");
    if (!federation.warnings().empty())
        out << "; " << counted(federation.warnings().size(), "warning");
    out << ".\nThe check after the merge "
        << (federation.checkResult().passed() ? styled("passed", Style::green, descriptor)
                                              : styled("failed", Style::red, descriptor))
        << ".\n";
}

}  // namespace

const char* editionName(OrynRti::DtFomType edition) {
    switch (edition) {
        case OrynRti::DtFomTypeHla13:
            return "HLA 1.3";
        case OrynRti::DtFomTypeIeee1516_2000:
            return "IEEE 1516-2000";
        case OrynRti::DtFomTypeIeee1516_2010:
            return "IEEE 1516-2010";
        case OrynRti::DtFomTypeIeee1516_2025:
            return "IEEE 1516-2025";
        default:
            return "unknown edition";
    }
}

void printReport(const Federation& federation, int descriptor, std::ostream& out) {
    printSummary(federation, out);
    printDiffs(federation, descriptor, out);
    for (const ModuleResult& module : federation.modules())
        if (!module.merged())
            printConflicts(module, descriptor, out);
    printCheck(federation.checkResult(), descriptor, out);
    printVerdict(federation, descriptor, out);
}

}  // namespace RtiqnFom
