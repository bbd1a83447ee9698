#ifndef RTIQN_PACKETSERVER_ERRORS_H
#define RTIQN_PACKETSERVER_ERRORS_H

#include "common/Errors.h"

namespace RtiqnPacketServer {

using namespace RtiqnTools;

// The program's own exit statuses, beside those that all programs have.

/// `run`: there is a server with that key already. All others: there is none.
constexpr int theOtherwise = 1;
constexpr int theNoAnswer = 2;  ///< There is a server, but it does not answer.

}  // namespace RtiqnPacketServer

#endif
