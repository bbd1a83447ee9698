// What waits inside a UDP socket: queued datagrams, and event loops that must not miss them.
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <thread>

#include "InetUdpSocket.h"
#include "net/UdpSockets.h"

namespace OrynRti::Tests {
namespace {

/// Delivers one piece of its own ahead of the network.
class QueueingSocket : public DtInetUdpSocket {
public:
    explicit QueueingSocket(unsigned int options)
        : DtInetUdpSocket(udpEndpoint("127.0.0.1"), 0, nullptr, options, true) {
        addProcessingCallback(DtInetSockBeforeRead, deliver, nullptr, 1);
    }

    void queuePiece() {
        queued_ = true;
        announceQueued(true);
    }

private:
    static int deliver(DtInetSocket* socket, int, DtInetSocketBufferChain& chain, DtInetEndpoint&,
                       void* status) {
        auto* self = static_cast<QueueingSocket*>(socket);
        if (!self->queued_)
            return 0;
        self->queued_ = false;
        self->announceQueued(false);
        std::memcpy(chain[0]->data(), "queued", 6);
        *static_cast<int*>(status) = DtInetSockFromQueue;
        return 6;
    }

    bool queued_ = false;
};

TEST(InetUdpSocketQueues, PollDescriptorTellsOfNetworkAndQueues) {
    for (unsigned int options : {theBlocking, theNonBlocking}) {
        QueueingSocket socket(options);
        const auto expectNothing = [&](int descriptor) {
            if (options == theNonBlocking) {
                EXPECT_EQ(receiveText(socket), "(0)");
            }
            EXPECT_FALSE(isReadable(descriptor));
        };
        socket.queuePiece();
        const int descriptor = socket.pollDescriptor();
        ASSERT_GE(descriptor, 0);
        EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_TRUE(isReadable(descriptor)) << "queued before it was asked for";
        EXPECT_EQ(receiveText(socket), "queued");
        expectNothing(descriptor);
        socket.queuePiece();
        EXPECT_TRUE(isReadable(descriptor));
        sendText(socket, "network", socket.localEndpoint());
        EXPECT_EQ(receiveText(socket), "queued");
        EXPECT_TRUE(isReadable(descriptor));
        EXPECT_EQ(receiveText(socket), "network");
        expectNothing(descriptor);
    }
}

TEST(InetUdpSocketQueues, AFullReceiveQueueDropsTheNewestAndCounts) {
    const auto socket = loopbackSocket(theAsyncReceive | DtInetSockNonBlocking);
    EXPECT_EQ(socket->receiveQueueLimit(), 64u << 20);
    socket->setReceiveQueueLimit(1000);
    const int descriptor = socket->pollDescriptor();
    for (int i = 0; i < 20; ++i)
        sendText(*socket, std::string(100, static_cast<char>('a' + i)), socket->localEndpoint());
    // Four of them fit with what each takes beside its bytes; the rest has come and gone when
    // the count says so.
    for (int i = 0; i < theLongWait_ms && socket->counters().receiveQueueDrops < 16; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(socket->counters().receiveQueueDrops, 16u);
    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_EQ(asked(*socket, &DtInetUdpSocket::getBytesAvailable), 100u);
    for (char c : {'a', 'b', 'c', 'd'})
        EXPECT_EQ(receiveText(*socket), std::string(100, c));
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_FALSE(isReadable(descriptor));
}

TEST(InetUdpSocketQueues, SendsInOrderRefusesAndTells) {
    expectSendQueue(*loopbackSocket(theAsyncSend));
}

TEST(InetUdpSocketQueues, CountsWhatTheKernelDropped) {
    const auto receiver = loopbackSocket();
    ASSERT_TRUE(receiver->setReceiveBufferSize(1));  // the smallest there is
    for (int i = 0; i < 50; ++i)
        sendText(*receiver, std::string(500, 'x'), receiver->localEndpoint());
    const std::uint64_t drops = receiver->counters().kernelDrops;
    EXPECT_GT(drops, 0u);
    std::uint64_t received = 0;
    for (; receiveText(*receiver, 500, MSG_DONTWAIT) != "(0)"; ++received) {
    }
    EXPECT_EQ(drops + received, 50u);
    receiver->closeSocket();
    EXPECT_EQ(receiver->counters().kernelDrops, drops) << "is not forgotten";
    receiver->openSocket();
    EXPECT_EQ(receiver->counters().kernelDrops, drops);
    receiver->clearStats();
    EXPECT_EQ(receiver->counters().kernelDrops, 0u);
}

}  // namespace
}  // namespace OrynRti::Tests
