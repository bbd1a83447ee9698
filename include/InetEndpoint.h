#ifndef RTIQNUTIL_INETENDPOINT_H
#define RTIQNUTIL_INETENDPOINT_H

#include <memory>

#include "Export.h"
#include "InetAddr.h"
#include "String.h"

namespace boost::asio::ip {
class tcp;
class udp;
template <typename InternetProtocol>
class basic_endpoint;
}  // namespace boost::asio::ip

namespace OrynRti {

class DtInetDevice;

/// The transport protocol of an endpoint.
enum DtInetProtocol : int { DtInetUdp = 0, DtInetTcp = 1, DtInetNoProtocol = 99 };

/// One end of a socket: an address, a port and a transport protocol.
///
///     DtInetEndpoint group(DtInetAddr("239.1.2.3"), 3000, DtInetUdp);
///     DtString host("simhost.example");
///     DtInetEndpoint peer(host, 3000, DtInetUdp, DtInetUtils::IPv4);
///     if (!peer.isOk())
///         DtWarn << peer.getLastErrorString() << std::endl;
///
/// Beside its three values it keeps the Boost endpoint of its protocol, ready for use, and its
/// display texts.
///
/// Threads:   toDtString() writes the kept texts, so even const use by several threads at once
///            needs outside locking, or a copy each
/// Ownership: a value; tcpEndpoint() and udpEndpoint() last until the next change
/// Errors:    a failed host lookup sets a flag and a text, see isOk() and getLastErrorString()
/// Cost:      one allocation for the address and one for the Boost endpoint, kept for changes;
///            hostLookup waits for the system's name service
class DT_EXPORT DtInetEndpoint {
public:
    /// 0.0.0.0, port 0, no protocol.
    DtInetEndpoint();

    /// Ports are in host order; 0 stands for any port.
    DtInetEndpoint(const DtInetAddr& addr, unsigned short port, DtInetProtocol protocol);

    /// 0.0.0.0 and then hostLookup(host, port, family).
    DtInetEndpoint(DtString& host, unsigned short port, DtInetProtocol protocol,
                   DtInetUtils::DtInetAddrFamily family);

    /// The display texts and the text of a failed lookup go along.
    DtInetEndpoint(const DtInetEndpoint& other);

    /// Leaves the error flag and text of this endpoint alone, and its Boost endpoint of a kind
    /// that `other` has none of.
    DtInetEndpoint& operator=(const DtInetEndpoint& other);

    // The order of the virtual functions is fixed.

    virtual ~DtInetEndpoint();

    /// Sets the address from a text: the name of a network interface of this host (its IPv4
    /// address; its IPv6 address when `family` is IPv6 and it has one), a literal with or
    /// without suffix (its own family counts), or a host name with or without ":port" (of the
    /// family, or of any when that is neither). `port` counts when the endpoint has none yet.
    /// A port or prefix length in the text is cut off and has no effect; a dotted netmask
    /// becomes the address's. False when it failed; the address is then unchanged, and isOk()
    /// is false. An IPv4 (IPv6) name lookup needs an interface with such an address other than
    /// loopback, even for "localhost"; with no family given "localhost" always works.
    virtual bool hostLookup(DtString& text, unsigned short port,
                            DtInetUtils::DtInetAddrFamily family);

    /// Address and port, the latter in host order. With no protocol chosen, setting one of them
    /// leaves an already built display text as it is. @{
    virtual void setAddress(const DtInetAddr& addr);
    virtual const DtInetAddr& address() const;
    virtual void setPort(unsigned short port);
    virtual unsigned short port() const;
    /// @}

    /// Protocol, and the family of the address. @{
    virtual void setProtocol(DtInetProtocol protocol);
    virtual DtInetProtocol protocol() const;
    virtual DtInetUtils::DtInetAddrFamily family() const;
    virtual void setEndpoint(DtInetProtocol protocol, const DtInetAddr& addr, unsigned short port);
    virtual bool isIPv4() const;
    virtual bool isIPv6() const;
    virtual bool isTcp() const;
    virtual bool isUdp() const;
    /// @}

    /// As DtInetAddr::toSockaddr, with the port. @{
    virtual int toSockaddr(sockaddr_in* out);
    virtual int toSockaddr(sockaddr_in6* out);
    /// @}

    /// "10.0.0.1:3000" or "[::1]:3000", with "any" for port 0; with the protocol
    /// "10.0.0.1:3000(UDP)" or "(TCP)".
    virtual DtString toDtString(bool withProtocol = false) const;

    /// False after a failed lookup, until getLastErrorString() is called; a later lookup that
    /// succeeds does not change that.
    virtual bool isOk();

    /// The text of the failed lookup, which is forgotten by this: isOk() is true again.
    virtual DtString getLastErrorString();

    /// Null unless the endpoint is of that protocol (but see the assignment). @{
    virtual boost::asio::ip::basic_endpoint<boost::asio::ip::tcp>* tcpEndpoint();
    virtual boost::asio::ip::basic_endpoint<boost::asio::ip::udp>* udpEndpoint();
    /// @}

    // The following has no slot.

    /// As setEndpoint with the address and port that a system call gave, without an allocation
    /// when the endpoint already has this protocol. False, and no change, for other families
    /// than IPv4 and IPv6.
    bool fromAddrStorage(DtInetProtocol protocol, const sockaddr_storage& addr);

private:
    friend DT_EXPORT bool operator==(const DtInetEndpoint&, const DtInetEndpoint&);
    friend DT_EXPORT bool operator<(const DtInetEndpoint&, const DtInetEndpoint&);

    void initEndpoint();
    void take(const DtInetEndpoint& other);
    bool takeStorage(DtInetProtocol protocol, const sockaddr_storage& addr);
    bool lookUp(const DtString& text, DtInetUtils::DtInetAddrFamily family);
    bool takeInterfaceAddress(const DtInetDevice& device, DtInetUtils::DtInetAddrFamily family);
    bool resolve(const DtString& host, DtInetUtils::DtInetAddrFamily family);
    void buildTexts() const;

    // The order of the members is fixed.
    std::unique_ptr<boost::asio::ip::basic_endpoint<boost::asio::ip::tcp>> tcpEndpoint_;
    std::unique_ptr<boost::asio::ip::basic_endpoint<boost::asio::ip::udp>> udpEndpoint_;
    DtInetAddr address_;
    unsigned short port_ = 0;
    DtInetProtocol protocol_ = DtInetNoProtocol;
    bool error_ = false;
    DtString lastErrorText_;
    mutable bool textsCurrent_ = false;
    mutable DtString text_;
    mutable DtString textWithProtocol_;
    DtString hostText_;        ///< Reserved for the text that the endpoint was built from.
    bool asReceived_ = false;  ///< All of it is as fromAddrStorage() made it, for UDP.
};

/// By the Boost endpoints of the left side's protocol: address with scope id, then port. An
/// endpoint without a protocol is neither equal to nor below any other, itself included, so it
/// does not belong in an ordered container. `!=` and `>` follow from the other two. @{
DT_EXPORT bool operator==(const DtInetEndpoint& left, const DtInetEndpoint& right);
DT_EXPORT bool operator!=(const DtInetEndpoint& left, const DtInetEndpoint& right);
DT_EXPORT bool operator<(const DtInetEndpoint& left, const DtInetEndpoint& right);
DT_EXPORT bool operator>(const DtInetEndpoint& left, const DtInetEndpoint& right);
/// @}

}  // namespace OrynRti

#endif
