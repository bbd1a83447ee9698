#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <thread>

#include "transport/DisPdus.h"

namespace OrynRti::Tests {
namespace {

using testing::ElementsAre;

/// A DIS socket, with one or two sockets that see what it sends.
class DisSocketBundling : public testing::Test {
protected:
    DisSocketBundling() {
        socket.setDestination(receiver->localEndpoint());
        socket.setBundling(100, 0, 0, false);
    }

    int send(const std::string& bytes) {
        return sendText(socket, bytes, receiver->localEndpoint());
    }

    static bool unregister(DtDisSocket& each) {
        return each.removeProcessingCallback(DtInetSockPreSend, &DtDisSocket::addToBundle);
    }

    std::string received() { return receiveText(*receiver, 70000); }

    std::unique_ptr<DtInetUdpSocket> receiver = loopbackSocket(theNonBlocking);
    std::unique_ptr<DtInetUdpSocket> other = loopbackSocket(theNonBlocking);
    DtDisSocket socket{udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, false};
};

TEST_F(DisSocketBundling, CollectsUntilTheNextPduDoesNotFit) {
    EXPECT_EQ(send(ofSize(28, 'a')), 28);
    EXPECT_EQ(send(ofSize(33, 'b')), 33);
    EXPECT_EQ(send(ofSize(28, 'c')), 28);  // 32 + 40 + 28 is the limit
    EXPECT_EQ(received(), "(0)");
    EXPECT_EQ(send(ofSize(12, 'd')), 12);
    EXPECT_EQ(received(), std::string(ofSize(28, 'a')) + padding(4) + std::string(ofSize(33, 'b')) +
                              padding(7) + std::string(ofSize(28, 'c')));
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(received(), std::string(ofSize(12, 'd')));
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(received(), "(0)");
    EXPECT_EQ(socket.disCounters().bundlesSent, 2u);
    // PDUs and bundles count alike; what went out stands beside.
    EXPECT_EQ(socket.totalPacketsSent(), 6u);
    EXPECT_EQ(socket.counters().datagramsOnWire, 2u);
    EXPECT_EQ(socket.counters().bytesOnWire, 112u);
}

TEST_F(DisSocketBundling, AlignsAsTold) {
    const std::string first = ofSize(28, 'a');
    const std::string second = ofSize(31, 'b');
    const std::map<unsigned int, int> paddings = {{0, 0}, {1, 0}, {3, 2}, {16, 4}, {28, 0}};
    for (const auto& [alignment, between] : paddings) {
        socket.setBundleByteAlignment(alignment);
        send(first);
        send(second);
        EXPECT_EQ(socket.flush(), 1);
        EXPECT_EQ(received(), first + padding(between) + second) << alignment;
    }
    socket.setBundleByteAlignment(4000000000u);  // nothing fits behind anything
    send(first);
    send(second);
    EXPECT_EQ(received(), first);
}

TEST_F(DisSocketBundling, APduAboveTheLimitWaitsItsTurn) {
    send(ofSize(20, 'a'));
    send(ofSize(300, 'b'));
    EXPECT_EQ(received(), std::string(ofSize(20, 'a')));
    send(ofSize(20, 'c'));
    EXPECT_EQ(received(), std::string(ofSize(300, 'b')));
    socket.setBundling(1000000, 0, 0, false);
    EXPECT_EQ(send(ofSize(DtDisSocket::theMaxBundle_bytes, 'd')), DtDisSocket::theMaxBundle_bytes);
    EXPECT_EQ(received(), std::string(ofSize(20, 'c')));
    EXPECT_EQ(send(ofSize(DtDisSocket::theMaxBundle_bytes + 1)), -1);
    EXPECT_EQ(lastError(socket), "-1 DtInetUdpSocket::send()/sendTo(): Pre-send callback failed.");
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(received().size(), std::size_t(DtDisSocket::theMaxBundle_bytes));
}

TEST_F(DisSocketBundling, KeepsABundleForEachDestination) {
    socket.addDestination(other->localEndpoint());
    std::string first = ofSize(32, 'a');
    EXPECT_EQ(socket.send(first.data(), 32, 0), 32);
    EXPECT_EQ(sendText(socket, ofSize(32, 'b'), other->localEndpoint()), 32);
    DtInetEndpoint destination = other->localEndpoint();
    EXPECT_EQ(socket.flushBundle(destination), 1);
    EXPECT_EQ(socket.flushBundle(destination), 1);
    EXPECT_EQ(receiveText(*other), first + std::string(ofSize(32, 'b')));
    EXPECT_EQ(received(), "(0)");
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(received(), first);
}

TEST_F(DisSocketBundling, TurningItOffSendsWhatIsPending) {
    EXPECT_TRUE(socket.isBundling());
    EXPECT_EQ(socket.getMaxBundleSize(), 100);
    send(ofSize(20, 'a'));
    EXPECT_TRUE(socket.setMaxBundleSize(0));
    EXPECT_EQ(received(), std::string(ofSize(20, 'a')));
    send(ofSize(20, 'b'));
    EXPECT_EQ(received(), std::string(ofSize(20, 'b')));
    socket.setMaxBundleSize(100);
    send(ofSize(20, 'c'));
    EXPECT_EQ(received(), "(0)");
    socket.setBundling(-1, 0, 0, false);
    EXPECT_EQ(received(), std::string(ofSize(20, 'c')));
    EXPECT_FALSE(unregister(socket));
}

TEST_F(DisSocketBundling, TheCallbackIsThereOnceAtMost) {
    socket.setBundling(200, 0, 0, false);
    EXPECT_TRUE(unregister(socket));
    EXPECT_FALSE(unregister(socket));
    socket.setBundling(200, 0, 0, false);
    EXPECT_TRUE(unregister(socket));
    DtDisSocket fresh(udpEndpoint("127.0.0.1"), 0, nullptr, 0, false, false);
    fresh.setMaxBundleSize(50);
    EXPECT_FALSE(unregister(fresh));
    fresh.setBundling(100, 0, 0, false);
    EXPECT_TRUE(unregister(fresh));
}

TEST_F(DisSocketBundling, ClosingAndDestroyingSendWhatIsPending) {
    send(ofSize(20, 'a'));
    EXPECT_TRUE(socket.closeSocket());
    EXPECT_EQ(received(), std::string(ofSize(20, 'a')));
    {
        DtDisSocket brief(udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, true, true);
        brief.setBundling(100, 0, 0, false);
        sendText(brief, ofSize(20, 'b'), receiver->localEndpoint());
    }
    EXPECT_EQ(received(), std::string(ofSize(20, 'b')));
}

TEST_F(DisSocketBundling, AFailedBundleCostsNoOtherPdu) {
    // Broadcasts are refused without the option.
    socket.setBroadcastOption(false);
    const DtInetEndpoint everybody = udpEndpoint("255.255.255.255", 3000);
    EXPECT_EQ(sendText(socket, ofSize(40, 'a'), everybody), 40);
    EXPECT_EQ(sendText(socket, ofSize(80, 'b'), everybody), 80);
    EXPECT_EQ(socket.state(), DtInetSockError);
    EXPECT_EQ(socket.getLastError(), EACCES);
    EXPECT_EQ(send(ofSize(20, 'c')), 20);
    EXPECT_EQ(socket.flush(), -1);
    EXPECT_EQ(received(), std::string(ofSize(20, 'c')));
    EXPECT_EQ(socket.disCounters().bundlesFailed, 2u);
    EXPECT_EQ(socket.disCounters().bundlesSent, 1u);
    EXPECT_EQ(socket.flush(), 1);
}

// -------------------------------------------------------------------------------------------
// Callbacks around bundles

struct Seen {
    std::vector<int> sizes;
    int answer = 0;
};

int notePostSend(DtInetSocket* socket, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&,
                 void* seen) {
    static_cast<Seen*>(seen)->sizes.push_back(size);
    // The lock is free: another thread gets through.
    std::thread([socket] { socket->getLastErrorString(); }).join();
    EXPECT_EQ(chain.size(), 1u);
    return static_cast<Seen*>(seen)->answer;
}

int dropEverything(DtInetSocket*, int, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    return 0;
}

TEST_F(DisSocketBundling, PostSendCallbacksSeePdusAndBundlesWithoutTheLock) {
    Seen seen;
    socket.addProcessingCallback(DtInetSockPostSend, notePostSend, &seen, 0);
    send(ofSize(80));
    send(ofSize(24));
    EXPECT_THAT(seen.sizes, ElementsAre(80, 80, 24));
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(seen.sizes.back(), 24);
    seen.answer = -1;
    send(ofSize(24));
    EXPECT_EQ(socket.flush(), -1);
    EXPECT_EQ(lastError(socket),
              "-1 DtInetUdpSocket::sendChain()/sendChainTo(): Post-send callback failed.");
}

TEST_F(DisSocketBundling, WhatACallbackHasDroppedIsNotBundled) {
    socket.addProcessingCallback(DtInetSockPreSend, dropEverything, nullptr, 0);
    EXPECT_EQ(send(ofSize(24)), 24);
    socket.flush();
    EXPECT_EQ(received(), "(0)");
}

int closeTheSocket(DtInetSocket* socket, int, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    socket->closeSocket();
    return 0;
}

TEST_F(DisSocketBundling, ACallbackMayCloseTheSocketDuringAFlush) {
    send(ofSize(24, 'a'));
    sendText(socket, ofSize(24, 'b'), other->localEndpoint());
    socket.addProcessingCallback(DtInetSockPostSend, closeTheSocket, nullptr, 0);
    EXPECT_EQ(socket.flush(), 1);
    EXPECT_EQ(received(), std::string(ofSize(24, 'a')));
    EXPECT_EQ(receiveText(*other), std::string(ofSize(24, 'b')));
    EXPECT_EQ(socket.state(), DtInetSockClosed);
}

// -------------------------------------------------------------------------------------------

TEST_F(DisSocketBundling, PdusOfAThreadNeverOvertakeEachOther) {
    constexpr int theThreads = 3;
    constexpr int thePdus = 400;
    receiver->setReceiveBufferSize(1 << 20);
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < theThreads; ++thread)
        threads.emplace_back([this, thread, &ready] {
            ++ready;
            while (ready < theThreads)
                std::this_thread::yield();
            for (int i = 0; i < thePdus; ++i) {
                Pdu pdu = ofSize(16);
                pdu.exercise = thread;
                std::string bytes = pdu;
                bytes[12] = char(i >> 8);
                bytes[13] = char(i);
                send(bytes);
                if (i % 7 == 0)
                    socket.flush();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    socket.flush();
    std::vector<int> next(theThreads, 0);
    for (std::string bytes = received(); bytes != "(0)"; bytes = received())
        for (std::size_t at = 0; at < bytes.size(); at += 16) {
            const int thread = bytes[at + 1];
            const int index = static_cast<unsigned char>(bytes[at + 12]) << 8 |
                              static_cast<unsigned char>(bytes[at + 13]);
            EXPECT_EQ(index, next[static_cast<std::size_t>(thread)]++);
        }
    EXPECT_THAT(next, testing::Each(thePdus));
}

}  // namespace
}  // namespace OrynRti::Tests
