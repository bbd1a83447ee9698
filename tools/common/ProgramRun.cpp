#include "ProgramRun.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <sstream>

#include "Console.h"
#include "Errors.h"
#include "Print.h"
#include "Version.h"

namespace RtiqnTools {

namespace {

int runCommand(const Command& command) {
    try {
        return command();
    } catch (const ProgramError& error) {
        printError(error.what());
        return error.status();
    }
}

/// Help and version are asked for; anything else that CLI11 throws is wrong usage.
int answer(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream result;
    std::ostringstream complaint;
    if (app.exit(error, result, complaint) == 0) {
        return runCommand([&] {
            writeWholeOutput(result.str());
            return theSuccess;
        });
    }
    printError(complaint.str());
    return theUsageError;
}

}  // namespace

int runProgram(CLI::App& app, int argc, const char* const* argv, const Command& chosen) {
    std::signal(SIGPIPE, SIG_IGN);
    setProgramName(app.get_name());
    OrynRti::DtSetQuarnPrinter(&OrynRti::DtStandardErrorConsole);
    app.set_version_flag("--version", DT_VERSION_STRING);
    app.require_subcommand(1);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answer(app, error);
    }
    return runCommand(chosen);
}

}  // namespace RtiqnTools
