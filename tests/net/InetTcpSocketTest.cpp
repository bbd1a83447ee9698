// States, options and error texts of a TCP socket.
#include <boost/asio/ip/tcp.hpp>
#include <fcntl.h>
#include <functional>
#include <netinet/tcp.h>
#include <optional>

#include "InetDevice.h"
#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

using Socket = DtInetTcpSocket;

struct Failure {
    std::function<bool(Socket& client, Socket& server)> act;
    bool ofServer;
    const char* error;
};

/// Done with a client that was never opened, and a server that is open and does not listen.
const Failure theFailures[] = {
    {[](auto& client, auto&) { return client.closeSocket(); }, false,
     "9 DtInetTcpSocket::closeSocket() called on uninitialized socket"},
    {[](auto& client, auto&) { return sendText(client, "x") >= 0; }, false,
     "9 DtInetTcpSocket()::send() called on uninitialized socket"},
    {[](auto& client, auto&) { return receiveText(client) != "(-1)"; }, false,
     "107 DtInetTcpSocket::recv() called on unconnected socket on 0.0.0.0:any"},
    {[](auto& client, auto&) {
         return client.setDestination(DtInetEndpoint(DtInetAddr("127.0.0.1"), 9, DtInetUdp));
     },
     false, "22 DtInetTcpSocket::setDestination(): Specified destination endpoint is not TCP"},
    {[](auto& client, auto&) { return client.listenForConnections(); }, false,
     "95 Cannot open socket to listen on port 0"},
    {[](auto& client, auto&) { return client.setLocalPort(9) && client.listenForConnections(); },
     false, "9 DtInetTcpSocket()::listenForConnections() called on uninitialized socket"},
    {[](auto&, auto& server) { return !server.closeSocket() || server.listenForConnections(); },
     true, "131 DtInetTcpSocket::listenForConnections(): Invalid state 9"},
    {[](auto&, auto& server) {
         server.bindToDevice(new DtInetDevice("no-such-device"));
         return server.listenForConnections();
     },
     true, "95 DtInetTcpSocket():: Specified interface does not have an IPv4 address assigned. "},
    {[](auto&, auto& server) { return server.openSocket(); }, true,
     "131 DtInetTcpSocket::openSocket(): Invalid state 1"},
    {[](auto& client, auto&) { return client.setSendLowWatermark(5); }, false,
     "92 DtInetTcpSocket::setSendLowWatermark(): Error setting send low watermark to 5"},
};

TEST(InetTcpSocket, FailuresLeaveStateNumberAndText) {
    for (const Failure& failure : theFailures) {
        SCOPED_TRACE(failure.error);
        const HeldPort held;
        Socket client;
        Socket server(held.port(), nullptr, DtInetUtils::IPv4, theBlocking, true);
        EXPECT_FALSE(failure.act(client, server));
        const Socket& failed = failure.ofServer ? server : client;
        EXPECT_EQ(failed.state(), DtInetSockError);
        EXPECT_EQ(lastError(failed), failure.error);
        EXPECT_FALSE(failed.isOk());
    }
}

TEST(InetTcpSocket, GoesThroughItsStatesAndReopens) {
    ListeningServer server;
    EXPECT_EQ(server.socket.state(), DtInetSockListening);
    EXPECT_TRUE(server.socket.isServerSock());
    EXPECT_TRUE(server.socket.listenForConnections()) << "listening already";
    EXPECT_FALSE(server.socket.connectToDestination());
    EXPECT_EQ(server.socket.getLastError(), 0) << "a connect out of turn leaves no error";

    Socket client(server.endpoint, 0, nullptr, theBlocking, false);
    EXPECT_EQ(client.state(), DtInetSockInitial);
    EXPECT_FALSE(client.connectToDestination());
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(client.openSocket()) << client.getLastErrorString();
        EXPECT_EQ(client.state(), DtInetSockOpen);
        EXPECT_NE(fcntl(client.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
        ASSERT_TRUE(client.connectToDestination()) << client.getLastErrorString();
        EXPECT_TRUE(client.connectToDestination());
        EXPECT_EQ(client.state(), DtInetSockConnected);
        EXPECT_NE(client.localPort(), 0);
        EXPECT_EQ(client.localEndpoint().toDtString(),
                  DtString("127.0.0.1:") + DtString(client.localPort()));
        EXPECT_TRUE(client.closeSocket() && client.closeSocket());
        EXPECT_EQ(client.state(), DtInetSockClosed);
        EXPECT_EQ(sendText(client, "x"), -1);
        EXPECT_EQ(client.state(), DtInetSockClosed) << "a closed socket stays closed";
    }
}

TEST(InetTcpSocket, AFailedSocketCanBeOpenedAnew) {
    std::optional<ListeningServer> server(std::in_place);
    Socket second(server->held.port(), nullptr, DtInetUtils::IPv4, theBlocking, true);
    EXPECT_FALSE(second.listenForConnections());
    EXPECT_EQ(lastError(second), "98 Error opening Boost acceptor socket\nAddress already in use");
    server->socket.closeSocket();
    EXPECT_TRUE(second.openSocket());
    EXPECT_TRUE(second.listenForConnections()) << second.getLastErrorString();
}

TEST(InetTcpSocket, AnErrorStopsNeitherSendingNorReceiving) {
    Connection both;
    EXPECT_FALSE(both.client.setSendLowWatermark(1));
    EXPECT_EQ(both.client.state(), DtInetSockError);
    EXPECT_EQ(sendText(both.client, "still here"), 10);
    EXPECT_EQ(receiveText(both.accepted), "still here");
    EXPECT_EQ(both.client.state(), DtInetSockError);
}

// -------------------------------------------------------------------------------------------

TEST(InetTcpSocket, OptionsSetBeforeOpeningAreApplied) {
    ListeningServer server;
    Socket client(server.endpoint, 0, nullptr, DtInetSockSend, false);
    EXPECT_TRUE(client.setNonBlockingOption(true) && client.setReuseAddressOption(true) &&
                client.setTcpNoDelayOption(true) && client.setTcpKeepAliveOption(true) &&
                client.setTcpLingerOption(7) && client.setSendBufferSize(50000) &&
                client.setReceiveBufferSize(60000) && client.setReceiveLowWatermark(3) &&
                client.setDoNotRouteOption(true));
    ASSERT_TRUE(client.openSocket()) << client.getLastErrorString();
    EXPECT_EQ(client.flags(),
              unsigned(DtInetSockSend | DtInetSockNonBlocking | DtInetSockReuseAddress));
    EXPECT_NE(fcntl(client.descriptor(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(optionOf(client.descriptor(), IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_TRUE(client.isNoDelay());
    EXPECT_TRUE(asked(client, &Socket::getTcpKeepAliveOption));
    EXPECT_TRUE(asked(client, &Socket::getReuseAddressOption));
    EXPECT_TRUE(asked(client, &Socket::getDoNotRouteOption));
    EXPECT_EQ(asked(client, &Socket::getTcpLingerOption), 7);
    EXPECT_EQ(asked(client, &Socket::getSendBufferSize), 100000u);
    EXPECT_EQ(asked(client, &Socket::getReceiveBufferSize), 120000u);
    EXPECT_EQ(asked(client, &Socket::getReceiveLowWatermark), 3u);
    asked(client, &Socket::getSendLowWatermark);
    EXPECT_TRUE(client.setTcpLingerOption(0));
    EXPECT_EQ(asked(client, &Socket::getTcpLingerOption), 0);
}

TEST(InetTcpSocket, AcceptedSocketsGoByTheirOwnOptions) {
    ListeningServer server;
    server.socket.setTcpNoDelayOption(true);
    server.socket.setTcpKeepAliveOption(true);
    server.socket.setTcpLingerOption(9);
    Socket client(server.endpoint, 0, nullptr, theBlocking, true);
    ASSERT_TRUE(client.connectToDestination());
    Socket accepted;
    accepted.bindToDevice(new DtInetDevice("lo"));
    ASSERT_TRUE(server.socket.acceptConnection(&accepted, theNonBlocking));
    EXPECT_EQ(accepted.state(), DtInetSockConnected);
    EXPECT_EQ(accepted.flags(), theNonBlocking);
    EXPECT_TRUE(accepted.isNonBlocking());
    EXPECT_EQ(accepted.hostIf(), nullptr);
    EXPECT_TRUE(accepted.destination() == client.localEndpoint());
    EXPECT_TRUE(accepted.localEndpoint() == server.endpoint);
    EXPECT_NE(fcntl(accepted.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(optionOf(accepted.descriptor(), IPPROTO_TCP, TCP_NODELAY), 0);
    EXPECT_EQ(optionOf(accepted.descriptor(), SOL_SOCKET, SO_KEEPALIVE), 0);
    EXPECT_EQ(asked(accepted, &Socket::getTcpLingerOption), 0);
    server.socket.closeSocket();
    EXPECT_EQ(sendText(accepted, "on my own"), 9);
    EXPECT_EQ(receiveText(client), "on my own");
}

TEST(InetTcpSocket, ReceivesIntoTheBuffersOfAChain) {
    Connection both;
    std::vector<char> first(4), second(8);
    DtInetSocketBufferChain chain{&first, nullptr, &second};
    DtInetEndpoint sender;
    EXPECT_EQ(both.accepted.recvToChainFrom(chain, sender, MSG_DONTWAIT), 0);
    ASSERT_EQ(sendText(both.client, "anchor up"), 9);
    ASSERT_TRUE(isReadable(both.accepted.pollDescriptor(), theLongWait_ms));
    EXPECT_EQ(both.accepted.recvToChainFrom(chain, sender, 0), 9);
    EXPECT_EQ(std::string(first.begin(), first.end()) + "|" + second.data(), "anch|or up");
    EXPECT_TRUE(sender == both.client.localEndpoint());

    both.accepted.addProcessingCallback(
        DtInetSockAfterReceive,
        [](DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
            return size - 1;
        },
        nullptr, 1);
    ASSERT_EQ(sendText(both.client, "!!"), 2);
    EXPECT_EQ(both.accepted.recvToChain(chain, 0), 1);
    DtInetSocketBufferChain none;
    EXPECT_EQ(both.accepted.recvToChain(none, 0), DtInetSockIncomplete);
}

TEST(InetTcpSocket, TakesOverDescriptors) {
    ListeningServer server;
    const int number = server.rawClient();
    Socket accepted;
    ASSERT_TRUE(server.socket.acceptConnection(&accepted, theBlocking));
    Socket adopted;
    ASSERT_TRUE(adopted.setSocket(number)) << adopted.getLastErrorString();
    EXPECT_EQ(adopted.state(), DtInetSockConnected);
    EXPECT_TRUE(adopted.destination() == server.endpoint);
    EXPECT_EQ(sendText(adopted, "hello"), 5);
    EXPECT_EQ(receiveText(accepted), "hello");
    Socket listener;
    ASSERT_TRUE(listener.setSocket(dup(server.socket.descriptor())));
    EXPECT_EQ(listener.state(), DtInetSockListening);
    EXPECT_TRUE(listener.isServerSock());
}

TEST(InetTcpSocket, OffersBoostObjectsOverItsDescriptor) {
    Connection both;
    ASSERT_NE(both.client.tcpSocket(), nullptr);
    EXPECT_EQ(both.client.tcpSocket()->native_handle(), both.client.descriptor());
    EXPECT_EQ(both.client.tcpSocket()->remote_endpoint().port(), both.server.endpoint.port());
    EXPECT_EQ(both.client.tcpServerSocket(), nullptr);
    EXPECT_EQ(both.server.socket.tcpSocket(), nullptr);
    ASSERT_NE(both.server.socket.tcpServerSocket(), nullptr);
    EXPECT_TRUE(both.server.socket.tcpServerSocket()->is_open());
    EXPECT_TRUE(both.client.closeSocket());
    EXPECT_EQ(both.client.tcpSocket(), nullptr);
    close(both.accepted.descriptor());
    EXPECT_FALSE(both.accepted.closeSocket()) << "somebody else has closed it";
    EXPECT_EQ(lastError(both.accepted), "9 DtInetTcpSocket::closeSocket(): Bad file descriptor");
}

}  // namespace
}  // namespace OrynRti::Tests
