// What clients ask for. Nothing in a record is taken on trust.
#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <unistd.h>

#include "Errors.h"
#include "Exceptions.h"
#include "PoolName.h"
#include "Server.h"
#include "common/Addresses.h"
#include "common/Console.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

constexpr int theSmallestQueue_bytes = 1024;
constexpr int theLargestQueue_bytes = 67108864;
constexpr std::size_t theMostPacketClients = 512;  ///< Whatever the operator allows.
constexpr std::size_t theMostControlClients = 64;

/// Of a request whose kind is known to be that of the record.
template <typename Record>
Record recordOf(const Request& request) {
    Record record;
    std::memcpy(&record, request.bytes, sizeof record);
    return record;
}

}  // namespace

void Server::takeRequests(RequestSocket& socket, int most) {
    Request request;
    for (int i = 0; i < most && socket.receive(request); ++i)
        handle(request, socket);
}

void Server::handle(const Request& request, RequestSocket& socket) {
    if (!mayAsk(request))
        return refuse(counters_.foreignUser, request, "the user may not");
    switch (DtCsKindOf(request.bytes, request.length)) {
        case DtCsAddClient:
            return addClient(request, socket);
        case DtCsControlReq:
            return control(request, socket);
        case DtCsFilter:
            return changeFilter(request);
        case DtCsMulticastReq:
            return changeGroup(request);
        case DtCsAck:
            return takeAck(request);
        default:
            return refuse(counters_.malformed, request, "it is no record");
    }
}

bool Server::mayAsk(const Request& request) const {
    return request.sender.pid > 0 && (options_.allowOthers || mayControl(request));
}

/// Others never turn or end the server.
bool Server::mayControl(const Request& request) const {
    return request.sender.uid == ::geteuid();
}

/// Told less and less often, so that nobody can fill the log.
void Server::refuse(std::uint64_t& counter, const Request& request, const std::string& why) {
    ++counter;
    if ((counter & (counter - 1)) == 0)
        log_.line(formatted("refused a request of process %d, user %u: %s (%llu so far)",
                            request.sender.pid, request.sender.uid, why.c_str(),
                            static_cast<unsigned long long>(counter)));
}

// -------------------------------------------------------------------------------------------
// Adding

void Server::addClient(const Request& request, RequestSocket& socket) {
    const auto record = recordOf<DtCsAddClientRecord>(request);
    const bool isControl = record.clientType == DtCsControlClient;
    if (record.processId != request.sender.pid)
        return refuse(counters_.foreignProcess, request, "it is not that process itself");
    if (record.queueSize < theSmallestQueue_bytes || record.queueSize > theLargestQueue_bytes ||
        (record.clientType != DtCsPacketClient && !isControl))
        return refuse(counters_.notUnderstood, request, "no client has such a queue or type");
    if (!hasPlaceFor(record.clientType)) {
        socket.answer(request.address, DtCsCliQuotaRecord());
        return refuse(counters_.noPlace, request, "there is no place for a client");
    }
    if (isControl != (&socket == &requests_))
        return refuse(counters_.wrongSocket, request, "a client of the other socket");
    attach(record, request, socket);
}

bool Server::hasPlaceFor(int clientType) const {
    if (clientType == DtCsControlClient)
        return count(true) < theMostControlClients;
    const std::size_t most =
        options_.maxClients < 0
            ? theMostPacketClients
            : std::min(theMostPacketClients, static_cast<std::size_t>(options_.maxClients));
    return external_ && count(false) < most;
}

void Server::attach(const DtCsAddClientRecord& record, const Request& request,
                    RequestSocket& socket) {
    const std::string poolName = poolOf(record, request);
    if (poolName.empty())
        return refuse(counters_.poolsRefused, request, "a pool of that name is not its own");
    lastNumber_ = std::max(lastNumber_ + 1, 1U);  // 0 is no client's
    try {
        clients_.push_back(
            std::make_unique<ServedClient>(lastNumber_, record, poolName, request, socket));
    } catch (const DtException& problem) {
        return refuse(counters_.poolsRefused, request, problem.message());
    }
    ServedClient& client = *clients_.back();
    client.countRequest();
    tellState(client);
    ++(client.isControl() ? counters_.controlClientsAdded : counters_.clientsAdded);
    if (!client.isControl())
        log_.line(formatted("client %u (process %d) added, with a queue of %d bytes",
                            client.number(), client.process(), record.queueSize));
}

/// Empty unless it is one of the process's own, and no other client has it.
std::string Server::poolOf(const DtCsAddClientRecord& record, const Request& request) const {
    const std::string text(record.poolName, strnlen(record.poolName, sizeof record.poolName));
    const auto name = PoolName::parse(text);
    const bool isTaken = std::any_of(clients_.begin(), clients_.end(), [&](const auto& client) {
        return client->poolName() == text;
    });
    const bool isOwn = name && name->key == options_.key && name->process == request.sender.pid;
    return isOwn && !isTaken ? text : std::string();
}

// -------------------------------------------------------------------------------------------
// What clients ask for later

ServedClient* Server::askingClient(std::uint32_t number, const Request& request) {
    const auto found = std::find_if(clients_.begin(), clients_.end(),
                                    [&](const auto& client) { return client->number() == number; });
    if (found == clients_.end()) {
        refuse(counters_.unknownClient, request, "there is no such client");
        return nullptr;
    }
    if ((*found)->process() != request.sender.pid) {
        refuse(counters_.foreignProcess, request, "the client is another process");
        return nullptr;
    }
    (*found)->countRequest();
    return found->get();
}

void Server::control(const Request& request, RequestSocket& socket) {
    const auto record = recordOf<DtCsControlReqRecord>(request);
    if (record.request != DtCsAskState && record.request != DtCsLeave &&
        record.request != DtCsAskFigures)
        return controlServer(record.request, request, socket);
    ServedClient* const client = askingClient(record.clientId, request);
    if (client == nullptr)
        return;
    if (record.request == DtCsAskState)
        tellState(*client);
    else if (record.request == DtCsAskFigures)
        client->isControl() ? client->tellText(figures()) : warnNotUnderstood(*client);
    else
        drop(std::find_if(clients_.begin(), clients_.end(),
                          [&](const auto& known) { return known.get() == client; }),
             "left");
}

void Server::controlServer(std::uint16_t what, const Request& request, RequestSocket& socket) {
    if (what > DtCsStop)
        return refuse(counters_.notUnderstood, request, "there is no such request");
    if (!mayControl(request))
        return refuse(counters_.foreignUser, request, "the user may not");
    if (&socket != &requests_)
        return refuse(counters_.wrongSocket, request, "not to be asked here");
    if (what == DtCsStop)
        ending_ = true;
    else
        turn(what == DtCsTurnExternal);
}

void Server::changeFilter(const Request& request) {
    const auto record = recordOf<DtCsFilterRecord>(request);
    ServedClient* const client = askingClient(record.clientId, request);
    if (client == nullptr || client->filter().change(record))
        return;
    ++counters_.notUnderstood;
    client->warn(DtCsFilterRefused,
                 formatted("no filter with test %d, action %d, value %u, or too many values",
                           record.test, record.action, record.value));
}

void Server::changeGroup(const Request& request) {
    const auto record = recordOf<DtCsMulticastReqRecord>(request);
    ServedClient* const client = askingClient(record.clientId, request);
    if (client == nullptr)
        return;
    std::vector<std::uint32_t>& groups = client->groups();
    const auto known = std::find(groups.begin(), groups.end(), record.address);
    if (record.request == DtCsJoinGroup && known == groups.end())
        joinGroup(*client, record.address);
    else if (record.request == DtCsLeaveGroup && known != groups.end()) {
        network_.leave(record.address);
        groups.erase(known);
    } else if (record.request > DtCsLeaveGroup)
        warnNotUnderstood(*client);
}

void Server::joinGroup(ServedClient& client, std::uint32_t group) {
    const auto refused = [&](DtCsWarningNumber number, const std::string& why) {
        ++counters_.groupsRefused;
        in_addr address{group};
        client.warn(number, std::string("group ") + inet_ntoa(address) + " refused: " + why);
    };
    if (!IN_MULTICAST(ntohl(group)))
        return refused(DtCsGroupRefused, "it is no multicast group");
    if (client.groups().size() == ServedClient::theMostGroups)
        return refused(DtCsTooManyGroups, "a client has no more than 32");
    if (!network_.join(group))
        return refused(DtCsGroupRefused, network_.failure());
    client.groups().push_back(group);
}

void Server::takeAck(const Request& request) {
    const auto record = recordOf<DtCsAckRecord>(request);
    ServedClient* const client = askingClient(record.clientId, request);
    if (client == nullptr)
        return;
    if (record.code == DtCsReady)
        client->setReady();
    else if (record.code != DtCsAlive)
        warnNotUnderstood(*client);
}

void Server::warnNotUnderstood(ServedClient& client) {
    ++counters_.notUnderstood;
    client.warn(DtCsNotUnderstood, "a request was not understood");
}

// -------------------------------------------------------------------------------------------
// State

DtCsStateReturnRecord Server::state() const {
    DtCsStateReturnRecord state;
    state.serverMode = !network_.isWell() ? DtCsNotWell : external_ ? DtCsExternal : DtCsInternal;
    state.unbundling = options_.network.unbundle ? 1 : 0;
    state.packetClients = static_cast<std::uint16_t>(count(false));
    state.controlClients = static_cast<std::uint16_t>(count(true));
    state.maxPacketClients = options_.maxClients;
    state.serverPort = network_.port();
    return state;
}

void Server::tellState(ServedClient& client) {
    client.tell(state());
    client.tell(client.state());
}

}  // namespace RtiqnPacketServer
