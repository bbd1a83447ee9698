#ifndef RTIQNUTIL_SRC_NET_ADDRESSTEXT_H
#define RTIQNUTIL_SRC_NET_ADDRESSTEXT_H

#include <boost/asio/ip/address.hpp>
#include <optional>

#include "String.h"

namespace OrynRti {

/// The address of a text that needs no name service: null or empty (0.0.0.0), a literal with or
/// without brackets and zone, one of the keywords. Nothing for any other text.
std::optional<boost::asio::ip::address> addressWithoutLookup(const char* text);

/// What to_string() of the address gives, sooner.
DtString addressText(const boost::asio::ip::address& addr);

}  // namespace OrynRti

#endif
