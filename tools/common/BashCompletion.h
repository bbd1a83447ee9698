#ifndef RTIQN_TOOLS_BASHCOMPLETION_H
#define RTIQN_TOOLS_BASHCOMPLETION_H

#include <string>

namespace CLI {
class App;
}

namespace RtiqnTools {

/// A bash script that completes the commands and options of a program, and file names wherever
/// else. Options with a fixed set of values, such as "text|json", are completed with those.
std::string bashCompletion(const CLI::App& program);

}  // namespace RtiqnTools

#endif
