#ifndef RTIQN_FOM_REPORT_H
#define RTIQN_FOM_REPORT_H

#include <ostream>

#include "Federation.h"

namespace RtiqnFom {

/// Prints what became of a merge for people: the rows that each module brought by table with the
/// totals, the rows themselves when changes are kept, every conflict, the check and one closing
/// line. Warnings are not part of it. `descriptor` is where `out` goes in the end, for its colours.
void printReport(const Federation& federation, int descriptor, std::ostream& out);

/// The name of an edition, e.g. "IEEE 1516-2010".
const char* editionName(OrynRti::DtFomType edition);

}  // namespace RtiqnFom

#endif
