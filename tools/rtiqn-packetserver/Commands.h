#ifndef RTIQN_PACKETSERVER_COMMANDS_H
#define RTIQN_PACKETSERVER_COMMANDS_H

#include "Server.h"

namespace RtiqnPacketServer {

/// Whom to ask.
struct AskOptions {
    int key = 0;
    double timeout_s = 2;
    bool json = false;
};

// The commands of the program. They answer with the exit status and throw a ProgramError.

/// Serves until the end is asked for; then prints what was done.
int runServer(const ServerOptions& options);

int runStatus(const AskOptions& options);
int runMode(const AskOptions& options, bool external);

/// Is back when another server can take the key.
int runStop(const AskOptions& options);

}  // namespace RtiqnPacketServer

#endif
