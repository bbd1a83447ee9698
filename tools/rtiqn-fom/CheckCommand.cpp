#include "CheckCommand.h"

#include <algorithm>
#include <sstream>
#include <unistd.h>

#include "Conflicts.h"
#include "DatatypeWarnings.h"
#include "Errors.h"
#include "ModuleReading.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

std::string wordOf(Severity severity) {
    switch (severity) {
        case Severity::remark:
            return "remark:";
        case Severity::warning:
            return styled("warning:", Style::yellow, STDOUT_FILENO);
        default:
            return styled("failure:", Style::red, STDOUT_FILENO);
    }
}

std::string verdict(bool failed) {
    return failed ? styled("failed", Style::red, STDOUT_FILENO)
                  : styled("passed", Style::green, STDOUT_FILENO);
}

/// One line of what is said of a module; most texts begin with their place.
struct Line {
    Severity severity;
    std::string text;
};

std::vector<std::string> linesOf(const DtString& report) {
    std::vector<std::string> lines;
    std::istringstream text(textOf(report));
    for (std::string line; std::getline(text, line);) {
        line.erase(line.find_last_not_of(' ') + 1);
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

/// What the library's checks say of a module by itself.
void checkTables(FomTarget& target, std::vector<Line>& lines) {
    DtString report;
    target.resolveTransportationTypes(report);
    target.resolveUpdateRates(report);
    for (const std::string& line : linesOf(report))
        lines.push_back({Severity::failure, target.path() + ": " + line});
}

/// Attributes that repeat an inherited name: the module would be refused by any federation.
void checkAgainstItself(const FomTarget& target, std::vector<Line>& lines) {
    FomTarget empty;
    empty.setFomType(target.fomType());
    empty.setStrictChecking(true);
    for (const Conflict& conflict : findConflicts(empty, target, true))
        lines.push_back(
            {Severity::failure, conflict.incoming.place.text() + ": " + text(conflict)});
}

void remarkSwitches(FomTarget& target, std::vector<Line>& lines) {
    DtString report;
    target.setStrictChecking(true);
    if (target.resolveSwitches(report))
        return;
    const std::vector<std::string> texts = linesOf(report);
    lines.push_back({Severity::remark, target.path() + ": " + joined(texts, ": ")});
}

/// References that other modules may resolve.
void remarkReferences(FomTarget& target, std::vector<Line>& lines) {
    DtString report;
    target.resolveAttributes(report);
    target.resolveInteractionClasses(report);
    std::vector<std::string> remarks = linesOf(report);
    for (std::string& remark : unresolvedDatatypes(target))
        remarks.push_back(std::move(remark));
    for (std::string& remark : remarks)
        lines.push_back({Severity::remark, std::move(remark)});
}

std::vector<Line> linesOf(LoadedModule& module) {
    std::vector<Line> lines;
    for (const Finding& finding : module.findings)
        lines.push_back({finding.severity, finding.place.text() + ": " + finding.text});
    checkTables(module.target, lines);
    checkAgainstItself(module.target, lines);
    remarkSwitches(module.target, lines);
    remarkReferences(module.target, lines);
    return lines;
}

/// Gathers what is said of all modules.
class CheckReport {
public:
    void add(LoadedModule module) {
        const std::vector<Line> lines = linesOf(module);
        bool failed = false;
        for (const Line& line : lines) {
            failed |= line.severity == Severity::failure;
            out_ << wordOf(line.severity) << ' ' << line.text << '\n';
        }
        out_ << module.target.path() << ": " << verdict(failed) << '\n';
        ++(failed ? failed_ : passed_);
    }

    bool failed() const { return failed_ != 0; }

    /// With a closing line when there were more than one.
    std::string text(std::size_t modules) const {
        if (modules < 2)
            return out_.str();
        const std::size_t unread = modules - passed_ - failed_;
        return out_.str() + '\n' + counted(modules, "module") + ": " + std::to_string(passed_) +
               " passed, " + std::to_string(failed_) + " failed" +
               (unread == 0 ? "" : ", " + std::to_string(unread) + " could not be read") + ".\n";
    }

private:
    std::ostringstream out_;
    std::size_t passed_ = 0;
    std::size_t failed_ = 0;
};

}  // namespace

int runCheck(const std::vector<std::string>& paths) {
    CheckReport report;
    const int status =
        readModules(paths, [&](LoadedModule module) { report.add(std::move(module)); });
    writeWholeOutput(report.text(paths.size()));
    return std::max<int>(status, report.failed() ? theFailure : theSuccess);
}

}  // namespace RtiqnFom
