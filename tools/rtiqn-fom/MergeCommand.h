#ifndef RTIQN_FOM_MERGE_COMMAND_H
#define RTIQN_FOM_MERGE_COMMAND_H

#include <cstdint>
#include <string>
#include <vector>

#include "FomTypes.h"

namespace RtiqnFom {

struct MergeOptions {
    std::vector<std::string> modules;  ///< create the federation, in this order
    std::vector<std::string> joining;  ///< join it afterwards
    std::string mim;                   ///< comes before all others; empty for none
    bool lenient = false;
    std::uint64_t tables = OrynRti::DtMergeFomAllTables;
    std::string output;  ///< a path, "-" for standard output, empty for none
    bool dryRun = false;
    bool diff = false;
    bool json = false;
};

/// Merges modules and reports on it; the answer is the exit status. The merged model is written
/// only when every module was merged and the check passed. Throws FileError when a result cannot
/// be written.
int runMerge(const MergeOptions& options);

}  // namespace RtiqnFom

#endif
