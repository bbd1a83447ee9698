#ifndef RTIQNUTIL_PACKETSERVERCLIENT_H
#define RTIQNUTIL_PACKETSERVERCLIENT_H

#include <cstdint>
#include <memory>

#include "CliServerRecords.h"
#include "Export.h"
#include "InetAddr.h"
#include "InetEndpoint.h"
#include "PduFilter.h"
#include "String.h"

namespace OrynRti {

class DtPacketServerClientPimpl;

/// What DtPacketServerClient::receive answers.
enum DtPacketOutcome : int {
    DtPacketReceived = 0,
    DtPacketNone = 1,           ///< There was none in time.
    DtPacketServerGone = 2,     ///< The server ended without a word, or there was never one.
    DtPacketLetGoInternal = 3,  ///< The server serves no packet clients any more.
    DtPacketLetGoQuota = 4,     ///< The server has more clients than it may have.
    DtPacketLetGoClosing = 5,   ///< The server ended.
    DtPacketFailed = 6          ///< See lastError(); the client is closed.
};

/// How a DtPacketServerClient is served.
struct DtPacketServerClientOptions {
    /// Of the queue that packets come through, 1024 to 67108864. What does not fit is lost, the
    /// oldest first.
    int queueSize_bytes = 1 << 20;

    /// Lets every user's programs at the shared memory: needed where the server runs as another
    /// user than this program, unless as root.
    bool allowOthers = false;

    /// How long connect() waits for the server's answer, and a request for its place in the
    /// server's socket.
    double timeout_s = 2.0;
};

/// The figures of a DtPacketServerClient since it was made, over all servers.
struct DtPacketServerClientStatistics {
    uint64_t read = 0;            ///< Packets.
    uint64_t missed = 0;          ///< Packets lost before they were read, by their numbers.
    uint64_t unreadable = 0;      ///< Records of the server that made no sense.
    uint64_t warnings = 0;        ///< From the server; each is also a line on DtWarn.
    uint64_t stateAnswers = 0;    ///< See requestState().
    uint64_t requestsFailed = 0;  ///< Found no place in the server's socket in time.
};

/// Receives the DIS packets that the packet server of this host reads from the network and hands
/// to all its clients. Programs that only listen thus share one socket; those that send do so
/// through sockets of their own.
///
///     DtPacketServerClient client;
///     unsigned int exercise = 7;
///     client.setFilter(DtCsTestExerciseId, DtPduAcceptListed, 1, &exercise);
///     if (!client.connect(12))
///         DtWarn << client.lastError() << std::endl;
///     char pdu[65536];
///     int length = 0;
///     while (client.receive(pdu, sizeof pdu, length, -1.0) == DtPacketReceived)
///         use(pdu, length);
///
/// Whether packets are single PDUs, a PDU with its coupled Attribute PDU being one, or whole
/// datagrams is the server's choice, see serverUnbundles().
///
/// Filters and groups belong to this object: they are asked for at every connect(), and while
/// connected as soon as they are set. To go on with the successor of a server that is gone, call
/// connect() again.
///
/// Call receive() at least every few seconds: it is where the server is found to be gone.
///
/// Threads:   one at a time
/// Ownership: the shared memory, the semaphores and a socket, all gone after close(). A program
///            that is killed leaves them to the server, which removes them. A child made by
///            fork() may close or destroy the object, which its parent does not notice, but not
///            use it
/// Errors:    false, or an outcome, and lastError() in words
/// Cost:      three system calls per packet, one more per second; nothing is allocated between
///            connect() and close() but for the texts of errors
class DT_EXPORT DtPacketServerClient {
public:
    DtPacketServerClient();
    ~DtPacketServerClient();
    DtPacketServerClient(const DtPacketServerClient&) = delete;
    DtPacketServerClient& operator=(const DtPacketServerClient&) = delete;

    /// Asks the server of that key, 0 to 99999, to serve this client, and waits for its answer.
    /// Closes an earlier connection first. False when there is no server, it does not answer in
    /// time, or it does not take the client: see lastError().
    bool connect(int key, const DtPacketServerClientOptions& options = {});
    bool isConnected() const;  ///< As far as connect() and receive() have seen.

    /// Leaves the server and removes the shared memory. Filters, groups and statistics stay.
    void close();

    // What packets are wanted. False, and nothing changes, for what can never be served. Else it
    // is noted for every connect() to come; while connected, false means that not all of it has
    // reached the server. A server that refuses a request answers later, with a warning.

    /// Lets only the listed values pass, or all others. Values of the sender are IPv4 addresses
    /// in host order, those of the other tests bytes; at most 256. None with DtPduAcceptListed:
    /// nothing passes. While connected, packets are tested by the old values, the new ones, or
    /// some of the new ones until the last of them has reached the server.
    bool setFilter(DtCsFilterTest test, DtPduTestOperator op, int count,
                   const unsigned int* values);
    bool clearFilter(DtCsFilterTest test);  ///< Lets everything pass this test.

    /// An IPv4 group that the server shall read, too. At most 32. Other clients get its packets
    /// as well, unless they filter.
    bool joinGroup(const DtInetAddr& group);
    bool leaveGroup(const DtInetAddr& group);  ///< False for a group that was not joined.

    /// Takes the next packet. `length` becomes that of the packet; at most `size` bytes of it are
    /// copied. `timeout_s` of 0 does not wait, below 0 waits without limit. `sender` may be null;
    /// its address is 0.0.0.0 when it has no IPv4 address.
    ///
    /// Whatever the server left in the queue is received before it is reported to be gone or to
    /// have let this client go; from then on the client is not connected.
    DtPacketOutcome receive(char* buffer, int size, int& length, double timeout_s,
                            DtInetEndpoint* sender = nullptr);

    /// For use in poll() with POLLIN, -1 while not connected: readable when receive() has
    /// something to do, which need not be a packet. Before waiting, call receive() without a
    /// timeout until it gives DtPacketNone. The same from connect() to close().
    int pollDescriptor();

    const DtPacketServerClientStatistics& statistics() const;  ///< As of the last call.

    /// Asks the server for its state and for what it knows of this client. The answer comes
    /// between the packets: receive() takes it and raises `stateAnswers`. False when the request
    /// was not sent.
    bool requestState();

    /// The last answers; all 0 before the first connect(), which brings one. @{
    const DtCsStateReturnRecord& serverState() const;
    const DtCsCStateReturnRecord& clientState() const;
    /// @}

    /// Whether packets are PDUs, and not datagrams.
    bool serverUnbundles() const;

    /// The last failure in words, empty if there was none. In one line.
    const DtString& lastError() const;

private:
    std::unique_ptr<DtPacketServerClientPimpl> pimpl_;
};

}  // namespace OrynRti

#endif
