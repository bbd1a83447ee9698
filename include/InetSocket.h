#ifndef RTIQNUTIL_INETSOCKET_H
#define RTIQNUTIL_INETSOCKET_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "Export.h"
#include "InetAddrUtils.h"
#include "InetEndpoint.h"
#include "Mutex.h"
#include "String.h"

struct iovec;

namespace OrynRti {

class DtInetDevice;
class DtInetSocket;

// -------------------------------------------------------------------------------------------
// Names for the numbers that sockets take and return

/// Bits of the option word that a socket is made with; DtInetSocket::flags() gives it back, as
/// the setters have changed it since. Without any word a socket has theDtInetSockDefaultOptions.
enum DtInetSockOption : unsigned int {
    DtInetSockReceive = 0x001,       ///< May receive.
    DtInetSockSend = 0x002,          ///< May send.
    DtInetSockNonBlocking = 0x040,   ///< Calls that would have to wait return at once.
    DtInetSockBroadcast = 0x080,     ///< May send to broadcast addresses.
    DtInetSockAsyncReceive = 0x100,  ///< A thread of the socket's own receives into a queue.
    DtInetSockAsyncSend = 0x200,     ///< A thread of the socket's own sends from a queue.
    DtInetSockReuseAddress = 0x400,  ///< May take a port that others use with this set.
    DtInetSockMcastLoopback = 0x800  ///< This host sees what is sent to groups.
};

/// Receive, send, broadcast, address reuse, multicast loopback: 0xC83.
constexpr unsigned int theDtInetSockDefaultOptions = DtInetSockReceive | DtInetSockSend |
                                                     DtInetSockBroadcast | DtInetSockReuseAddress |
                                                     DtInetSockMcastLoopback;

/// What DtInetSocket::state() answers. Above 0 is usable, except for the last two.
enum DtInetSockState : int {
    DtInetSockError = -1,      ///< The last operation has failed.
    DtInetSockInitial = 0,     ///< Never opened.
    DtInetSockServerOpen = 1,  ///< A server that does not listen yet.
    DtInetSockOpen = 2,
    DtInetSockListening = 3,
    DtInetSockConnecting = 4,  ///< A non-blocking socket is being connected.
    DtInetSockConnected = 6,
    DtInetSockTerminated = 8,  ///< The peer has ended its stream.
    DtInetSockClosed = 9
};

/// The status of a reception. A receiving call answers the first four in place of a number of
/// bytes; callbacks of the before-read and receive chains set all of them.
enum DtInetSockStatus : int {
    DtInetSockStatusError = -1,
    DtInetSockFiltered = -2,     ///< A callback let nothing through.
    DtInetSockOwnDatagram = -3,  ///< Sent by this very socket.
    DtInetSockIncomplete = -4,   ///< Incomplete, or too large for the buffers; it is lost.
    DtInetSockFromQueue = -5     ///< Delivered by a before-read callback.
};

/// Bits of the library's own in the flags of a sending or receiving call. The system never
/// sees them; there the same bits mean something else.
enum DtInetSockCallFlag : int {
    DtInetSockSkipFirstChain = 0x1000,  ///< Do not run the pre-send (before-read) chain.
    DtInetSockSkipPostSend = 0x2000     ///< Do not run the post-send chain.
};

// -------------------------------------------------------------------------------------------
// Processing callbacks

/// Data scattered over several buffers, in order. To receive, the size of each buffer is its
/// room, which reception leaves as it is: only the number returned tells how many bytes are
/// valid. The buffers are borrowed; null ones count as empty.
using DtInetSocketBufferChain = std::vector<std::vector<char>*>;

/// A step in the processing of what a socket receives or sends: the socket, the number of bytes
/// so far, the buffers, the peer (sender or destination), and the user data given at
/// registration. What it returns takes the place of the number of bytes.
using DtInetSocketProcessingCallback = int (*)(DtInetSocket* socket, int size,
                                               DtInetSocketBufferChain& chain, DtInetEndpoint& peer,
                                               void* userData);

/// When a processing callback runs.
enum DtInetSockProcessingType : int {
    DtInetSockBeforeRead = 0,    ///< Ahead of each read.
    DtInetSockAfterReceive = 1,  ///< On what was received.
    DtInetSockPreSend = 2,       ///< On what is to be sent.
    DtInetSockPostSend = 3       ///< After each send.
};

/// One registered callback.
struct DtInetSocketProcessingCbInfo {
    // The order of the first three members is fixed.
    DtInetSocketProcessingCallback callback = nullptr;  ///< The step.
    void* userData = nullptr;                           ///< Null: it is handed the status.
    int order = 0;                                      ///< Its place in the chain.
    std::uint64_t sequence = 0;                         ///< Counts the registrations of a socket.
};

/// Callbacks by ascending order; those of equal order as they were added.
using DtInetSocketCallbackChain = std::multimap<int, DtInetSocketProcessingCbInfo*>;

// -------------------------------------------------------------------------------------------

/// What all sockets have in common: endpoints, state, the record of the last error, traffic
/// counters, and four chains of callbacks by which derived sockets and applications take part in
/// receiving and sending. Concrete sockets are DtInetUdpSocket, DtInetTcpSocket and DtDisSocket.
///
///     int dropTests(DtInetSocket*, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&,
///                   void* status) {
///         if (chain[0]->front() != 't') return size;
///         *static_cast<int*>(status) = DtInetSockFiltered;
///         return 0;
///     }
///     socket.addProcessingCallback(DtInetSockAfterReceive, dropTests, nullptr, 20);
///
/// The chains, all run on the thread of the sending or receiving call, in ascending order:
/// - before-read, ahead of each read: begins with a size of 0; each callback gets the result of
///   the one before. The first status that is not 0 ends it: DtInetSockFromQueue delivers what
///   the callback has put into the buffers, -1 to -4 end the call without reading.
/// - receive, for everything received or so delivered: each callback gets the result of the one
///   before; ends at a size of 0 or less or a status of -1 to -4.
/// - pre-send and post-send, around each send to one destination. Pre-send callbacks see a copy
///   of the caller's bytes, which they may change, and return how many of them are to go out; 0
///   lets nothing go out. What they take away counts as sent, so that the caller sees its whole
///   data gone. Post-send callbacks get the number of bytes sent, and their results are added
///   to it. A negative result of either fails the send.
/// In the first two a callback registered with null as user data is passed a pointer to the
/// status (an int) in its place; one with user data of its own gets no status.
///
/// Callbacks run without any lock held. They may add and remove callbacks and close their own
/// socket, and may be inside several calls at once when several threads use the socket. A
/// callback added during a run takes part from the next run on; one removed on the thread that
/// runs the chain is not called any more.
///
/// Threads:   state, counters, error record and callbacks from any thread; endpoints, device and
///            options are set while no other thread sends or receives
/// Ownership: owns its device and its callback records
/// Errors:    a failing operation returns false or -1 and leaves state -1, an error number (that
///            of errno where the system has refused something) and a text
class DT_EXPORT DtInetSocket {
public:
    DtInetSocket();

    DtInetSocket(const DtInetSocket&) = delete;
    DtInetSocket& operator=(const DtInetSocket&) = delete;

    // The order of the virtual functions is fixed.

    virtual ~DtInetSocket();

    // ------------------------------------------------------------------- endpoints and device

    /// Where `send` and `sendChain` send to.
    virtual bool setDestination(const DtInetEndpoint& destination) = 0;
    virtual const DtInetEndpoint& destination() const;    ///< As set.
    virtual const DtInetEndpoint& localEndpoint() const;  ///< This end of the socket.

    /// Takes the low 16 bits. True. Counts at the next opening.
    virtual bool setLocalPort(int port);
    virtual unsigned short localPort() const;  ///< Of the local endpoint, in host order.

    /// Takes `device` over, in any case, and frees the device held before; null for none.
    virtual bool bindToDevice(DtInetDevice* device) = 0;

    /// The device that the socket is bound to, owned by the socket; null for none.
    virtual DtInetDevice* hostIf() const;

    // ------------------------------------------------------------------ opening and closing

    virtual bool openSocket() = 0;            ///< Makes it usable, with the options set so far.
    virtual bool closeSocket() = 0;           ///< It may be opened again.
    virtual bool connectToDestination() = 0;  ///< Fixes the peer.

    // -------------------------------------------------------------------------------- sending

    /// Sizes are in bytes. `flags` are those of the system's send and recv calls, with
    /// DtInetSockCallFlag. The result is the number of bytes sent, 0 for none (error 11 when a
    /// non-blocking socket would have to wait), -1 for an error. @{

    virtual int send(char* bytes, int size, int flags) = 0;
    virtual int sendTo(char* bytes, int size, DtInetEndpoint& destination, int flags) = 0;
    virtual int sendChain(DtInetSocketBufferChain& chain, int flags) = 0;
    virtual int sendChainTo(DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                            int flags) = 0;
    /// @}

    // ------------------------------------------------------------------------------ receiving

    /// The result is the number of bytes received; 0 when there is nothing (error 11 on a
    /// non-blocking socket); -1 for an error; or another DtInetSockStatus, which leaves state and
    /// error record alone, so that a loop goes on. `sender` becomes where the data came from. @{

    virtual int recv(char* buffer, int size, int flags) = 0;
    virtual int recvToChain(DtInetSocketBufferChain& chain, int flags) = 0;
    virtual int recvFrom(char* buffer, int size, DtInetEndpoint& sender, int flags) = 0;
    virtual int recvToChainFrom(DtInetSocketBufferChain& chain, DtInetEndpoint& sender,
                                int flags) = 0;
    /// @}

    // ---------------------------------------------------------------------------------- state

    /// A DtInetSockState.
    virtual int state() const;

    /// Whether the state is above 0; concrete sockets answer false when closed, too.
    virtual bool isOk() const;

    /// Those of the local endpoint. @{
    virtual DtInetProtocol protocol() const;
    virtual DtInetUtils::DtInetAddrFamily family() const;
    /// @}

    /// The system's number of the socket, -1 when it is not open.
    virtual int descriptor() const = 0;

    /// The option word, see DtInetSockOption.
    virtual unsigned int flags() const;

    /// Takes over an open descriptor in place of opening a new one. When refused, the descriptor
    /// stays the caller's.
    virtual bool setSocket(int descriptor) = 0;

    // -------------------------------------------------------------------------------- options

    /// Options set before opening are remembered and applied then. Buffer sizes and watermarks
    /// are in bytes; the system may clamp them, and Linux reports twice the buffer size asked
    /// for. @{
    virtual bool setNonBlockingOption(bool on) = 0;
    virtual bool setReuseAddressOption(bool on) = 0;
    virtual bool setSendBufferSize(unsigned int bytes) = 0;
    virtual bool setReceiveBufferSize(unsigned int bytes) = 0;
    virtual bool setDoNotRouteOption(bool on) = 0;

    /// Linux cannot set the send watermark: always fails, with error 92.
    virtual bool setSendLowWatermark(unsigned int bytes) = 0;
    virtual bool setReceiveLowWatermark(unsigned int bytes) = 0;
    /// @}

    virtual bool isNonBlocking() const;  ///< As last set.
    virtual bool isNoDelay() const;      ///< As last set; TCP only.

    /// These ask the system; false, with the output as it was, when the socket is not open or
    /// the system refuses. @{

    virtual bool getReuseAddressOption(bool& on) = 0;
    virtual bool getDoNotRouteOption(bool& on) = 0;
    virtual bool getSendBufferSize(unsigned int& bytes) = 0;
    virtual bool getReceiveBufferSize(unsigned int& bytes) = 0;

    /// Bytes that can be received without waiting; of datagrams those of the next one.
    virtual bool getBytesAvailable(unsigned int& bytes) = 0;
    virtual bool getSendLowWatermark(unsigned int& bytes) = 0;
    virtual bool getReceiveLowWatermark(unsigned int& bytes) = 0;
    /// @}

    /// Answered from the local endpoint. @{
    virtual bool isIPv4() const;
    virtual bool isIPv6() const;
    virtual bool isTcp() const;
    virtual bool isUdp() const;
    /// @}

    // --------------------------------------------------------------- error and end of service

    /// Number and text of the last error; 0 and empty when there was none. @{
    virtual int getLastError() const;
    virtual DtString getLastErrorString() const;
    /// @}

    /// Whether the last error is 11: nothing there or no room on a non-blocking socket.
    virtual bool isErrorWouldBlockOrTryAgain() const;
    virtual void clearError();  ///< Clears number and text; the state stays.

    /// How the peer has ended the connection; 0 and empty as long as it has not. @{
    virtual int getTerminationCode() const;
    virtual DtString getTerminationString() const;
    /// @}

    // ------------------------------------------------------------------------------- counters

    /// Since construction or clearStats(). A packet is what one send took or one read brought. @{
    virtual std::uint64_t totalBytesSent() const;
    virtual std::uint64_t totalPacketsSent() const;
    virtual std::uint64_t totalBytesReceived() const;
    virtual std::uint64_t totalPacketsReceived() const;
    virtual void clearStats();
    /// @}

    // ------------------------------------------------------------------------------ callbacks

    /// Callbacks of one type run in ascending order, those of equal order as they were added. A
    /// negative order puts the callback last: at the largest order so far plus 1, or 0 in an
    /// empty chain; after the largest order there is, behind the others of that order. False for
    /// a type other than the four.
    virtual bool addProcessingCallback(DtInetSockProcessingType type,
                                       DtInetSocketProcessingCallback callback, void* userData,
                                       int order);

    /// Removes the first registration of `callback`. False when there is none. A call of it on
    /// another thread may still be going on.
    virtual bool removeProcessingCallback(DtInetSockProcessingType type,
                                          DtInetSocketProcessingCallback callback);

    /// When the data received last arrived, in seconds as DtAbsRealTime() counts them; 0 before
    /// the first reception.
    virtual double receiveTime() const;

    /// Takes the first registration of `callback` out of a chain and frees its record.
    virtual bool findAndRemoveCallback(DtInetSocketCallbackChain& chain,
                                       DtInetSocketProcessingCallback callback);

protected:
    // For derived sockets. The following virtual function comes after the fixed ones.

    /// Sends the bytes of `parts` to the destination, as one datagram where there are datagrams.
    /// The number of bytes accepted; 0 with the record set when it would have to wait; -1 with
    /// the record set. `operation` begins the error text. The base fails with error 95.
    virtual int transmit(const iovec* parts, std::size_t count, DtInetEndpoint& destination,
                         int flags, const char* operation);

    /// One walk over a chain, see src/net/ChainRun.h.
    class ChainRun;

    /// The one lock of a socket. It guards the error record, the callback chains and whatever
    /// derived sockets put under it. No receiving call waits while it holds this.
    DtMutex& mutex() const { return mutex_; }

    // -------------------------------------------------------------------- state and error

    /// The state that the next success returns to after a failure: that of an open socket, or 0
    /// while there is none.
    void setState(int state, int stateAfterSuccess);

    /// Sets state -1, number and text; returns false.
    bool recordError(int number, const DtString& text);

    /// Sets number and text and leaves the state; returns false.
    bool recordRefusal(int number, const DtString& text);

    /// As recordRefusal for error 11 without a text.
    void recordWouldBlock();

    /// Ends state -1.
    void noteSuccess() {
        if (state_.load(std::memory_order_relaxed) == DtInetSockError)
            restoreState();
    }

    void setTermination(int code, const DtString& text);  ///< What the observers give from now on.

    // ------------------------------------------------------------------------------ chains

    /// Whether the chain has any; a callback added just now may not be seen yet.
    bool hasCallbacks(DtInetSockProcessingType type) const {
        return chainSizes_[type].load(std::memory_order_relaxed) != 0;
    }

    /// Runs the before-read chain; `status` begins as 0.
    int runBeforeRead(DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int& status);

    /// Runs the receive chain on the first `size` bytes; `status` begins as 0 or as
    /// DtInetSockFromQueue.
    int runReceive(int size, DtInetSocketBufferChain& chain, DtInetEndpoint& sender, int& status);

    /// What the receiving call answers after the chains. A size of 0 counts as filtered; for -1
    /// the caller sets the record.
    static int receiveResult(int size, int status);

    /// Sends through the pre-send chain, `transmit` and the post-send chain, and counts. The
    /// caller's bytes are not changed. `operation` ("DtInetUdpSocket::send()/sendTo()") begins
    /// the error texts. @{
    int sendThroughChains(DtInetSocketBufferChain& chain, DtInetEndpoint& destination, int flags,
                          const char* operation);
    int sendThroughChains(const char* bytes, int size, DtInetEndpoint& destination, int flags,
                          const char* operation);
    /// @}

    /// Runs the post-send chain and adds its results to `count`, the number of bytes sent. False,
    /// with the record set, when a callback fails the send.
    bool runPostSend(int& count, DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                     const char* operation);

    void countSent(std::uint64_t bytes);  ///< One packet of so many bytes.
    /// One packet of so many bytes. Returns how many packets that makes.
    std::uint64_t countReceived(std::uint64_t bytes);

    /// What the observers above give. The order of these members is fixed. @{
    DtInetEndpoint localEndpoint_;
    DtInetEndpoint destination_;
    DtInetDevice* hostIf_ = nullptr;
    std::atomic<int> state_{DtInetSockInitial};
    std::atomic<std::uint32_t> flags_{theDtInetSockDefaultOptions};
    std::atomic<bool> reuseAddress_{false};
    std::atomic<bool> nonBlocking_{false};
    std::atomic<bool> noDelay_{false};
    std::atomic<bool> doNotRoute_{false};
    std::atomic<int> lastError_{0};
    DtString lastErrorText_;
    std::atomic<int> terminationCode_{0};
    DtString terminationText_;
    DtInetSocketCallbackChain chains_[4];
    std::atomic<std::uint64_t> bytesSent_{0};
    std::atomic<std::uint64_t> packetsSent_{0};
    std::atomic<std::uint64_t> bytesReceived_{0};
    std::atomic<std::uint64_t> packetsReceived_{0};
    mutable std::atomic<double> receiveTime_{0.0};
    /// @}

private:
    void restoreState();
    bool runsChain(DtInetSockProcessingType type, int flags) const;
    int sendWithCallbacks(const char* bytes, std::size_t size, DtInetEndpoint& destination,
                          int flags, const char* operation);
    int sendWithCallbacks(DtInetSocketBufferChain& chain, DtInetEndpoint& destination, int flags,
                          const char* operation);
    bool sendAndCount(const iovec* parts, std::size_t count, int& result,
                      DtInetEndpoint& destination, int flags, const char* operation);
    bool runPreSend(int& size, DtInetSocketBufferChain& chain, DtInetEndpoint& destination,
                    const char* operation);

    mutable DtMutex mutex_;
    int stateAfterSuccess_ = 0;
    std::uint64_t nextSequence_ = 1;
    std::atomic<std::size_t> chainSizes_[4] = {};
    std::atomic<std::uint32_t> chainVersion_{0};  ///< Counts removals, for walks under way.
};

}  // namespace OrynRti

#endif
