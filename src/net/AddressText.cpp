#include "net/AddressText.h"

#include <boost/asio/ip/address.hpp>
#include <cstring>
#include <net/if.h>
#include <string>

#include "InetAddrUtils.h"
#include "String.h"

namespace OrynRti {

namespace {

using boost::asio::ip::address;
using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

std::optional<address> keywordAddress(DtString text) {
    text.toLower();
    if (text == "localhost" || text == "loopback")
        return address_v4::loopback();
    if (text == "inaddr_any")
        return address_v4::any();
    if (text == "in6addr_any")
        return address_v6::any();
    return std::nullopt;
}

}  // namespace

std::optional<address> addressWithoutLookup(const char* text) {
    if (text == nullptr || *text == '\0')
        return address();
    const char* const zone = std::strchr(text, '%');
    const unsigned int scope = zone != nullptr ? ::if_nametoindex(zone + 1) : 0;

    std::string copy(text);
    boost::system::error_code error;
    const address literal =
        boost::asio::ip::make_address(DtInetUtils::removeZoneIndex(copy.data()), error);
    if (error)
        return keywordAddress(text);
    if (literal.is_v6() && scope != 0)
        return address_v6(literal.to_v6().to_bytes(), scope);
    return literal;
}

}  // namespace OrynRti
