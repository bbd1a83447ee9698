#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "tools-packetserver/PacketServer.h"

namespace RtiqnPacketServer {
namespace {

using namespace Tests;
using testing::HasSubstr;

const std::string theNone = std::to_string(DtPacketNone);

std::string numbered(int number) {
    Pdu pdu;
    pdu.fill = static_cast<char>(number);
    return pdu;
}

TEST(Client, GoesOnWithTheSuccessorOfAKilledServer) {
    PacketServer server;
    Client client;
    client.accept(DtCsTestExerciseId, {1});
    client.join(server);
    Pdu other;
    other.exercise = 2;
    for (int round = 0; round < 3; ++round) {
        server.send(other);
        server.send(numbered(round));
        EXPECT_EQ(client.next(), numbered(round));
        server.program().kill();
        EXPECT_EQ(client.next(), std::to_string(DtPacketServerGone));
        EXPECT_FALSE(client.connect(server.key(), client.options));
        EXPECT_THAT(client.lastError().c_str(), HasSubstr("there is no packet server with key"));
        server.start();
        client.join(server);
    }
    EXPECT_EQ(client.statistics().read, 3u);
    EXPECT_EQ(client.statistics().missed, 0u);
}

TEST(Client, DoesNotHangWhileItsServerIsStopped) {
    PacketServer server;
    Client client, late;
    client.options.timeout_s = late.options.timeout_s = 0.2;
    client.join(server);
    server.program().signal(SIGSTOP);
    server.send(numbered(1));
    EXPECT_EQ(client.next(0), theNone);
    EXPECT_EQ(client.next(0.05), theNone);
    EXPECT_FALSE(late.connect(server.key(), late.options));
    EXPECT_THAT(late.lastError().c_str(), HasSubstr("does not answer within 0.2 s"));
    int asked = 0;
    while (client.requestState() && asked < 10000)
        ++asked;
    EXPECT_THAT(client.lastError().c_str(), HasSubstr("has no room for a request"));
    EXPECT_TRUE(client.isConnected());
    server.program().signal(SIGCONT);
    EXPECT_EQ(client.next(), numbered(1));
    late.options.timeout_s = Client::theLongTime_s;
    late.join(server);
}

TEST(Client, WaitsInPollForPacketsAndForTheEnd) {
    PacketServer server;
    Client first(server), second(server);
    pollfd waited[] = {{first.pollDescriptor(), POLLIN, 0}, {second.pollDescriptor(), POLLIN, 0}};
    const auto next = [&](Client& client, pollfd& descriptor) {
        std::string packet = client.next(0);
        while (packet == theNone && poll(&descriptor, 1, -1) == 1)
            packet = client.next(0);
        return packet;
    };
    for (int i = 0; i < 100; ++i) {
        server.send(numbered(i));
        EXPECT_EQ(next(first, waited[0]), numbered(i));
        EXPECT_EQ(next(second, waited[1]), numbered(i));
    }
    server.stop();
    EXPECT_EQ(next(first, waited[0]), std::to_string(DtPacketLetGoClosing));
    server.start();
    first.join(server);
    waited[0].fd = first.pollDescriptor();
    server.program().kill();
    EXPECT_EQ(next(first, waited[0]), std::to_string(DtPacketServerGone));
}

}  // namespace
}  // namespace RtiqnPacketServer
