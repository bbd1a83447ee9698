#ifndef RTIQN_TOOLS_PROGRAM_RUN_H
#define RTIQN_TOOLS_PROGRAM_RUN_H

#include <functional>

namespace CLI {
class App;
}

namespace RtiqnTools {

/// What a command does; answers with the exit status.
using Command = std::function<int()>;

/// What the callback of a subcommand hands its Command to.
using Choose = std::function<void(Command)>;

/// Reads the command line as `app` describes it and runs `chosen`, which the callback of the
/// subcommand has set by then. Answers with the exit status, also for a ProgramError and for wrong
/// usage. The library's notification streams go to standard error from then on.
int runProgram(CLI::App& app, int argc, const char* const* argv, const Command& chosen);

}  // namespace RtiqnTools

#endif
