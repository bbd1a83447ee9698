#ifndef RTIQNUTIL_SRC_NET_ADDRESSTEXT_H
#define RTIQNUTIL_SRC_NET_ADDRESSTEXT_H

#include <boost/asio/ip/address.hpp>
#include <optional>

namespace OrynRti {

/// The address of a text that needs no name service: null or empty (0.0.0.0), a literal with or
/// without brackets and zone, one of the keywords. Nothing for any other text.
std::optional<boost::asio::ip::address> addressWithoutLookup(const char* text);

}  // namespace OrynRti

#endif
