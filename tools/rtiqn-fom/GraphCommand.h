#ifndef RTIQN_FOM_GRAPH_COMMAND_H
#define RTIQN_FOM_GRAPH_COMMAND_H

#include <string>
#include <vector>

namespace RtiqnFom {

struct GraphOptions {
    std::vector<std::string> modules;
    std::string output;  ///< a path; empty or "-" for standard output
    std::string format;  ///< "dot" or "svg"; empty for what the output's name ends in, else dot
    bool members = false;
};

/// Draws the class trees of the merged modules; the answer is the exit status. Nothing is drawn
/// when classes conflict. Throws FileError when the picture cannot be made or written.
int runGraph(const GraphOptions& options);

}  // namespace RtiqnFom

#endif
