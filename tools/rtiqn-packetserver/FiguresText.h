#ifndef RTIQN_PACKETSERVER_FIGURES_TEXT_H
#define RTIQN_PACKETSERVER_FIGURES_TEXT_H

#include <string>

namespace RtiqnPacketServer {

/// What a server has counted, in lines for its operator: of what has not happened there are none.
/// `figures` is what Server::figures() gives.
std::string figuresText(const std::string& figures);

/// A table of the packet clients that it serves; empty without any.
std::string clientsText(const std::string& figures);

}  // namespace RtiqnPacketServer

#endif
