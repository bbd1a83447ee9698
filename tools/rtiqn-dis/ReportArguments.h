#ifndef RTIQN_DIS_REPORT_ARGUMENTS_H
#define RTIQN_DIS_REPORT_ARGUMENTS_H

#include "PduReport.h"

namespace CLI {
class App;
}

namespace RtiqnDis {

/// Adds the options that `listen` and `read` have in common to a command. `options` is filled when
/// the command line is parsed and must outlive that. A port of 0 is for those who listen.
void addReportArguments(CLI::App& command, ReportOptions& options, int lowestPort);

}  // namespace RtiqnDis

#endif
