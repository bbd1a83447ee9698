#ifndef RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTPIMPL_H
#define RTIQNUTIL_SRC_TRANSPORT_PACKETSERVERCLIENTPIMPL_H

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PacketServerClient.h"
#include "transport/PacketServerClientMemory.h"
#include "transport/PacketServerClientSocket.h"
#include "transport/PacketServerClientWishes.h"

namespace OrynRti {

/// What a DtPacketServerClient keeps and does.
class DtPacketServerClientPimpl {
public:
    DtPacketServerClientPimpl();
    ~DtPacketServerClientPimpl();

    bool connect(int key, const DtPacketServerClientOptions& options);
    void close();
    bool isConnected() const { return clientId_ != 0; }

    bool setFilter(DtCsFilterTest test, PacketFilterWish wish);
    bool join(uint32_t group);
    bool leave(uint32_t group);
    bool requestState();
    int pollDescriptor();

    DtPacketOutcome receive(char* buffer, int size, int& length, double timeout_s,
                            DtInetEndpoint* sender);

    /// Keeps the text; always false.
    bool fail(const std::string& text);

    // Of the whole client.
    PacketClientWishes wishes;
    DtPacketServerClientStatistics statistics;
    DtCsStateReturnRecord serverState;
    DtCsCStateReturnRecord clientState;
    DtString lastError;

private:
    /// When a wait is over. The clock is first read when somebody asks.
    class Deadline {
    public:
        /// Below 0 for never.
        explicit Deadline(double timeout_s) : timeout_s_(timeout_s) {}
        bool isOver() { return left_s() <= 0; }
        double left_s();

    private:
        double timeout_s_;
        std::chrono::steady_clock::time_point start_;
        bool started_ = false;
    };

    /// What was found in the queue.
    enum class Found { Packet, Other, Nothing, Locked, Broken };

    // Connecting.
    bool reach(int key);
    bool makeMemory(int key, const DtPacketServerClientOptions& options);
    bool addSelf();
    bool waitForNumber();
    bool isRefused();
    bool askForWishes();

    // Requests.
    bool report(PacketClientSocket::Sent sent);
    template <typename Record>
    bool send(Record record);
    bool askForFilter(DtCsFilterTest test);
    bool sendGroup(DtCsGroupRequest request, uint32_t group);
    bool sendAck(DtCsAckCode code, double timeout_s);

    // Receiving.
    Found look();
    Found take(int length);
    void takeState(const DtCsCStateReturnRecord& state);
    void takeNotice(uint16_t code);
    void takeWarning(const DtCsWarningRecord& warning);
    Found goAway();
    void handOver(char* buffer, int size, int& length, DtInetEndpoint* sender);
    void waitForPacket(Found found, Deadline& deadline);
    void armPoll();

    // Life and end of the connection.
    double aliveIn_s() const;
    void keepAlive();
    void startEnd(DtPacketOutcome outcome);
    DtPacketOutcome end(DtPacketOutcome outcome);

    // Of the connection.
    std::string server_;  ///< How it is called in texts.
    double timeout_s_ = 0;
    int queueSize_bytes_ = 0;
    std::optional<PacketClientMemory> memory_;
    std::optional<PacketClientSocket> socket_;
    uint32_t clientId_ = 0;  ///< 0: not connected.
    int process_ = 0;        ///< The one that has connected.
    uint32_t readCount_ = 0;
    uint32_t missedCount_ = 0;
    uint16_t nextSequence_ = 0;
    double lastAlive_s_ = 0;
    DtPacketOutcome ending_ = DtPacketServerGone;  ///< See isEnding_.
    bool isEnding_ = false;  ///< What is in the queue is the last; then comes ending_.

    std::vector<char> record_;       ///< The one that was read last.
    DtCsServerPacketRecord packet_;  ///< What it begins with when it is a packet.
};

}  // namespace OrynRti

#endif
