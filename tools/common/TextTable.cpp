#include "TextTable.h"

#include <algorithm>
#include <numeric>
#include <unistd.h>

#include "Console.h"

namespace RtiqnTools {

namespace {

constexpr std::size_t theGap = 2;

}  // namespace

std::vector<std::string> TextTable::lines(std::size_t limit) const {
    const Widths widths = this->widths(limit);
    std::vector<std::string> headings;
    for (const Column& column : columns_)
        headings.emplace_back(column.heading);
    std::vector<std::string> lines{line(headings, widths)};
    for (const auto& row : rows_)
        lines.push_back(line(row, widths));
    return lines;
}

std::string TextTable::text() const {
    std::string text;
    for (const std::string& line : lines(outputColumns()))
        text += (text.empty() ? styled(line, Style::bold, STDOUT_FILENO) : line) + '\n';
    return text;
}

TextTable::Widths TextTable::widths(std::size_t limit) const {
    Widths widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = std::string(columns_[i].heading).size();
        for (const auto& row : rows_)
            width = std::max(width, row[i].size());
        widths.push_back(width);
    }
    const auto total = [&] {
        return std::accumulate(widths.begin(), widths.end(), theGap * (widths.size() - 1));
    };
    while (total() > limit && shrinkWidest(widths)) {
    }
    return widths;
}

/// By one, where that is allowed at all.
bool TextTable::shrinkWidest(Widths& widths) const {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i)
        if (columns_[i].least > 0 && widths[i] > columns_[i].least &&
            (widest == nullptr || widths[i] > *widest))
            widest = &widths[i];
    if (widest != nullptr)
        --*widest;
    return widest != nullptr;
}

std::string TextTable::line(const std::vector<std::string>& cells, const Widths& widths) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string cell = clipped(cells[i], widths[i]);
        const std::string blanks(widths[i] - cell.size(), ' ');
        line += i == 0 ? "" : std::string(theGap, ' ');
        line += columns_[i].side == Column::Left ? cell + blanks : blanks + cell;
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

}  // namespace RtiqnTools
