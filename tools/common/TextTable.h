#ifndef RTIQN_TOOLS_TEXT_TABLE_H
#define RTIQN_TOOLS_TEXT_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace RtiqnTools {

/// A table in lines of text, with columns as wide as what is in them, two blanks apart.
class TextTable {
public:
    struct Column {
        const char* heading;
        enum { Left, Right } side;
        std::size_t least = 0;  ///< Clipped to that width when there is no room; 0 for never.
    };

    explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// As many cells as columns.
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    /// The headings, then the rows, each no longer than `limit` as far as clipping helps.
    std::vector<std::string> lines(std::size_t limit) const;

    /// The lines as they go to standard output.
    std::string text() const;

private:
    using Widths = std::vector<std::size_t>;

    Widths widths(std::size_t limit) const;
    bool shrinkWidest(Widths& widths) const;
    std::string line(const std::vector<std::string>& cells, const Widths& widths) const;

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace RtiqnTools

#endif
