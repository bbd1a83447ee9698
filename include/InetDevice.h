#ifndef RTIQNUTIL_INETDEVICE_H
#define RTIQNUTIL_INETDEVICE_H

#include <vector>

#include "Export.h"
#include "InetAddr.h"
#include "String.h"

namespace OrynRti {

struct LocalInterface;

/// One network interface of this host as it was when the object was made: what a socket is
/// bound to, joins groups on and sends broadcasts through.
///
///     DtInetDevice device("eth0");
///     if (device.isOk() && device.hasIPv4())
///         socketAddress = device.ipv4Addr();
///
/// Ownership: a value; nothing is kept open
/// Errors:    an interface that does not exist is not ok; when the system cannot list the
///            interfaces there is a warning and none is found
/// Cost:      asks the system for all interfaces at every construction and search
class DT_EXPORT DtInetDevice {
public:
    /// The interface of that name, else the one that has that address, given as a literal or
    /// as a keyword that DtInetAddr knows; see findInterface. Host names are not resolved. A
    /// device tells the addresses of both families, so `family` changes nothing.
    explicit DtInetDevice(const DtString& nameOrAddress,
                          DtInetUtils::DtInetAddrFamily family = DtInetUtils::IPv4);

    /// Whether the interface exists, with or without addresses.
    bool isOk() const;

    const DtString& name() const;  ///< Such as "eth0"; empty when it does not exist.
    unsigned int index() const;    ///< The system's number, which is also the IPv6 scope.

    /// The largest packet in bytes, headers of the Internet layer included.
    unsigned int mtu() const;

    /// The system's flags of the interface. @{
    bool isUp() const;
    bool isLoopback() const;
    bool isBroadcastCapable() const;
    bool isMulticastCapable() const;
    /// @}

    /// Whether the interface has an address of the family. @{
    bool hasIPv4() const;
    bool hasIPv6() const;
    /// @}

    /// The address that the interface was found by, else the first of the family, with netmask,
    /// prefix length and, when link-local, scope; the "any" address when there is none. @{
    const DtInetAddr& ipv4Addr() const;
    const DtInetAddr& ipv6Addr() const;
    /// @}

    /// A new object, owned by the caller, for the interface that has this address; null when
    /// none has it. All of 127.0.0.0/8 belongs to the loopback interface. An "any" address gives
    /// the first interface that is up, not loopback, and has an address of that family, else
    /// the loopback interface. With a scope, a link-local address is looked for there only.
    static DtInetDevice* findInterface(const DtInetAddr& addr);

    /// All interfaces, in the order of their indices as a rule.
    static std::vector<DtInetDevice> interfaces();

private:
    DtInetDevice();
    explicit DtInetDevice(const LocalInterface& interface);

    static DtInetDevice locate(const std::vector<LocalInterface>& all, const DtInetAddr& addr);
    void report(const DtInetAddr& addr);

    bool exists_ = false;
    DtString name_;
    unsigned int index_ = 0;
    unsigned int mtu_ = 0;
    unsigned int flags_ = 0;
    bool hasIPv4_ = false;
    bool hasIPv6_ = false;
    DtInetAddr ipv4Addr_;
    DtInetAddr ipv6Addr_;
};

}  // namespace OrynRti

#endif
