#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <netinet/in.h>
#include <set>
#include <thread>
#include <unistd.h>

#include "InetDevice.h"
#include "Time.h"
#include "net/UdpSockets.h"

namespace OrynRti::Tests {
namespace {

using testing::StartsWith;

// -------------------------------------------------------------------------------------------
// Opening, closing, states

TEST(InetUdpSocket, OpensOnAPortOfTheSystemsChoiceAndReopens) {
    DtInetUdpSocket socket(udpEndpoint("127.0.0.1"), 0, nullptr, theBlocking, false);
    EXPECT_EQ(socket.state(), DtInetSockInitial);
    EXPECT_EQ(socket.descriptor(), -1);
    EXPECT_FALSE(socket.closeSocket());
    EXPECT_EQ(lastError(socket), "9 DtInetUdpSocket::closeSocket() called on uninitialized socket");
    ASSERT_TRUE(socket.openSocket());
    EXPECT_EQ(socket.state(), DtInetSockOpen);
    EXPECT_NE(socket.localPort(), 0);
    EXPECT_NE(fcntl(socket.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(socket.openSocket());
    EXPECT_EQ(lastError(socket), "131 DtInetUdpSocket::openSocket(): Invalid state 2");
    EXPECT_TRUE(socket.isOk() && socket.closeSocket() && socket.closeSocket());
    EXPECT_EQ(socket.state(), DtInetSockClosed);
    EXPECT_FALSE(socket.isOk());
    EXPECT_TRUE(socket.openSocket() && socket.isOk());

    for (const unsigned short own : {0, 4712}) {
        const DtInetUdpSocket closed(udpEndpoint("127.0.0.1", own), 4711, nullptr, 0, false);
        EXPECT_EQ(closed.localPort(), own != 0 ? own : 4711);
    }
}

TEST(InetUdpSocket, AFailedOpeningTellsWhyAndLeavesNothingOpen) {
    const auto holder = loopbackSocket(DtInetSockReceive);
    DtInetUdpSocket socket(holder->localEndpoint(), 0, nullptr, DtInetSockReceive, true);
    EXPECT_FALSE(socket.isOk());
    EXPECT_EQ(socket.state(), DtInetSockError);
    EXPECT_EQ(socket.descriptor(), -1);
    EXPECT_THAT(lastError(socket),
                StartsWith("98 DtInetUdpSocket::openSocket(): Error opening socket on "));
    holder->closeSocket();
    EXPECT_TRUE(socket.openSocket()) << "an error refuses no later call";
    EXPECT_EQ(socket.state(), DtInetSockOpen);

    const DtInetEndpoint tcp(DtInetAddr("127.0.0.1"), 9, DtInetTcp);
    DtInetUdpSocket fromTcp(tcp, 0, nullptr, theBlocking, true);
    EXPECT_FALSE(fromTcp.isOk());
    EXPECT_FALSE(fromTcp.setDestination(tcp));
    const DtInetUdpSocket onNothing(udpEndpoint("0.0.0.0"), 0, new DtInetDevice("no-such-device"),
                                    theBlocking, true);
    EXPECT_EQ(lastError(onNothing),
              "95 DtInetUdpSocket():: Specified interface does not have an "
              "IPv4 address assigned. ");
}

TEST(InetUdpSocket, CallsOnASocketThatIsNotOpenLeaveItsState) {
    const auto socket = loopbackSocket();
    socket->closeSocket();
    bool on = false;
    EXPECT_EQ(sendText(*socket, "x", udpEndpoint("127.0.0.1", 9)), -1);
    EXPECT_EQ(lastError(*socket), "9 DtInetUdpSocket()::sendTo() called on uninitialized socket");
    EXPECT_EQ(receiveText(*socket), "(-1)");
    EXPECT_FALSE(socket->getBroadcastOption(on));
    EXPECT_FALSE(socket->joinMulticastGroup(DtInetAddr("239.1.2.3"), nullptr));
    EXPECT_EQ(socket->state(), DtInetSockClosed);
}

/// Also one that tells the time of each datagram already.
TEST(InetUdpSocket, TakesOverADescriptor) {
    const int number = socket(AF_INET, SOCK_DGRAM, 0);
    const int on = 1;
    setsockopt(number, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    const auto peer = loopbackSocket();
    DtInetUdpSocket adopted(DtInetEndpoint(), 0, nullptr, theNonBlocking, false);
    EXPECT_FALSE(adopted.setSocket(STDIN_FILENO));
    ASSERT_TRUE(adopted.setSocket(number));
    EXPECT_EQ(adopted.descriptor(), number);
    EXPECT_EQ(adopted.state(), DtInetSockOpen);
    EXPECT_EQ(receiveText(adopted), "(0)");
    EXPECT_EQ(sendText(adopted, "hello", peer->localEndpoint()), 5);
    char text[5];
    DtInetEndpoint self;
    EXPECT_EQ(peer->recvFrom(text, sizeof text, self, 0), 5);
    EXPECT_EQ(sendText(*peer, "back", self), 4);
    const double after = DtAbsRealTime();
    EXPECT_EQ(receiveText(adopted), "back");
    EXPECT_GT(adopted.receiveTime(), 0);
    EXPECT_LE(adopted.receiveTime(), after);
}

// -------------------------------------------------------------------------------------------
// Sending and receiving

/// The kernel notes times from a moment on after the first socket has asked for them.
void awaitArrivalTimes() {
    const auto socket = loopbackSocket();
    double sent = 0;
    do {
        sendText(*socket, "x", socket->localEndpoint());
        sent = DtAbsRealTime();
        receiveText(*socket);
    } while (socket->receiveTime() > sent);
}

class UdpFamilies : public testing::TestWithParam<std::tuple<const char*, unsigned int>> {};

TEST_P(UdpFamilies, CarryDatagramsWithSenderTimeAndCounts) {
    const auto [address, options] = GetParam();
    const auto receiver = loopbackSocket(options, address);
    const auto sender = loopbackSocket(options, address);
    ASSERT_TRUE(receiver->isOk()) << receiver->getLastErrorString();
    EXPECT_EQ(receiver->receiveTime(), 0);
    awaitArrivalTimes();
    const double before = DtAbsRealTime();
    EXPECT_EQ(sendText(*sender, "hello", receiver->localEndpoint()), 5);
    sender->closeSocket();  // lets it go out
    const double after = DtAbsRealTime();
    char buffer[100];
    DtInetEndpoint from;
    EXPECT_EQ(receiver->recvFrom(buffer, sizeof buffer, from, 0), 5);
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_TRUE(from == sender->localEndpoint()) << from.toDtString();
    const double came = receiver->receiveTime();
    EXPECT_GE(came, before - 0.001);
    EXPECT_LE(came, after) << "the time of coming, not of reading";
    receiver->closeSocket();
    EXPECT_EQ(receiver->receiveTime(), came) << "is not forgotten";
    receiver->openSocket();
    EXPECT_EQ(receiver->receiveTime(), came);
    EXPECT_EQ(receiver->totalPacketsReceived(), 1u);
    EXPECT_EQ(receiver->totalBytesReceived(), 5u);
    EXPECT_EQ(sender->totalPacketsSent(), 1u);
    EXPECT_EQ(sender->totalBytesSent(), 5u);
    EXPECT_EQ(sender->counters().datagramsOnWire, 1u);
    EXPECT_EQ(sender->counters().bytesOnWire, 5u);
    receiver->clearStats();
    EXPECT_EQ(receiver->totalPacketsReceived() + receiver->totalBytesReceived(), 0u);
}

INSTANTIATE_TEST_SUITE_P(InetUdpSocket, UdpFamilies,
                         testing::Combine(testing::Values("127.0.0.1", "::1"),
                                          testing::Values(theBlocking, theAsyncReceive,
                                                          theAsyncSend, theAsync)));

TEST(InetUdpSocket, IPv6SocketsLeaveIPv4Alone) {
    DtInetUdpSocket six(udpEndpoint("::"), 0, nullptr, DtInetSockReceive, true);
    ASSERT_TRUE(six.isOk()) << six.getLastErrorString();
    DtInetUdpSocket four(udpEndpoint("0.0.0.0"), six.localPort(), nullptr, DtInetSockReceive, true);
    EXPECT_TRUE(four.isOk()) << four.getLastErrorString();
}

TEST(InetUdpSocket, TellsSendersApartAndPeeksWithoutCounting) {
    const auto receiver = loopbackSocket();
    const std::unique_ptr<DtInetUdpSocket> senders[] = {loopbackSocket(), loopbackSocket()};
    DtInetEndpoint from;
    char byte = 0;
    for (const int which : {0, 0, 1, 0}) {
        sendText(*senders[which], "x", receiver->localEndpoint());
        for (const int flags : {int(MSG_PEEK), 0}) {
            EXPECT_EQ(receiver->recvFrom(&byte, 1, from, flags), 1);
            EXPECT_EQ(from.toDtString(), senders[which]->localEndpoint().toDtString());
            EXPECT_NEAR(receiver->receiveTime(), DtAbsRealTime(), 1.0);
        }
    }
    EXPECT_EQ(receiver->totalPacketsReceived(), 4u);
}

TEST(InetUdpSocket, GathersAndScattersChainsOfAnyLength) {
    const auto socket = loopbackSocket();
    std::vector<std::vector<char>> buffers;
    for (int i = 0; i < 3000; ++i)
        buffers.emplace_back(i % 4, static_cast<char>(i));
    DtInetSocketBufferChain chain;
    std::string expected;
    for (std::vector<char>& buffer : buffers) {
        chain.push_back(&buffer);
        expected.append(buffer.begin(), buffer.end());
    }
    chain.insert(chain.begin() + 5, nullptr);
    DtInetEndpoint self = socket->localEndpoint();
    ASSERT_EQ(socket->sendChainTo(chain, self, 0), 4500);
    EXPECT_EQ(receiveText(*socket, 5000), expected);

    ASSERT_EQ(sendText(*socket, expected, self), 4500);
    for (std::vector<char>& buffer : buffers)
        buffer.assign(buffer.size(), '?');
    EXPECT_EQ(socket->recvToChain(chain, 0), 4500);
    std::string scattered;
    for (const std::vector<char>& buffer : buffers)
        scattered.append(buffer.begin(), buffer.end());
    EXPECT_EQ(scattered, expected);

    for (const std::size_t parts : {std::size_t(20), chain.size()}) {  // with and without a copy
        chain.resize(parts);
        EXPECT_EQ(sendText(*socket, std::string(4501, 'x'), self), 4501);
        EXPECT_EQ(socket->recvToChain(chain, 0), DtInetSockIncomplete);
    }
}

class UdpReceivers : public testing::TestWithParam<unsigned int> {};

TEST_P(UdpReceivers, AnswerByTheKindOfWhatComes) {
    const auto socket = loopbackSocket(GetParam() | DtInetSockNonBlocking);
    const DtInetEndpoint self = socket->localEndpoint();
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_EQ(lastError(*socket), "11 ");
    EXPECT_EQ(socket->state(), DtInetSockOpen);

    socket->clearError();
    sockaddr_in to{};
    DtInetEndpoint(self).toSockaddr(&to);
    ASSERT_EQ(sendto(socket->descriptor(), "", 0, 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
              0);
    sendText(*socket, "0123456789", self);
    sendText(*socket, "fits", self);
    for (const char* expected : {"(-2)", "(-4)", "fits"}) {
        ASSERT_TRUE(isReadable(socket->pollDescriptor(), theLongWait_ms));
        EXPECT_EQ(receiveText(*socket, 5), expected);
    }
    EXPECT_EQ(lastError(*socket), "0 ") << "neither is an error";
    EXPECT_EQ(socket->counters().emptyDatagrams, 1u);
    EXPECT_EQ(socket->counters().truncatedDatagrams, 1u);
    EXPECT_EQ(socket->totalPacketsReceived(), 3u);
    DtInetSocketBufferChain none;
    EXPECT_EQ(socket->recvToChain(none, 0), DtInetSockIncomplete);
}

TEST_P(UdpReceivers, ClosingWakesThoseWhoWait) {
    const auto socket = loopbackSocket(GetParam());
    std::vector<std::thread> waiting;
    for (int i = 0; i < 3; ++i)
        waiting.emplace_back([&] { EXPECT_EQ(receiveText(*socket), "(-1)"); });
    EXPECT_FALSE(isReadable(socket->pollDescriptor()));
    EXPECT_TRUE(socket->closeSocket());
    for (std::thread& thread : waiting)
        thread.join();
    EXPECT_EQ(socket->state(), DtInetSockClosed);
    EXPECT_TRUE(isReadable(socket->pollDescriptor()));
    EXPECT_TRUE(socket->openSocket());
    EXPECT_FALSE(isReadable(socket->pollDescriptor()));
}

TEST_P(UdpReceivers, TwoReceiveWhileTwoSend) {
    constexpr int theCount = 2000;
    const auto receiver = loopbackSocket(GetParam());
    receiver->setReceiveBufferSize(8u << 20);
    const auto sender =
        loopbackSocket(GetParam() & DtInetSockAsyncReceive ? theAsyncSend : theBlocking);
    std::vector<std::thread> senders;
    for (char name : {'a', 'b'})
        senders.emplace_back([&, name] {
            for (int i = 0; i < theCount; ++i)
                sendText(*sender, name + std::to_string(i), receiver->localEndpoint());
        });
    std::set<std::string> texts[2];
    std::vector<std::thread> receivers;
    for (std::set<std::string>& mine : texts)
        receivers.emplace_back([&] {
            std::map<char, int> last{{'a', -1}, {'b', -1}};
            for (std::string text; (text = receiveText(*receiver)) != "end";) {
                EXPECT_TRUE(mine.insert(text).second) << text;
                const int number = std::stoi(text.substr(1));
                EXPECT_GT(number, last[text[0]]) << "out of order";
                last[text[0]] = number;
            }
        });
    for (std::thread& thread : senders)
        thread.join();
    sendText(*sender, "end", receiver->localEndpoint());
    sendText(*sender, "end", receiver->localEndpoint());
    for (std::thread& thread : receivers)
        thread.join();
    const std::uint64_t drops = receiver->counters().kernelDrops;
    EXPECT_EQ(texts[0].size() + texts[1].size() + drops, 2 * theCount);
    EXPECT_EQ(receiver->totalPacketsReceived() + drops, 2 * theCount + 2u);
}

TEST_P(UdpReceivers, SignalsDoNotEndAReceivingCall) {
    struct sigaction action {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    struct sigaction before {};
    sigaction(SIGUSR1, &action, &before);
    const auto socket = loopbackSocket(GetParam());
    std::thread waiting([&] { EXPECT_EQ(receiveText(*socket), "at last"); });
    for (int i = 0; i < 200; ++i) {
        pthread_kill(waiting.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    sendText(*socket, "at last", socket->localEndpoint());
    waiting.join();
    sigaction(SIGUSR1, &before, nullptr);
}

INSTANTIATE_TEST_SUITE_P(InetUdpSocket, UdpReceivers,
                         testing::Values(theBlocking, theAsyncReceive, theAsyncSend));

TEST(InetUdpSocket, NeedsAUsableDestination) {
    const auto socket = loopbackSocket();
    const DtInetEndpoint unusable[] = {DtInetEndpoint(), udpEndpoint("0.0.0.0", 9),
                                       udpEndpoint("127.0.0.1"),
                                       DtInetEndpoint(DtInetAddr("127.0.0.1"), 9, DtInetTcp)};
    for (const DtInetEndpoint& destination : unusable) {
        EXPECT_EQ(sendText(*socket, "x", destination), -1) << destination.toDtString(true);
        EXPECT_EQ(socket->getLastError(), EDESTADDRREQ);
        EXPECT_EQ(socket->state(), DtInetSockError);
    }
    char byte = 'x';
    EXPECT_EQ(socket->send(&byte, 1, 0), -1);
    EXPECT_EQ(lastError(*socket),
              "89 DtInetUdpSocket::send(): Error - no default destination set: 0.0.0.0:any");
    ASSERT_TRUE(socket->setDestination(socket->localEndpoint()));
    EXPECT_EQ(socket->send(&byte, 1, 0), 1);
    EXPECT_EQ(socket->state(), DtInetSockOpen);
}

TEST(InetUdpSocket, TellsWhyADatagramCannotBeSentOrReceived) {
    const auto socket = loopbackSocket();
    const DtInetEndpoint self = socket->localEndpoint();
    EXPECT_EQ(sendText(*socket, std::string(65508, 'x'), self), -1);
    const std::string local = self.toDtString().c_str();
    EXPECT_EQ(lastError(*socket), "90 DtInetUdpSocket::send()/sendTo() failed from " + local +
                                      " to " + local + "\nMessage too long");
    EXPECT_EQ(socket->totalPacketsSent(), 0u);
    EXPECT_EQ(sendText(*socket, std::string(65507, 'x'), self), 65507);
    EXPECT_EQ(receiveText(*socket, 65507).size(), 65507u);

    const auto mute = loopbackSocket(DtInetSockReceive);
    const auto deaf = loopbackSocket(DtInetSockSend);
    EXPECT_EQ(sendText(*mute, "x", deaf->localEndpoint()), -1);
    EXPECT_EQ(mute->getLastError(), EOPNOTSUPP);
    EXPECT_EQ(sendText(*deaf, "x", mute->localEndpoint()), 1);
    EXPECT_EQ(receiveText(*mute), "x");
    EXPECT_EQ(receiveText(*deaf), "(-1)");
    EXPECT_EQ(lastError(*deaf),
              "95 DtInetUdpSocket::recv(): Socket not initialized for receiving.");
}

TEST(InetUdpSocket, AConnectedSocketHearsItsDestinationOnly) {
    const auto socket = loopbackSocket(theNonBlocking);
    const auto peer = loopbackSocket();
    const auto stranger = loopbackSocket();
    EXPECT_FALSE(socket->connectToDestination());
    EXPECT_EQ(socket->getLastError(), EDESTADDRREQ);
    ASSERT_TRUE(socket->setDestination(peer->localEndpoint()));
    ASSERT_TRUE(socket->connectToDestination());
    EXPECT_EQ(socket->state(), DtInetSockConnected);
    sendText(*stranger, "no", socket->localEndpoint());
    sendText(*peer, "yes", socket->localEndpoint());
    EXPECT_EQ(receiveText(*socket), "yes");
    EXPECT_EQ(receiveText(*socket), "(0)");
    ASSERT_TRUE(socket->setDestination(stranger->localEndpoint()));
    sendText(*stranger, "now", socket->localEndpoint());
    EXPECT_EQ(receiveText(*socket), "now");
}

TEST(InetUdpSocket, AnUnreachablePortBreaksNothing) {
    const auto socket = loopbackSocket(theNonBlocking);
    const DtInetEndpoint gone = loopbackSocket()->localEndpoint();
    ASSERT_TRUE(socket->setDestination(gone) && socket->connectToDestination());
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(sendText(*socket, "x", gone), 1);
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_EQ(socket->state(), DtInetSockConnected);
    EXPECT_GE(socket->counters().portUnreachable, 1u);
}

// -------------------------------------------------------------------------------------------
// Receiving callbacks

int noteSize(DtInetSocket*, int size, DtInetSocketBufferChain&, DtInetEndpoint&, void* sizes) {
    static_cast<std::vector<int>*>(sizes)->push_back(size);
    return size;
}

template <int Status, int Size>
int setStatus(DtInetSocket*, int, DtInetSocketBufferChain& chain, DtInetEndpoint&, void* status) {
    *static_cast<int*>(status) = Status;
    if (Status == DtInetSockFromQueue)
        std::memcpy(chain[0]->data(), "queued", 6);
    return Size;
}

int closeOwnSocket(DtInetSocket* socket, int size, DtInetSocketBufferChain&, DtInetEndpoint&,
                   void*) {
    EXPECT_TRUE(socket->closeSocket());
    return size;
}

TEST(InetUdpSocket, BeforeReadCallbacksDeliverOrEndTheCall) {
    const auto socket = loopbackSocket(theNonBlocking);
    const auto deliver = setStatus<DtInetSockFromQueue, 6>;
    const auto refuse = setStatus<DtInetSockIncomplete, 0>;
    sendText(*socket, "network", socket->localEndpoint());
    std::vector<int> before;
    std::vector<int> after;
    socket->addProcessingCallback(DtInetSockBeforeRead, deliver, nullptr, 1);
    socket->addProcessingCallback(DtInetSockBeforeRead, noteSize, &before, 2);
    socket->addProcessingCallback(DtInetSockAfterReceive, noteSize, &after, 1);
    EXPECT_EQ(receiveText(*socket), "queued");
    EXPECT_TRUE(before.empty()) << "the first status ends the chain";
    EXPECT_EQ(after, std::vector<int>{6}) << "filters see what comes from a queue";
    EXPECT_EQ(socket->totalPacketsReceived(), 0u);

    socket->addProcessingCallback(DtInetSockBeforeRead, refuse, nullptr, 0);
    EXPECT_EQ(receiveText(*socket), "(-4)");
    socket->removeProcessingCallback(DtInetSockBeforeRead, refuse);
    EXPECT_EQ(receiveText(*socket, 2000, DtInetSockSkipFirstChain), "network");
    socket->removeProcessingCallback(DtInetSockBeforeRead, deliver);
    EXPECT_EQ(receiveText(*socket), "(0)");
    EXPECT_EQ(before, std::vector<int>{0});
}

TEST(InetUdpSocket, ReceiveCallbacksFilterShortenAndFail) {
    const auto socket = loopbackSocket(theNonBlocking);
    const std::pair<DtInetSocketProcessingCallback, std::string> cases[] = {
        {setStatus<DtInetSockFiltered, 0>, "(-2)"},
        {setStatus<DtInetSockOwnDatagram, 0>, "(-3)"},
        {setStatus<0, 0>, "(-2)"},
        {setStatus<0, 3>, "abc"},
        {setStatus<0, 5000>, "abcdef"},
        {setStatus<DtInetSockStatusError, 4>, "(-1)"},
        {setStatus<0, -77>, "(-1)"}};
    for (const auto& [callback, expected] : cases) {
        socket->clearError();
        socket->addProcessingCallback(DtInetSockAfterReceive, callback, nullptr, 1);
        sendText(*socket, "abcdef", socket->localEndpoint());
        EXPECT_EQ(receiveText(*socket, 6), expected);
        const bool failed = expected == "(-1)";
        EXPECT_EQ(socket->state(), failed ? DtInetSockError : DtInetSockOpen);
        EXPECT_EQ(lastError(*socket),
                  failed ? "-1 DtInetUdpSocket::recv(): Receive callback failed." : "0 ");
        socket->removeProcessingCallback(DtInetSockAfterReceive, callback);
    }
}

TEST(InetUdpSocket, ACallbackMayCloseItsOwnSocket) {
    for (unsigned int options : {theBlocking, theAsync}) {
        const auto socket = loopbackSocket(options);
        socket->addProcessingCallback(DtInetSockAfterReceive, closeOwnSocket, nullptr, 1);
        sendText(*socket, "last", socket->localEndpoint());
        EXPECT_EQ(receiveText(*socket), "last");
        EXPECT_EQ(receiveText(*socket), "(-1)");
        EXPECT_EQ(socket->state(), DtInetSockClosed);
    }
}

// -------------------------------------------------------------------------------------------
// Options

TEST(InetUdpSocket, OptionsSetBeforeOpeningAreAppliedThenAndAgain) {
    DtInetUdpSocket socket(udpEndpoint("127.0.0.1"), 0, nullptr, theNonBlocking, false);
    EXPECT_TRUE(socket.isNonBlocking());
    EXPECT_TRUE(socket.setNonBlockingOption(false) && socket.setReuseAddressOption(false) &&
                socket.setBroadcastOption(false) && socket.setMcastLoopOption(false) &&
                socket.setDoNotRouteOption(true) && socket.setReceiveBufferSize(10000) &&
                socket.setSendBufferSize(20000) && socket.setTtlOption(7) &&
                socket.setMcastTtlOption(9));
    EXPECT_EQ(socket.flags(), DtInetSockReceive | DtInetSockSend);
    using Socket = DtInetUdpSocket;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(socket.openSocket()) << socket.getLastErrorString();
        EXPECT_FALSE(asked(socket, &Socket::getReuseAddressOption));
        EXPECT_FALSE(asked(socket, &Socket::getBroadcastOption));
        EXPECT_FALSE(asked(socket, &Socket::getMcastLoopOption));
        EXPECT_TRUE(asked(socket, &Socket::getDoNotRouteOption));
        EXPECT_EQ(asked(socket, &Socket::getReceiveBufferSize), 20000u) << "Linux doubles them";
        EXPECT_EQ(asked(socket, &Socket::getSendBufferSize), 40000u);
        EXPECT_EQ(asked(socket, &Socket::getTtlOption), 7);
        EXPECT_EQ(asked(socket, &Socket::getMcastTtlOption), 9);
        EXPECT_EQ(fcntl(socket.descriptor(), F_GETFL) & O_NONBLOCK, 0);
        socket.closeSocket();
    }
}

TEST(InetUdpSocket, OptionsTellWhatTheSystemRefused) {
    const auto socket = loopbackSocket();
    EXPECT_FALSE(socket->setSendLowWatermark(100));
    EXPECT_EQ(lastError(*socket),
              "92 DtInetUdpSocket::setSendLowWatermark(): Error setting send "
              "low watermark to 100\nProtocol not available");
    EXPECT_EQ(socket->state(), DtInetSockError);
    EXPECT_TRUE(socket->setReceiveLowWatermark(1));
    EXPECT_EQ(socket->state(), DtInetSockOpen);
    EXPECT_FALSE(socket->setMcastTtlOption(300));
    EXPECT_FALSE(socket->joinMulticastGroup(DtInetAddr("10.1.2.3"), nullptr));
    EXPECT_FALSE(socket->joinMulticastGroup(DtInetAddr("ff02::1234"), nullptr));
    DtInetDevice nowhere("no-such-device");
    EXPECT_FALSE(socket->setMcastDevice(&nowhere));
    EXPECT_FALSE(socket->bindToDevice(new DtInetDevice("no-such-device")));
    EXPECT_EQ(socket->hostIf(), nullptr);
    EXPECT_TRUE(socket->setSendBufferSize(0xFFFFFFFFu)) << "as large as the system allows";
}

}  // namespace
}  // namespace OrynRti::Tests
