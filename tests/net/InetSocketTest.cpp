#include <climits>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/uio.h>

#include "InetSocket.h"
#include "net/UdpSockets.h"

namespace OrynRti::Tests {
namespace {

using testing::ElementsAre;

/// Notes what would go out in place of sending it.
class NotingSocket : public DtInetUdpSocket {
public:
    NotingSocket()
        : DtInetUdpSocket(udpEndpoint("127.0.0.1"), 0, nullptr, theDtInetSockDefaultOptions, true) {
    }

    std::vector<std::string> sent;

    using DtInetSocket::chains_;

protected:
    int transmit(const iovec* parts, std::size_t count, DtInetEndpoint&, int,
                 const char*) override {
        std::string bytes;
        for (std::size_t i = 0; i < count; ++i)
            bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
        sent.push_back(bytes);
        return static_cast<int>(bytes.size());
    }
};

/// What the steps below have been called with, in the order of the calls.
std::vector<std::string> theCalls;

template <char Name>
int step(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    theCalls.push_back(Name + std::to_string(size));
    return size;
}

template <int Result>
int answer(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    theCalls.push_back("=" + std::to_string(size));
    return Result;
}

int removeB(DtInetSocket* socket, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void*) {
    EXPECT_TRUE(socket->removeProcessingCallback(DtInetSockPreSend, step<'b'>));
    EXPECT_TRUE(socket->addProcessingCallback(DtInetSockPreSend, step<'n'>, nullptr, -1));
    return size;
}

int upperCaseAndCut(DtInetSocket*, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&,
                    void*) {
    for (std::vector<char>* buffer : chain)
        for (char& c : *buffer)
            c = static_cast<char>(std::toupper(c));
    return size - 2;
}

int append(DtInetSocket*, int size, DtInetSocketBufferChain& chain, DtInetEndpoint&, void* extra) {
    chain.push_back(static_cast<std::vector<char>*>(extra));
    return size + static_cast<int>(chain.back()->size());
}

class InetSocketTest : public testing::Test {
protected:
    void SetUp() override { theCalls.clear(); }

    bool add(DtInetSocketProcessingCallback callback, int order, void* userData = nullptr) {
        return socket_.addProcessingCallback(DtInetSockPreSend, callback, userData, order);
    }

    int send(std::string text, int flags = 0) {
        return socket_.sendTo(text.data(), static_cast<int>(text.size()), destination_, flags);
    }

    NotingSocket socket_;
    DtInetEndpoint destination_ = udpEndpoint("127.0.0.1", 9);
};

TEST_F(InetSocketTest, RunsCallbacksByOrderAndThoseOfEqualOrderAsAdded) {
    const int orders[] = {7, 3, 7, -1, 3};
    const DtInetSocketProcessingCallback steps[] = {step<'a'>, step<'b'>, step<'c'>, step<'d'>,
                                                    step<'e'>};
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(add(steps[i], orders[i]));
    send("xy");
    EXPECT_THAT(theCalls, ElementsAre("b2", "e2", "a2", "c2", "d2"));
    EXPECT_EQ(socket_.chains_[DtInetSockPreSend].rbegin()->first, 8);
}

TEST_F(InetSocketTest, NegativeOrderIsZeroInAnEmptyChainAndStaysAtTheLargest) {
    add(step<'a'>, -5);
    EXPECT_EQ(socket_.chains_[DtInetSockPreSend].begin()->first, 0);
    add(step<'b'>, INT_MAX);
    add(step<'c'>, -1);
    send("x");
    EXPECT_THAT(theCalls, ElementsAre("a1", "b1", "c1"));
}

TEST_F(InetSocketTest, RefusesOtherTypesAndUnknownCallbacks) {
    const auto four = static_cast<DtInetSockProcessingType>(4);
    EXPECT_FALSE(socket_.addProcessingCallback(four, step<'a'>, nullptr, 1));
    EXPECT_FALSE(socket_.removeProcessingCallback(four, step<'a'>));
    EXPECT_FALSE(socket_.removeProcessingCallback(DtInetSockPreSend, step<'a'>));
    for (const DtInetSocketCallbackChain& chain : socket_.chains_)
        EXPECT_TRUE(chain.empty());
    EXPECT_TRUE(socket_.setLocalPort(70000));
    EXPECT_EQ(socket_.localPort(), 4464) << "the low 16 bits";
}

TEST_F(InetSocketTest, RemovesTheFirstOfTwoRegistrations) {
    add(step<'a'>, 1);
    add(step<'b'>, 2);
    add(step<'a'>, 3);
    EXPECT_TRUE(socket_.removeProcessingCallback(DtInetSockPreSend, step<'a'>));
    send("x");
    EXPECT_THAT(theCalls, ElementsAre("b1", "a1"));
}

TEST_F(InetSocketTest, CallbacksMayAddAndRemoveCallbacksWhileTheyRun) {
    add(removeB, 1);
    add(step<'b'>, 2);
    for (int i = 0; i < 20; ++i)  // more than a walk copies at a time
        add(step<'c'>, 3);
    send("x");
    EXPECT_EQ(theCalls, std::vector<std::string>(20, "c1"));
    theCalls.clear();
    socket_.removeProcessingCallback(DtInetSockPreSend, removeB);
    send("x");
    EXPECT_EQ(theCalls.size(), 21u);
    EXPECT_EQ(theCalls.back(), "n1");
}

TEST_F(InetSocketTest, PreSendChangesACopyAndCountsWhatItTookAwayAsSent) {
    add(upperCaseAndCut, 1);
    std::vector<char> first{'a', 'b', 'c'};
    std::vector<char> second{'d', 'e'};
    DtInetSocketBufferChain chain{&first, nullptr, &second};
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(socket_.sendChainTo(chain, destination_, 0), 5);
    EXPECT_EQ(send("xyz"), 3);
    EXPECT_THAT(socket_.sent, ElementsAre("ABC", "ABC", "X"));
    EXPECT_EQ(first, (std::vector<char>{'a', 'b', 'c'}));
    EXPECT_EQ(socket_.totalPacketsSent(), 3u);
    EXPECT_EQ(socket_.totalBytesSent(), 13u);
}

TEST_F(InetSocketTest, PreSendMayAddBuffersButNotPromiseMoreThanTheyHold) {
    std::vector<char> extra{'!', '!'};
    add(append, 1, &extra);
    EXPECT_EQ(send("ab"), 2);
    add(answer<1000>, 2);
    EXPECT_EQ(send("ab"), 2);
    EXPECT_THAT(socket_.sent, ElementsAre("ab!!", "ab!!"));
}

TEST_F(InetSocketTest, PreSendOfZeroSendsNothingButCountsAndRunsTheRest) {
    add(answer<0>, 1);
    add(step<'a'>, 2);
    socket_.addProcessingCallback(DtInetSockPostSend, step<'p'>, nullptr, 1);
    EXPECT_EQ(send("abcd"), 8);  // post-send results are added
    EXPECT_THAT(theCalls, ElementsAre("=4", "a0", "p4"));
    EXPECT_TRUE(socket_.sent.empty());
    EXPECT_EQ(socket_.totalPacketsSent(), 1u);
    EXPECT_EQ(socket_.totalBytesSent(), 4u);
}

TEST_F(InetSocketTest, FlagsSkipTheSendChains) {
    add(answer<0>, 1);
    socket_.addProcessingCallback(DtInetSockPostSend, answer<5>, nullptr, 1);
    EXPECT_EQ(send("abcd", DtInetSockSkipFirstChain), 9);
    EXPECT_EQ(send("abcd", DtInetSockSkipFirstChain | DtInetSockSkipPostSend), 4);
    EXPECT_THAT(socket_.sent, ElementsAre("abcd", "abcd"));
}

TEST_F(InetSocketTest, NegativeResultsFailTheSend) {
    add(answer<-7>, 1);
    EXPECT_EQ(send("abcd"), -1);
    EXPECT_EQ(socket_.state(), DtInetSockError);
    EXPECT_EQ(lastError(socket_), "-1 DtInetUdpSocket::send()/sendTo(): Pre-send callback failed.");
    EXPECT_TRUE(socket_.sent.empty());

    socket_.removeProcessingCallback(DtInetSockPreSend, answer<-7>);
    socket_.addProcessingCallback(DtInetSockPostSend, answer<-7>, nullptr, 1);
    std::vector<char> bytes{'a'};
    DtInetSocketBufferChain chain{&bytes};
    EXPECT_EQ(socket_.sendChainTo(chain, destination_, 0), -1);
    EXPECT_EQ(lastError(socket_),
              "-1 DtInetUdpSocket::sendChain()/sendChainTo(): Post-send callback failed.");
    EXPECT_EQ(socket_.totalPacketsSent(), 1u);

    socket_.removeProcessingCallback(DtInetSockPostSend, answer<-7>);
    EXPECT_EQ(send("a"), 1);
    EXPECT_EQ(socket_.state(), DtInetSockOpen) << "a success ends the error";
}

}  // namespace
}  // namespace OrynRti::Tests
