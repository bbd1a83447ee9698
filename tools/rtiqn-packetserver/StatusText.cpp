#include "StatusText.h"

#include <nlohmann/json.hpp>

#include "CliServer.h"
#include "FiguresText.h"
#include "Print.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

/// Keeps what messages print.
class TextPrinter : public DtPrinter {
public:
    TextPrinter() { DtSetQuarnPrinter(this); }
    ~TextPrinter() override { DtSetQuarnPrinter(&DtStandardErrorConsole); }
    TextPrinter(const TextPrinter&) = delete;
    TextPrinter& operator=(const TextPrinter&) = delete;

    void write(const std::string& piece, int, bool) override { text += piece; }

    std::string text;
};

const char* modeOf(const DtCsStateReturnRecord& state) {
    return state.serverMode == DtCsExternal   ? "external"
           : state.serverMode == DtCsInternal ? "internal"
                                              : "not well";
}

}  // namespace

std::string statusText(const ServerState& state, const std::string& figures) {
    TextPrinter printed;
    DtClientServerMsg(&state.server).print();
    DtClientServerMsg(&state.client).print();
    return printed.text + clientsText(figures) + "\n" + figuresText(figures);
}

std::string statusJson(int key, const ServerState& state, const std::string& figures) {
    using Json = nlohmann::ordered_json;
    const DtCsStateReturnRecord& server = state.server;
    const DtCsCStateReturnRecord& client = state.client;
    const bool limited = server.maxPacketClients >= 0;
    Json object = {{"key", key},
                   {"mode", modeOf(server)},
                   {"unbundling", server.unbundling != 0},
                   {"port", server.serverPort},
                   {"packetClients", server.packetClients},
                   {"controlClients", server.controlClients},
                   {"maxPacketClients", limited ? Json(server.maxPacketClients) : Json(nullptr)},
                   {"client",
                    {{"number", client.clientId},
                     {"process", client.processId},
                     {"sent", client.sentCount},
                     {"received", client.receivedCount},
                     {"droppedOld", client.droppedOldCount},
                     {"droppedNew", client.droppedNewCount},
                     {"queueBytes", client.sendQueueSize}}}};
    object.update(Json::parse(figures));
    return object.dump(2) + "\n";
}

}  // namespace RtiqnPacketServer
