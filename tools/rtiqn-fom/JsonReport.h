#ifndef RTIQN_FOM_JSON_REPORT_H
#define RTIQN_FOM_JSON_REPORT_H

#include <ostream>

#include "Federation.h"

namespace RtiqnFom {

/// Prints what became of a merge as one JSON object:
///
///     {"modules": [{"path", "name", "joined", "status", "meaning", "rows", "brought"}],
///      "totals": {"objectClasses", "attributes", "interactionClasses", "parameters", "datatypes",
///                 one for every other table},
///      "conflicts": [{"module", "status", "meaning", "table", "row", "field", "ignored",
///                     "held": {"value", "place"}, "incoming": {"value", "place"}}],
///      "warnings": ["FILE:LINE:COLUMN: text"],
///      "check": {"status", "meaning", "report", "skippedTables"}}
///
/// `rows` are those that a module holds, `brought` those that the federation did not have before.
/// When changes are kept, a module that is merged has them in
///
///     "added": [{"table", "row", "place"}], "completed": [{"table", "row", "place", "fields"}]
///
/// A place is FILE:LINE:COLUMN, or null when no module says the value. Bytes that are no UTF-8 (of
/// paths) are replaced.
void printJsonReport(const Federation& federation, std::ostream& out);

}  // namespace RtiqnFom

#endif
