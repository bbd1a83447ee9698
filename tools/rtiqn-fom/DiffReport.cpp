#include "DiffReport.h"

#include <string_view>

#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace RtiqnTools;

namespace {

std::string lineOf(const RowChange& change, int descriptor) {
    if (change.fields.empty())
        return styled("+ " + change.row, Style::green, descriptor);
    return styled("~ " + change.row, Style::yellow, descriptor) + "  " +
           joined(change.fields, ", ");
}

}  // namespace

void printDiff(const std::string& name, const std::vector<RowChange>& changes, int descriptor,
               std::ostream& out) {
    out << '\n'
        << styled(name, Style::bold, descriptor)
        << (changes.empty() ? " adds nothing\n" : " adds\n");
    std::string_view table;
    for (const RowChange& change : changes) {
        if (change.table != table)
            out << "  " << change.table << '\n';
        table = change.table;
        out << "    " << lineOf(change, descriptor) << '\n';
    }
}

}  // namespace RtiqnFom
