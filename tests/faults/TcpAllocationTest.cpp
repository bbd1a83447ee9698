// TCP sockets without memory.
#include <gtest/gtest.h>
#include <string>

#include "faults/Allocations.h"
#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

constexpr auto Throws = AllocationCase::Throws;
constexpr auto Forgives = AllocationCase::Forgives;

void expectToWork(DtInetTcpSocket& from, DtInetTcpSocket& to) {
    ASSERT_EQ(sendText(from, "after"), 5);
    EXPECT_EQ(receiveText(to), "after");
}

/// Client and server side of a connection are made, each with a second try when memory was short.
void connect(Attempt& attempt, unsigned int options) {
    ListeningServer server;
    DtInetTcpSocket client(server.endpoint, 0, nullptr, options, false), accepted;
    const int waiting = server.rawClient();
    attempt([&] {
        DtInetTcpSocket(server.held.port(), nullptr, DtInetUtils::IPv4, options, true);
        EXPECT_TRUE(client.openSocket());
        EXPECT_TRUE(server.socket.acceptConnection(&accepted, options));
        EXPECT_TRUE(client.connectToDestination());
    });
    close(waiting);
    for (DtInetTcpSocket* socket : {&client, &accepted})
        if (socket->descriptor() >= 0)
            socket->closeSocket();
    EXPECT_TRUE(client.openSocket() && client.connectToDestination())
        << client.getLastErrorString();
    do {  // past connections of the attempt
        accepted.closeSocket();
        ASSERT_TRUE(server.socket.acceptConnection(&accepted, options));
    } while (accepted.destination().port() != client.localPort());
    expectToWork(client, accepted);
}

void sendAndReceive(Attempt& attempt, unsigned int options) {
    Connection connection(options, options);
    std::string text(200, 'x');
    attempt([&] { connection.client.send(text.data(), 200, 0); });
    if (attempt.isDone()) {
        EXPECT_EQ(receiveText(connection.accepted), text);
    }
    expectToWork(connection.client, connection.accepted);
    expectToWork(connection.accepted, connection.client);
}

const AllocationCase theCases[] = {
    {"TCP sockets connect", Throws, [](Attempt& attempt) { connect(attempt, theBlocking); }},
    {"TCP sockets with queues connect", Throws,
     [](Attempt& attempt) { connect(attempt, theAsync); }},
    {"TCP sockets send", Throws, [](Attempt& attempt) { sendAndReceive(attempt, theBlocking); }},
    {"TCP sockets send from a queue", Throws,
     [](Attempt& attempt) { sendAndReceive(attempt, theAsync); }},
    {"a TCP socket hands out Boost's", Throws,
     [](Attempt& attempt) {
         Connection connection;
         attempt([&] {
             EXPECT_NE(connection.client.tcpSocket(), nullptr);
             EXPECT_NE(connection.server.socket.tcpServerSocket(), nullptr);
         });
         expectToWork(connection.client, connection.accepted);
     }},
    {"a TCP socket tells of errors", Throws,
     [](Attempt& attempt) {
         DtInetTcpSocket client(tcpEndpoint("127.0.0.1", HeldPort().port()), 0, nullptr,
                                theBlocking, true);
         std::string text = "text";
         attempt([&] {
             EXPECT_FALSE(client.connectToDestination());
             EXPECT_EQ(client.recv(text.data(), 4, 0), -1);
             EXPECT_NE(client.getLastErrorString(), "");
         });
         client.closeSocket();
         EXPECT_TRUE(client.openSocket());
     }},
};

TEST(TcpAllocationTest, TcpSocketsOutliveAShortage) {
    if (theContextsLoseMemory)
        GTEST_SKIP() << "an io_context of this Boost loses memory";
    expectSurvival(theCases);
}

/// A stream with a hole is of no use: the connection then ends with error 12.
TEST(TcpAllocationTest, AShortageOnTheThreadOfAQueueIsTold) {
    const AllocationCase thread{"thread", Forgives, [](Attempt& attempt) {
                                    Connection connection(theAsyncReceive);
                                    attempt([&] {
                                        EXPECT_EQ(sendText(connection.client, "text"), 4);
                                        awaitEvent(connection.accepted.pollDescriptor(), POLLIN);
                                    });
                                    const std::string text = receiveText(connection.accepted);
                                    if (text != "text") {
                                        EXPECT_EQ(text, "(-1)");
                                        EXPECT_EQ(connection.accepted.getLastError(), ENOMEM);
                                    }
                                }};
    expectSurvival(thread, Failing::OneOfAnyThread);
}

}  // namespace
}  // namespace OrynRti::Tests
