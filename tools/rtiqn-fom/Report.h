#ifndef RTIQN_FOM_REPORT_H
#define RTIQN_FOM_REPORT_H

#include <ostream>

#include "Federation.h"

namespace RtiqnFom {

/// Prints what became of a merge for people: the rows that each module brought by table with the
/// totals, every conflict, the check and one closing line. Warnings are not part of it.
void printReport(const Federation& federation, std::ostream& out);

/// The name of an edition, e.g. "IEEE 1516-2010".
const char* editionName(OrynRti::DtFomType edition);

}  // namespace RtiqnFom

#endif
