#include "ManPage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "HelpFormatter.h"
#include "TextLayout.h"

namespace RtiqnTools {

namespace {

constexpr const char* thePrograms[] = {"rtiqn-dis", "rtiqn-fom", "rtiqn-packetserver"};

constexpr const char* theEnvironment =
    ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nNothing is coloured when this is set. Colours and progress "
    "are for terminals only in any case.\n";

/// What stands for a character that roff would take as its own, or print as another.
const char* escapeOf(char character) {
    switch (character) {
        case '\\':
            return "\\e";
        case '-':
            return "\\-";
        case '\'':
            return "\\(aq";
        case '"':
            return "\\(dq";
        case '`':
            return "\\(ga";
        case '^':
            return "\\(ha";
        case '~':
            return "\\(ti";
        default:
            return nullptr;
    }
}

/// Text that roff shall print as it is; a line may begin with it.
std::string escaped(const std::string& text) {
    std::string result = text.empty() || text[0] != '.' ? "" : "\\&";
    for (const char character : text) {
        if (const char* escape = escapeOf(character))
            result += escape;
        else
            result += character;
    }
    return result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return text.empty() ? "" : "\\fI" + escaped(text) + "\\fR";
}

std::string upper(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

/// To stand behind the program's name.
std::string summary(const CLI::App& program) {
    std::string sentence = firstSentence(program.get_description());
    if (!sentence.empty())
        sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
    return escaped(sentence);
}

/// Where a text stands, and so what its headings are.
enum class Part { program, command };

void writeHeading(std::ostream& page, const std::string& text, Part part) {
    page << (part == Part::program ? ".SH " + upper(text) : ".PP\n" + bold(text)) << '\n';
}

/// `begins` tells that a heading stands before it.
void writeText(std::ostream& page, const std::string& text, Part part, bool begins) {
    for (const TextBlock& block : textBlocks(text)) {
        if (block.kind == TextBlock::Kind::heading)
            writeHeading(page, block.text, part);
        else if (block.kind == TextBlock::Kind::paragraph)
            page << (begins ? "" : ".PP\n") << escaped(block.text) << '\n';
        else if (block.text.empty())
            page << ".PP\n" << bold(block.term) << '\n';
        else
            page << ".TP\n" << bold(block.term) << '\n' << escaped(block.text) << '\n';
        begins = block.kind == TextBlock::Kind::heading;
    }
}

std::vector<const CLI::Option*> shownOptions(const CLI::App& app) {
    const bool isCommand = app.get_parent() != nullptr;
    return app.get_options([&](const CLI::Option* option) {
        return !option->get_group().empty() && !(isCommand && option == app.get_help_ptr());
    });
}

void writeOptions(std::ostream& page, const CLI::App& app) {
    for (const CLI::Option* option : shownOptions(app))
        page << ".TP\n"
             << (option->get_positional() ? italic(namesOf(*option)) : bold(namesOf(*option)))
             << (shapeOf(*option).empty() ? "" : " ") << italic(shapeOf(*option)) << '\n'
             << escaped(option->get_description()) << '\n';
}

void writeSynopsis(std::ostream& page, const CLI::App& program) {
    page << ".SH SYNOPSIS\n";
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        page << bold(program.get_name() + ' ' + command->get_name()) << " [" << italic("OPTION")
             << "]...";
        for (const CLI::Option* option : shownOptions(*command))
            if (option->get_positional())
                page << ' ' << italic(option->get_name(true))
                     << (option->get_expected_max() > 1 ? "..." : "");
        page << "\n.br\n";
    }
    page << bold(program.get_name()) << ' ' << bold("--help") << " | " << bold("--version") << '\n';
}

void writeCommand(std::ostream& page, const CLI::App& program, const CLI::App& command) {
    page << ".SS " << escaped(program.get_name() + ' ' + command.get_name()) << '\n';
    writeText(page, command.get_description(), Part::command, true);
    writeOptions(page, command);
    if (command.get_footer() != program.get_footer())
        writeText(page, command.get_footer(), Part::command, false);
}

void writeSeeAlso(std::ostream& page, const std::string& name) {
    page << ".SH SEE ALSO\n";
    const char* separator = "";
    for (const char* other : thePrograms) {
        if (other == name)
            continue;
        page << separator << bold(other) << "(1)";
        separator = ",\n";
    }
    page << '\n';
}

}  // namespace

std::string manPage(const CLI::App& program, const std::string& version) {
    const std::string& name = program.get_name();
    std::ostringstream page;
    page << ".TH " << upper(name) << " 1 \"\" \"rtiqnutil " << version << "\" \"User Commands\"\n"
         << ".nh\n.ad l\n"
         << ".SH NAME\n"
         << escaped(name) << " \\- " << summary(program) << '\n';
    writeSynopsis(page, program);
    page << ".SH DESCRIPTION\n";
    writeText(page, program.get_description(), Part::program, true);
    page << ".SH OPTIONS\n";
    writeOptions(page, program);
    page << ".SH COMMANDS\n";
    for (const CLI::App* command : program.get_subcommands(nullptr))
        writeCommand(page, program, *command);
    writeText(page, program.get_footer(), Part::program, false);
    page << theEnvironment;
    writeSeeAlso(page, name);
    return page.str();
}

}  // namespace RtiqnTools
