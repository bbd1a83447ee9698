#ifndef RTIQN_PACKETSERVER_COMMAND_LINE_H
#define RTIQN_PACKETSERVER_COMMAND_LINE_H

namespace RtiqnPacketServer {

/// The program: reads the command line, runs the command, answers with the exit status. The
/// library's notification streams go to standard error from then on.
int runProgram(int argc, const char* const* argv);

}  // namespace RtiqnPacketServer

#endif
