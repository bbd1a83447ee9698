#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Notifications.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnPacketServer {
namespace {

using namespace Tests;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

std::string pdu(int version, int exercise, int kind, char fill = 'x') {
    Pdu pdu;
    pdu.version = version;
    pdu.exercise = exercise;
    pdu.kind = kind;
    pdu.fill = fill;
    return pdu;
}

const std::string theAny = pdu(7, 1, 1);

/// Of what is sent, what the client gets, by its fill; the last one passes every filter.
std::string received(Client& client) {
    std::string fills;
    do
        fills += client.next().back();
    while (fills.back() != '.');
    return fills;
}

TEST(Serving, HandsEachClientWhatItsFiltersLetPass) {
    PacketServer server;
    Client all(server), exercises, kinds, nobody, sender;
    exercises.accept(DtCsTestExerciseId, {1, 9});
    exercises.join(server);
    kinds.join(server);
    unsigned int rejected[] = {2, 3};
    kinds.setFilter(DtCsTestPduKind, DtPduRejectListed, 2, rejected);
    kinds.accept(DtCsTestProtocolVersion, {7});
    kinds.settle();
    sender.accept(DtCsTestSender, {INADDR_LOOPBACK});
    sender.join(server);
    nobody.accept(DtCsTestSender, {INADDR_LOOPBACK + 1});
    nobody.join(server);
    for (const std::string& packet : {pdu(7, 1, 1, 'a'), pdu(7, 2, 2, 'b'), pdu(6, 9, 4, 'c'),
                                      pdu(7, 9, 3, 'd'), pdu(7, 9, 5, '.')})
        server.send(packet);
    EXPECT_EQ(received(all), "abcd.");
    EXPECT_EQ(received(exercises), "acd.");
    EXPECT_EQ(received(kinds), "a.");
    EXPECT_EQ(received(sender), "abcd.");
    EXPECT_EQ(all.sender.port(), server.senderPort());
    EXPECT_STREQ(all.sender.address().toDtString().c_str(), "127.0.0.1");

    kinds.settle();
    EXPECT_EQ(kinds.clientState().filterCount, 2);
    kinds.clearFilter(DtCsTestPduKind);
    nobody.clearFilter(DtCsTestSender);
    kinds.settle();
    nobody.settle();
    server.send(pdu(7, 2, 2, 'e'));
    server.send(pdu(7, 9, 5, '.'));
    EXPECT_EQ(received(kinds), "e.");
    EXPECT_EQ(received(nobody), "e.");
    EXPECT_EQ(kinds.statistics().missed, 0u);
    EXPECT_THAT(server.stop().out, AllOf(HasSubstr("7 PDUs"), HasSubstr("5 clients added")));
}

TEST(Serving, HandsOverPdusOrWholeDatagrams) {
    const std::string bundle = std::string(ofSize(32, 'a')) + std::string(ofSize(40, 'b'));
    PacketServer server;
    Client client(server);
    EXPECT_TRUE(client.serverUnbundles());
    server.send(bundle);
    EXPECT_EQ(client.next(), std::string(ofSize(32, 'a')));
    EXPECT_EQ(client.next(), std::string(ofSize(40, 'b')));
    server.stop();
    EXPECT_EQ(client.next(), std::to_string(DtPacketLetGoClosing));

    server.start({"--no-unbundle"});
    client.join(server);
    EXPECT_FALSE(client.serverUnbundles());
    server.send(bundle);
    server.send(claiming(4711));
    server.send("too short");
    server.send(ofSize(65507));
    EXPECT_EQ(client.next(), bundle);
    EXPECT_EQ(client.next(), std::string(claiming(4711)));
    EXPECT_EQ(client.next(), std::string(ofSize(65507)));
    EXPECT_THAT(server.stop().out,
                AllOf(HasSubstr("3 datagrams"), HasSubstr("1  datagrams shorter than a PDU")));
}

TEST(Serving, TakesNoMoreClientsThanItMayHave) {
    PacketServer server({"--max-clients", "2"});
    auto first = std::make_unique<Client>(server);
    Client second(server), third;
    EXPECT_FALSE(third.connect(server.key(), third.options));
    EXPECT_THAT(third.lastError().c_str(), HasSubstr("as many as it may have"));
    EXPECT_EQ(second.serverState().packetClients, 2);
    EXPECT_EQ(second.serverState().maxPacketClients, 2);
    first.reset();
    second.settle();  // the leaving came first
    third.join(server);
    server.send(theAny);
    EXPECT_EQ(third.next(), theAny);
    EXPECT_THAT(server.stop().out, HasSubstr("1  to be added when no more clients were served"));
}

TEST(Serving, LetsItsClientsGoWhenItTurnsInternal) {
    PacketServer server;
    Client client(server);
    EXPECT_EQ(server.ask("mode", {"internal"}).status, 0);
    EXPECT_EQ(client.next(), std::to_string(DtPacketLetGoInternal));
    EXPECT_EQ(DtPacketServerIsAlive(server.key()), -1);
    EXPECT_FALSE(client.connect(server.key(), client.options));
    EXPECT_THAT(client.lastError().c_str(), HasSubstr("internal"));
    EXPECT_THAT(server.ask("status").out, HasSubstr("is alive (internal)"));

    EXPECT_EQ(server.ask("mode", {"external"}).status, 0);
    EXPECT_EQ(DtPacketServerIsAlive(server.key()), 1);
    client.join(server);
    server.send(theAny);
    EXPECT_EQ(client.next(), theAny);
    server.stop();
    server.start({"--internal"});
    EXPECT_EQ(DtPacketServerIsAlive(server.key()), -1);
    EXPECT_EQ(client.next(), std::to_string(DtPacketLetGoClosing));
}

/// One that is stopped in the middle of its work, with a small queue.
TEST(Serving, IsNotSlowedByAClientThatIsStopped) {
    PacketServer server;
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    Child stopped([&] {
        Client client;
        client.options.queueSize_bytes = 1024;
        client.join(server);
        while (::write(ready[1], "", 1) == 1)
            client.next();
        return 0;
    });
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::kill(stopped.pid(), SIGSTOP);
    Client client(server);
    constexpr int theBatch = 20, theCount = 2000;
    for (int i = 0; i < theCount; ++i) {
        server.send(theAny);
        for (int j = 0; i % theBatch == theBatch - 1 && j < theBatch; ++j)
            ASSERT_EQ(client.next(), theAny);
    }
    EXPECT_EQ(client.statistics().missed, 0u);
    EXPECT_EQ(server.ask("status").status, 0);
    stopped.kill();
    EXPECT_THAT(server.stop().out, HasSubstr("Not received by a client"));
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST(Serving, IsInAGroupAsLongAsAClientWantsIt) {
    const char* const group = "239.1.2.3";
    PacketServer server({"--device", "lo"});
    Client first, second(server);
    first.joinGroup(DtInetAddr(group));
    first.join(server);
    second.joinGroup(DtInetAddr(group));
    second.settle();
    EXPECT_EQ(second.clientState().groupCount, 1);
    server.send(pdu(7, 1, 1, 'a'), group);
    server.send(pdu(7, 1, 1, '.'));
    EXPECT_EQ(received(first), "a.");
    EXPECT_EQ(received(second), "a.");
    first.close();
    second.settle();
    server.send(pdu(7, 1, 1, 'b'), group);
    EXPECT_EQ(second.next().back(), 'b');
    second.leaveGroup(DtInetAddr(group));
    second.settle();
    EXPECT_EQ(second.clientState().groupCount, 0);
    server.send(pdu(7, 1, 1, 'c'), group);
    server.send(pdu(7, 1, 1, '.'));
    EXPECT_EQ(received(second), ".");
}

TEST(Serving, WarnsOfGroupsThatTheSystemRefuses) {
    PacketServer server({"--device", "lo"});
    Client client;
    for (int i = 1; i <= 32; ++i)
        client.joinGroup(DtInetAddr(("239.1.2." + std::to_string(i)).c_str()));
    client.join(server);
    CapturedNotifications said;
    client.settle();
    // The system lets a socket into 20 groups, unless it was told otherwise.
    EXPECT_EQ(client.clientState().groupCount + client.statistics().warnings, 32u);
    const bool warned = client.statistics().warnings > 0;
    EXPECT_EQ(said.take().find("group 239.1.2.32 refused: ") != std::string::npos, warned);
}

TEST(Serving, CountsAQueueThatIsTooSmallForAPacket) {
    PacketServer server;
    Client client;
    client.options.queueSize_bytes = 1024;
    client.join(server);
    server.send(ofSize(1200));
    server.send(theAny);
    EXPECT_EQ(client.next(), theAny);
    EXPECT_EQ(client.statistics().missed, 1u);
    client.settle();
    EXPECT_EQ(client.clientState().droppedNewCount, 1u);
}

}  // namespace
}  // namespace RtiqnPacketServer
