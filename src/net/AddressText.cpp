#include "net/AddressText.h"

#include <arpa/inet.h>
#include <boost/asio/ip/address.hpp>
#include <boost/container/small_vector.hpp>
#include <cstring>
#include <net/if.h>

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
    in_addr ipv4{};  // most texts are IPv4, which Asio would try last
    if (::inet_pton(AF_INET, text, &ipv4) == 1)
        return address_v4(ntohl(ipv4.s_addr));
    const char* const zone = std::strchr(text, '%');
    const unsigned int scope = zone != nullptr ? ::if_nametoindex(zone + 1) : 0;

    boost::container::small_vector<char, 64> copy(text, text + std::strlen(text) + 1);
    boost::system::error_code error;
    const address literal =
        boost::asio::ip::make_address(DtInetUtils::removeZoneIndex(copy.data()), error);
    if (error)
        return keywordAddress(text);
    if (literal.is_v6() && scope != 0)
        return address_v6(literal.to_v6().to_bytes(), scope);
    return literal;
}

namespace {

/// Writes a number up to 255 and returns where it ends.
char* writeOctet(char* out, unsigned int octet) {
    if (octet >= 100)
        *out++ = static_cast<char>('0' + octet / 100);
    if (octet >= 10)
        *out++ = static_cast<char>('0' + octet / 10 % 10);
    *out++ = static_cast<char>('0' + octet % 10);
    return out;
}

DtString dottedQuad(unsigned int hostAddr) {
    char text[INET_ADDRSTRLEN];
    char* end = writeOctet(text, hostAddr >> 24);
    for (const int shift : {16, 8, 0}) {
        *end++ = '.';
        end = writeOctet(end, hostAddr >> shift & 0xFF);
    }
    *end = '\0';
    return DtString(text);
}

}  // namespace

DtString addressText(const address& addr) {
    if (addr.is_v4())
        return dottedQuad(addr.to_v4().to_uint());
    const address_v6 ipv6 = addr.to_v6();
    if (ipv6.scope_id() != 0)
        return DtString(ipv6.to_string());
    char text[INET6_ADDRSTRLEN] = "";
    const address_v6::bytes_type bytes = ipv6.to_bytes();
    ::inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
    return DtString(text);
}

}  // namespace OrynRti
