#include "SummaryTable.h"

#include <algorithm>
#include <functional>

namespace RtiqnFom {

namespace {

constexpr std::size_t theMaxWidth = 80;
constexpr std::size_t theGap = 2;

std::size_t widthOf(const SummaryTable::Column& column) {
    std::size_t width = std::max(column.upper.size(), column.lower.size());
    for (const std::string& cell : column.cells)
        width = std::max(width, cell.size());
    return width;
}

std::string padding(std::size_t width, const std::string& text) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ');
}

/// Without the blanks at its end.
void printLine(std::ostream& out, std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

}  // namespace

std::size_t SummaryTable::nameWidth() const {
    std::size_t width = heading_.size();
    for (const std::string& name : rowNames_)
        width = std::max(width, name.size());
    return width;
}

bool SummaryTable::isEmpty(std::size_t row, std::size_t begin, std::size_t end) const {
    return std::all_of(columns_.begin() + static_cast<std::ptrdiff_t>(begin),
                       columns_.begin() + static_cast<std::ptrdiff_t>(end),
                       [row](const Column& column) {
                           return column.cells[row].find_first_not_of('-') == std::string::npos;
                       });
}

void SummaryTable::print(std::ostream& out) const {
    for (std::size_t begin = 0; begin < columns_.size();) {
        std::size_t end = begin;
        std::size_t width = nameWidth();
        do
            width += theGap + widthOf(columns_[end++]);
        while (end < columns_.size() && width + theGap + widthOf(columns_[end]) <= theMaxWidth);
        if (begin != 0)
            out << '\n';
        printBlock(out, begin, end);
        begin = end;
    }
}

void SummaryTable::printBlock(std::ostream& out, std::size_t begin, std::size_t end) const {
    const auto line = [&](const std::string& name,
                          const std::function<std::string(const Column&)>& cellOf) {
        std::string text = name + padding(nameWidth(), name);
        for (std::size_t i = begin; i < end; ++i) {
            const std::string cell = cellOf(columns_[i]);
            text += std::string(theGap, ' ') + padding(widthOf(columns_[i]), cell) + cell;
        }
        return text;
    };
    const std::string upper = line("", [](const Column& column) { return column.upper; });
    if (upper.find_first_not_of(' ') != std::string::npos)
        printLine(out, upper);
    const std::string heading = line(heading_, [](const Column& column) { return column.lower; });
    printLine(out, heading);
    for (std::size_t row = 0; row < rowNames_.size(); ++row) {
        const bool isTotal = row + 1 == rowNames_.size();
        if (isTotal)
            out << std::string(heading.size(), '-') << '\n';
        else if (begin != 0 && isEmpty(row, begin, end))
            continue;
        printLine(out,
                  line(rowNames_[row], [&](const Column& column) { return column.cells[row]; }));
    }
}

}  // namespace RtiqnFom
