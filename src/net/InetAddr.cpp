#include "InetAddr.h"

#include <arpa/inet.h>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstring>
#include <netdb.h>
#include <string>
#include <utility>

#include "Exceptions.h"
#include "Print.h"
#include "net/AddressText.h"
#include "net/NameLookup.h"
#include "net/SockaddrCopy.h"

namespace OrynRti {

namespace {

using boost::asio::ip::address;
using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

/// Netmasks of the address classes A, B and C of RFC 791; above them all bits.
unsigned int classNetmask(unsigned int hostAddr) {
    const unsigned int firstOctet = hostAddr >> 24;
    if (firstOctet < 128)
        return 0xFF000000;
    if (firstOctet < 192)
        return 0xFFFF0000;
    return firstOctet < 224 ? 0xFFFFFF00 : 0xFFFFFFFF;
}

address_v4 fromSockaddr(const sockaddr_in& addr) {
    return address_v4(ntohl(addr.sin_addr.s_addr));
}

address_v6 fromSockaddr(const sockaddr_in6& addr, DtInetIpv6Scope scope) {
    address_v6::bytes_type bytes;
    std::memcpy(bytes.data(), addr.sin6_addr.s6_addr, bytes.size());
    return address_v6(bytes, scope);
}

/// Fills in a part of what the storage holds and leaves the rest, such as the port, alone.
template <typename Sockaddr>
int writeStorage(const DtInetAddr& addr, sockaddr_storage* storage) {
    Sockaddr part = readSockaddr<Sockaddr>(storage);
    const int result = addr.toSockaddr(&part);
    std::memcpy(storage, &part, sizeof part);
    return result;
}

std::uint64_t bigEndian64(const unsigned char* bytes) {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
        value = value << 8 | bytes[i];
    return value;
}

address_v6 fromU128(const DtU128& value) {
    address_v6::bytes_type bytes;
    for (unsigned int i = 0; i < 8; ++i) {
        bytes[i] = static_cast<unsigned char>(value.high() >> (56 - 8 * i));
        bytes[8 + i] = static_cast<unsigned char>(value.low() >> (56 - 8 * i));
    }
    return address_v6(bytes);
}

/// FF02::1, all nodes of a link (RFC 4291, 2.7.1), whatever its flag bits.
bool isAllNodesOfLink(const address_v6& addr) {
    address_v6::bytes_type bytes = addr.to_bytes();
    bytes[1] &= 0x0F;
    return bytes == address_v6::bytes_type{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
}

bool bothIPv6(const DtInetAddr& left, const DtInetAddr& right) {
    return left.boostAddress().is_v6() && right.boostAddress().is_v6();
}

/// An address without a scope takes over that of the other.
std::pair<address_v6, address_v6> withOneScope(const DtInetAddr& left, const DtInetAddr& right) {
    std::pair<address_v6, address_v6> both(left.boostAddress().to_v6(),
                                           right.boostAddress().to_v6());
    if (both.first.scope_id() == 0)
        both.first.scope_id(both.second.scope_id());
    else if (both.second.scope_id() == 0)
        both.second.scope_id(both.first.scope_id());
    return both;
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Text

boost::asio::ip::address* newBoostAddrFromString(const char* text) {
    if (const auto known = addressWithoutLookup(text))
        return new address(*known);
    const NameLookup answer = lookUpName<boost::asio::ip::tcp>(
        text, "", boost::asio::ip::resolver_base::address_configured, DtInetUtils::NoFamily);
    if (answer.error)
        return new address();
    if (!answer.first)
        DT_THROW(DtInvalidInputNumber,
                 (std::string("Invalid string format for IP address - ") + text).c_str());
    return new address(*answer.first);
}

// -------------------------------------------------------------------------------------------
// Construction

DtInetAddr::DtInetAddr(DtInetUtils::DtInetAddrFamily family)
    : address_(std::make_unique<address>()), isAny_(true) {
    if (family == DtInetUtils::IPv6)
        *address_ = address_v6::any();
    else
        netmask_ = classNetmask(0);
}

DtInetAddr::DtInetAddr(const DtString& addr, const DtString& mask) {
    initFromStrings(addr.c_str(), mask.c_str());
}

DtInetAddr::DtInetAddr(const char* addr, const char* mask) {
    initFromStrings(addr, mask);
}

DtInetAddr::DtInetAddr(void* boostAddress)
    : address_(boostAddress != nullptr
                   ? std::make_unique<address>(*static_cast<const address*>(boostAddress))
                   : std::make_unique<address>()) {
    init();
}

DtInetAddr::DtInetAddr(const sockaddr_in& addr, unsigned int netmask)
    : address_(std::make_unique<address>(fromSockaddr(addr))), netmask_(netmask) {
    init();
}

DtInetAddr::DtInetAddr(unsigned int hostAddr, unsigned int netmask)
    : address_(std::make_unique<address>(address_v4(hostAddr))), netmask_(netmask) {
    init();
}

DtInetAddr::DtInetAddr(const sockaddr_in6& addr, unsigned int prefixLen)
    : address_(std::make_unique<address>(fromSockaddr(addr, addr.sin6_scope_id))),
      prefixLen_(prefixLen) {
    init();
}

DtInetAddr::DtInetAddr(const sockaddr_storage& addr, unsigned int prefixLen)
    : address_(std::make_unique<address>()), prefixLen_(prefixLen) {
    if (addr.ss_family == AF_INET) {
        *address_ = fromSockaddr(readSockaddr<sockaddr_in>(&addr));
        netmask_ = DtInetUtils::prefixLenToIpv4Netmask(prefixLen);
    } else {
        *address_ = fromSockaddr(readSockaddr<sockaddr_in6>(&addr), 0);
    }
    init();
}

DtInetAddr::DtInetAddr(const DtU128& addr, DtInetUtils::DtInetAddrFamily family,
                       unsigned int prefixLen)
    : address_(std::make_unique<address>()), prefixLen_(prefixLen) {
    if (family == DtInetUtils::IPv4) {
        *address_ = address_v4(static_cast<unsigned int>(addr.low()));
        netmask_ = DtInetUtils::prefixLenToIpv4Netmask(prefixLen);
    } else {
        *address_ = fromU128(addr);
    }
    init();
}

DtInetAddr::DtInetAddr(const DtInetAddr& other) : address_(std::make_unique<address>()) {
    *this = other;
}

DtInetAddr& DtInetAddr::operator=(const DtInetAddr& other) {
    *address_ = *other.address_;
    netmask_ = other.netmask_;
    prefixLen_ = other.prefixLen_;
    isBroadcast_ = other.isBroadcast_;
    isMulticast_ = other.isMulticast_;
    isLoopback_ = other.isLoopback_;
    isAny_ = other.isAny_;
    scope_ = other.scope_;
    return *this;
}

DtInetAddr::~DtInetAddr() = default;

void DtInetAddr::initFromStrings(const char* addr, const char* mask) {
    address_.reset(newBoostAddrFromString(addr));
    if (mask != nullptr && *mask != '\0') {
        prefixLen_ = DtInetUtils::convertStringToPrefixLen(mask);
        if (address_->is_v4())
            netmask_ = DtInetUtils::prefixLenToIpv4Netmask(static_cast<unsigned int>(prefixLen_));
    }
    init();
}

void DtInetAddr::init() {
    if (address_->is_v4())
        initIPv4();
    else
        initIPv6();
}

void DtInetAddr::initIPv4() {
    const unsigned int value = address_->to_v4().to_uint();
    if (netmask_ == 0)
        netmask_ = classNetmask(value);
    if (prefixLen_ == 0)
        prefixLen_ = DtInetUtils::netmaskToPrefixLen(netmask_);
    isMulticast_ = IN_MULTICAST(value);
    isBroadcast_ = prefixLen_ < 31 && value == (value | ~netmask_);
    isLoopback_ = value == INADDR_LOOPBACK;
    isAny_ = value == INADDR_ANY;
}

void DtInetAddr::initIPv6() {
    const address_v6 value = address_->to_v6();
    isMulticast_ = value.is_multicast();
    isBroadcast_ = isAllNodesOfLink(value);
    isLoopback_ = value.is_loopback();
    isAny_ = value.is_unspecified();
    if (scope_ == 0)
        scope_ = static_cast<DtInetIpv6Scope>(value.scope_id());
}

bool DtInetAddr::fromAddrStorage(const sockaddr_storage& addr) {
    if (addr.ss_family == AF_INET) {
        *address_ = fromSockaddr(readSockaddr<sockaddr_in>(&addr));
    } else if (addr.ss_family == AF_INET6) {
        const auto ipv6 = readSockaddr<sockaddr_in6>(&addr);
        *address_ = fromSockaddr(ipv6, ipv6.sin6_scope_id);
    } else {
        return false;
    }
    netmask_ = 0;
    prefixLen_ = 0;
    scope_ = 0;
    init();
    return true;
}

// -------------------------------------------------------------------------------------------
// What the address is

DtString DtInetAddr::toDtString(bool) const {
    return addressText(*address_);
}

DtInetUtils::DtInetAddrFamily DtInetAddr::family() const {
    if (isIPv4())
        return DtInetUtils::IPv4;
    return isIPv6() ? DtInetUtils::IPv6 : DtInetUtils::NoFamily;
}

bool DtInetAddr::isIPv4() const {
    return address_->is_v4();
}

bool DtInetAddr::isIPv6() const {
    return address_->is_v6();
}

void DtInetAddr::setNetmask(unsigned int netmask) {
    if (!isIPv4())
        return;
    netmask_ = netmask;
    prefixLen_ = DtInetUtils::netmaskToPrefixLen(netmask);
}

unsigned int DtInetAddr::netmask() const {
    return netmask_;
}

void DtInetAddr::setPrefixLen(unsigned long prefixLen) {
    prefixLen_ = prefixLen;
    if (isIPv4())
        netmask_ = prefixLen > 32
                       ? 0
                       : DtInetUtils::prefixLenToIpv4Netmask(static_cast<unsigned int>(prefixLen));
}

unsigned long DtInetAddr::prefix() const {
    return prefixLen_;
}

bool DtInetAddr::isMulticast() const {
    return isMulticast_;
}

bool DtInetAddr::isBroadcast() const {
    return isBroadcast_;
}

bool DtInetAddr::isLoopback() const {
    return isLoopback_;
}

bool DtInetAddr::isAnyAddr() const {
    return isAny_;
}

const DtInetAddr& DtInetAddr::getBroadcastAddr() {
    if (isIPv4()) {
        if (broadcastAddr_ == nullptr)
            broadcastAddr_ = std::make_unique<DtInetAddr>(DtInetUtils::IPv4);
        *broadcastAddr_ = DtInetAddr(toULong() | ~netmask_, netmask_);
    } else if (broadcastAddr_ == nullptr) {
        broadcastAddr_ = std::make_unique<DtInetAddr>("FF02::1");
    }
    return *broadcastAddr_;
}

const DtInetAddr& DtInetAddr::getLoopbackAddr() {
    if (loopbackAddr_ == nullptr)
        loopbackAddr_ = std::make_unique<DtInetAddr>(
            loopbackAddress(isIPv6() ? DtInetUtils::IPv6 : DtInetUtils::IPv4));
    return *loopbackAddr_;
}

// -------------------------------------------------------------------------------------------
// Conversions

int DtInetAddr::toSockaddr(sockaddr_in* out) const {
    if (!isIPv4())
        return -1;
    out->sin_family = AF_INET;
    out->sin_addr.s_addr = htonl(toULong());
    return 0;
}

int DtInetAddr::toSockaddr(sockaddr_in6* out) const {
    if (!isIPv6())
        return -1;
    const address_v6 value = address_->to_v6();
    const address_v6::bytes_type bytes = value.to_bytes();
    out->sin6_family = AF_INET6;
    std::memcpy(out->sin6_addr.s6_addr, bytes.data(), bytes.size());
    out->sin6_scope_id = static_cast<DtInetIpv6Scope>(value.scope_id());
    return 0;
}

int DtInetAddr::toAddrStorage(sockaddr_storage* out) const {
    switch (family()) {
        case DtInetUtils::IPv4:
            return writeStorage<sockaddr_in>(*this, out);
        case DtInetUtils::IPv6:
            return writeStorage<sockaddr_in6>(*this, out);
        default:
            return 0;
    }
}

DtU128 DtInetAddr::toU128() const {
    if (isIPv4())
        return DtU128(0, toULong());
    const address_v6::bytes_type bytes = address_->to_v6().to_bytes();
    return DtU128(bigEndian64(bytes.data()), bigEndian64(bytes.data() + 8));
}

unsigned int DtInetAddr::toULong() const {
    return address_->is_v4() ? address_->to_v4().to_uint() : 0;
}

void DtInetAddr::setScope(DtInetIpv6Scope scope) {
    if (address_->to_v6().scope_id() == 0)
        scope_ = scope;
}

DtInetIpv6Scope DtInetAddr::scope() const {
    return scope_;
}

boost::asio::ip::address& DtInetAddr::boostAddress() {
    return *address_;
}

const boost::asio::ip::address& DtInetAddr::boostAddress() const {
    return *address_;
}

// -------------------------------------------------------------------------------------------
// Constants and comparison

const DtInetAddr& DtInetAddr::inaddrAny(DtInetUtils::DtInetAddrFamily family) {
    static const DtInetAddr& ipv4 = *new DtInetAddr(DtInetUtils::IPv4);
    static const DtInetAddr& ipv6 = *new DtInetAddr(DtInetUtils::IPv6);
    return family == DtInetUtils::IPv4 ? ipv4 : ipv6;
}

const DtInetAddr& DtInetAddr::loopbackAddress(DtInetUtils::DtInetAddrFamily family) {
    static const DtInetAddr& ipv4 = *new DtInetAddr("127.0.0.1");
    static const DtInetAddr& ipv6 = *new DtInetAddr("::1");
    return family == DtInetUtils::IPv6 ? ipv6 : ipv4;
}

bool operator==(const DtInetAddr& left, const DtInetAddr& right) {
    if (!bothIPv6(left, right))
        return left.boostAddress() == right.boostAddress();
    const auto [first, second] = withOneScope(left, right);
    return first == second;
}

bool operator!=(const DtInetAddr& left, const DtInetAddr& right) {
    return !(left == right);
}

bool operator<(const DtInetAddr& left, const DtInetAddr& right) {
    if (!bothIPv6(left, right))
        return left.boostAddress() < right.boostAddress();
    const auto [first, second] = withOneScope(left, right);
    return first < second;
}

bool operator>(const DtInetAddr& left, const DtInetAddr& right) {
    return right < left;
}

// -------------------------------------------------------------------------------------------
// IPv4 numbers

const char* DtInetAddrString(unsigned int hostAddr) {
    return ::inet_ntoa(in_addr{htonl(hostAddr)});
}

unsigned int DtStringToInetAddr(const char* text) {
    addrinfo* results = nullptr;
    if (::getaddrinfo(text, nullptr, nullptr, &results) != 0) {
        DtWarn << "DtStringToInetAddr: Could not resolve " << (text != nullptr ? text : "")
               << " returning 0" << std::endl;
        return 0;
    }
    sockaddr_in first{};
    std::memcpy(&first, results->ai_addr, sizeof first);
    ::freeaddrinfo(results);
    return ntohl(first.sin_addr.s_addr);
}

unsigned int DtStringToInetAddr(const DtString& text) {
    return DtStringToInetAddr(text.c_str());
}

unsigned int DtHexStringToInetAddr(const char* text) {
    if (text == nullptr || ::strnlen(text, 8) < 8)
        return 0xFFFFFFFF;
    std::string octets;
    for (int i = 0; i < 8; i += 2) {
        octets += i == 0 ? "0x" : ".0x";
        octets.append(text + i, 2);
    }
    return ntohl(::inet_addr(octets.c_str()));
}

}  // namespace OrynRti
