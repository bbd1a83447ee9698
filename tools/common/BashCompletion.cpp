#include "BashCompletion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>

#include "HelpFormatter.h"

namespace RtiqnTools {

namespace {

/// The options of an application that are shown in its help, each with a blank behind it.
std::string longOptions(const CLI::App& app) {
    std::string names;
    for (const CLI::Option* option : app.get_options())
        if (!option->get_group().empty() && !option->get_lnames().empty())
            names += "--" + option->get_lnames().front() + ' ';
    return names;
}

bool isWord(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::islower(c) || c == '-';
    });
}

/// The words of an argument that is described as "text|json"; nothing for any other.
std::string choices(const CLI::Option& option) {
    std::string words;
    std::istringstream parts(shapeOf(option));
    for (std::string part; std::getline(parts, part, '|');) {
        if (!isWord(part))
            return "";
        words += (words.empty() ? "" : " ") + part;
    }
    return words.find(' ') == std::string::npos ? "" : words;
}

std::string functionName(const std::string& program) {
    std::string name = "_" + program;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

/// The words that an argument without a name may be.
std::string argumentChoices(const CLI::App& command) {
    std::string words;
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional() && words.empty())
            words = choices(*option);
    return words;
}

/// Completes the argument of the option that the word before names.
void writeChoices(std::ostream& script, const CLI::App& command) {
    for (const CLI::Option* option : command.get_options())
        if (!option->get_lnames().empty() && !choices(*option).empty())
            script << "        " << command.get_name() << ":--" << option->get_lnames().front()
                   << ") words='" << choices(*option) << "' ;;\n";
}

}  // namespace

std::string bashCompletion(const CLI::App& program) {
    const std::string& name = program.get_name();
    std::ostringstream script;
    std::ostringstream cases;
    std::ostringstream values;
    std::string commands;
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        commands += command->get_name() + ' ';
        cases << "        " << command->get_name() << ") options='" << longOptions(*command)
              << "' words='" << argumentChoices(*command) << "' ;;\n";
        writeChoices(values, *command);
    }
    script << "# Completes " << name << " in bash.\n"
           << functionName(name) << "() {\n"
           << "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
           << "    local command=${COMP_WORDS[1]} options= words=\n"
           << "    # --option=value comes as three words\n"
           << "    [ \"$word\" = = ] && word=\n"
           << "    [ \"$before\" = = ] && before=${COMP_WORDS[COMP_CWORD-2]}\n"
           << "    [ \"$COMP_CWORD\" -gt 1 ] || command=\n"
           << "    case $command in\n"
           << "        '') options='" << longOptions(program) << "' words='" << commands << "' ;;\n"
           << cases.str() << "    esac\n"
           << "    case $command:$before in\n"
           << values.str() << "        *) [[ $word != -* ]] || words=$options ;;\n"
           << "    esac\n"
           << "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           << "}\n"
           << "complete -o default -F " << functionName(name) << ' ' << name << '\n';
    return script.str();
}

}  // namespace RtiqnTools
