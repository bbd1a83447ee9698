#include "GraphCommand.h"

#include <cstdint>
#include <filesystem>

#include "ClassGraph.h"
#include "Errors.h"
#include "Federation.h"
#include "Graphviz.h"
#include "ModuleReading.h"
#include "WholeFile.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

constexpr std::uint64_t theClassTables =
    DtMergeFomTableObjectClass | DtMergeFomTableInteractionClass;

Federation merged(const std::vector<LoadedModule>& modules) {
    Federation federation({editionOf(modules), true, theClassTables});
    for (const LoadedModule& module : modules)
        federation.merge(module, true);
    return federation;
}

void complain(const Federation& federation) {
    for (const ModuleResult& module : federation.modules())
        if (!module.merged())
            printError(module.path + " has " + counted(module.conflicts.size(), "conflict") +
                       " with the modules before it; 'rtiqn-fom merge' shows them");
}

/// Throws UsageError for a file name that means another form.
bool wantsSvg(const GraphOptions& options) {
    const std::string ending = std::filesystem::path(options.output).extension();
    if (!options.format.empty())
        return options.format == "svg";
    if (ending != "" && ending != ".svg" && ending != ".dot" && ending != ".gv")
        throw UsageError(options.output +
                         ": pictures are written as dot or svg: say which with --format, or make "
                         "another form with 'rtiqn-fom graph ... | dot -T" +
                         ending.substr(1) + " -o " + options.output + "'");
    return ending == ".svg";
}

void write(const std::string& picture, const std::string& path) {
    if (path.empty() || path == "-")
        writeWholeOutput(picture);
    else
        writeWholeFile(path, [&](std::ostream& out) { out << picture; });
}

}  // namespace

int runGraph(const GraphOptions& options) {
    const bool isSvg = wantsSvg(options);
    std::vector<LoadedModule> modules;
    const int status = readModules(
        options.modules, [&](LoadedModule module) { modules.push_back(std::move(module)); });
    if (status != theSuccess)
        return status;
    const Federation federation = merged(modules);
    complain(federation);
    if (!federation.succeeded())
        return theFailure;
    const std::string graph = classGraph(federation.target(), options.members);
    write(isSvg ? svgOf(graph) : graph, options.output);
    return theSuccess;
}

}  // namespace RtiqnFom
