#ifndef RTIQN_FOM_SUMMARY_TABLE_H
#define RTIQN_FOM_SUMMARY_TABLE_H

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace RtiqnFom {

/// A table of numbers in aligned columns under headings of two lines, at most 80 characters wide:
/// columns that do not fit go to a second block below, which leaves out rows without a number.
class SummaryTable {
public:
    struct Column {
        std::string upper;
        std::string lower;
        std::vector<std::string> cells;  ///< one a row
    };

    SummaryTable(std::string heading, std::vector<std::string> rowNames)
        : heading_(std::move(heading)), rowNames_(std::move(rowNames)) {}

    void add(Column column) { columns_.push_back(std::move(column)); }

    /// The last row is set off by a line, as a total.
    void print(std::ostream& out) const;

private:
    std::size_t nameWidth() const;
    bool isEmpty(std::size_t row, std::size_t begin, std::size_t end) const;
    void printBlock(std::ostream& out, std::size_t begin, std::size_t end) const;

    std::string heading_;
    std::vector<std::string> rowNames_;
    std::vector<Column> columns_;
};

}  // namespace RtiqnFom

#endif
