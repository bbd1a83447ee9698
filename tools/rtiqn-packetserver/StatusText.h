#ifndef RTIQN_PACKETSERVER_STATUS_TEXT_H
#define RTIQN_PACKETSERVER_STATUS_TEXT_H

#include <string>

#include "ControlClient.h"

namespace RtiqnPacketServer {

/// What the two state messages print, the server's packet clients, and what it has counted:
/// `figures` is what Server::figures() gives.
std::string statusText(const ServerState& state, const std::string& figures);

/// The same as one JSON object.
std::string statusJson(int key, const ServerState& state, const std::string& figures);

}  // namespace RtiqnPacketServer

#endif
