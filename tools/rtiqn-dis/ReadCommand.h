#ifndef RTIQN_DIS_READ_COMMAND_H
#define RTIQN_DIS_READ_COMMAND_H

#include <string>

#include "PduReport.h"

namespace RtiqnDis {

struct ReadOptions {
    std::string path;
    ReportOptions report;
};

/// Writes the PDUs of a capture file as `listen` would have. The exit status; throws FileError.
int runRead(const ReadOptions& options);

}  // namespace RtiqnDis

#endif
