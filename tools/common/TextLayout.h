#ifndef RTIQN_TOOLS_TEXT_LAYOUT_H
#define RTIQN_TOOLS_TEXT_LAYOUT_H

#include <cstddef>
#include <string>
#include <vector>

namespace RtiqnTools {

/// What a help text is made of. A line such as "Examples:" is a heading, an indented line an entry
/// (a term, two blanks or more, its text; a line indented deeper than two goes on with that text),
/// and all other lines up to an empty one are a paragraph.
struct TextBlock {
    enum class Kind { paragraph, heading, entry };

    Kind kind;
    std::string text;  ///< of a paragraph in one line, of a heading without its colon
    std::string term;  ///< of an entry
};

std::vector<TextBlock> textBlocks(const std::string& text);

/// The words of `text` in lines of at most 80 columns, each but the first behind `indent` blanks;
/// the first begins in column `begin`. No line end behind the last.
std::string wrapped(const std::string& text, std::size_t begin, std::size_t indent);

/// The first sentence of a text, without its full stop.
std::string firstSentence(const std::string& text);

}  // namespace RtiqnTools

#endif
