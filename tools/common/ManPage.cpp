#include "ManPage.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <sstream>

namespace RtiqnTools {

namespace {

/// Text that roff shall print as it is.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n'))
            result += "\\&";
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return result;
}

std::string upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

/// The first sentence, to stand behind the program's name.
std::string summary(const std::string& description) {
    std::string sentence = description.substr(0, description.find_first_of(".\n"));
    if (!sentence.empty())
        sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
    return sentence;
}

/// Text with empty lines between its paragraphs.
void writeParagraphs(std::ostream& page, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        page << (line.empty() ? ".PP" : escaped(line)) << '\n';
}

bool isHeading(const std::string& line) {
    return !line.empty() && line[0] != ' ' && line.back() == ':';
}

/// Lines as they stand, their columns kept; a line such as "Examples:" becomes a heading.
void writeLines(std::ostream& page, const std::string& text, const char* headingMacro) {
    std::istringstream lines(text);
    bool open = false;
    for (std::string line; std::getline(lines, line);) {
        if (isHeading(line)) {
            page << (open ? ".fi\n" : "") << headingMacro << " \"";
            const std::string title = line.substr(0, line.size() - 1);
            page << (std::string(headingMacro) == ".SH" ? upper(title) : title) << "\"\n.nf\n";
            open = true;
        } else if (open || !line.empty()) {
            page << (open ? "" : ".PP\n.nf\n") << escaped(line) << '\n';
            open = true;
        }
    }
    page << (open ? ".fi\n" : "");
}

std::string nameOf(const CLI::Option& option) {
    return option.get_positional() ? option.get_name(true, false) : option.get_name(false, true);
}

std::string argumentOf(const CLI::Option& option) {
    const std::string text = option.get_option_text();
    return text.find_first_not_of(' ') == std::string::npos ? "" : text;
}

void writeOption(std::ostream& page, const CLI::Option& option) {
    page << ".TP\n\\fB" << escaped(nameOf(option)) << "\\fR";
    if (!argumentOf(option).empty())
        page << " \\fI" << escaped(argumentOf(option)) << "\\fR";
    page << '\n' << escaped(option.get_description()) << '\n';
}

void writeOptions(std::ostream& page, const CLI::App& app) {
    for (const CLI::Option* option : app.get_options())
        if (!option->get_group().empty())
            writeOption(page, *option);
}

void writeCommand(std::ostream& page, const CLI::App& program, const CLI::App& command) {
    page << ".SS \"" << program.get_name() << ' ' << command.get_name() << "\"\n";
    writeParagraphs(page, command.get_description());
    writeOptions(page, command);
    if (!command.get_footer().empty())
        writeLines(page, command.get_footer(), ".PP\n.B");
}

}  // namespace

std::string manPage(const CLI::App& program, const std::string& version) {
    const std::string name = program.get_name();
    std::ostringstream page;
    page << ".TH " << upper(name) << " 1 \"\" \"rtiqnutil " << version << "\" \"User Commands\"\n"
         << ".SH NAME\n"
         << escaped(name) << " \\- " << escaped(summary(program.get_description())) << '\n'
         << ".SH SYNOPSIS\n.B " << escaped(name) << "\n.I COMMAND\n[\\fIOPTION\\fR]...\n"
         << ".SH DESCRIPTION\n";
    writeParagraphs(page, program.get_description());
    page << ".SH OPTIONS\n";
    writeOptions(page, program);
    page << ".SH COMMANDS\n";
    for (const CLI::App* command : program.get_subcommands(nullptr))
        writeCommand(page, program, *command);
    writeLines(page, program.get_footer(), ".SH");
    return page.str();
}

}  // namespace RtiqnTools
