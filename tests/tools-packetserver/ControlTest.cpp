#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Print.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnPacketServer {
namespace {

using namespace Tests;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uid_t theNobody = 65534;

/// Waits for a process to be in that state, as the system has it.
void awaitState(pid_t process, char state) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    for (std::string line; line.find(std::string(") ") + state) == std::string::npos;)
        line = readFile(path);
}

TEST(Control, StatusTellsALivingServerFromAStoppedOneAndADeadOne) {
    PacketServer server({"--max-clients", "5"});
    const Outcome alive = server.ask("status");
    EXPECT_EQ(alive.status, 0);
    EXPECT_THAT(alive.out,
                AllOf(StartsWith("StateReturn message (version 3):\n    quarn server on port "),
                      HasSubstr("is alive (external)"), HasSubstr("0 packet clients (5 maximum)"),
                      HasSubstr("(control) client 1")));
    const json object = json::parse(server.ask("status", {"--format", "json"}).out);
    EXPECT_EQ(object.at("mode"), "external");
    EXPECT_EQ(object.at("maxPacketClients"), 5);
    EXPECT_EQ(object.at("controlClients"), 1);

    server.program().signal(SIGSTOP);
    awaitState(server.program().process(), 'T');
    const Outcome stopped = server.ask("status", {"--timeout", "0.05"});
    EXPECT_EQ(stopped.status, 2);
    EXPECT_THAT(stopped.out, IsEmpty());
    EXPECT_THAT(stopped.err, HasSubstr("does not answer; it may be stopped"));
    server.program().signal(SIGCONT);
    EXPECT_EQ(server.ask("status").status, 0);

    server.program().kill();
    EXPECT_EQ(DtPacketServerIsAlive(server.key()), 1) << "the paths are still there";
    for (const char* command : {"status", "stop"})
        EXPECT_EQ(server.ask(command).status, 1);
    EXPECT_EQ(server.ask("mode", {"internal"}).status, 1);
}

TEST(Control, StatusTellsWhatWasCounted) {
    PacketServer server;
    Client client(server);
    const auto figures = [&] {
        return json::parse(server.ask("status", {"--format", "json"}).out);
    };
    EXPECT_EQ(figures().at("clients").at(0).at("packets"), 0);
    server.send("too short");
    server.send(ofSize(28));
    EXPECT_EQ(client.next().size(), 28u);
    const json object = figures();
    EXPECT_EQ(object.at("server").at("packets"), 1);
    EXPECT_EQ(object.at("server").at("bytes"), 28);
    EXPECT_EQ(object.at("server").at("handedOver"), 1);
    EXPECT_EQ(object.at("server").at("controlClientsAdded"), 2);
    EXPECT_EQ(object.at("socket").at("totalPacketsReceived"), 2);
    EXPECT_EQ(object.at("socket").at("belowMinSize"), 1);
    EXPECT_EQ(object.at("clients").size(), 1u);
    EXPECT_EQ(object.at("clients").at(0).at("process"), ::getpid());
    EXPECT_EQ(object.at("clients").at(0).at("packets"), 1);

    const std::string text = server.ask("status").out;
    EXPECT_THAT(text, AllOf(HasSubstr("dropped old  dropped new  queue bytes\n     1  "),
                            HasSubstr("1 PDU, 28 bytes, in "),
                            HasSubstr("1  datagrams shorter than a PDU header")));
    EXPECT_THAT(server.stop().out, HasSubstr("1 client added, 1 packet handed over"));
}

TEST(Control, StopsASecondServerWithTheSameKey) {
    PacketServer server;
    const Outcome second = server.ask("run", {"--bind", "127.0.0.1", "--port", "0"});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("already: stop it, or take another key"));
    EXPECT_EQ(server.ask("status").status, 0);

    server.program().kill();
    server.start();  // over what the killed one has left
    EXPECT_EQ(server.ask("status").status, 0);
    server.stop();
    EXPECT_EQ(DtPacketServerIsAlive(server.key()), 0);
    EXPECT_TRUE(std::filesystem::is_empty(server.folder()));
}

TEST(Control, EndsInOrderOnSignalsAndTellsTheFiguresOnRequest) {
    for (const int signal : {SIGINT, SIGTERM}) {
        PacketServer server;
        Client client(server);
        server.send(ofSize(28));
        EXPECT_EQ(client.next().size(), 28u);
        server.program().signal(SIGUSR1);
        EXPECT_THAT(server.program().awaitLine("so far:"), IsEmpty());
        server.program().signal(signal);
        const Outcome ended = server.program().finish();
        EXPECT_EQ(ended.status, 0);
        EXPECT_THAT(ended.out, HasSubstr("1 client added, 1 packet handed over"));
        EXPECT_THAT(ended.err, AllOf(HasSubstr("1 PDU, 28 bytes"), HasSubstr("let go after")));
        EXPECT_EQ(client.next(), std::to_string(DtPacketLetGoClosing));
        EXPECT_TRUE(std::filesystem::is_empty(server.folder()));
    }
}

TEST(Control, QuietItTellsOnlyTheFigures) {
    TemporaryFolder folder;
    RunningProgram server({RTIQN_PACKETSERVER_PROGRAM, "run", "--key", "1", "--directory",
                           folder.path(), "--bind", "127.0.0.1", "--port", "0", "--quiet"});
    const std::vector<std::string> stop = {
        RTIQN_PACKETSERVER_PROGRAM, "stop", "--key", "1", "--directory", folder.path()};
    while (runToEnd(stop).status != 0) {
    }
    const Outcome ended = server.finish();
    EXPECT_THAT(ended.out, HasSubstr("0 clients added"));
    EXPECT_THAT(ended.err, IsEmpty());
}

/// What another user's process gets for an answer when it tries to be added: 0 for success.
int connectAsNobody(const PacketServer& server) {
    Child nobody([&] {
        if (::setresgid(theNobody, theNobody, theNobody) != 0 ||
            ::setresuid(theNobody, theNobody, theNobody) != 0)
            return 2;
        DtNotifyLevel = 0;
        Client client;
        client.options.timeout_s = 0.2;
        client.options.allowOthers = true;
        return client.connect(server.key(), client.options) ? 0 : 1;
    });
    return nobody.wait();
}

TEST(Control, ServesOtherUsersOnlyWhenAskedTo) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can be another user";
    PacketServer server;
    EXPECT_EQ(connectAsNobody(server), 1);
    EXPECT_THAT(server.stop().out, HasSubstr("of users that may not"));
    server.start({"--allow-others"});
    EXPECT_EQ(connectAsNobody(server), 0);
    EXPECT_THAT(server.stop().out, HasSubstr("1 client added"));
}

TEST(Control, AnswersWithTheExitStatusOfWhatHappened) {
    const TemporaryFolder folder;
    const struct {
        int status;
        std::vector<std::string> words;
        const char* text;
    } cases[] = {
        {64, {}, "a command is missing"},
        {64, {"run"}, "--key is required"},
        {64, {"run", "--key", "100000"}, "not in range 0 to 99999"},
        {64, {"status", "--key", "-1"}, "not in range"},
        {64, {"mode", "--key", "5", "sideways"}, "sideways"},
        {64, {"run", "--key", "5", "--max-clients", "-1"}, "not in range"},
        {64, {"run", "--key", "5", "--group", "192.0.2.1"}, "is no multicast group"},
        {64, {"run", "--key", "5", "--group", "239.1.2.3", "--bind", "::1"}, "at once"},
        {64, {"status", "--key", "5", "--timeout", "0"}, "not a number above 0"},
        {4, {"run", "--key", "5", "--device", "no-such-device"}, "no such interface"},
        {4, {"run", "--key", "5", "--bind", "198.51.100.7"}, "cannot read 198.51.100.7:3000"},
        {1, {"status", "--key", "5"}, "there is no packet server with key 5"},
    };
    for (const auto& test : cases) {
        std::vector<std::string> words = test.words;
        words.insert(words.begin(), RTIQN_PACKETSERVER_PROGRAM);
        if (words.size() > 3)
            words.insert(words.end(), {"--directory", folder.path()});
        const Outcome result = runToEnd(words);
        EXPECT_EQ(result.status, test.status) << testing::PrintToString(test.words);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, AllOf(StartsWith("rtiqn-packetserver: "), HasSubstr(test.text)));
    }
}

}  // namespace
}  // namespace RtiqnPacketServer
