#ifndef RTIQN_PACKETSERVER_STATUS_TEXT_H
#define RTIQN_PACKETSERVER_STATUS_TEXT_H

#include <string>

#include "ControlClient.h"

namespace RtiqnPacketServer {

/// What the two state messages print.
std::string statusText(const ServerState& state);

/// The same as one JSON object.
std::string statusJson(int key, const ServerState& state);

}  // namespace RtiqnPacketServer

#endif
