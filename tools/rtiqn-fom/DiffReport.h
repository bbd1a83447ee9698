#ifndef RTIQN_FOM_DIFF_REPORT_H
#define RTIQN_FOM_DIFF_REPORT_H

#include <ostream>
#include <string>
#include <vector>

#include "ModelRows.h"

namespace RtiqnFom {

/// Prints for people what a module changed in the federation, row by row under the titles of the
/// tables: "+" before a new row, "~" before one of which fields were completed. `name` is what the
/// module is called in the report, `descriptor` where `out` goes in the end, for its colours.
void printDiff(const std::string& name, const std::vector<RowChange>& changes, int descriptor,
               std::ostream& out);

}  // namespace RtiqnFom

#endif
