#ifndef RTIQN_DIS_LISTEN_COMMAND_H
#define RTIQN_DIS_LISTEN_COMMAND_H

#include <string>
#include <vector>

#include "PduReport.h"

namespace RtiqnDis {

struct ListenOptions {
    ReportOptions report;
    std::string bind;    ///< empty for all addresses
    std::string device;  ///< empty for all
    std::vector<std::string> groups;
    double duration_s = 0;  ///< 0 for no end
    double counters_s = 0;  ///< how often to tell all counters; 0 for never
    bool live = false;      ///< a table that is refreshed instead of a line for each PDU
    std::string recordPath;
    int serverKey = -1;          ///< of a packet server; -1 to listen on the network
    bool waitForServer = false;  ///< also for the first one
    bool allowOthers = false;    ///< lets a server of another user in
};

/// Receives and writes PDUs until one of the ends that the options name, or a signal. The exit
/// status; throws NetworkError, FileError, UsageError.
int runListen(const ListenOptions& options);

}  // namespace RtiqnDis

#endif
