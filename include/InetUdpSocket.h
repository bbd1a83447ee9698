#ifndef RTIQNUTIL_INETUDPSOCKET_H
#define RTIQNUTIL_INETUDPSOCKET_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "Export.h"
#include "InetSocket.h"

namespace OrynRti {

class DtInetUdpSockPimpl;
struct DatagramCounters;
struct ReceivedDatagram;

/// A UDP socket over IPv4 or IPv6: unicast, broadcast and multicast, blocking, non-blocking, or
/// with a thread of its own that receives into and sends from queues.
///
///     DtInetEndpoint local(DtInetAddr("0.0.0.0"), 3000, DtInetUdp);
///     DtInetUdpSocket socket(local, 0, nullptr, theDtInetSockDefaultOptions, true);
///     if (!socket.isOk())
///         DtWarn << socket.getLastErrorString() << std::endl;
///     std::vector<char> buffer(DtInetUtils::getMaxPacketBufferSize());
///     DtInetEndpoint sender;
///     const int size = socket.recvFrom(buffer.data(), int(buffer.size()), sender, 0);
///
/// States: open, connected once connectToDestination() has fixed the peer, closed; a failure
/// gives -1, which refuses no later call and ends with the next success. A call on a socket that
/// is not open leaves the state alone.
///
/// One datagram is one call: it goes out whole or not at all, and one that does not fit the
/// buffers is lost and answered with DtInetSockIncomplete. That a peer reports its port as
/// unreachable is counted and otherwise ignored.
///
/// With DtInetSockAsyncReceive datagrams wait in a queue of the socket's, with
/// DtInetSockAsyncSend those to be sent. Both are bounded: a full send queue refuses with error
/// 105, a full receive queue drops what comes and counts it. An error on the thread is reported
/// once, by the next call.
///
/// Threads:   several may receive and send at the same time, and any may close the socket, which
///            ends receiving calls that wait; the rest as for DtInetSocket. No thread may be
///            inside a call when the socket is destroyed
/// Ownership: the socket frees its device
/// Errors:    texts begin with "DtInetUdpSocket::" and the operation
/// Cost:      one system call per datagram and no allocation; with the queues one copy and one
///            allocation per datagram, and fewer system calls
class DT_EXPORT DtInetUdpSocket : public DtInetSocket {
public:
    /// How long closing waits for queued datagrams to go out, in seconds.
    static constexpr double theCloseWait_s = 2.0;

    /// The bound of each queue at first.
    static constexpr std::size_t theQueueLimit_bytes = std::size_t(64) << 20;

    /// `port` serves when that of the endpoint is 0; when both are, the system chooses one on
    /// opening. `device` belongs to the socket from now on; null for none. Without `open` call
    /// openSocket().
    DtInetUdpSocket(const DtInetEndpoint& localEndpoint, unsigned short port, DtInetDevice* device,
                    unsigned int options, bool open);

    /// Closes the socket.
    ~DtInetUdpSocket() override;

    // -------------------------------------------------------------------- endpoints, device

    /// Refuses an endpoint that is not UDP. A connected socket is connected to the new one.
    bool setDestination(const DtInetEndpoint& destination) override;

    /// An open socket is bound at once; a system may refuse to bind a second time.
    bool bindToDevice(DtInetDevice* device) override;

    // ------------------------------------------------------------------ opening and closing

    /// Binds to the local endpoint, whose port becomes the one that the system has chosen when it
    /// was 0. With a device the local address becomes the device's own; the socket then takes
    /// everything that comes through that device, broadcast and joined groups included. IPv6
    /// sockets never take IPv4. Without a device, a socket with an address of its own takes what
    /// is sent to that address only. Datagrams of groups come only where they were joined.
    bool openSocket() override;

    /// Lets queued datagrams go out, for at most theCloseWait_s; calls that wait return -1.
    /// Groups and datagrams not yet received are forgotten. True when closed already.
    bool closeSocket() override;

    /// From now on only datagrams of the destination are received.
    bool connectToDestination() override;

    // -------------------------------------------------------------------- sending, receiving

    /// As DtInetSocket says. A destination that is not a UDP endpoint with a port and an address
    /// gives error 89. An empty datagram cannot be sent: a size of 0 sends nothing and gives 0. @{

    int send(char* bytes, int size, int flags) override;
    int sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) override;
    int sendChain(DtInetSocketBufferChain& chain, int flags) override;
    int sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                    int flags) override;
    /// @}

    /// As DtInetSocket says. An empty datagram gives DtInetSockFiltered; buffers without room
    /// DtInetSockIncomplete, without reading. @{
    int recv(char* buffer, int size, int flags) override;
    int recvToChain(DtInetSocketBufferChain& chain, int flags) override;
    int recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) override;
    int recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int flags) override;
    /// @}

    bool isOk() const override;
    int descriptor() const override;

    /// Takes an open UDP socket; anything else gives error 22.
    bool setSocket(int number) override;

    // -------------------------------------------------------------------------------- options

    bool setNonBlockingOption(bool on) override;
    bool setReuseAddressOption(bool on) override;
    bool setSendBufferSize(unsigned int bytes) override;
    bool setReceiveBufferSize(unsigned int bytes) override;
    bool setDoNotRouteOption(bool on) override;
    bool setSendLowWatermark(unsigned int bytes) override;
    bool setReceiveLowWatermark(unsigned int bytes) override;

    bool getReuseAddressOption(bool& on) override;
    bool getDoNotRouteOption(bool& on) override;
    bool getSendBufferSize(unsigned int& bytes) override;
    bool getReceiveBufferSize(unsigned int& bytes) override;
    bool getBytesAvailable(unsigned int& bytes) override;
    bool getSendLowWatermark(unsigned int& bytes) override;
    bool getReceiveLowWatermark(unsigned int& bytes) override;

    // The virtual functions from here on come after those of the base.

    /// Whether the socket may send to broadcast addresses. @{
    virtual bool setBroadcastOption(bool on);
    virtual bool getBroadcastOption(bool& on);
    /// @}

    /// How many routers a datagram to one host may pass: 1 to 255; -1 for the system's default. @{
    virtual bool setTtlOption(int hops);
    virtual bool getTtlOption(int& hops);
    /// @}

    /// The same for groups: 0 to 255; 1 at first. @{
    virtual bool setMcastTtlOption(int hops);
    virtual bool getMcastTtlOption(int& hops);
    /// @}

    /// Whether this host sees what this socket sends to groups. @{
    virtual bool setMcastLoopOption(bool on);
    virtual bool getMcastLoopOption(bool& on);
    /// @}

    /// The device that datagrams to groups go out on; null lets the system choose. The device
    /// stays the caller's and is not kept.
    virtual bool setMcastDevice(const DtInetDevice* device);

    /// Joins and leaves a group on one device; with null on the device of the socket, else on
    /// that of the group's scope, else on the one that the system chooses. The socket must be
    /// open. The port of an endpoint does not count. The device stays the caller's. @{
    virtual bool joinMulticastGroup(const DtInetAddr& group, DtInetDevice* device);
    virtual bool joinMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device);
    virtual bool dropMulticastGroup(const DtInetAddr& group, DtInetDevice* device);
    virtual bool dropMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device);
    /// @}

    // --------------------------------------------------------------- queues and event loops

    // These have no slot of their own, as all that follows.

    /// The bounds of the queues, in bytes of data; from any thread. @{
    void setSendQueueLimit(std::size_t bytes);
    void setReceiveQueueLimit(std::size_t bytes);
    std::size_t sendQueueLimit() const;
    std::size_t receiveQueueLimit() const;
    /// @}

    /// A descriptor for poll, select or epoll, readable whenever a receiving call would find
    /// something, be it in a queue of the socket's. Wait on it rather than on descriptor(), and
    /// do nothing else with it; it is valid until the socket is destroyed. On a non-blocking
    /// socket it may stay readable once after the last queued piece has been taken. Closing
    /// makes it readable, opening again as it should be. -1 when the system refuses.
    int pollDescriptor();

    // -------------------------------------------------------------------------------- counters

    /// What has happened to datagrams, since construction or clearStats(). totalPacketsSent()
    /// counts sending calls with all the bytes they were given; these count what really left.
    struct Counters {
        std::uint64_t datagramsOnWire = 0;     ///< Handed to the system.
        std::uint64_t bytesOnWire = 0;         ///< Of these, without headers.
        std::uint64_t sendsRefused = 0;        ///< The send queue was full.
        std::uint64_t asyncSendsFailed = 0;    ///< Lost by the sending thread.
        std::uint64_t portUnreachable = 0;     ///< Reports from hosts without that port.
        std::uint64_t kernelDrops = 0;         ///< The socket's receive buffer was full.
        std::uint64_t receiveQueueDrops = 0;   ///< The receive queue was full.
        std::uint64_t truncatedDatagrams = 0;  ///< Larger than the buffers.
        std::uint64_t emptyDatagrams = 0;      ///< Received without any byte.
    };
    Counters counters() const;  ///< As they are now; from any thread.

    std::uint64_t totalBytesReceived() const override;
    std::uint64_t totalPacketsReceived() const override;

    /// Counters above included.
    void clearStats() override;

    /// Of the datagram received last, as the kernel noted it. Asking costs a system call, once for
    /// each datagram, unless the socket has a receive queue.
    double receiveTime() const override;

protected:
    int transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination, int flags,
                 const char* operation) override;

    /// Tells pollDescriptor() that a queue of a derived socket, out of which a before-read
    /// callback delivers, now holds something (true) or is empty (false). Call it under mutex()
    /// whenever that changes.
    void announceQueued(bool waiting);

    /// Whether the socket is open in the process that has forked this one. Closing it here must
    /// then not be noticed there.
    bool isInherited() const;

    // What a receiving call is made of; `name` is what it is called in error texts. Each answers
    // as a receiving call.

    /// Whether the socket can receive at all.
    bool readyToReceive(const char* name);

    /// One datagram, past all callbacks. `sender` may be null.
    int readDatagram(const iovec* parts, std::size_t count, DtInetEndpoint* sender, int flags,
                     const char* name);

    /// After the receive chain, with the size and status that it has left.
    int endReception(int size, int status, const char* name);

    /// Whether the before-read chain, with the status that it has left, has brought something or
    /// forbids to read.
    static bool endsReading(int status) { return status < 0 && status >= DtInetSockFromQueue; }

    /// For derived sockets within the library that send through another descriptor, to count what
    /// went out there.
    DatagramCounters& datagramCounters();

    /// Whether something can be sent to it: a UDP endpoint that is ok, with a port and without a
    /// wildcard address.
    static bool isValidDestination(DtInetEndpoint& destination);

private:
    using Setting = std::function<int(int descriptor)>;

    bool checkOpening();
    bool takeDeviceAddress();
    void takeChosenPort();
    void startUsing(DtInetSockState state);
    bool connectDescriptor(const char* name);
    bool isOpen() const;
    bool waits(int flags) const;
    bool recordFailure(int error, const DtString& text);
    bool refuseUnopened(const char* name);
    bool checkDestination(DtInetEndpoint& destination, const char* name, const char* words);
    bool refuseDestination(const DtInetEndpoint& destination, const char* name, const char* words);

    bool readyToSend(const char* name);
    bool refuseSending(const char* name);
    int sendDirectly(int descriptor, const iovec* parts, std::size_t count,
                     const DtInetEndpoint& destination, int flags);
    int sendQueued(const iovec* parts, std::size_t count, const DtInetEndpoint& destination);
    int sendingFailed(int error, const char* operation, const DtInetEndpoint& destination);

    bool refuseReceiving(const char* name);
    bool runsReceiveChains(int flags) const;
    int receive(char* buffer, int size, DtInetEndpoint* sender, int flags, const char* name);
    int receive(DtInetSocketBufferChain& chain, DtInetEndpoint* sender, int flags,
                const char* name);
    int receiveThroughCopy(char* buffer, int size, DtInetEndpoint* sender, int flags,
                           const char* name);
    int receiveWithCallbacks(DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int flags,
                             const char* name);
    int readDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                     ReceivedDatagram& received);
    int readQueued(const iovec* parts, std::size_t count, int flags, ReceivedDatagram& received);
    void noteReceiveTime(double time, std::uint64_t number);
    int accept(const ReceivedDatagram& received, DtInetEndpoint* sender);
    int receivingFailed(int error, const char* name);

    bool applySetting(const DtString& failure, const Setting& setting);
    bool setFlag(unsigned int bit, bool on, const char* failure, const char* words,
                 const Setting& setting);
    bool askSetting(const char* name, const Setting& question);
    bool changeGroup(const char* name, const char* verb, const DtInetAddr& group,
                     const DtInetDevice* device, bool join);

    std::unique_ptr<DtInetUdpSockPimpl> pimpl_;
};

}  // namespace OrynRti

#endif
