#include "HelpFormatter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "TextLayout.h"

namespace RtiqnTools {

namespace {

constexpr std::size_t theIndent = 2;
constexpr std::size_t theTextColumn = 26;
constexpr std::size_t theTextBelow = 6;

/// The term, and its text from that column on: below the term when that is long.
std::string entry(const std::string& term, const std::string& text, std::size_t column) {
    std::string line = std::string(theIndent, ' ') + term;
    if (text.empty())
        return line + '\n';
    line += line.size() + theIndent > column ? '\n' + std::string(column, ' ')
                                             : std::string(column - line.size(), ' ');
    return line + wrapped(text, column, column) + '\n';
}

/// Where the texts of the entries from `block` to the next heading or paragraph stand: beside their
/// terms when these are short.
std::size_t columnFor(std::vector<TextBlock>::const_iterator block,
                      std::vector<TextBlock>::const_iterator end) {
    std::size_t width = 0;
    for (; block != end && block->kind == TextBlock::Kind::entry; ++block)
        width = std::max(width, block->term.size());
    const std::size_t column = theIndent + width + theIndent;
    return column <= theTextColumn ? column : theTextBelow;
}

}  // namespace

std::string namesOf(const CLI::Option& option) {
    const std::string names =
        option.get_positional() ? option.get_name(true, false) : option.get_name(false, true);
    return CLI::detail::find_and_replace(names, ",", ", ");
}

std::string shapeOf(const CLI::Option& option) {
    return CLI::detail::trim_copy(option.get_option_text());
}

HelpFormatter::HelpFormatter() {
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
}

/// CLI11 leaves room for options that are not shown.
std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode mode) const {
    return CLI::detail::find_and_replace(Formatter::make_help(app, std::move(name), mode), "\n\n\n",
                                         "\n\n");
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
    std::string text;
    for (const TextBlock& block : textBlocks(app->get_description()))
        text += wrapped(block.text, 0, 0) + "\n\n";
    return text;
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
    const std::vector<TextBlock> blocks = textBlocks(app->get_footer());
    std::string text;
    std::size_t column = 0;
    auto before = TextBlock::Kind::paragraph;
    for (auto block = blocks.begin(); block != blocks.end(); before = block++->kind) {
        const bool isEntry = block->kind == TextBlock::Kind::entry;
        if (isEntry && before != TextBlock::Kind::entry)
            column = columnFor(block, blocks.end());
        const bool isHeading = block->kind == TextBlock::Kind::heading;
        text += isEntry ? entry(block->term, block->text, column)
                        : (text.empty() ? "" : "\n") + wrapped(block->text, 0, 0) +
                              (isHeading ? ":\n" : "\n");
    }
    return text;
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool) const {
    return entry(namesOf(*option) + make_option_opts(option), option->get_description(),
                 theTextColumn);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    return shapeOf(*option).empty() ? "" : ' ' + shapeOf(*option);
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
    return entry(command->get_name(), firstSentence(command->get_description()), theTextColumn);
}

}  // namespace RtiqnTools
