#include "InetAddrUtils.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <optional>
#include <string>

#include "InetAddr.h"
#include "net/AddressText.h"
#include "net/LocalInterfaces.h"

namespace OrynRti {

namespace {

struct Locator {
    std::string addr;
    std::string suffix;
    int kind = DtInetUtils::NoSuffix;
};

std::string trimmed(const std::string& text) {
    const char* const blanks = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<unsigned int> readIPv4(const std::string& text) {
    in_addr addr{};
    if (::inet_pton(AF_INET, text.c_str(), &addr) != 1)
        return std::nullopt;
    return ntohl(addr.s_addr);
}

/// The zone is not part of the address.
std::optional<in6_addr> readIPv6(const std::string& text) {
    in6_addr addr{};
    if (::inet_pton(AF_INET6, text.substr(0, text.find('%')).c_str(), &addr) != 1)
        return std::nullopt;
    return addr;
}

int kindBehindSlash(const std::string& suffix) {
    if (suffix.find('.') == std::string::npos)
        return DtInetUtils::PrefixSuffix;
    return readIPv4(suffix) ? DtInetUtils::NetmaskSuffix : DtInetUtils::NoSuffix;
}

std::optional<Locator> splitIPv4(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::size_t slash = text.find('/');
    const std::size_t dot = text.find('.');
    if (dot == std::string::npos || colon < dot)
        return std::nullopt;
    if (colon != std::string::npos && slash != std::string::npos)
        return std::nullopt;

    const std::size_t separator = std::min(colon, slash);
    Locator locator;
    locator.addr = trimmed(text.substr(0, separator));
    if (!readIPv4(locator.addr))
        return std::nullopt;
    if (separator != std::string::npos) {
        locator.suffix = trimmed(text.substr(separator + 1));
        locator.kind =
            separator == colon ? DtInetUtils::PortSuffix : kindBehindSlash(locator.suffix);
    }
    return locator;
}

/// Takes the brackets off `locator.addr`, and the port behind them; false when they do not match
/// or something else follows.
bool takeBrackets(Locator& locator) {
    const std::size_t end = locator.addr.find(']');
    const bool opens = locator.addr.compare(0, 1, "[") == 0;
    if (opens != (end != std::string::npos))
        return false;
    if (!opens)
        return true;
    const std::string rest = trimmed(locator.addr.substr(end + 1));
    locator.addr = trimmed(locator.addr.substr(1, end - 1));
    if (rest.empty())
        return true;
    locator.suffix = trimmed(rest.substr(1));
    locator.kind = DtInetUtils::PortSuffix;
    return rest.front() == ':';
}

std::optional<Locator> splitIPv6(const std::string& text) {
    if (text.find(':') == std::string::npos)
        return std::nullopt;
    const std::size_t slash = text.find('/');
    Locator locator;
    locator.addr = trimmed(text.substr(0, slash));
    if (!takeBrackets(locator) || !readIPv6(locator.addr))
        return std::nullopt;
    if (slash != std::string::npos) {
        if (locator.kind == DtInetUtils::PortSuffix)
            return std::nullopt;
        locator.suffix = trimmed(text.substr(slash + 1));
        locator.kind = DtInetUtils::PrefixSuffix;
    }
    return locator;
}

Locator splitHost(const std::string& text) {
    Locator locator;
    const std::size_t colon = text.find(':', 1);
    locator.addr = text.substr(0, colon);
    if (colon != std::string::npos) {
        locator.suffix = text.substr(colon + 1);
        locator.kind = DtInetUtils::PortSuffix;
    }
    return locator;
}

void store(const Locator& locator, DtString& addr, DtString& suffix, int& kind) {
    addr = locator.addr.c_str();
    suffix = locator.suffix.c_str();
    kind = locator.kind;
}

bool storeIfAny(const std::optional<Locator>& locator, DtString& addr, DtString& suffix,
                int& kind) {
    if (locator)
        store(*locator, addr, suffix, kind);
    return locator.has_value();
}

/// A number that can be read rules the text out: what has a port or prefix length is no address.
bool suffixFitsAddress(const Locator& locator, int maxPrefixLen) {
    if (locator.kind != DtInetUtils::PortSuffix && locator.kind != DtInetUtils::PrefixSuffix)
        return true;
    bool isNumber = false;
    const int number = DtString(locator.suffix).toInt(&isNumber);
    if (isNumber)
        return false;
    if (locator.kind == DtInetUtils::PortSuffix)
        return number >= 1 && number <= 65535;
    return number >= 0 && number <= maxPrefixLen;
}

/// Answers `askIPv4` of a host-order address or `askIPv6`, whichever locator the text is.
template <typename AskIPv4, typename AskIPv6>
bool askAddressPart(const DtString& text, AskIPv4 askIPv4, AskIPv6 askIPv6) {
    const std::string locatorText = text.stdString();
    if (const auto ipv4 = splitIPv4(locatorText))
        return askIPv4(*readIPv4(ipv4->addr));
    if (const auto ipv6 = splitIPv6(locatorText))
        return askIPv6(*readIPv6(ipv6->addr));
    return false;
}

bool isInterfaceBroadcast(const DtInetAddr& addr) {
    for (const LocalInterface& interface : localInterfaces())
        for (const DtInetAddr& broadcast : interface.broadcastAddresses)
            if (broadcast == addr)
                return true;
    return false;
}

bool isNodeLocalAllNodes(const DtInetAddr& addr) {
    const DtU128 bits = addr.toU128();
    constexpr std::uint64_t flagBits = std::uint64_t{0x00F0} << 48;
    return addr.isIPv6() && (bits.high() & ~flagBits) == std::uint64_t{0xFF01} << 48 &&
           bits.low() == 1;
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Kinds of addresses

DtInetUtils::DtInetAddrFamily DtInetUtils::addrStringFamily(const DtString& text) {
    std::string buffer = text.stdString();
    const std::string bare = removeZoneIndex(buffer.data());
    if (const auto ipv4 = splitIPv4(bare))
        return suffixFitsAddress(*ipv4, 32) ? IPv4 : NoFamily;
    if (const auto ipv6 = splitIPv6(bare))
        return suffixFitsAddress(*ipv6, 128) ? IPv6 : NoFamily;
    return NoFamily;
}

bool DtInetUtils::isIpv4AddrString(const DtString& text) {
    return addrStringFamily(text) == IPv4;
}

bool DtInetUtils::isIpv6AddrString(const DtString& text) {
    return addrStringFamily(text) == IPv6;
}

bool DtInetUtils::isLocalhostAddrString(const DtString&) {
    return false;
}

bool DtInetUtils::isLoopbackAddrString(const DtString& text) {
    return askAddressPart(
        text, [](unsigned int addr) { return addr == INADDR_LOOPBACK; },
        [](const in6_addr& addr) { return IN6_IS_ADDR_LOOPBACK(&addr) != 0; });
}

bool DtInetUtils::isLinkLocalAddrString(const DtString& text) {
    return askAddressPart(
        text, [](unsigned int addr) { return addr >> 16 == 0xA9FE; },
        [](const in6_addr& addr) { return IN6_IS_ADDR_LINKLOCAL(&addr) != 0; });
}

bool DtInetUtils::isMulticastAddrString(const DtString& text) {
    return askAddressPart(
        text, [](unsigned int addr) { return IN_MULTICAST(addr); },
        [](const in6_addr& addr) { return IN6_IS_ADDR_MULTICAST(&addr) != 0; });
}

bool DtInetUtils::isBroadcastAddrString(const DtString& addr, const DtString& mask) {
    if (!addressWithoutLookup(addr.c_str()))
        return false;
    const DtInetAddr value(addr, mask);
    if (value.isBroadcast() || isNodeLocalAllNodes(value))
        return true;
    return value.isIPv4() && mask.size() == 0 && isInterfaceBroadcast(value);
}

// -------------------------------------------------------------------------------------------
// Locators

DtInetUtils::DtInetAddrFamily DtInetUtils::parseNetResLoc(const DtString& text, DtString& addr,
                                                          DtString& suffix, int& kind) {
    const std::string input = text.stdString();
    if (storeIfAny(splitIPv4(input), addr, suffix, kind))
        return IPv4;
    if (storeIfAny(splitIPv6(input), addr, suffix, kind))
        return IPv6;
    store(splitHost(input), addr, suffix, kind);
    return NoFamily;
}

bool DtInetUtils::parseIpv4NetResLoc(const DtString& text, DtString& addr, DtString& suffix,
                                     int& kind) {
    return storeIfAny(splitIPv4(text.stdString()), addr, suffix, kind);
}

bool DtInetUtils::parseIpv6NetResLoc(const DtString& text, DtString& addr, DtString& suffix,
                                     int& kind) {
    return storeIfAny(splitIPv6(text.stdString()), addr, suffix, kind);
}

// -------------------------------------------------------------------------------------------
// Netmasks

unsigned int DtInetUtils::prefixLenToIpv4Netmask(unsigned int prefixLen) {
    if (prefixLen == 0 || prefixLen > 32)
        return 0;
    return 0xFFFFFFFFu << (32 - prefixLen);
}

unsigned int DtInetUtils::netmaskToPrefixLen(unsigned int netmask) {
    return netmask == 0xFFFFFFFFu ? 32 : static_cast<unsigned int>(__builtin_clz(~netmask));
}

unsigned int DtInetUtils::convertStringToNetmask(DtString text) {
    text.snipFront('/');
    if (text.findChar('.') != -1)
        return readIPv4(text.stdString()).value_or(0);
    bool isNumber = false;
    const int length = text.toInt(&isNumber);
    return isNumber ? prefixLenToIpv4Netmask(static_cast<unsigned int>(length)) : 0;
}

unsigned int DtInetUtils::convertStringToPrefixLen(DtString text) {
    text.snipFront('/');
    return netmaskToPrefixLen(readIPv4(text.stdString()).value_or(0));
}

// -------------------------------------------------------------------------------------------

char* DtInetUtils::removeZoneIndex(char* text) {
    if (text == nullptr)
        return nullptr;
    for (const char end : {'%', ']'})
        if (char* const found = std::strchr(text, end))
            *found = '\0';
    char* const opening = std::strchr(text, '[');
    return opening != nullptr ? opening + 1 : text;
}

unsigned int DtInetUtils::getMaxPacketBufferSize() {
    return 65536;
}

}  // namespace OrynRti
