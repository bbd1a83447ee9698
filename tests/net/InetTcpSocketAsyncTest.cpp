// A TCP socket with queues and a thread of its own.
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "net/TcpSockets.h"

namespace OrynRti::Tests {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

constexpr std::size_t theMegabyte = std::size_t(1) << 20;

// -------------------------------------------------------------------------------------------
// Receiving

TEST(InetTcpSocketAsync, ReceivingNeverWaits) {
    for (const unsigned int extra : {0u, unsigned(DtInetSockNonBlocking)}) {
        Connection both(theAsyncReceive | extra);
        char byte = 0;
        EXPECT_EQ(both.accepted.recv(&byte, 1, 0), 0);
        EXPECT_EQ(both.accepted.isErrorWouldBlockOrTryAgain(), extra != 0);
        EXPECT_EQ(both.accepted.getLastErrorString(), "");
        EXPECT_FALSE(awaitEvent(both.accepted.pollDescriptor(), POLLIN, 0));
    }
}

TEST(InetTcpSocketAsync, AChunkLargerThanTheBufferIsLost) {
    Connection both(theAsync);
    sendText(both.client, "too large");
    ASSERT_TRUE(awaitEvent(both.accepted.pollDescriptor(), POLLIN));
    unsigned int bytes = 0;
    EXPECT_TRUE(both.accepted.getBytesAvailable(bytes) && bytes == 9);
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
    ListeningServer server;
    DtInetTcpSocket accepted;
    const int peer = server.rawClient();
    ASSERT_TRUE(server.socket.acceptConnection(&accepted, theAsync));
    resetAndClose(peer);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(receiveText(accepted), "(-1)");
        EXPECT_EQ(accepted.state(), DtInetSockError);
        EXPECT_EQ(accepted.getLastError(), ECONNRESET);
        accepted.clearError();
        EXPECT_EQ(sendText(accepted, "x"), -1);
        EXPECT_EQ(accepted.getLastError(), ECONNRESET);
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
    unsigned int queued = 0;
    EXPECT_TRUE(both.accepted.getBytesAvailable(queued));
    EXPECT_LT(queued, theMegabyte + 65536u);
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
        const std::string message = noise(i, 1 + i * 7 % 300);
        ASSERT_EQ(sendText(both.client, message), static_cast<int>(message.size()));
        all += message;
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
    while (received.size() < all.size()) {
        sendText(both.accepted, "nobody reads this");
        const std::string text = receiveText(both.accepted);
        if (text == "(-1)")
            break;
        received += text;
    }
    closer.join();
    EXPECT_TRUE(received == all) << received.size();
}

TEST(InetTcpSocketAsync, AStalledPeerDelaysClosingForTheCloseWaitOnly) {
    struct Wait {
        double closeWait_s;
        unsigned short linger_s;
        double expected_s;
    };
    for (const Wait wait : {Wait{0, 0, 0}, Wait{0.3, 0, 0.3}, Wait{0, 1, 1}}) {
        Connection both(theBlocking, theAsyncSend);
        both.client.setCloseWait(wait.closeWait_s);
        both.client.setTcpLingerOption(wait.linger_s);
        sendText(both.client, noise(8, 20 * theMegabyte));
        const Clock::time_point begin = Clock::now();
        EXPECT_TRUE(both.client.closeSocket());
        EXPECT_GE(secondsSince(begin), wait.expected_s);
        EXPECT_LT(secondsSince(begin), wait.expected_s + 1.5);
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
            DtInetTcpSocket gone;
            const int number = both.server.rawClient();
            ASSERT_TRUE(both.server.socket.acceptConnection(&gone, theAsync));
            gone.setCloseWait(0);
            sendText(gone, noise(10, 100000));
            ASSERT_EQ(write(number, "hello", 5), 5);
            ASSERT_EQ(receiveText(gone), "hello");
            close(number);
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
