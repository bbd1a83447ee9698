#include "Server.h"

#include <algorithm>
#include <cerrno>

#include "CliServer.h"
#include "Errors.h"
#include "FiguresText.h"
#include "common/Console.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto theHousekeepingInterval = std::chrono::seconds(1);
constexpr int theMostRequests = 64;   ///< Of a socket before the network is looked at again.
constexpr int theMostPackets = 64;    ///< Before the requests are.
constexpr int theMostWaiting = 4096;  ///< Requests, more than a socket holds.

/// What the loop waits for, in this order.
enum Event : std::size_t {
    SignalCame,
    PacketsCame,
    RequestsCame,
    PacketRequestsCame,
    ClientsEnded  ///< One for each client.
};

bool isReadable(int descriptor) {
    pollfd event{descriptor, POLLIN, 0};
    return ::poll(&event, 1, 0) == 1;
}

}  // namespace

Server::Server(const ServerOptions& options, EventLog& log)
    : options_(options),
      log_(log),
      deadPools_(options.key),
      network_(options.network),
      requests_(options.key, DtRequestPathControl),
      start_(Clock::now()),
      lastHousekeeping_(start_) {
    deadPools_.sweep();
    if (!options.internal)
        turnExternal();
    log_.line("serving key " + std::to_string(options.key) + ", reading " +
              network_.endpointText() + (external_ ? ", external" : ", internal"));
}

Server::~Server() {
    while (!clients_.empty()) {
        clients_.back()->letGo(DtCsClosing);
        drop(clients_.end() - 1, "let go");
    }
    deadPools_.retry();
    deadPools_.sweep();
}

// -------------------------------------------------------------------------------------------
// Waiting

void Server::run(Signals& signals) {
    const auto came = [&](Event event) { return events_[event].revents != 0; };
    while (!ending_) {
        wait(signals);
        if (came(SignalCame))
            takeSignals(signals);
        if (came(RequestsCame))
            takeRequests(requests_, theMostRequests);
        if (came(PacketRequestsCame) && packetRequests_)
            takeRequests(*packetRequests_, theMostRequests);
        if (came(PacketsCame))
            readPackets();
        if (std::any_of(events_.begin() + ClientsEnded, events_.end(),
                        [](const pollfd& event) { return event.revents != 0; }))
            removeDead();
        keepHouse();
    }
}

void Server::wait(const Signals& signals) {
    events_.clear();
    const auto add = [&](int descriptor) { events_.push_back({descriptor, POLLIN, 0}); };
    add(signals.descriptor());
    add(network_.descriptor());
    add(requests_.descriptor());
    add(packetRequests_ ? packetRequests_->descriptor() : -1);
    for (const auto& client : clients_)
        add(client->processDescriptor());
    ::poll(events_.data(), events_.size(), hasHouseToKeep() ? 1000 : -1);
}

void Server::takeSignals(Signals& signals) {
    while (const int signal = signals.next())
        if (signal == SIGUSR1)
            log_.line("so far:\n" + figuresText(figures()));
        else
            ending_ = true;
}

bool Server::hasHouseToKeep() const {
    return !clients_.empty() || deadPools_.areLeft() || !network_.isWell();
}

void Server::keepHouse() {
    const Clock::time_point now = Clock::now();
    if (!hasHouseToKeep() || now - lastHousekeeping_ < theHousekeepingInterval)
        return;
    lastHousekeeping_ = now;
    removeAbandoning();
    deadPools_.retry();
    if (!network_.isWell() && network_.reopen())
        log_.line("the network can be read again");
}

// -------------------------------------------------------------------------------------------
// Packets

void Server::readPackets() {
    Packet packet;
    for (int i = 0; i < theMostPackets; ++i) {
        const NetworkSource::Result result = network_.receive(packet);
        if (result == NetworkSource::Result::Nothing)
            return;
        if (result == NetworkSource::Result::Packet)
            handOver(packet);
        if (result == NetworkSource::Result::Failed) {
            ++counters_.networkFailures;
            log_.line("the network cannot be read: " + network_.failure());
            return;
        }
    }
}

void Server::handOver(const Packet& packet) {
    ++counters_.packets;
    counters_.bytes += static_cast<std::uint64_t>(packet.length);
    for (const auto& client : clients_)
        counters_.handedOver += client->offer(packet) ? 1 : 0;
}

// -------------------------------------------------------------------------------------------
// Mode

void Server::turn(bool external) {
    if (external == external_)
        return;
    deadPools_.sweep();
    try {
        external ? turnExternal() : turnInternal();
        log_.line(external ? "external" : "internal");
    } catch (const ProgramError& problem) {
        log_.line(std::string("stays internal: ") + problem.what());
    }
}

void Server::turnExternal() {
    packetRequests_.emplace(options_.key, DtRequestPathPackets);
    external_ = true;
    announce(DtCsNowExternal);
}

/// Who has asked to be added is told that it is too late.
void Server::turnInternal() {
    external_ = false;
    takeRequests(*packetRequests_, theMostWaiting);
    announce(DtCsNowInternal);
    letGoPacketClients(DtCsNowInternal);
    packetRequests_.reset();
}

/// To all control clients.
void Server::announce(DtCsNoticeCode code) {
    DtCsNoticeRecord notice;
    notice.code = code;
    for (const auto& client : clients_)
        if (client->isControl())
            client->tell(notice);
}

// -------------------------------------------------------------------------------------------
// Clients

std::size_t Server::count(bool controls) const {
    return static_cast<std::size_t>(
        std::count_if(clients_.begin(), clients_.end(),
                      [&](const auto& client) { return client->isControl() == controls; }));
}

void Server::letGoPacketClients(DtCsNoticeCode code) {
    for (auto client = clients_.begin(); client != clients_.end();) {
        if ((*client)->isControl()) {
            ++client;
            continue;
        }
        (*client)->letGo(code);
        client = drop(client, "let go");
    }
}

void Server::removeDead() {
    for (auto client = clients_.begin(); client != clients_.end();) {
        if (!isReadable((*client)->processDescriptor())) {
            ++client;
            continue;
        }
        const std::string poolName = (*client)->poolName();
        client = drop(client, "ended without a word");
        deadPools_.remove(poolName);
    }
    deadPools_.sweep();
}

/// Of clients that live but have given up: the word of their leaving was lost.
void Server::removeAbandoning() {
    for (auto client = clients_.begin(); client != clients_.end();)
        client = (*client)->hasRemovedQueue() ? drop(client, "removed its queue") : client + 1;
}

Server::Clients::iterator Server::drop(Clients::iterator which, const std::string& why) {
    ServedClient& client = **which;
    for (const std::uint32_t group : client.groups())
        network_.leave(group);
    counters_.droppedOld += client.droppedOld();
    counters_.droppedNew += client.droppedNew();
    if (!client.isControl())
        log_.line(
            formatted("client %u (process %d) %s after %s, %llu overwritten unread, %llu not "
                      "written",
                      client.number(), client.process(), why.c_str(),
                      counted(client.packets(), "packet").c_str(),
                      static_cast<unsigned long long>(client.droppedOld()),
                      static_cast<unsigned long long>(client.droppedNew())));
    return clients_.erase(which);
}

}  // namespace RtiqnPacketServer
