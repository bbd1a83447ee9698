#include "ProgramRun.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <memory>
#include <sstream>

#include "BashCompletion.h"
#include "Console.h"
#include "Errors.h"
#include "HelpFormatter.h"
#include "ManPage.h"
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

/// Lays out the help of the program and its commands alike.
void describe(CLI::App& app) {
    const auto formatter = std::make_shared<HelpFormatter>();
    app.formatter(formatter);
    for (CLI::App* command : app.get_subcommands(nullptr)) {
        command->formatter(formatter);
        command->group("Commands");
        command->get_help_ptr()->description("Show this help");
    }
    app.get_help_ptr()->description("Show this help; behind a command, the help of that command");
    app.set_version_flag("--version", DT_VERSION_STRING, "Show the version");
}

/// What the installation makes of the program's description; nothing that people would call for.
void addDocuments(CLI::App& app) {
    const auto add = [&app](const char* name, const std::function<std::string()>& text) {
        app.add_flag_callback(name, [text] { throw CLI::CallForVersion(text(), theSuccess); })
            ->group("");
    };
    add("--man", [&app] { return manPage(app, DT_VERSION_STRING); });
    add("--bash-completion", [&app] { return bashCompletion(app); });
}

std::string commandList(const CLI::App& app) {
    std::string list;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        list += (list.empty() ? "" : ", ") + command->get_name();
    return list;
}

/// CLI11's text, but for "--mim: 1 required TEXT missing".
std::string textOf(const CLI::ParseError& error) {
    const std::string text = error.what();
    const bool isMissing =
        error.get_name() == "ArgumentMismatch" && text.find(" missing") != std::string::npos;
    return isMissing ? text.substr(0, text.find(':')) + " needs a value behind it" : text;
}

/// What was wrong, and what to do about it.
std::string complaint(const CLI::App& app, const std::string& error, const std::string& firstWord) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::string& program = app.get_name();
    if (!chosen.empty())
        return error + "\n'" + program + ' ' + chosen.front()->get_name() + " --help' tells more";
    const std::string what = firstWord.empty() || firstWord[0] == '-'
                                 ? "a command is missing"
                                 : "'" + firstWord + "' is no command";
    return what + ": it is one of " + commandList(app) + "\n'" + program + " --help' tells more";
}

/// Help, version and documents are asked for; anything else that CLI11 throws is wrong usage.
int answer(const CLI::App& app, const CLI::ParseError& error, const std::string& firstWord) {
    std::ostringstream result;
    std::ostringstream ignored;
    if (app.exit(error, result, ignored) != 0) {
        printError(complaint(app, textOf(error), firstWord));
        return theUsageError;
    }
    return runCommand([&] {
        writeWholeOutput(result.str());
        return theSuccess;
    });
}

}  // namespace

int runProgram(CLI::App& app, int argc, const char* const* argv, const Command& chosen) {
    std::signal(SIGPIPE, SIG_IGN);
    setProgramName(app.get_name());
    OrynRti::DtSetQuarnPrinter(&OrynRti::DtStandardErrorConsole);
    describe(app);
    addDocuments(app);
    app.require_subcommand(1);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answer(app, error, argc > 1 ? argv[1] : "");
    }
    return runCommand(chosen);
}

}  // namespace RtiqnTools
