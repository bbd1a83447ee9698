#ifndef RTIQNUTIL_INETADDR_H
#define RTIQNUTIL_INETADDR_H

#include <cstdint>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>

#include "Export.h"
#include "InetAddrUtils.h"
#include "String.h"

namespace boost::asio::ip {
class address;
}

namespace OrynRti {

/// The interface index of a link-local IPv6 address; 0 for none.
using DtInetIpv6Scope = std::uint32_t;

/// A 128-bit unsigned number, such as an IPv6 address, as two halves in host order.
class DtU128 {
public:
    constexpr DtU128() = default;
    /// The upper and the lower 64 bits.
    constexpr DtU128(std::uint64_t high, std::uint64_t low) : high_(high), low_(low) {}

    constexpr std::uint64_t high() const { return high_; }  ///< The upper 64 bits.
    constexpr std::uint64_t low() const { return low_; }    ///< The lower 64 bits.

private:
    std::uint64_t high_ = 0;
    std::uint64_t low_ = 0;
};

/// By value. @{
constexpr bool operator==(const DtU128& left, const DtU128& right) {
    return left.high() == right.high() && left.low() == right.low();
}
constexpr bool operator!=(const DtU128& left, const DtU128& right) {
    return !(left == right);
}
constexpr bool operator<(const DtU128& left, const DtU128& right) {
    return left.high() != right.high() ? left.high() < right.high() : left.low() < right.low();
}
/// @}

/// One IPv4 or IPv6 host address, with the netmask and prefix length it came with and what kind
/// of address it is. Every socket, endpoint and device takes and returns addresses in this form.
///
///     DtInetAddr group("239.1.2.3");
///     DtInetAddr local("192.168.1.20", "255.255.255.0");
///     local.prefix();                         // 24
///     local.getBroadcastAddr().toDtString();  // "192.168.1.255"
///
/// Built from a value, an IPv4 address without a netmask takes that of its class (A 8, B 16,
/// C 24 bits, else 32), and one without a prefix length the length of its netmask. What kind of
/// address it is is found out then, and stays when the setters change netmask or prefix.
///
/// Threads:   the default; note that getBroadcastAddr() and getLoopbackAddr() are not const
/// Ownership: a value; boostAddress() and the two addresses above last as long as the object
/// Errors:    text that is no address and cannot be resolved gives 0.0.0.0 without a word
/// Cost:      one allocation per object; text other than a literal or keyword asks the system's
///            name service and waits for it
class DT_EXPORT DtInetAddr {
public:
    /// The "any" address: :: for IPv6, 0.0.0.0 (netmask 255.0.0.0, prefix length 0) for every
    /// other value.
    explicit DtInetAddr(DtInetUtils::DtInetAddrFamily family);

    /// An address text as newBoostAddrFromString takes it. `mask` is a dotted netmask, anything
    /// else counts as none; see DtInetUtils::convertStringToPrefixLen. @{
    explicit DtInetAddr(const DtString& addr, const DtString& mask = DtString::nullString());
    explicit DtInetAddr(const char* addr, const char* mask = nullptr);
    /// @}

    /// Copies a boost::asio::ip::address; null gives 0.0.0.0.
    explicit DtInetAddr(void* boostAddress);

    /// Netmasks and plain IPv4 addresses are in host order; 0 stands for "not given". @{
    explicit DtInetAddr(const sockaddr_in& addr, unsigned int netmask = 0);
    explicit DtInetAddr(unsigned int hostAddr, unsigned int netmask = 0);
    /// @}

    /// Keeps the scope id.
    explicit DtInetAddr(const sockaddr_in6& addr, unsigned int prefixLen = 0);

    /// Drops the scope id of an IPv6 address. A family other than AF_INET is read as AF_INET6.
    explicit DtInetAddr(const sockaddr_storage& addr, unsigned int prefixLen = 0);

    /// For IPv4 the low 32 bits count. Any other family gives an IPv6 address.
    explicit DtInetAddr(const DtU128& addr, DtInetUtils::DtInetAddrFamily family,
                        unsigned int prefixLen = 0);

    DtInetAddr(const DtInetAddr& other);  ///< Netmask, prefix length and scope go along.

    /// The broadcast and loopback addresses that this object has already handed out stay as
    /// they are; that of an IPv6 address is never worked out again.
    DtInetAddr& operator=(const DtInetAddr& other);

    // The order of the virtual functions is fixed.

    virtual ~DtInetAddr();

    /// Dotted quad or the standard IPv6 text, with '%' and the zone when the Boost value has a
    /// scope id. The flag has no effect.
    virtual DtString toDtString(bool flag = false) const;

    /// Every address is of one family or the other. @{
    virtual DtInetUtils::DtInetAddrFamily family() const;
    virtual bool isIPv4() const;
    virtual bool isIPv6() const;
    /// @}

    /// IPv4 only (else ignored): sets netmask and prefix length.
    virtual void setNetmask(unsigned int netmask);
    virtual unsigned int netmask() const;  ///< In host order.

    /// For IPv4 sets the netmask as well; to 0 when the length is above 32.
    virtual void setPrefixLen(unsigned long prefixLen);
    virtual unsigned long prefix() const;  ///< The prefix length in bits.

    /// 224.0.0.0/4 or ff00::/8.
    virtual bool isMulticast() const;

    /// IPv4: all host bits are one, of which there are at least two. IPv6: the link-local group
    /// of all nodes, FF02::1.
    virtual bool isBroadcast() const;

    /// Exactly 127.0.0.1 or ::1.
    virtual bool isLoopback() const;
    virtual bool isAnyAddr() const;  ///< 0.0.0.0 or ::.

    /// The broadcast address of this address's network, worked out anew for IPv4 at every call;
    /// FF02::1 for IPv6.
    virtual const DtInetAddr& getBroadcastAddr();

    /// The loopback address of the same family.
    virtual const DtInetAddr& getLoopbackAddr();

    /// Fill in family and address (for IPv6 the Boost value's scope id, too) and leave the rest
    /// alone. 0, or -1 with nothing written when the address is of the other family. @{
    virtual int toSockaddr(sockaddr_in* out) const;
    virtual int toSockaddr(sockaddr_in6* out) const;
    virtual int toAddrStorage(sockaddr_storage* out) const;
    /// @}

    /// An IPv4 address stands in the low 32 bits.
    virtual DtU128 toU128() const;

    /// Host order; 0 for IPv6.
    virtual unsigned int toULong() const;

    /// Sets what scope() gives, unless the Boost value has a scope id of its own; the Boost
    /// value stays as it is. On an IPv4 address throws boost::asio::ip::bad_address_cast.
    virtual void setScope(DtInetIpv6Scope scope);
    virtual DtInetIpv6Scope scope() const;  ///< 0 for none.

    /// The value itself. Who changes it owes that family and kind stay the same. @{
    virtual boost::asio::ip::address& boostAddress();
    virtual const boost::asio::ip::address& boostAddress() const;
    /// @}

    // The following have no slot.

    /// Takes the address that a system call gave, scope id included, as an assignment from the
    /// sockaddr constructors would, but without an allocation. False, and no change, when its
    /// family is neither AF_INET nor AF_INET6.
    bool fromAddrStorage(const sockaddr_storage& addr);

    /// Shared constants, never destroyed. An unknown family gives IPv6 for "any" and IPv4 for
    /// loopback. @{
    static const DtInetAddr& inaddrAny(DtInetUtils::DtInetAddrFamily family);
    static const DtInetAddr& loopbackAddress(DtInetUtils::DtInetAddrFamily family);
    /// @}

private:
    void initFromStrings(const char* addr, const char* mask);
    void init();
    void initIPv4();
    void initIPv6();

    // The order of the members is fixed.
    std::unique_ptr<boost::asio::ip::address> address_;
    unsigned int netmask_ = 0;
    std::uint64_t prefixLen_ = 0;
    std::unique_ptr<DtInetAddr> broadcastAddr_;
    std::unique_ptr<DtInetAddr> loopbackAddr_;
    bool isBroadcast_ = false;
    bool isMulticast_ = false;
    bool isLoopback_ = false;
    bool isAny_ = false;
    DtInetIpv6Scope scope_ = 0;
};

/// By address, IPv4 before IPv6. Netmasks do not count. An IPv6 address without a scope id in
/// its Boost value equals the same address with any scope id; do not mix the two in an ordered
/// container. @{
DT_EXPORT bool operator==(const DtInetAddr& left, const DtInetAddr& right);
DT_EXPORT bool operator!=(const DtInetAddr& left, const DtInetAddr& right);
DT_EXPORT bool operator<(const DtInetAddr& left, const DtInetAddr& right);
DT_EXPORT bool operator>(const DtInetAddr& left, const DtInetAddr& right);
/// @}

/// Reads an address text into a new Boost value, owned by the caller. In this order: null or
/// empty text is 0.0.0.0; a literal, brackets and zone allowed ("fe80::1%eth0"; inside brackets
/// the zone does not count, nor does one that names no interface); "localhost", "loopback",
/// "inaddr_any", "in6addr_any" in any case; a host name, whose first address counts, or 0.0.0.0
/// when it cannot be resolved. Throws DtTemplatedException<DtInvalidInputNumber> when the name
/// service knows the host but no address of it.
DT_EXPORT boost::asio::ip::address* newBoostAddrFromString(const char* text);

/// The dotted quad of an IPv4 address in host order, in the buffer of inet_ntoa: the next call
/// overwrites it, from whichever thread.
DT_EXPORT const char* DtInetAddrString(unsigned int hostAddr);

/// The IPv4 address, in host order, of a literal or host name; 0 and a warning when it cannot be
/// resolved. The first answer of the name service counts, and is read as IPv4: a host that is
/// known by an IPv6 address first gives a meaningless number, 0 as a rule. @{
DT_EXPORT unsigned int DtStringToInetAddr(const char* text);
DT_EXPORT unsigned int DtStringToInetAddr(const DtString& text);
/// @}

/// The host-order value of eight hexadecimal digits, "c0a80001" for 192.168.0.1; characters
/// after them are not looked at. 0xFFFFFFFF when the text is shorter or no such number.
DT_EXPORT unsigned int DtHexStringToInetAddr(const char* text);

}  // namespace OrynRti

#endif
