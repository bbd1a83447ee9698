#ifndef RTIQNUTIL_INETTCPSOCKET_H
#define RTIQNUTIL_INETTCPSOCKET_H

#include <cstddef>
#include <functional>
#include <memory>

#include "Export.h"
#include "InetSocket.h"

namespace boost {
namespace asio {
class any_io_executor;
template <typename Protocol, typename Executor>
class basic_stream_socket;
template <typename Protocol, typename Executor>
class basic_socket_acceptor;
}  // namespace asio
namespace system {
class error_code;
}
}  // namespace boost

namespace OrynRti {

struct TcpFailure;
struct TcpSocketParts;

/// A TCP socket over IPv4 or IPv6: a client that connects, a server that listens, or one
/// connection that a server has accepted. Blocking, non-blocking, or with a thread of its own that
/// receives into and sends from queues. It carries a stream of bytes: where one message ends and
/// the next begins is the business of its users.
///
///     DtInetTcpSocket server(4000, nullptr, DtInetUtils::IPv4, theDtInetSockDefaultOptions, true);
///     DtInetTcpSocket connection;
///     if (!server.listenForConnections() ||
///         !server.acceptConnection(&connection, theDtInetSockDefaultOptions))
///         DtWarn << server.getLastErrorString() << std::endl;
///     char bytes[4096];
///     for (int size; (size = connection.recv(bytes, sizeof bytes, 0)) > 0;)
///         connection.send(bytes, size, 0);
///
/// States: 1 server, 3 listening; 2 client, 4 connecting, 6 connected, 8 the peer has ended its
/// stream; 9 closed. A failure gives -1, which stays until the socket is closed, or opened where
/// nothing was open; it keeps a connected socket from neither sending nor receiving.
///
/// When the peer ends its stream, receiving calls return all that it has sent and from then on
/// -1, with termination code 2; what is sent still goes out, since the peer may have ended one
/// direction only. A connection that was reset is an error.
///
/// With DtInetSockAsyncReceive received chunks wait in a queue of the socket's, and receiving
/// calls never wait: without a chunk they return 0, with error 11 when the socket is non-blocking.
/// Wait with pollDescriptor(). A full queue makes the socket stop reading, so that TCP holds the
/// peer. With DtInetSockAsyncSend a send copies into a queue and returns; a full queue refuses
/// with error 105. An error on the thread is reported by every later receiving call and queued
/// send. The thread runs while the connection is up.
///
/// Threads:   one may send while another receives, and any may close the socket, which ends
///            calls that wait; the rest as for DtInetSocket. No thread may be inside a call when
///            the socket is destroyed
/// Ownership: the socket frees its device
/// Errors:    texts begin with "DtInetTcpSocket" and the operation, as a rule. No SIGPIPE
/// Cost:      one system call per send or receive and no allocation; with the queues one copy each
///            way, and one system call for all the messages that wait to be sent
class DT_EXPORT DtInetTcpSocket : public DtInetSocket {
public:
    /// What tcpSocket() and tcpServerSocket() give. @{
    using StreamSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp,  //
                                                          boost::asio::any_io_executor>;
    using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp,  //
                                                        boost::asio::any_io_executor>;
    /// @}

    /// How long closing lets queued sends go out at first.
    static constexpr double theCloseWait_s = 2.0;

    /// The bound of each queue at first.
    static constexpr std::size_t theQueueLimit_bytes = std::size_t(64) << 20;

    /// The termination code of a peer that has ended its stream.
    static constexpr int theEndOfStreamCode = 2;

    /// A client without a destination, or the socket for a connection to be accepted.
    DtInetTcpSocket();

    /// A server for all addresses of the family, or for that of `device`, which belongs to the
    /// socket from now on; null for none. Without `open` call openSocket() or
    /// listenForConnections().
    DtInetTcpSocket(unsigned short localPort, DtInetDevice* device,
                    DtInetUtils::DtInetAddrFamily family, unsigned int options, bool open);

    /// A client that is to connect to `destination` from `localPort`, 0 for one of the system's
    /// choice, and from the address of `device` if there is one.
    DtInetTcpSocket(const DtInetEndpoint& destination, unsigned short localPort,
                    DtInetDevice* device, unsigned int options, bool open);

    /// Closes the socket.
    ~DtInetTcpSocket() override;

    // -------------------------------------------------------------------- endpoints, device

    /// Counts at the next connecting. Refuses an endpoint that is not TCP.
    bool setDestination(const DtInetEndpoint& destination) override;

    /// Counts at the next opening of a client and the next listening of a server.
    bool bindToDevice(DtInetDevice* device) override;

    // ------------------------------------------------------------------ opening and closing

    /// From the beginning, closed, or after a failure while nothing is open. Makes the socket of a
    /// client and binds it, if it has a device or a port of its own; of a server only the state
    /// changes.
    bool openSocket() override;

    /// Lets queued sends go out, for at most closeWait() or the linger time where one is set;
    /// meanwhile what is received is dropped. Calls that wait return -1. True when closed already.
    bool closeSocket() override;

    /// Connects a client that is open; a blocking one waits for the outcome. On a non-blocking one
    /// true may mean that the connecting goes on, in state 4; this function, sending and
    /// receiving then look each time whether it has ended. False in other states, where the error
    /// record stays as it is; true when connected already. After a failure
    /// close the socket and open it again before the next attempt.
    bool connectToDestination() override;

    // -------------------------------------------------------------------------------- sending

    /// A blocking socket sends everything or fails. A non-blocking one returns what the system
    /// took; with a pre-send callback that changes the bytes, such a partial send cannot be taken
    /// up again, since the caller cannot tell how far its own bytes have gone. sendTo and
    /// sendChainTo do not look at the destination. `flags` of the system have no effect on what
    /// goes through the queues. The rest as DtInetSocket says. @{

    int send(char* bytes, int size, int flags) override;
    int sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) override;
    int sendChain(DtInetSocketBufferChain& chain, int flags) override;
    int sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                    int flags) override;
    /// @}

    // ------------------------------------------------------------------------------ receiving

    /// As DtInetSocket says; `sender` becomes the destination. Buffers without room give
    /// DtInetSockIncomplete. So does, with DtInetSockAsyncReceive, a chunk that is larger than the
    /// buffers, and it is lost: buffers of DtInetUtils::getMaxPacketBufferSize() bytes (65,536)
    /// always suffice.
    ///
    /// Of the before-read callbacks each gets a size of 0, and a status other than
    /// DtInetSockFromQueue does not keep the stream from being read. @{
    int recv(char* buffer, int size, int flags) override;
    int recvToChain(DtInetSocketBufferChain& chain, int flags) override;
    int recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) override;
    int recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int flags) override;
    /// @}

    /// States 1 to 6.
    bool isOk() const override;
    int descriptor() const override;

    /// Takes an open TCP socket: listening, connected, or neither; anything else gives error 22.
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

    // ------------------------------------------------------------------------------- servers

    /// Takes connections on the local port, which must not be 0, from now on. With a device the
    /// local address becomes the device's own. IPv6 servers take no IPv4. True when listening
    /// already.
    virtual bool listenForConnections();

    /// Makes the next connection that of `newSocket`, a socket that is not open and no server. It
    /// gets the options, no device, both endpoints, and state 6; it depends on this socket no
    /// longer. Waits for a connection, unless this socket is non-blocking: false with error 11
    /// when there is none. Failures that concern one connection or pass by themselves, a lack of
    /// descriptors among them, leave the server listening. Several threads may accept.
    virtual bool acceptConnection(DtInetTcpSocket* newSocket, unsigned int options);

    // ------------------------------------------------------------------------ options of TCP

    /// Whether small pieces go out at once (TCP_NODELAY); off at first.
    virtual bool setTcpNoDelayOption(bool on);

    /// How long closing waits at most for what was sent to arrive; 0 turns this off, as it is at
    /// first. @{
    virtual bool setTcpLingerOption(unsigned short seconds);
    virtual bool getTcpLingerOption(unsigned short& seconds);
    /// @}

    /// Whether acceptConnection() reports a connection that the peer has given up before it was
    /// accepted (error 103 or 71); off at first: the next one is taken. @{
    virtual bool setConnAbortedOption(bool on);
    virtual bool getConnAbortedOption(bool& on);
    /// @}

    /// Whether the system asks a silent peer now and then if it is still there; off at first. @{
    virtual bool setTcpKeepAliveOption(bool on);
    virtual bool getTcpKeepAliveOption(bool& on);
    /// @}

    // ----------------------------------------------------------------- accepted connections

    /// The two steps by which acceptConnection() makes a connection that of this socket: local
    /// end and options first. Refuses a socket that is open or a server.
    virtual bool initAcceptedConnection(const DtInetAddr& localAddr, unsigned short localPort,
                                        unsigned int options);

    /// Then, when the socket has got its descriptor, the peer.
    virtual bool openAcceptedConnection(DtInetEndpoint peer);

    // ------------------------------------------------------------------------- Boost objects

    /// A Boost socket over the descriptor, made when first asked for: for what this class does
    /// not offer. Null while the socket is not open; valid until it is closed. Nobody runs its
    /// context, so start no asynchronous operation on it, and do not close it.
    virtual StreamSocket* tcpSocket();

    /// The same for a server; not open before the server listens. Null for a client.
    virtual Acceptor* tcpServerSocket();

    virtual bool isServerSock() const;  ///< Whether it is for listening, be it open or not.

    // These have no slot, as all that follows.

    // ---------------------------------------------------------------- queues and event loops

    /// The bounds of the queues, in bytes of data; 0 for none. From any thread. A single message
    /// above the send limit is refused as well. @{
    void setSendQueueLimit(std::size_t bytes);
    void setReceiveQueueLimit(std::size_t bytes);
    std::size_t sendQueueLimit() const;
    std::size_t receiveQueueLimit() const;
    /// @}

    /// For how long closing lets queued sends go out; 0 for not at all. A linger time goes
    /// before. @{
    void setCloseWait(double seconds);
    double closeWait() const;
    /// @}

    /// A descriptor for poll, select or epoll, readable whenever receiving or accepting would find
    /// something, be it in the queue. Wait on it rather than on descriptor(), and do nothing else
    /// with it; it is valid until the socket is destroyed. It may stay readable once after the
    /// last queued chunk has been taken. Closing makes it readable. -1 when the system refuses.
    int pollDescriptor();

protected:
    int transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination, int flags,
                 const char* operation) override;

private:
    using Setting = std::function<int(int descriptor)>;
    enum Progress { Pending, Up, Failed };
    struct Accepted;

    void takeOptions(unsigned int options);
    bool isOpen() const;
    DtString localText() const;
    bool recordFailure(int number, const DtString& text);
    bool refuseUninitialized(const char* name);
    bool checkOpening(const DtString& prefix);
    bool takeDeviceAddress();
    void forgetChosenEndpoint();
    void beginUsing(int state);
    void takeEndpointsOf(int descriptor);

    int startConnecting(int descriptor);
    Progress lookAtConnecting();
    bool connectFailed(int number, const DtString& message);
    bool connectionUp();

    int acceptDescriptor(Accepted& accepted);
    bool acceptFailed(const char* words, const TcpFailure& failure);
    bool handOver(DtInetTcpSocket& newSocket, const Accepted& accepted, unsigned int options);
    TcpFailure takeDescriptor(int number);

    int readyToSend(const char* name);
    int sendDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                     boost::system::error_code& error);
    int sendingFailed(const boost::system::error_code& error, const char* operation,
                      const DtInetEndpoint& destination);

    bool readyToReceive(const char* unconnected);
    bool runsReceiveChains(int flags) const;
    int receiveWithCallbacks(DtInetSocketBufferChain& chain, int flags, const char* uninitialized);
    int askBeforeRead(DtInetSocketBufferChain& chain, int& status);
    int readStream(const iovec* parts, std::size_t count, int flags, const char* uninitialized);
    int readDirectly(int descriptor, const iovec* parts, std::size_t count, int flags,
                     boost::system::error_code& error);
    int receivingFailed(const boost::system::error_code& error, const char* uninitialized);
    int queueIsEmpty();
    int endOfStream();

    int applySetting(const Setting& setting);
    bool setFlag(bool on, const char* name, const char* words, const Setting& setting);
    void keepBit(unsigned int bit, bool on);
    bool setSize(unsigned int bytes, const char* name, const char* words, const Setting& setting);
    bool askSetting(const char* name, const Setting& question);

    std::unique_ptr<TcpSocketParts> parts_;
};

}  // namespace OrynRti

#endif
