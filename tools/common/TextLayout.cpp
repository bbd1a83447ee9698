#include "TextLayout.h"

#include <sstream>

namespace RtiqnTools {

namespace {

constexpr std::size_t theWidth = 80;
constexpr std::size_t theEntryIndent = 2;

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? ""
                                      : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

TextBlock entryOf(const std::string& line) {
    const std::string content = trimmed(line);
    const std::size_t gap = content.find("  ");
    const std::string text = gap == std::string::npos ? "" : trimmed(content.substr(gap));
    return {TextBlock::Kind::entry, text, content.substr(0, gap)};
}

/// Whether the line belongs to the block before it, which it then joins.
bool joins(const std::string& line, std::vector<TextBlock>& blocks, bool behindEmptyLine) {
    if (blocks.empty() || behindEmptyLine)
        return false;
    const bool deeper = line.find_first_not_of(' ') > theEntryIndent;
    const auto kind = line[0] == ' ' ? TextBlock::Kind::entry : TextBlock::Kind::paragraph;
    TextBlock& last = blocks.back();
    if (last.kind != kind || (kind == TextBlock::Kind::entry && !deeper))
        return false;
    last.text += (last.text.empty() ? "" : " ") + trimmed(line);
    return true;
}

TextBlock blockOf(const std::string& line) {
    if (line[0] == ' ')
        return entryOf(line);
    if (line.back() == ':')
        return {TextBlock::Kind::heading, line.substr(0, line.size() - 1), ""};
    return {TextBlock::Kind::paragraph, line, ""};
}

}  // namespace

std::vector<TextBlock> textBlocks(const std::string& text) {
    std::vector<TextBlock> blocks;
    bool behindEmptyLine = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && !joins(line, blocks, behindEmptyLine))
            blocks.push_back(blockOf(line));
        behindEmptyLine = line.empty();
    }
    return blocks;
}

std::string wrapped(const std::string& text, std::size_t begin, std::size_t indent) {
    std::string result;
    std::size_t column = begin;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const bool first = column == begin && result.empty();
        if (!first && column + 1 + word.size() > theWidth) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (!first) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}

std::string firstSentence(const std::string& text) {
    std::size_t end = 0;
    do
        end = text.find('.', end + 1);
    while (end != std::string::npos && end + 1 < text.size() && text[end + 1] > ' ');
    return wrapped(text.substr(0, end), 0, 0);
}

}  // namespace RtiqnTools
