#include "InetEndpoint.h"

#include <arpa/inet.h>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <cstring>
#include <string>

#include "InetDevice.h"
#include "net/NameLookup.h"
#include "net/SockaddrCopy.h"

namespace OrynRti {

namespace {

using boost::asio::ip::tcp;
using boost::asio::ip::udp;

template <typename InternetProtocol>
typename InternetProtocol::endpoint makeEndpoint(const DtInetAddr& addr, unsigned short port) {
    if (!addr.isAnyAddr())
        return {addr.boostAddress(), port};
    return {addr.isIPv6() ? InternetProtocol::v6() : InternetProtocol::v4(), port};
}

/// Changes an existing value in place, so that a receiving loop need not allocate.
template <typename Value>
void assignOrCreate(std::unique_ptr<Value>& target, const Value& value) {
    if (target != nullptr)
        *target = value;
    else
        target = std::make_unique<Value>(value);
}

template <typename Value>
std::unique_ptr<Value> copyOf(const std::unique_ptr<Value>& source) {
    return source != nullptr ? std::make_unique<Value>(*source) : nullptr;
}

unsigned short portOf(const sockaddr_storage& storage) {
    return ntohs(storage.ss_family == AF_INET ? readSockaddr<sockaddr_in>(&storage).sin_port
                                              : readSockaddr<sockaddr_in6>(&storage).sin6_port);
}

/// Sizes that the compiler knows spare the call.
bool hasBytes(const udp::endpoint& endpoint, const void* addr) {
    return endpoint.size() == sizeof(sockaddr_in)
               ? std::memcmp(endpoint.data(), addr, sizeof(sockaddr_in)) == 0
               : std::memcmp(endpoint.data(), addr, sizeof(sockaddr_in6)) == 0;
}

const char* protocolText(DtInetProtocol protocol) {
    switch (protocol) {
        case DtInetTcp:
            return "(TCP)";
        case DtInetUdp:
            return "(UDP)";
        default:
            return "";
    }
}

}  // namespace

DtInetEndpoint::DtInetEndpoint() : address_(DtInetUtils::IPv4) {}

DtInetEndpoint::DtInetEndpoint(const DtInetAddr& addr, unsigned short port, DtInetProtocol protocol)
    : address_(addr), port_(port), protocol_(protocol) {
    initEndpoint();
}

DtInetEndpoint::DtInetEndpoint(DtString& host, unsigned short port, DtInetProtocol protocol,
                               DtInetUtils::DtInetAddrFamily family)
    : address_(DtInetUtils::IPv4), port_(port), protocol_(protocol) {
    DtInetEndpoint::hostLookup(host, port, family);
}

DtInetEndpoint::DtInetEndpoint(const DtInetEndpoint& other)
    : tcpEndpoint_(copyOf(other.tcpEndpoint_)),
      udpEndpoint_(copyOf(other.udpEndpoint_)),
      address_(other.address_),
      port_(other.port_),
      protocol_(other.protocol_),
      error_(other.error_),
      lastErrorText_(other.lastErrorText_),
      textsCurrent_(other.textsCurrent_),
      text_(other.text_),
      textWithProtocol_(other.textWithProtocol_),
      hostText_(other.hostText_),
      asReceived_(other.asReceived_) {}

DtInetEndpoint& DtInetEndpoint::operator=(const DtInetEndpoint& other) {
    const bool same = this == &other || (asReceived_ && other.asReceived_ &&
                                         hasBytes(*udpEndpoint_, other.udpEndpoint_->data()));
    if (!same)
        take(other);
    return *this;
}

[[gnu::noinline]] void DtInetEndpoint::take(const DtInetEndpoint& other) {
    if (other.tcpEndpoint_ != nullptr)
        assignOrCreate(tcpEndpoint_, *other.tcpEndpoint_);
    if (other.udpEndpoint_ != nullptr)
        assignOrCreate(udpEndpoint_, *other.udpEndpoint_);
    address_ = other.address_;
    port_ = other.port_;
    protocol_ = other.protocol_;
    textsCurrent_ = false;
    asReceived_ = other.asReceived_ && tcpEndpoint_ == nullptr;
}

DtInetEndpoint::~DtInetEndpoint() = default;

void DtInetEndpoint::initEndpoint() {
    if (protocol_ == DtInetTcp)
        assignOrCreate(tcpEndpoint_, makeEndpoint<tcp>(address_, port_));
    else
        tcpEndpoint_.reset();
    if (protocol_ == DtInetUdp)
        assignOrCreate(udpEndpoint_, makeEndpoint<udp>(address_, port_));
    else
        udpEndpoint_.reset();
    textsCurrent_ = false;
    asReceived_ = false;
}

// -------------------------------------------------------------------------------------------
// Host lookup

bool DtInetEndpoint::hostLookup(DtString& text, unsigned short port,
                                DtInetUtils::DtInetAddrFamily family) {
    if (port_ == 0)
        port_ = port;
    const bool found = lookUp(text, family);
    if (!found)
        error_ = true;
    initEndpoint();
    return found;
}

bool DtInetEndpoint::lookUp(const DtString& text, DtInetUtils::DtInetAddrFamily family) {
    DtString host;
    DtString suffix;
    int kind = DtInetUtils::NoSuffix;
    if (DtInetUtils::parseNetResLoc(text, host, suffix, kind) != DtInetUtils::NoFamily) {
        address_ = kind == DtInetUtils::NetmaskSuffix ? DtInetAddr(host, suffix) : DtInetAddr(host);
        return true;
    }
    const DtInetDevice device(text, DtInetUtils::IPv4);
    if (device.isOk() && device.name() == text)
        return takeInterfaceAddress(device, family);
    if (resolve(host, family))
        return true;
    lastErrorText_ = (std::string("Host lookup failed for ") + text.stdString()).c_str();
    return false;
}

bool DtInetEndpoint::takeInterfaceAddress(const DtInetDevice& device,
                                          DtInetUtils::DtInetAddrFamily family) {
    if (family == DtInetUtils::IPv6 && device.hasIPv6()) {
        address_ = device.ipv6Addr();
        return true;
    }
    if (device.hasIPv4()) {
        address_ = device.ipv4Addr();
        return true;
    }
    lastErrorText_ += "Local interface device ";
    lastErrorText_ += device.name();
    lastErrorText_ += " is inactive";
    return false;
}

/// The name service would take no host at all for this host.
bool DtInetEndpoint::resolve(const DtString& host, DtInetUtils::DtInetAddrFamily family) {
    using Flags = boost::asio::ip::resolver_base;
    if (host.isEmpty())
        return false;
    const auto lookUpHost = protocol_ == DtInetTcp ? &lookUpName<tcp> : &lookUpName<udp>;
    const NameLookup answer =
        lookUpHost(host.stdString(), std::to_string(port_),
                   Flags::address_configured | Flags::numeric_service, family);
    if (!answer.first)
        return false;
    address_ = DtInetAddr(answer.first->to_string().c_str());
    return true;
}

// -------------------------------------------------------------------------------------------
// Address, port and protocol

void DtInetEndpoint::setAddress(const DtInetAddr& addr) {
    address_ = addr;
    if (protocol_ != DtInetNoProtocol)
        initEndpoint();
}

const DtInetAddr& DtInetEndpoint::address() const {
    return address_;
}

void DtInetEndpoint::setPort(unsigned short port) {
    port_ = port;
    if (protocol_ != DtInetNoProtocol)
        initEndpoint();
}

unsigned short DtInetEndpoint::port() const {
    return port_;
}

void DtInetEndpoint::setProtocol(DtInetProtocol protocol) {
    protocol_ = protocol;
    initEndpoint();
}

DtInetProtocol DtInetEndpoint::protocol() const {
    return protocol_;
}

DtInetUtils::DtInetAddrFamily DtInetEndpoint::family() const {
    return address_.family();
}

void DtInetEndpoint::setEndpoint(DtInetProtocol protocol, const DtInetAddr& addr,
                                 unsigned short port) {
    protocol_ = protocol;
    address_ = addr;
    port_ = port;
    initEndpoint();
}

bool DtInetEndpoint::isIPv4() const {
    return address_.isIPv4();
}

bool DtInetEndpoint::isIPv6() const {
    return address_.isIPv6();
}

bool DtInetEndpoint::isTcp() const {
    return protocol_ == DtInetTcp;
}

bool DtInetEndpoint::isUdp() const {
    return protocol_ == DtInetUdp;
}

int DtInetEndpoint::toSockaddr(sockaddr_in* out) {
    const int result = address_.toSockaddr(out);
    if (result == 0)
        out->sin_port = htons(port_);
    return result;
}

int DtInetEndpoint::toSockaddr(sockaddr_in6* out) {
    const int result = address_.toSockaddr(out);
    if (result == 0)
        out->sin6_port = htons(port_);
    return result;
}

bool DtInetEndpoint::fromAddrStorage(DtInetProtocol protocol, const sockaddr_storage& addr) {
    // A receiving loop often hears from the same sender again.
    if (asReceived_ && protocol == DtInetUdp && hasBytes(*udpEndpoint_, &addr))
        return true;
    return takeStorage(protocol, addr);
}

[[gnu::noinline]] bool DtInetEndpoint::takeStorage(DtInetProtocol protocol,
                                                   const sockaddr_storage& addr) {
    if (!address_.fromAddrStorage(addr))
        return false;
    protocol_ = protocol;
    port_ = portOf(addr);
    initEndpoint();
    asReceived_ = protocol == DtInetUdp;
    return true;
}

// -------------------------------------------------------------------------------------------
// Texts, errors, Boost endpoints

DtString DtInetEndpoint::toDtString(bool withProtocol) const {
    if (!textsCurrent_)
        buildTexts();
    return withProtocol ? textWithProtocol_ : text_;
}

void DtInetEndpoint::buildTexts() const {
    const bool isIPv6 = family() == DtInetUtils::IPv6;
    text_ = isIPv6 ? "[" : "";
    text_ += address_.toDtString();
    text_ += isIPv6 ? "]:" : ":";
    text_ += port_ != 0 ? DtString(static_cast<unsigned int>(port_)) : DtString("any");
    textWithProtocol_ = text_;
    textWithProtocol_ += protocolText(protocol_);
    textsCurrent_ = true;
}

bool DtInetEndpoint::isOk() {
    return !error_;
}

DtString DtInetEndpoint::getLastErrorString() {
    DtString text = lastErrorText_;
    error_ = false;
    lastErrorText_ = "";
    return text;
}

tcp::endpoint* DtInetEndpoint::tcpEndpoint() {
    return tcpEndpoint_.get();
}

udp::endpoint* DtInetEndpoint::udpEndpoint() {
    asReceived_ = false;  // the caller may change it
    return udpEndpoint_.get();
}

// -------------------------------------------------------------------------------------------
// Comparison

bool operator==(const DtInetEndpoint& left, const DtInetEndpoint& right) {
    if (left.isTcp())
        return left.tcpEndpoint_ != nullptr && right.tcpEndpoint_ != nullptr &&
               *left.tcpEndpoint_ == *right.tcpEndpoint_;
    if (left.isUdp())
        return left.udpEndpoint_ != nullptr && right.udpEndpoint_ != nullptr &&
               (hasBytes(*left.udpEndpoint_, right.udpEndpoint_->data()) ||
                *left.udpEndpoint_ == *right.udpEndpoint_);
    return false;
}

bool operator!=(const DtInetEndpoint& left, const DtInetEndpoint& right) {
    return !(left == right);
}

bool operator<(const DtInetEndpoint& left, const DtInetEndpoint& right) {
    if (left.isTcp())
        return left.tcpEndpoint_ != nullptr && right.tcpEndpoint_ != nullptr &&
               *left.tcpEndpoint_ < *right.tcpEndpoint_;
    if (left.isUdp())
        return left.udpEndpoint_ != nullptr && right.udpEndpoint_ != nullptr &&
               *left.udpEndpoint_ < *right.udpEndpoint_;
    return false;
}

bool operator>(const DtInetEndpoint& left, const DtInetEndpoint& right) {
    return right < left;
}

}  // namespace OrynRti
