#ifndef RTIQNUTIL_DISSOCKET_H
#define RTIQNUTIL_DISSOCKET_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "Export.h"
#include "InetUdpSocket.h"
#include "PduFilter.h"

namespace boost::asio {
class io_context;
class any_io_executor;
template <typename Protocol, typename Executor>
class basic_datagram_socket;
}  // namespace boost::asio

namespace OrynRti {

class DtDisSockPimpl;
class DtScopedLock;
class PduQueue;
struct DisEventCounters;

/// Which PDUs may announce by their PDU status that an Attribute PDU follows.
enum DtAttributePduStrategy : int {
    DtAttributePduSince7 = 1,     ///< Those of protocol version 7 and later.
    DtAttributePduAnyVersion = 2  ///< All; the choice at first.
};

/// A UDP socket for DIS protocol data units (IEEE 1278.1, 1278.2): it splits datagrams of several
/// PDUs and hands them out one per receiving call, filters them, bundles what is sent, and sends
/// to several destinations at once.
///
///     DtInetEndpoint local(DtInetAddr("0.0.0.0"), 3000, DtInetUdp);
///     DtDisSocket socket(local, 0, nullptr, theDtInetSockDefaultOptions, true, false);
///     unsigned int exercise = 5;
///     socket.exerciseId().setTest(DtPduAcceptListed, 1, &exercise);
///     std::vector<char> pdu(DtInetUtils::getMaxPacketBufferSize());
///     DtInetEndpoint sender;
///     for (;;)
///         if (const int size = socket.recvFrom(pdu.data(), int(pdu.size()), sender, 0); size > 0)
///             handle(pdu.data(), size);
///
/// All of this stands in the processing chains of DtInetSocket: before-read 1 getNextBundle;
/// receive 1 minSizeFilter, 2 suppressSelfReflect, 5 unbundle, 7 filterExercisePdus; pre-send 1
/// addToBundle while bundling is on. Callbacks of the application go between them as their order
/// says; those of the receive chain see each PDU, be it of a datagram or of the queue.
///
/// A receiving call answers DtInetSockFiltered, DtInetSockOwnDatagram or DtInetSockIncomplete for
/// what it has dropped; the next call goes on. What stands behind a dropped first PDU in the same
/// datagram is still delivered. Do not receive with MSG_PEEK: looking at a datagram queues what
/// it holds, and reading it does so again. Calls that skip the before-read chain
/// (DtInetSockSkipFirstChain) do not empty the queue, which then grows.
///
/// To suppress self-reflection the socket sends through a second one, bound to an address of
/// this host, and drops what comes from there. Give that one a port of its own: on Linux a send
/// socket on the receiving port takes the unicast datagrams to that address away from the
/// receiving socket. Before opening, localSenderEndpoint().setPort(0) lets the system choose one.
///
/// Threads:   as for DtInetUdpSocket; bundling, flushing and destinations from any thread. The
///            filters and the other settings are set while no other thread sends or receives
/// Errors:    texts begin with "DtDisSocket::" and the operation, those of the base socket with
///            "DtInetUdpSocket::"
/// Cost:      beside the UDP socket, one allocation and one copy for each PDU behind the first of
///            its datagram; bundling copies each PDU twice
class DT_EXPORT DtDisSocket : public DtInetUdpSocket {
public:
    /// What disSendSocket() gives.
    using SendSocket =
        boost::asio::basic_datagram_socket<boost::asio::ip::udp, boost::asio::any_io_executor>;
    using BufferIterator = DtInetSocketBufferChain::const_iterator;  ///< Walks over a chain.

    /// Bundles larger than this are not made: the most that one datagram carries over IPv4.
    static constexpr int theMaxBundle_bytes = 65507;

    /// The head of every PDU as it stands on the wire, in network order (IEEE 1278.1):
    ///
    ///     byte   0        1         2     3       4..7       8..9    10      11
    ///            version  exercise  type  family  timestamp  length  status  padding
    struct DtDisSocketPduHeader {
        unsigned char protocolVersion;  ///< 6 is IEEE 1278.1A-1998, 7 IEEE 1278.1-2012.
        unsigned char exerciseId;       ///< Of the exercise.
        unsigned char pduType;          ///< 1 is Entity State.
        unsigned char protocolFamily;   ///< 1 is Entity Information.
        unsigned char timestamp[4];     ///< See DtNetTimeStamp.
        unsigned char length[2];        ///< Bytes of the PDU, header included.
        unsigned char status;           ///< PDU status; padding before version 7.
        unsigned char padding;          ///< Not looked at.
    };

    /// `endpoint` is what to receive on. `sendPort` is the port of the send socket that
    /// `suppressSelfReflect` asks for, and the receiving port when that of `endpoint` is 0; a
    /// `sendPort` of 0 stands for that of `endpoint`. `device` belongs to the socket from now on.
    DtDisSocket(const DtInetEndpoint& endpoint, unsigned short sendPort, DtInetDevice* device,
                unsigned int options, bool openNow, bool suppressSelfReflect);

    // The order of the virtual functions is fixed.

    /// Closes the socket.
    ~DtDisSocket() override;

    bool openSocket() override;

    /// Sends pending bundles first.
    bool closeSocket() override;

    // -------------------------------------------------------------------------------- sending

    /// send and sendChain send to the destination and then to each additional one, and answer
    /// the result of the last attempt. When the destination is missing nothing is sent.
    int send(char* bytes, int size, int flags) override;

    /// With the send socket and a connected socket, everything goes to the destination connected
    /// to.
    int sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) override;
    int sendChain(DtInetSocketBufferChain& chain, int flags) override;
    int sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                    int flags) override;

    int recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) override;

    // -------------------------------------------------------------------------------- options

    /// As the base says. Where self-reflection is suppressed these reach the send socket as well.
    /// Unless that one is open they then return false, although the receiving socket has taken
    /// the setting. @{

    bool setNonBlockingOption(bool on) override;
    bool setReuseAddressOption(bool on) override;
    bool setSendBufferSize(unsigned int bytes) override;
    bool setReceiveBufferSize(unsigned int bytes) override;
    bool setDoNotRouteOption(bool on) override;
    bool setSendLowWatermark(unsigned int bytes) override;
    bool setReceiveLowWatermark(unsigned int bytes) override;
    bool setBroadcastOption(bool on) override;
    bool setMcastTtlOption(int hops) override;
    /// @}

    // The virtual functions from here on come after those of the base.

    /// Refuses an endpoint of another family than the destination's; one that has not been set
    /// yet counts as IPv4.
    virtual bool addDestination(const DtInetEndpoint& endpoint);

    /// False when it was not there.
    virtual bool removeDestination(const DtInetEndpoint& endpoint);

    /// The device that datagrams to groups go out on; null lets the system choose. As
    /// setMcastDevice.
    virtual bool setSendMcastDevice(const DtInetDevice* device);

    /// Joins and leaves a group with the send socket only; false without one. With null on the
    /// interface that the system chooses. @{
    virtual bool sendSockJoinMulticastGroup(const DtInetAddr& group, DtInetDevice* device);
    virtual bool sendSockJoinMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device);
    virtual bool sendSockDropMulticastGroup(const DtInetAddr& group, DtInetDevice* device);
    virtual bool sendSockDropMulticastGroup(const DtInetEndpoint& group, DtInetDevice* device);
    /// @}

    // ------------------------------------------------------------------------------- bundling

    /// Collects the PDUs to each destination until the next one would make their datagram longer
    /// than `maxSize` bytes (at most theMaxBundle_bytes); 0 or less turns it off. A PDU longer
    /// than that travels alone. Nothing goes out by itself: call flush() in time. True; the other
    /// arguments have no effect.
    ///
    /// PDUs are aligned as setBundleByteAlignment() says, at first to 8 bytes as version 7 of the
    /// protocol asks. Receivers know no padding between PDUs of version 6 and earlier: those can
    /// be split only if the alignment is 1, or if all lengths are multiples of 8.
    virtual bool setBundling(int maxSize, int, int, bool);

    /// The size alone, without which addToBundle leaves all PDUs as they are. 0 or less sends
    /// what is pending. True.
    virtual bool setMaxBundleSize(int bytes);
    virtual int getMaxBundleSize() const;  ///< 0 while bundling is off.
    virtual bool isBundling() const;       ///< Whether that is above 0.

    /// The smallest datagram, or rest of one, that is taken for a PDU: 12 bytes at first. @{
    virtual void setMinPacketSize(int bytes);
    virtual int minPacketSize() const;
    /// @}

    /// In bytes; 0 and 1 for no padding. Counts for PDUs added from then on. @{
    virtual void setBundleByteAlignment(unsigned int bytes);
    virtual unsigned int sendBundleByteAlignment() const;
    /// @}

    /// What received PDUs of a protocol version are aligned to: 8 since version 7, 0 before.
    virtual unsigned int receiveBundleByteAlignment(int protocolVersion) const;

    // -------------------------------------------------------------------------------- filters

    /// Each PDU received must pass all four. At first every PDU does. @{
    virtual DtPduFilterTest& exerciseId();
    virtual DtPduFilterTest& protocolVersion();
    virtual DtPduFilterTest& pduKind();
    /// @}

    /// Never looks at the sender: with DtPduAcceptListed it drops every PDU, whatever is listed,
    /// else none.
    virtual DtPduFilterTest& ipAddr();

    /// Where the send socket is bound. Change the port while the socket is closed only; opening
    /// fills in what the system has chosen for 0.
    virtual DtInetEndpoint& localSenderEndpoint();

    // ---------------------------------------------------- steps of the processing chains

    // `status` must not be null unless said otherwise, and the sizes are those of the bytes
    // received, which never exceed the chain.

    /// Sends all pending bundles. 1 when all went out, also when there was none; 0 when one met a
    /// full buffer of the system; -1 when one failed. Those are lost, and counted.
    virtual int flush();

    /// Takes the first `size` bytes of the chain into the bundle of the destination. 0 when it
    /// has; the size when bundling is off; -1 for a PDU that no datagram can carry. `status` is
    /// not used.
    virtual int addToBundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                            int* status);

    /// Leaves the first PDU of a datagram in the buffers and queues the others. Returns the size
    /// of the first one, with its coupled Attribute PDU and the padding before that.
    virtual int unbundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                         int* status);

    /// Fetches the oldest queued PDU. One that does not fit into the chain is lost and counted.
    virtual int getNextBundle(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                              int* status);

    /// As flush() for one destination.
    virtual int flushBundle(DtInetEndpoint& destination);

    /// Drops what comes from the send socket.
    virtual int suppressSelfReflect(int size, DtInetSocketBufferChain& chain,
                                    DtInetEndpoint& sender, int* status);

    /// Drops PDUs that do not pass the four filters.
    virtual int filterExercisePdus(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                   int* status);

    /// Drops what is smaller than minPacketSize().
    virtual int minSizeFilter(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                              int* status);

    /// Which PDUs may announce an Attribute PDU: DtAttributePduAnyVersion at first. @{
    virtual void setAttributePduStrategy(DtAttributePduStrategy strategy);
    virtual DtAttributePduStrategy attributePduStrategy() const;
    /// @}

    /// The send socket, for settings that have no function here; null without one. Do not close
    /// it: the library sends through a duplicate of its descriptor.
    virtual SendSocket* disSendSocket();

    /// The length in bytes that the PDU at `offset` of `buffer` gives for itself, and in `coupled`
    /// whether it says that an Attribute PDU follows. 0 and status DtInetSockIncomplete when the
    /// buffers end within its header. With `expectAttribute`, status DtInetSockStatusError unless
    /// it is an Attribute PDU. `header` receives the header. The status is left alone otherwise.
    /// The caller owes that the header is within the bytes received.
    virtual int getPduSize(DtDisSocketPduHeader& header, int offset, BufferIterator buffer,
                           BufferIterator end, int* status, bool& coupled, bool expectAttribute);

    /// The length of the Attribute PDU `position` bytes behind the PDU at `offset` of `buffer`,
    /// when all of it is within the `remaining` bytes from that PDU on; else 0, with the status
    /// set as above when there is a header at all.
    virtual int getCoupledAttributePduSize(DtDisSocketPduHeader& header, int offset,
                                           BufferIterator buffer, BufferIterator end, int* status,
                                           int position, int remaining);

    /// Goes on to the buffer that holds byte `offset`, counted from the beginning of `buffer`,
    /// and makes the offset one of that buffer; to the end when there is none.
    virtual void advanceToOffset(BufferIterator& buffer, BufferIterator end, int& offset);

    // The following have no slot of their own.

    int recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int flags) override;
    bool setTtlOption(int hops) override;
    bool setMcastLoopOption(bool on) override;
    bool setMcastDevice(const DtInetDevice* device) override;
    bool addProcessingCallback(DtInetSockProcessingType type,
                               DtInetSocketProcessingCallback callback, void* userData,
                               int order) override;
    bool removeProcessingCallback(DtInetSockProcessingType type,
                                  DtInetSocketProcessingCallback callback) override;

    /// The steps as processing callbacks; `socket` must be a DtDisSocket. Registered with null as
    /// user data they are handed the status. @{
    static int addToBundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                           DtInetEndpoint& destination, void* status);
    static int unbundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                        DtInetEndpoint& sender, void* status);
    static int getNextBundle(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                             DtInetEndpoint& sender, void* status);
    static int suppressSelfReflect(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                                   DtInetEndpoint& sender, void* status);
    static int filterExercisePdus(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                                  DtInetEndpoint& sender, void* status);
    static int minSizeFilter(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain,
                             DtInetEndpoint& sender, void* status);
    /// @}

    // -------------------------------------------------------------------------------- counters

    /// What has happened to PDUs, since construction or clearStats().
    struct DisCounters {
        std::uint64_t ownDatagrams = 0;          ///< Dropped: they came from the send socket.
        std::uint64_t belowMinSize = 0;          ///< Dropped: smaller than minPacketSize().
        std::uint64_t filteredByVersion = 0;     ///< Dropped by protocolVersion().
        std::uint64_t filteredByExercise = 0;    ///< Dropped by exerciseId().
        std::uint64_t filteredByKind = 0;        ///< Dropped by pduKind().
        std::uint64_t filteredByAddress = 0;     ///< Dropped by ipAddr().
        std::uint64_t incomplete = 0;            ///< Datagrams that end within their first PDU.
        std::uint64_t invalidLengths = 0;        ///< PDUs that give a length of 0 to 11 bytes.
        std::uint64_t restsDropped = 0;          ///< Ends of datagrams that are no PDU.
        std::uint64_t attributePdusMissing = 0;  ///< Announced, but missing or broken.
        std::uint64_t queuedPdusLost = 0;        ///< Larger than the buffers they were to go to.
        std::uint64_t bundlesSent = 0;           ///< Datagrams of one PDU or more.
        std::uint64_t bundlesFailed = 0;         ///< With all the PDUs in them.
    };
    DisCounters disCounters() const;  ///< As they are now; from any thread.

    std::uint64_t totalBytesSent() const override;
    std::uint64_t totalPacketsSent() const override;

    /// All counters of this socket.
    void clearStats() override;

protected:
    int transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination, int flags,
                 const char* operation) override;

private:
    struct EndpointLess {
        bool operator()(const DtInetEndpoint& left, const DtInetEndpoint& right) const;
    };
    using Destinations = std::set<DtInetEndpoint, EndpointLess>;
    using Bundle = std::vector<char>;
    using Bundles = std::map<DtInetEndpoint, Bundle, EndpointLess>;

    struct PduExtent;
    class ChainPdus;
    class FlatPdus;
    class OutgoingBundle;

    // Opening
    bool openSendSocket();
    bool takeSenderAddress();
    bool openingFailed(int error, const DtString& text);
    int closeSendSocket();
    void prepareSendSocket();
    void makeSendSocket();
    void registerSteps();
    void leaveToParent();

    // Sending
    template <typename Send>
    int sendToAll(const char* prefix, Send sendOne);
    template <typename Send>
    int sendToAdditional(const char* prefix, int result, Send sendOne);
    template <typename Send>
    int sendToCopy(const DtInetEndpoint& destination, Send sendOne);
    bool callbacksSeeSends() const;
    static bool isValid(const DtInetEndpoint& destination);
    const char* sendOperation() const;
    const char* chainOperation() const;
    std::shared_ptr<const Destinations> additionalDestinations() const;
    bool readyToSend(DtInetEndpoint& destination, const char* operation);
    int sendingFailed(int error, const DtInetEndpoint& destination, const char* operation);

    // Options
    bool applyToSendSocket(bool baseResult, const DtString& failure,
                           const std::function<int(int descriptor)>& setting);
    bool changeGroup(const char* name, const char* verb, const DtInetAddr& group,
                     const DtInetDevice* device, bool join);

    // Bundling
    void noteCallbacks();
    bool bundlesOnly(DtInetEndpoint& destination, int callFlags) const;
    template <typename Add>
    int bundlePdu(std::size_t size, DtInetEndpoint& destination, Add add);
    bool bundleDirectly(const char* bytes, std::size_t size, DtInetEndpoint& destination);
    int bundleOnly(DtInetSocketBufferChain& chain, DtInetEndpoint& destination, int callFlags,
                   const char* operation);
    Bundle& bundleTo(const DtInetEndpoint& destination);
    std::size_t aligned(std::size_t size) const;
    void sendBundle(OutgoingBundle& outgoing);
    int sendPending(Bundle& bundle, const DtInetEndpoint& destination, DtScopedLock& lock);
    int afterBundle(OutgoingBundle& outgoing);

    // Receiving, see src/transport/DisSocketSplitting.h
    bool isNotDerived() const;
    bool takesOwnStepsOnly() const;
    bool receivesDirectly(int callFlags) const;
    int receiveThroughChain(char* buffer, int size, DtInetEndpoint& sender, int callFlags);
    int receiveDirectly(char* buffer, int size, DtInetEndpoint& sender, int callFlags,
                        const char* name);
    int takeDatagram(const char* bytes, int size, const DtInetEndpoint& sender, int& status);
    template <typename Deliver>
    int takeQueued(std::size_t room, DtInetEndpoint& sender, Deliver deliver);
    template <typename Pdus>
    PduExtent measurePdu(DtDisSocketPduHeader& header, const Pdus& pdus, int remaining);
    template <typename Pdus>
    int splitDatagram(const Pdus& pdus, int size, const DtInetEndpoint& sender, int& status);
    template <typename Pdus>
    int queueRest(Pdus pdus, int size, const DtInetEndpoint& sender);
    template <typename Pdus>
    int filterPdu(const Pdus& pdus, int size, DtInetEndpoint& sender, int& status);
    bool passesUnseen(const char* bytes, int size) const;
    void noteQueue(bool waiting);
    void noteMissing(int attributePdus);
    int dropSmall(int size, int& status);
    int dropOwn(int size, const DtInetEndpoint& sender, int& status);
    int dropBroken(const PduExtent& first, int& status);
    std::atomic<std::uint64_t>* failedFilter(DtDisSocketPduHeader& header, DtInetEndpoint& sender);

    // The order of the members up to `attributePduStrategy_` is fixed. The processing callbacks
    // and the lock are those of the base.
    std::unique_ptr<DtDisSockPimpl> pimpl_;
    std::unique_ptr<boost::asio::io_context> ioContext_;
    std::unique_ptr<SendSocket> sendSocket_;
    DtInetEndpoint localSenderEndpoint_;
    std::shared_ptr<const Destinations> additionalDestinations_;  ///< Replaced as a whole.
    const bool selfReflectSuppression_;
    Bundles pendingBundles_;
    std::unique_ptr<PduQueue> receiveQueue_;
    std::atomic<int> maxBundleSize_{0};
    unsigned int sendBundleByteAlignment_ = 8;
    int minPacketSize_ = 12;
    DtPduFilterTest exerciseId_;
    DtPduFilterTest protocolVersion_;
    DtPduFilterTest pduKind_;
    DtPduFilterTest ipAddr_;
    DtAttributePduStrategy attributePduStrategy_ = DtAttributePduAnyVersion;
    bool bundlingRegistered_ = false;        ///< addToBundle is in the pre-send chain.
    std::atomic<bool> onlyBundling_{false};  ///< No other callback sees what is sent.
    std::atomic<bool> onlyOwnSteps_{false};  ///< Nor what is received.
    std::atomic<bool> hasQueuedPdus_{false};
    std::atomic<bool> hasAdditionalDestinations_{false};
    Bundles::iterator lastBundle_ = pendingBundles_.end();
    std::unique_ptr<DisEventCounters> events_;
};

}  // namespace OrynRti

#endif
