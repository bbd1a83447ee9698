#ifndef RTIQNUTIL_INETADDRUTILS_H
#define RTIQNUTIL_INETADDRUTILS_H

#include "Export.h"
#include "String.h"

namespace OrynRti {

/// Questions about address texts, without building an address: which family, which kind, what
/// stands behind the address. A "network resource locator" is an address with an optional
/// suffix: a port ("10.0.0.1:3000", "[::1]:3000"), a dotted netmask ("10.0.0.1/255.0.0.0") or a
/// prefix length ("10.0.0.1/8", "fe80::1%eth0/64").
///
///     DtString address, suffix;
///     int kind;
///     if (DtInetUtils::parseNetResLoc("[::1]:3000", address, suffix, kind) == DtInetUtils::IPv6)
///         ...   // address "::1", suffix "3000", kind PortSuffix
///
/// Nothing here resolves a host name. Cleared strings count as empty. Outputs may be the input.
///
/// Threads:   everything from any thread
class DT_EXPORT DtInetUtils {
public:
    /// The numbers are those that people use for the families.
    enum DtInetAddrFamily : int { NoFamily = 0, IPv4 = 4, IPv6 = 6 };

    /// What stands behind the address of a locator.
    enum DtSuffixKind : int { NoSuffix = 0, PortSuffix = 1, NetmaskSuffix = 2, PrefixSuffix = 3 };

    DtInetUtils() = delete;

    // --------------------------------------------------------------------- kinds of addresses

    /// The family of a bare address (brackets and zone allowed) or of an IPv4 address with a
    /// dotted netmask; NoFamily for anything else. What follows a ']' or '%' is not looked at,
    /// so "[::1]:5000" is IPv6. A readable number as port or prefix length makes the text no
    /// address; an unreadable one counts as 0, which is a prefix length but no port: "10.0.0.1/x"
    /// is IPv4, "10.0.0.1:x" and "10.0.0.1/8" are nothing.
    static DtInetAddrFamily addrStringFamily(const DtString& text);

    /// Whether addrStringFamily() is this family. @{
    static bool isIpv4AddrString(const DtString& text);
    static bool isIpv6AddrString(const DtString& text);
    /// @}

    /// Always false: no text is taken for this host's own name. Ask isLoopbackAddrString.
    static bool isLocalhostAddrString(const DtString& text);

    // The following look at the address part of a locator; a text that is none gives false.

    /// Exactly 127.0.0.1 or ::1.
    static bool isLoopbackAddrString(const DtString& text);

    /// 169.254.0.0/16 or fe80::/10.
    static bool isLinkLocalAddrString(const DtString& text);

    /// 224.0.0.0/4 or ff00::/8.
    static bool isMulticastAddrString(const DtString& text);

    /// Whether DtInetAddr(addr, mask).isBroadcast() holds, which takes a literal or a keyword
    /// such as "localhost", not a locator. Without a mask the broadcast addresses of this
    /// host's interfaces count as well, for IPv6 also the node-local group FF01::1. A host name
    /// gives false. As for DtInetAddr, 255.255.255.255 alone is no broadcast address, since its
    /// class leaves no host bits.
    static bool isBroadcastAddrString(const DtString& addr,
                                      const DtString& mask = DtString::nullString());

    // ----------------------------------------------------------------------------- locators

    /// Splits a locator and returns the family of its address. A text without a literal
    /// address gives NoFamily; it is split at the first ':' after its first character into host
    /// and port, else it is all host.
    static DtInetAddrFamily parseNetResLoc(const DtString& text, DtString& addr, DtString& suffix,
                                           int& kind);

    /// The halves of parseNetResLoc; false, with the outputs as they were, when the text is no
    /// locator of that family. White space around address and suffix is removed. The suffix is
    /// not checked; a slash followed by a broken dotted netmask gives the suffix with NoSuffix.
    static bool parseIpv4NetResLoc(const DtString& text, DtString& addr, DtString& suffix,
                                   int& kind);

    /// A port needs brackets around the address. The zone stays in `addr`, unchecked; brackets
    /// do not.
    static bool parseIpv6NetResLoc(const DtString& text, DtString& addr, DtString& suffix,
                                   int& kind);

    // ------------------------------------------------------------------ netmasks (host order)

    /// 0 when the length is above 32.
    static unsigned int prefixLenToIpv4Netmask(unsigned int prefixLen);

    /// The number of leading one bits, whatever follows the first zero.
    static unsigned int netmaskToPrefixLen(unsigned int netmask);

    /// The mask of "255.0.0.0", "8" or "10.0.0.1/8"; 0 when it cannot be read. What precedes
    /// the first '/' is not looked at.
    static unsigned int convertStringToNetmask(DtString text);

    /// The prefix length of a dotted mask such as "255.0.0.0". A plain number ("24", "/24")
    /// gives 0 as any unreadable text does, so that an address built with it falls back to the
    /// netmask of its class.
    static unsigned int convertStringToPrefixLen(DtString text);

    // ---------------------------------------------------------------------------------------

    /// Cuts the text, in place, at its first '%' and then at its first ']', and returns where
    /// it goes on behind its first '[': "[fe80::1%eth0]:5000" becomes "fe80::1". Null gives null.
    static char* removeZoneIndex(char* text);

    /// Bytes that a buffer needs so that every datagram fits.
    static unsigned int getMaxPacketBufferSize();
};

}  // namespace OrynRti

#endif
