#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools-dis/Program.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using nlohmann::json;
using RtiqnPacketServer::Tests::PacketServer;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* theStart = "listening through the packet server with key ";

/// `rtiqn-dis listen` through the server, which has taken it when this is made.
class ServedListener {
public:
    ServedListener(const PacketServer& server, const std::vector<std::string>& options,
                   const std::string& firstLine = theStart)
        : program_(words(server, options)) {
        program_.awaitLine(firstLine);
    }

    RunningProgram& program() { return program_; }

    Outcome interrupt() {
        program_.signal(SIGINT);
        return program_.finish();
    }

    static std::vector<std::string> words(const PacketServer& server,
                                          const std::vector<std::string>& options) {
        std::vector<std::string> all = {
            RTIQN_DIS_PROGRAM,    "listen",        "--via-server", std::to_string(server.key()),
            "--server-directory", server.folder(), "--for",        "20",
            "--format",           "ndjson"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

private:
    RunningProgram program_;
};

Outcome replayTo(const PacketServer& server) {
    Outcome sent = run({"replay", dataPath("dis/harbour.pcap"), "--top-speed", "--to",
                        "127.0.0.1:" + server.port()});
    EXPECT_EQ(sent.status, 0) << sent.err;
    return sent;
}

/// What is the same whichever way the PDUs came.
std::vector<json> pdusOf(const std::string& ndjson, bool withPlaces) {
    std::vector<json> pdus = objectsOf(ndjson);
    pdus.pop_back();
    for (json& pdu : pdus) {
        for (const char* key : {"time", "sender"})
            pdu.erase(key);
        for (const char* key : {"index", "count"})
            if (!withPlaces)
                pdu.erase(key);
    }
    return pdus;
}

json lossesOf(const Outcome& outcome) {
    const json summary = objectsOf(outcome.out).back().at("summary");
    json losses = json::object();
    for (const json& row : summary.at("notDelivered"))
        losses[row.at("reason").get<std::string>()] = row.at("count");
    return losses;
}

TEST(ViaServer, ShowsWhatListeningOnTheNetworkShows) {
    const std::string capture = dataPath("dis/harbour.pcap");
    const TemporaryFolder folder;
    for (const bool unbundle : {true, false}) {
        PacketServer server(unbundle ? std::vector<std::string>{}
                                     : std::vector<std::string>{"--no-unbundle"});
        ServedListener all(server, {"--count", "18", "--write", folder.path("rec.pcap")});
        ServedListener some(server, {"--count", "6", "--kind", "acknowledge,Signal"});
        replayTo(server);
        const Outcome heard = all.program().finish(), selected = some.program().finish();
        EXPECT_EQ(pdusOf(heard.out, !unbundle),
                  pdusOf(run({"read", "--format", "ndjson", capture}).out, !unbundle));
        EXPECT_EQ(
            pdusOf(selected.out, !unbundle),
            pdusOf(run({"read", "--format", "ndjson", "--kind", "15,26", capture}).out, !unbundle));
        EXPECT_EQ(pdusOf(run({"read", "--format", "ndjson", "--port", server.port(),
                              folder.path("rec.pcap")})
                             .out,
                         true),
                  pdusOf(heard.out, true));
        // PDUs that the server tests for the program are never seen.
        EXPECT_EQ(lossesOf(selected).contains("filteredKind"), !unbundle);
    }
}

TEST(ViaServer, CountsWhatItWasTooSlowFor) {
    PacketServer server;
    ServedListener slow(server, {"--quiet", "--count", "100"});
    slow.program().signal(SIGSTOP);
    RtiqnPacketServer::Tests::Client quick(server);
    constexpr int count = 400;
    const std::string large = ofSize(8000);
    for (int i = 0; i < count; ++i) {  // more than the queue of the slow one holds
        server.send(large);
        EXPECT_EQ(quick.next(), large);
    }
    slow.program().signal(SIGCONT);
    const Outcome outcome = slow.program().finish();
    const json losses = lossesOf(outcome);
    EXPECT_GT(losses.at("serverOverwritten"), count / 2);
    EXPECT_EQ(objectsOf(outcome.out).back().at("summary").at("pdus"), 100);
}

TEST(ViaServer, WaitsForTheSuccessorOfItsServer) {
    PacketServer server;
    ServedListener listener(server, {"--count", "36"});
    replayTo(server);
    server.program().kill();
    listener.program().awaitLine("is gone; waiting for its successor");
    server.start();
    listener.program().awaitLine(theStart + std::to_string(server.key()) + " again");
    replayTo(server);
    const Outcome outcome = listener.program().finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(pdusOf(outcome.out, false).size(), 36u);
}

TEST(ViaServer, NeedsAServerUnlessItShallWaitForOne) {
    PacketServer server;
    server.stop();
    const Outcome none = runToEnd(ServedListener::words(server, {}));
    EXPECT_EQ(none.status, 4);
    EXPECT_THAT(none.out, IsEmpty());
    EXPECT_THAT(none.err, HasSubstr("there is no packet server with key"));

    ServedListener listener(server, {"--wait"}, "waiting: there is no packet server");
    server.start();
    listener.program().awaitLine(theStart);
    const Outcome outcome = listener.interrupt();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(objectsOf(outcome.out).back().at("summary").at("pdus"), 0);

    const std::vector<std::string> wrong[] = {
        {"--port", "3000"}, {"--bind", "127.0.0.1"}, {"--device", "lo"}, {"--group", "ff02::5"}};
    for (const auto& options : wrong)
        EXPECT_EQ(runToEnd(ServedListener::words(server, options)).status, 64) << options[0];
    EXPECT_EQ(run({"listen", "--via-server", "100000"}).status, 64);
    EXPECT_EQ(run({"listen", "--wait"}).status, 64);
}

}  // namespace
}  // namespace RtiqnDis
