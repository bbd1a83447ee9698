#ifndef RTIQN_TOOLS_ADDRESSES_H
#define RTIQN_TOOLS_ADDRESSES_H

#include <cstdint>
#include <memory>
#include <string>

#include "InetDevice.h"
#include "InetEndpoint.h"
#include "InetSocket.h"

namespace RtiqnTools {

/// The endpoint of "HOST", "HOST:PORT" or "[ADDRESS]:PORT", where the host is an address, a name
/// or a network interface. Throws UsageError for what cannot be meant, NetworkError for a host
/// that is not found.
OrynRti::DtInetEndpoint parseTarget(const std::string& text, std::uint16_t defaultPort);

/// An address without a port. Throws as parseTarget().
OrynRti::DtInetAddr parseAddress(const std::string& text);

/// The same for a multicast group.
OrynRti::DtInetAddr parseGroup(const std::string& text);

/// The network interface of that name or address; null for an empty text. Throws NetworkError when
/// there is none.
std::unique_ptr<OrynRti::DtInetDevice> openDevice(const std::string& text);

std::string textOf(const OrynRti::DtString& text);

/// Why the last operation of a socket failed, in one line.
std::string errorOf(const OrynRti::DtInetSocket& socket);

}  // namespace RtiqnTools

#endif
