#ifndef RTIQN_DIS_COMMAND_LINE_H
#define RTIQN_DIS_COMMAND_LINE_H

namespace RtiqnDis {

/// The program: reads the command line, runs the command, answers with the exit status. The
/// library's notification streams go to standard error from then on.
int runProgram(int argc, const char* const* argv);

}  // namespace RtiqnDis

#endif
