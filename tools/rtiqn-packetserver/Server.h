#ifndef RTIQN_PACKETSERVER_SERVER_H
#define RTIQN_PACKETSERVER_SERVER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <vector>

#include "Counters.h"
#include "DeadPools.h"
#include "EventLog.h"
#include "NetworkSource.h"
#include "RequestSocket.h"
#include "ServedClient.h"
#include "Signals.h"

namespace RtiqnPacketServer {

struct ServerOptions {
    int key = 0;
    NetworkOptions network;
    int maxClients = -1;  ///< below 0 for no limit
    bool internal = false;
    bool allowOthers = false;
    bool quiet = false;
};

/// The packet server of a key: reads packets from the network and hands them to its clients. One
/// thread, which waits in poll() and nowhere else; whatever clients do or leave undone, it goes on.
///
/// Ownership: borrows options and log
/// Cost:      per packet one system call to read it and one per client; nothing is allocated
class Server {
public:
    /// The caller owes the right to the key, see KeyLock. Throws a ProgramError.
    Server(const ServerOptions& options, EventLog& log);

    /// Lets all clients go.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves until a client asks for the end, or SIGINT or SIGTERM comes. SIGUSR1 tells the
    /// summary to the log.
    void run(Signals& signals);

    /// What was read and handed over, and all that was not, as one JSON object.
    std::string figures() const;

private:
    using Clients = std::vector<std::unique_ptr<ServedClient>>;

    // Waiting.
    void wait(const Signals& signals);
    void takeSignals(Signals& signals);
    bool hasHouseToKeep() const;
    void keepHouse();

    // Packets.
    void readPackets();
    void handOver(const Packet& packet);

    // Requests.
    void takeRequests(RequestSocket& socket, int most);
    void handle(const Request& request, RequestSocket& socket);
    bool mayAsk(const Request& request) const;
    bool mayControl(const Request& request) const;
    void refuse(std::uint64_t& counter, const Request& request, const std::string& why);
    void addClient(const Request& request, RequestSocket& socket);
    bool hasPlaceFor(int clientType) const;
    void attach(const OrynRti::DtCsAddClientRecord& record, const Request& request,
                RequestSocket& socket);
    std::string poolOf(const OrynRti::DtCsAddClientRecord& record, const Request& request) const;
    void control(const Request& request, RequestSocket& socket);
    void controlServer(std::uint16_t what, const Request& request, RequestSocket& socket);
    void changeFilter(const Request& request);
    void changeGroup(const Request& request);
    void joinGroup(ServedClient& client, std::uint32_t group);
    void takeAck(const Request& request);
    void warnNotUnderstood(ServedClient& client);
    ServedClient* askingClient(std::uint32_t number, const Request& request);
    OrynRti::DtCsStateReturnRecord state() const;
    void tellState(ServedClient& client);

    // Mode.
    void turn(bool external);
    void turnExternal();
    void turnInternal();
    void announce(OrynRti::DtCsNoticeCode code);

    // Clients.
    std::size_t count(bool controls) const;
    void letGoPacketClients(OrynRti::DtCsNoticeCode code);
    void removeDead();
    void removeAbandoning();
    Clients::iterator drop(Clients::iterator which, const std::string& why);

    const ServerOptions& options_;
    EventLog& log_;
    DeadPools deadPools_;
    NetworkSource network_;
    RequestSocket requests_;                       ///< Of control clients.
    std::optional<RequestSocket> packetRequests_;  ///< Of packet clients.
    bool external_ = false;                        ///< Packet clients are served.
    Clients clients_;
    std::vector<pollfd> events_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastHousekeeping_;
    std::uint32_t lastNumber_ = 0;
    bool ending_ = false;
    Counters counters_;
};

}  // namespace RtiqnPacketServer

#endif
