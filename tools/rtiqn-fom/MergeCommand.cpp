#include "MergeCommand.h"

#include <iostream>
#include <sstream>
#include <unistd.h>

#include "Errors.h"
#include "Federation.h"
#include "JsonReport.h"
#include "ModuleReading.h"
#include "OmtWriter.h"
#include "Print.h"
#include "Report.h"
#include "WholeFile.h"
#include "common/Console.h"

namespace RtiqnFom {

namespace {

std::vector<std::string> pathsOf(const MergeOptions& options) {
    std::vector<std::string> paths;
    if (!options.mim.empty())
        paths.push_back(options.mim);
    paths.insert(paths.end(), options.modules.begin(), options.modules.end());
    paths.insert(paths.end(), options.joining.begin(), options.joining.end());
    return paths;
}

MergeRules rulesOf(const MergeOptions& options, const std::vector<LoadedModule>& modules) {
    MergeRules rules;
    rules.strict = !options.lenient;
    rules.tables = options.tables;
    rules.edition = editionOf(modules);
    rules.keepChanges = options.diff;
    return rules;
}

std::string documentOf(const FomTarget& target) {
    std::ostringstream document;
    writeModule(target, document);
    return document.str();
}

void writeFom(const MergeOptions& options, const Federation& federation) {
    if (options.output.empty() || options.dryRun)
        return;
    if (!federation.succeeded()) {
        if (options.output != "-")
            printError(options.output + " is not written, since the merge failed");
        return;
    }
    if (options.output == "-")
        writeWholeOutput(documentOf(federation.target()));
    else
        writeWholeFile(options.output,
                       [&](std::ostream& out) { writeModule(federation.target(), out); });
}

/// On standard error when the document goes to standard output.
void writeReport(const MergeOptions& options, const Federation& federation) {
    const bool toErrors = options.output == "-" && !options.dryRun;
    std::ostringstream report;
    if (options.json) {
        printJsonReport(federation, report);
    } else {
        for (const std::string& warning : federation.warnings())
            OrynRti::DtWarn << styled("warning:", Style::yellow, STDERR_FILENO) << ' ' << warning
                            << std::endl;
        printReport(federation, toErrors ? STDERR_FILENO : STDOUT_FILENO, report);
    }
    if (toErrors)
        std::cerr << report.str();
    else
        writeWholeOutput(report.str());
}

}  // namespace

int runMerge(const MergeOptions& options) {
    std::vector<LoadedModule> modules;
    const int status = readModules(
        pathsOf(options), [&](LoadedModule module) { modules.push_back(std::move(module)); });
    if (status != theSuccess)
        return status;
    Federation federation(rulesOf(options, modules));
    const std::size_t creating = modules.size() - options.joining.size();
    for (std::size_t i = 0; i < modules.size(); ++i)
        federation.merge(modules[i], i < creating);
    federation.check();
    writeReport(options, federation);
    writeFom(options, federation);
    return federation.succeeded() ? theSuccess : theFailure;
}

}  // namespace RtiqnFom
