#ifndef RTIQNUTIL_SRC_NET_NAMELOOKUP_H
#define RTIQNUTIL_SRC_NET_NAMELOOKUP_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/resolver_base.hpp>
#include <boost/system/error_code.hpp>
#include <optional>
#include <string>

#include "InetAddrUtils.h"

namespace OrynRti {

/// What the name service answered: an error, or the first of its addresses, if there is any.
struct NameLookup {
    boost::system::error_code error;
    std::optional<boost::asio::ip::address> first;
};

/// Asks the name service for a host and waits for the answer. `InternetProtocol` is
/// boost::asio::ip::tcp or udp; a family that is neither IPv4 nor IPv6 means any.
template <typename InternetProtocol>
NameLookup lookUpName(const std::string& host, const std::string& service,
                      boost::asio::ip::resolver_base::flags flags,
                      DtInetUtils::DtInetAddrFamily family) {
    boost::asio::io_context context;
    typename InternetProtocol::resolver resolver(context);
    NameLookup answer;
    const auto results = [&] {
        if (family == DtInetUtils::IPv4)
            return resolver.resolve(InternetProtocol::v4(), host, service, flags, answer.error);
        if (family == DtInetUtils::IPv6)
            return resolver.resolve(InternetProtocol::v6(), host, service, flags, answer.error);
        return resolver.resolve(host, service, flags, answer.error);
    }();
    if (!answer.error && results.begin() != results.end())
        answer.first = results.begin()->endpoint().address();
    return answer;
}

}  // namespace OrynRti

#endif
