#include "Server.h"
#include "common/CountersJson.h"

namespace RtiqnPacketServer {

using namespace OrynRti;
using namespace RtiqnTools;

namespace {

using Json = nlohmann::ordered_json;

DtCounterSnapshot snapshotOf(const Counters& counters) {
    DtCounterSnapshot snapshot;
    const std::pair<const char*, std::uint64_t> named[] = {
        {"packets", counters.packets},
        {"bytes", counters.bytes},
        {"handedOver", counters.handedOver},
        {"clientsAdded", counters.clientsAdded},
        {"controlClientsAdded", counters.controlClientsAdded},
        {"networkFailures", counters.networkFailures},
        {"droppedOld", counters.droppedOld},
        {"droppedNew", counters.droppedNew},
        {"malformed", counters.malformed},
        {"notUnderstood", counters.notUnderstood},
        {"wrongSocket", counters.wrongSocket},
        {"foreignUser", counters.foreignUser},
        {"foreignProcess", counters.foreignProcess},
        {"unknownClient", counters.unknownClient},
        {"poolsRefused", counters.poolsRefused},
        {"noPlace", counters.noPlace},
        {"groupsRefused", counters.groupsRefused},
        {"queuesRemoved", counters.queuesRemoved}};
    static_assert(sizeof named / sizeof *named == sizeof counters / sizeof(std::uint64_t),
                  "a counter has no name");
    for (const auto& [name, value] : named)
        snapshot.add(name, value);
    return snapshot;
}

Json clientJson(ServedClient& client) {
    const DtCsCStateReturnRecord state = client.state();
    return {{"number", client.number()},         {"process", client.process()},
            {"packets", client.packets()},       {"droppedOld", client.droppedOld()},
            {"droppedNew", client.droppedNew()}, {"requests", state.receivedCount},
            {"filters", state.filterCount},      {"groups", state.groupCount},
            {"queueBytes", state.sendQueueSize}};
}

}  // namespace

std::string Server::figures() const {
    Counters all = counters_;
    all.queuesRemoved = deadPools_.removedCount();
    Json clients = Json::array();
    for (const auto& client : clients_) {
        all.droppedOld += client->droppedOld();
        all.droppedNew += client->droppedNew();
        if (!client->isControl())
            clients.push_back(clientJson(*client));
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
    return Json{{"unbundling", options_.network.unbundle},
                {"seconds", time.count()},
                {"server", countersJson(snapshotOf(all))},
                {"socket", countersJson(DtCounterSnapshot(network_.socket()))},
                {"clients", std::move(clients)}}
        .dump();
}

}  // namespace RtiqnPacketServer
