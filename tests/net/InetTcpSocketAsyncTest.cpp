// A TCP socket with queues and a thread of its own.
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t theMegabyte = std::size_t(1) << 20;

// -------------------------------------------------------------------------------------------
// Receiving

TEST(InetTcpSocketAsync, ReceivingNeverWaits) {
    for (const unsigned int extra : {0u, unsigned(DtInetSockNonBlocking)}) {
        Connection both(theAsyncReceive | extra);
        char byte = 0;
        EXPECT_EQ(both.accepted.recv(&byte, 1, 0), 0);
        EXPECT_EQ(lastError(both.accepted), extra != 0 ? "11 " : "0 ");
        EXPECT_FALSE(awaitEvent(both.accepted.pollDescriptor(), POLLIN, 0));
    }
}

TEST(InetTcpSocketAsync, AChunkLargerThanTheBufferIsLost) {
    Connection both(theAsync);
    sendText(both.client, "too large");
    ASSERT_TRUE(awaitEvent(both.accepted.pollDescriptor(), POLLIN));
    EXPECT_EQ(asked(both.accepted, &DtInetTcpSocket::getBytesAvailable), 9u);
    EXPECT_EQ(receiveText(both.accepted, 8), "(-4)");
    EXPECT_EQ(both.accepted.state(), DtInetSockConnected);
    sendText(both.client, "fits");
    EXPECT_EQ(receiveText(both.accepted), "fits");
    EXPECT_EQ(both.accepted.totalBytesReceived(), 4u);
}

TEST(InetTcpSocketAsync, TheEndOfTheStreamComesBehindAllBytesAndStopsNoSends) {
    Connection both(theAsync, theAsync);
    const std::string all = noise(3, 3 * theMegabyte);
    EXPECT_EQ(sendText(both.client, all), static_cast<int>(all.size()));
    std::string received;
    while (received.size() < all.size() / 2)
        received += receiveText(both.accepted);
    std::thread closer([&] { both.client.closeSocket(); });
    received += receiveAll(both.accepted);
    closer.join();
    EXPECT_TRUE(received == all);
    EXPECT_EQ(both.accepted.state(), DtInetSockTerminated);
    EXPECT_EQ(both.accepted.getTerminationCode(), 2);
    EXPECT_EQ(receiveText(both.accepted), "(-1)");

    Connection halves(theAsync);
    shutdown(halves.client.descriptor(), SHUT_WR);
    EXPECT_EQ(receiveText(halves.accepted), "(-1)");
    EXPECT_EQ(sendText(halves.accepted, "reply"), 5);
    EXPECT_EQ(receiveText(halves.client), "reply");
}

TEST(InetTcpSocketAsync, AnErrorSticks) {
    RawConnection both(theAsync);
    resetAndClose(both.peer);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(receiveText(both.accepted), "(-1)");
        EXPECT_EQ(both.accepted.state(), DtInetSockError);
        EXPECT_EQ(both.accepted.getLastError(), ECONNRESET);
        both.accepted.clearError();
        EXPECT_EQ(sendText(both.accepted, "x"), -1);
        EXPECT_EQ(both.accepted.getLastError(), ECONNRESET);
    }
}

TEST(InetTcpSocketAsync, AFullReceiveQueueHoldsThePeer) {
    Connection both(theAsyncReceive, theNonBlocking);
    both.accepted.setReceiveQueueLimit(theMegabyte);
    const std::string all = noise(4, 64 * theMegabyte);
    std::size_t sent = 0;
    const auto sendOn = [&](int patience_ms) {
        int size = 0;
        while (sent < all.size() && awaitEvent(both.client.descriptor(), POLLOUT, patience_ms) &&
               (size = sendText(both.client, all.substr(sent, theMegabyte))) > 0)
            sent += static_cast<std::size_t>(size);
    };
    sendOn(200);
    ASSERT_LT(sent, all.size()) << "nothing held the peer";
    EXPECT_LT(asked(both.accepted, &DtInetTcpSocket::getBytesAvailable), theMegabyte + 65536u);
    std::string received;
    while (received.size() < 4 * theMegabyte) {
        received += receiveText(both.accepted);
        sendOn(0);
    }
    EXPECT_TRUE(received == all.substr(0, received.size())) << "nothing is lost by the pause";
}

// -------------------------------------------------------------------------------------------
// Sending

TEST(InetTcpSocketAsync, AFullSendQueueRefusesAndLosesNothing) {
    Connection both(theBlocking, theAsyncSend);
    both.client.setSendQueueLimit(8 * theMegabyte);
    const std::string message = noise(5, theMegabyte + 1);
    std::size_t sent = 0;
    int size = 0;
    while ((size = sendText(both.client, message)) > 0)
        sent += static_cast<std::size_t>(size);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(both.client.getLastError(), ENOBUFS);
    EXPECT_EQ(both.client.state(), DtInetSockConnected);
    std::string received;
    while (received.size() < sent)
        received += receiveText(both.accepted);
    for (std::size_t i = 0; i < sent; i += message.size())
        EXPECT_EQ(received.compare(i, message.size(), message), 0) << i;
    EXPECT_EQ(received.size(), sent);
    EXPECT_EQ(sendText(both.client, noise(6, 9 * theMegabyte)), -1) << "above the bound by itself";
}

TEST(InetTcpSocketAsync, SmallMessagesArriveInOrder) {
    Connection both(theBlocking, theAsyncSend);
    std::string all;
    for (unsigned int i = 0; i < 5000; ++i) {
        all += noise(i, 1 + i * 7 % 300);
        ASSERT_GT(sendText(both.client, noise(i, 1 + i * 7 % 300)), 0);
    }
    std::thread closer([&] { both.client.closeSocket(); });
    EXPECT_TRUE(receiveAll(both.accepted) == all);
    closer.join();
}

TEST(InetTcpSocketAsync, StartsWhenANonBlockingConnectIsUp) {
    ListeningServer server;
    DtInetTcpSocket client(server.endpoint, 0, nullptr, theAsync | DtInetSockNonBlocking, true);
    ASSERT_TRUE(client.connectToDestination());
    DtInetTcpSocket accepted;
    ASSERT_TRUE(server.socket.acceptConnection(&accepted, theBlocking));
    while (sendText(client, "hello") == 0)
        ASSERT_TRUE(awaitEvent(client.descriptor(), POLLOUT));
    EXPECT_EQ(receiveText(accepted), "hello");
    sendText(accepted, "reply");
    EXPECT_EQ(receiveText(client), "reply");
}

// -------------------------------------------------------------------------------------------
// Closing

/// The peer neither reads before the sender closes, nor stops sending meanwhile.
TEST(InetTcpSocketAsync, ClosingLetsQueuedSendsGoOutAlthoughThePeerSends) {
    Connection both(theNonBlocking, theAsync);
    const std::string all = noise(7, 20 * theMegabyte);
    ASSERT_EQ(sendText(both.client, all), static_cast<int>(all.size()));
    std::thread closer([&] { EXPECT_TRUE(both.client.closeSocket()); });
    std::string received;
    for (std::string text; received.size() < all.size() && text != "(-1)"; received += text) {
        sendText(both.accepted, "nobody reads this");
        text = receiveText(both.accepted);
    }
    closer.join();
    EXPECT_TRUE(received == all) << received.size();
}

TEST(InetTcpSocketAsync, AStalledPeerDelaysClosingForTheCloseWaitOnly) {
    using Wait = std::pair<double, unsigned short>;
    for (const auto& [closeWait_s, linger_s] : {Wait{0, 0}, Wait{0.3, 0}, Wait{0, 1}}) {
        Connection both(theBlocking, theAsyncSend);
        both.client.setCloseWait(closeWait_s);
        both.client.setTcpLingerOption(linger_s);
        sendText(both.client, noise(8, 20 * theMegabyte));
        const Clock::time_point begin = Clock::now();
        EXPECT_TRUE(both.client.closeSocket());
        const double took_s = std::chrono::duration<double>(Clock::now() - begin).count();
        EXPECT_GE(took_s, closeWait_s + linger_s);
        EXPECT_LT(took_s, closeWait_s + linger_s + 1.5);
    }
}

/// For the thread sanitizer above all.
TEST(InetTcpSocketAsync, CanBeDestroyedWithTrafficBothWays) {
    for (int round = 0; round < 5; ++round) {
        Connection both(theAsync, theBlocking);
        std::thread sender([&] {
            while (sendText(both.client, noise(9, 5000)) > 0) {
            }
        });
        std::thread receiver([&] { receiveAll(both.client); });
        {
            RawConnection gone(theAsync);
            gone.accepted.setCloseWait(0);
            sendText(gone.accepted, noise(10, 100000));
            ASSERT_EQ(write(gone.peer, "hello", 5), 5);
            ASSERT_EQ(receiveText(gone.accepted), "hello");
            close(gone.peer);
        }
        for (int i = 0; i < 20; ++i) {
            receiveText(both.accepted);
            sendText(both.accepted, noise(11, 100000));
        }
        both.accepted.setCloseWait(0);
        both.accepted.closeSocket();
        sender.join();
        receiver.join();
    }
}

}  // namespace
}  // namespace OrynRti::Tests
