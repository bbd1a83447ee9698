// Connecting, accepting, sending and receiving without queues.
#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <thread>

#include "InetDevice.h"
#include "Time.h"
#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

using testing::StartsWith;

/// An endpoint where nobody listens.
DtInetEndpoint deserted(const HeldPort& held) {
    return tcpEndpoint("127.0.0.1", held.port());
}

// -------------------------------------------------------------------------------------------
// Connecting and accepting

TEST(InetTcpSocketConnection, ARefusedConnectSaysSo) {
    const HeldPort held;
    for (const unsigned int options : {theBlocking, theNonBlocking}) {
        DtInetTcpSocket client(deserted(held), 0, nullptr, options, true);
        bool connected = client.connectToDestination();
        while (connected && client.state() == DtInetSockConnecting &&
               awaitEvent(client.descriptor(), POLLOUT))
            connected = client.connectToDestination();
        EXPECT_FALSE(connected);
        EXPECT_EQ(client.state(), DtInetSockError);
        EXPECT_EQ(lastError(client),
                  "111 DtInetTcpSocket::connectToDestination(): Error connecting "
                  "Boost socket\nConnection refused");
    }
}

TEST(InetTcpSocketConnection, ANonBlockingConnectGoesOnInStateFour) {
    // Once the backlog is full, the server's system leaves connects unanswered.
    const HeldPort held;
    DtInetTcpSocket listener;
    const int number = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(number, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in addr{};
    deserted(held).toSockaddr(&addr);
    ASSERT_EQ(bind(number, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(listen(number, 0), 0);
    ASSERT_TRUE(listener.setSocket(number));
    DtInetTcpSocket first(deserted(held), 0, nullptr, theBlocking, true);
    ASSERT_TRUE(first.connectToDestination());

    DtInetTcpSocket client(deserted(held), 0, nullptr, theNonBlocking, true);
    EXPECT_TRUE(client.connectToDestination());
    EXPECT_EQ(client.state(), DtInetSockConnecting);
    EXPECT_TRUE(client.isOk());
    EXPECT_TRUE(client.connectToDestination());
    EXPECT_EQ(sendText(client, "x"), 0);
    EXPECT_EQ(lastError(client), "11 ");
    char byte = 0;
    EXPECT_EQ(client.recv(&byte, 1, 0), -1);
    EXPECT_EQ(lastError(client), "107 ");
    EXPECT_EQ(client.state(), DtInetSockConnecting);

    DtInetTcpSocket accepted;
    ASSERT_TRUE(listener.acceptConnection(&accepted, theBlocking));
    ASSERT_TRUE(awaitEvent(client.descriptor(), POLLOUT));
    EXPECT_EQ(sendText(client, "up"), 2) << "sending finds out that the connection is up";
    EXPECT_EQ(client.state(), DtInetSockConnected);
}

TEST(InetTcpSocketConnection, ANonBlockingServerWithoutVisitorsSaysTryAgain) {
    ListeningServer server(theNonBlocking);
    DtInetTcpSocket accepted;
    EXPECT_FALSE(server.socket.acceptConnection(&accepted, theBlocking));
    EXPECT_TRUE(server.socket.isErrorWouldBlockOrTryAgain());
    EXPECT_EQ(server.socket.state(), DtInetSockListening);
    EXPECT_FALSE(awaitEvent(server.socket.pollDescriptor(), POLLIN, 0));
    close(server.rawClient());
    EXPECT_TRUE(awaitEvent(server.socket.pollDescriptor(), POLLIN));
    EXPECT_TRUE(server.socket.acceptConnection(&accepted, theBlocking));
    EXPECT_EQ(accepted.state(), DtInetSockConnected);
}

TEST(InetTcpSocketConnection, AServerOutOfDescriptorsGoesOnListening) {
    RawConnection first(theBlocking);
    DtInetTcpSocket& server = first.server.socket;
    DtInetTcpSocket accepted;
    const int number = first.server.rawClient();
    rlimit earlier{};
    getrlimit(RLIMIT_NOFILE, &earlier);
    const rlimit none{0, earlier.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_FALSE(server.acceptConnection(&accepted, theBlocking));
    setrlimit(RLIMIT_NOFILE, &earlier);
    EXPECT_EQ(lastError(server),
              "24 DtInetTcpSocket::acceptConnection(): Error on Boost acceptor "
              "socket\nToo many open files");
    EXPECT_EQ(server.state(), DtInetSockListening);
    EXPECT_TRUE(server.acceptConnection(&accepted, theBlocking));
    EXPECT_FALSE(server.acceptConnection(&accepted, theBlocking)) << "is open";
    EXPECT_EQ(server.getLastError(), EINVAL);
    for (const int each : {number, first.peer})
        close(each);
}

TEST(InetTcpSocketConnection, IPv6ServersLeaveIPv4Alone) {
    ListeningServer server(theBlocking, true);
    DtInetTcpSocket four(tcpEndpoint("127.0.0.1", server.held.port()), 0, nullptr, theBlocking,
                         true);
    EXPECT_FALSE(four.connectToDestination());
    DtInetTcpSocket six(server.endpoint, 0, new DtInetDevice("lo"), theBlocking, true);
    EXPECT_TRUE(six.connectToDestination()) << six.getLastErrorString();
    EXPECT_THAT(six.localEndpoint().toDtString().c_str(), StartsWith("[::1]:"));
}

TEST(InetTcpSocketConnection, ClosingEndsCallsThatWait) {
    Connection both;
    std::thread acceptor([&] {
        DtInetTcpSocket never;
        EXPECT_FALSE(both.server.socket.acceptConnection(&never, theBlocking));
    });
    std::thread receiver([&] { EXPECT_EQ(receiveText(both.client), "(-1)"); });
    std::thread sender([&] {
        const std::string much(std::size_t(64) << 20, 'x');  // more than the system holds
        EXPECT_EQ(sendText(both.client, much), -1);
    });
    ASSERT_EQ(receiveText(both.accepted, 1), "x");  // so the sender is at it
    EXPECT_TRUE(both.server.socket.closeSocket());
    EXPECT_TRUE(both.client.closeSocket());
    acceptor.join();
    receiver.join();
    sender.join();
    EXPECT_EQ(both.client.state(), DtInetSockClosed);
}

// -------------------------------------------------------------------------------------------
// Sending and receiving

TEST(InetTcpSocketConnection, CarriesBytesWithPeerTimeAndCounts) {
    for (const bool ipv6 : {false, true}) {
        Connection both(theBlocking, theBlocking, ipv6);
        const double before = DtAbsRealTime();
        DtInetEndpoint peer;
        EXPECT_EQ(both.client.sendTo(std::string("hello").data(), 5, peer, 0x3000), 5)
            << "the library's own flags do not reach the system";
        char bytes[10];
        EXPECT_EQ(both.accepted.recvFrom(bytes, sizeof bytes, peer, DtInetSockSkipFirstChain), 5);
        EXPECT_TRUE(peer == both.client.localEndpoint());
        EXPECT_GE(both.accepted.receiveTime(), before - 0.001);
        EXPECT_EQ(both.client.totalBytesSent(), 5u);
        EXPECT_EQ(both.accepted.totalBytesReceived(), 5u);
        EXPECT_EQ(both.accepted.totalPacketsReceived(), 1u);
        EXPECT_EQ(both.accepted.recv(bytes, 0, 0), DtInetSockIncomplete);
    }
}

TEST(InetTcpSocketConnection, SendsChainsOfAnyLength) {
    Connection both;
    std::vector<std::vector<char>> buffers(3 * IOV_MAX + 7);
    DtInetSocketBufferChain chain{nullptr};
    std::string expected;
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        const std::string piece = noise(static_cast<unsigned int>(i), i % 2000);
        buffers[i].assign(piece.begin(), piece.end());
        expected += piece;
        chain.push_back(&buffers[i]);
    }
    std::thread sender([&] {
        EXPECT_EQ(both.client.sendChain(chain, 0), static_cast<int>(expected.size()));
        both.client.closeSocket();
    });
    EXPECT_TRUE(receiveAll(both.accepted) == expected);
    sender.join();
}

TEST(InetTcpSocketConnection, ANonBlockingSendTellsHowMuchTheSystemTook) {
    Connection both(theNonBlocking, theNonBlocking);
    const std::string all = noise(1, std::size_t(20) << 20);
    std::size_t sent = 0;
    for (int size = 0; (size = sendText(both.client, all.substr(sent))) > 0;)
        sent += static_cast<std::size_t>(size);
    EXPECT_GT(sent, 0u);
    ASSERT_LT(sent, all.size());
    EXPECT_TRUE(both.client.isErrorWouldBlockOrTryAgain());
    EXPECT_EQ(both.client.state(), DtInetSockConnected);
    std::string received;
    while (received.size() < sent)
        received += receiveText(both.accepted);
    EXPECT_TRUE(received == all.substr(0, sent));
    char byte = 0;
    EXPECT_EQ(both.accepted.recv(&byte, 1, 0), 0);
    EXPECT_EQ(lastError(both.accepted), "11 ");
}

TEST(InetTcpSocketConnection, AStreamThatHasEndedStillTakesSends) {
    Connection both;
    sendText(both.client, "last words");
    shutdown(both.client.descriptor(), SHUT_WR);
    EXPECT_EQ(receiveText(both.accepted), "last words");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(receiveText(both.accepted), "(-1)");
        EXPECT_EQ(both.accepted.state(), DtInetSockTerminated);
        EXPECT_EQ(both.accepted.getTerminationCode(), 2);
        EXPECT_EQ(both.accepted.getTerminationString(), "Connection terminated by peer");
        EXPECT_FALSE(both.accepted.isOk());
        EXPECT_EQ(sendText(both.accepted, "reply"), 5);
    }
    EXPECT_EQ(receiveText(both.client, 10), "replyreply");
}

TEST(InetTcpSocketConnection, AResetIsAnErrorAndRaisesNoSignal) {
    RawConnection both(theBlocking);
    DtInetTcpSocket& accepted = both.accepted;
    resetAndClose(both.peer);
    EXPECT_EQ(receiveText(accepted), "(-1)");
    EXPECT_EQ(accepted.state(), DtInetSockError);
    const std::string local = accepted.localEndpoint().toDtString().c_str();
    EXPECT_EQ(lastError(accepted), "104 DtInetTcpSocket::recv() failed on socket at " + local +
                                       "\nConnection reset by peer");
    EXPECT_EQ(sendText(accepted, "x"), -1);
    EXPECT_EQ(lastError(accepted), "32 DtInetTcpSocket::send() failed from " + local + " to " +
                                       accepted.destination().toDtString().c_str() + "Broken pipe");
}

// -------------------------------------------------------------------------------------------
// Callbacks

int upperCase(DtInetSocket*, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&, void*) {
    for (char& c : *chain[0])
        c = static_cast<char>(std::toupper(c));
    return size;
}

int dropFirst(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return size - 1;
}

template <int Result>
int answer(DtInetSocket*, int, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return Result;
}

/// Delivers "old" once, then says that there is nothing.
int deliverOnce(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&,
                void* status) {
    EXPECT_EQ(size, 0);
    const bool first = socket->totalPacketsReceived() == 0;
    *static_cast<int*>(status) = first ? DtInetSockFromQueue : DtInetSockFiltered;
    if (first)
        std::copy_n("old", 3, chain[0]->begin());
    return first ? 3 : 0;
}

TEST(InetTcpSocketConnection, CallbacksTakePartInSendingAndReceiving) {
    Connection both;
    both.client.addProcessingCallback(DtInetSockPreSend, upperCase, nullptr, 0);
    both.client.addProcessingCallback(DtInetSockPreSend, dropFirst, nullptr, 1);
    both.client.addProcessingCallback(DtInetSockPostSend, answer<100>, nullptr, 0);
    EXPECT_EQ(sendText(both.client, "hello!"), 106);
    both.accepted.addProcessingCallback(DtInetSockBeforeRead, deliverOnce, nullptr, 0);
    EXPECT_EQ(receiveText(both.accepted), "old");
    char bytes[10];
    EXPECT_EQ(both.accepted.recv(bytes, sizeof bytes, DtInetSockSkipFirstChain), 5);
    EXPECT_EQ(std::string(bytes, 5), "HELLO");
    sendText(both.client, "more.");
    EXPECT_EQ(receiveText(both.accepted), "MORE") << "only a delivery keeps the stream unread";
    both.accepted.addProcessingCallback(DtInetSockAfterReceive, answer<0>, nullptr, 0);
    sendText(both.client, "again");
    EXPECT_EQ(receiveText(both.accepted), "(-2)");
    both.client.addProcessingCallback(DtInetSockPostSend, answer<-1>, nullptr, 1);
    EXPECT_EQ(sendText(both.client, "x"), -1);
    const std::string failed = "-1 DtInetTcpSocket::sendChain()/sendChainTo(): ";
    EXPECT_EQ(lastError(both.client), failed + "Post-send callback failed.");
    both.client.addProcessingCallback(DtInetSockPreSend, answer<-1>, nullptr, 2);
    EXPECT_EQ(sendText(both.client, "x"), -1);
    EXPECT_EQ(lastError(both.client), failed + "Pre-send callback failed.");
}

}  // namespace
}  // namespace OrynRti::Tests
