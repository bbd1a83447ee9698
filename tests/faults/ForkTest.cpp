// What a child of fork() does with what its parent's threads are using.
#include <atomic>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "DisSocket.h"
#include "PacketServerClient.h"
#include "Thread.h"
#include "net/TcpSockets.h"
#include "support/Files.h"
#include "support/Notifications.h"
#include "support/Program.h"
#include "transport/PacketServerScript.h"

namespace OrynRti::Tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Threads that do their work over and over until the object goes.
class BusyThreads {
public:
    explicit BusyThreads(const std::vector<std::function<void()>>& works) {
        for (const auto& work : works)
            threads_.emplace_back([this, work] {
                while (!stop_) {
                    work();
                    std::this_thread::yield();
                }
            });
    }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;
    ~BusyThreads() {
        stop_ = true;
        for (std::thread& thread : threads_)
            thread.join();
    }

private:
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

/// Has a child do the work; whether it came to its end. One that hangs is ended by a signal.
template <typename Work>
testing::AssertionResult childEnds(Work work) {
    constexpr unsigned int patience_s = 20;
    Child child([&work] {
        alarm(patience_s);
        return work() ? 0 : 1;
    });
    const int status = child.wait();
    return status == 0 ? testing::AssertionSuccess()
                       : testing::AssertionFailure() << "the child ended with " << status;
}

constexpr int theForks = 40;

/// Restores the printers of the test program when it goes.
struct LoggingTo : CapturedNotifications {
    explicit LoggingTo(DtPrinter& printer) { DtSetQuarnPrinter(&printer); }
};

/// A log on a slow disk: while it writes, its stream and itself are locked.
struct SlowLog : DtFilePrinter {
    using DtFilePrinter::DtFilePrinter;

    time_t currentTime() override {
        writes = true;
        DtSleep(0.02);
        return 0;
    }

    void awaitWriter() const {
        while (!writes)
            std::this_thread::yield();
    }

    std::atomic<bool> writes{false};
};

TEST(ForkTest, AChildLogsWhatItsParentsThreadIsLogging) {
    const TemporaryFolder folder;
    const std::string path = folder.path("run.log");
    SlowLog log(path.c_str());
    log.setPrintTimestamps(true);
    const LoggingTo logging(log);
    std::promise<void> childEnded;
    std::thread thread([&] {
        DtInfo << "parent\n";
        childEnded.get_future()
            .wait();  // a thread that has ended is a leak of the child's for tsan
    });
    log.awaitWriter();
    EXPECT_TRUE(childEnds([&] {
        DtInfo << "child\n";
        return DtInfo.good() && log.isOpen();
    }));
    childEnded.set_value();
    thread.join();
    EXPECT_THAT(readFile(path), AllOf(HasSubstr("] parent\n"), HasSubstr("] child\n")));
}

TEST(ForkTest, AChildLogsWhileThreadsOfItsParentDo) {
    const TemporaryFolder folder;
    const std::string path = folder.path("run.log");
    DtFilePrinter log(path.c_str());
    const LoggingTo logging(log);
    {
        const BusyThreads busy({[] { DtInfo << "parent informs\n"; },
                                [] { DtWarn("parent %s\n", "warns"); }, [&] { log.isOpen(); },
                                [&] { DtVerbose.attachPrinter(&log); }});
        for (int i = 0; i < theForks; ++i)
            EXPECT_TRUE(childEnds([&] {
                DtInfo << "child " + std::to_string(i) + "\n";
                DtWarn << "child warns\n";
                return true;
            }));
    }
    const std::string text = readFile(path);
    for (int i = 0; i < theForks; ++i)
        EXPECT_THAT(text, HasSubstr("child " + std::to_string(i) + "\n"));
}

// -------------------------------------------------------------------------------------------

constexpr unsigned int theQueues = DtInetSockAsyncReceive | DtInetSockAsyncSend;
const std::string theText(200, 'x');

DtInetEndpoint loopback(DtInetProtocol protocol, unsigned short port = 0) {
    return DtInetEndpoint(DtInetAddr("127.0.0.1"), port, protocol);
}

template <typename Socket>
void sendText(Socket& socket, unsigned short port, std::string text = theText) {
    DtInetEndpoint to = loopback(DtInetUdp, port);
    socket.sendTo(text.data(), static_cast<int>(text.size()), to, 0);
}

/// Whether a text sent to it comes, told by the descriptor for event loops. What is still underway
/// comes before it, and may take its room.
template <typename Socket>
bool isReached(Socket& receiver, Socket& sender) {
    const std::string marker = "are you there?";
    std::string text(2000, '?');
    for (int tries = 0; tries < 100; ++tries) {
        sendText(sender, receiver.localPort(), marker);
        while (awaitEvent(receiver.pollDescriptor(), POLLIN, 200)) {
            const int size = receiver.recv(text.data(), 2000, MSG_DONTWAIT);
            if (size <= 0)
                break;
            if (text.compare(0, static_cast<std::size_t>(size), marker) == 0)
                return true;
        }
    }
    return false;
}

/// Sockets of all kinds, plain and with queues.
struct Sockets {
    DtInetUdpSocket plain{loopback(DtInetUdp), 0, nullptr, theDtInetSockDefaultOptions, true};
    DtInetUdpSocket queued{loopback(DtInetUdp), 0, nullptr, theDtInetSockDefaultOptions | theQueues,
                           true};
    DtDisSocket dis{
        loopback(DtInetUdp), 0, nullptr, theDtInetSockDefaultOptions | theQueues, true, true};
    Connection tcp{theAsync, theBlocking};

    bool closeAll() {
        const bool closed = plain.closeSocket() && queued.closeSocket() && dis.closeSocket();
        return tcp.client.closeSocket() && tcp.accepted.closeSocket() &&
               tcp.server.socket.closeSocket() && closed;
    }

    void expectToWork() {
        EXPECT_TRUE(isReached(plain, queued));
        EXPECT_TRUE(isReached(queued, plain));
        EXPECT_TRUE(isReached(tcp.accepted, tcp.client));
        EXPECT_TRUE(isReached(tcp.client, tcp.accepted));
    }
};

TEST(ForkTest, AChildClosesSocketsThatItsParentGoesOnWith) {
    auto sockets = std::make_unique<Sockets>();
    sockets->expectToWork();
    sockets->dis.setBundling(1400, 0, 0, false);
    {
        const auto flood = [](auto& socket, unsigned short port) {
            return [&socket, port] { sendText(socket, port); };
        };
        const unsigned short port = sockets->plain.localPort();
        const BusyThreads busy({flood(sockets->plain, sockets->queued.localPort()),
                                flood(sockets->queued, port), flood(sockets->dis, port),
                                [&] { sockets->queued.setDestination(loopback(DtInetTcp)); }});
        for (int i = 0; i < theForks; ++i)
            EXPECT_TRUE(childEnds([&] {
                const bool closed = sockets->closeAll();
                sockets.reset();
                return closed;
            }));
    }
    sockets->expectToWork();
    EXPECT_EQ(sockets->tcp.client.state(), DtInetSockConnected);
}

/// A child that lives on does not keep the ports of sockets that it has closed, and may use them.
/// Sanitizers have locks of their own that a fork may catch, so there its thread stays the only
/// one.
TEST(ForkTest, AClosedSocketIsAChildsOwnWhenItOpensItAgain) {
    Sockets sockets;
    const unsigned short port = sockets.queued.localPort();
    Gate closed, free;
    Child child([&] {
        sockets.closeAll();
        closed.open();
        free.pass();
        DtInetUdpSocket& again = theBuildIsSanitized ? sockets.plain : sockets.queued;
        return again.openSocket() && isReached(again, again) ? 0 : 1;
    });
    closed.pass();
    sockets.queued.closeSocket();
    {
        DtInetUdpSocket alone(loopback(DtInetUdp, port), 0, nullptr, DtInetSockReceive, true);
        EXPECT_GE(alone.descriptor(), 0) << alone.getLastErrorString();
    }
    free.open();
    EXPECT_EQ(child.wait(), 0);
}

/// A bundle that waits is its parent's to send.
TEST(ForkTest, AChildSendsNoBundlesOfItsParent) {
    Sockets sockets;
    sockets.dis.setMaxBundleSize(1400);
    sockets.dis.setBundling(1400, 0, 0, false);
    sendText(sockets.dis, sockets.plain.localPort());
    EXPECT_TRUE(childEnds([&] { return sockets.closeAll(); }));
    char bytes[300];
    EXPECT_EQ(sockets.plain.recv(bytes, sizeof bytes, MSG_DONTWAIT), 0);
    EXPECT_EQ(sockets.dis.flush(), 1);
    EXPECT_EQ(sockets.plain.recv(bytes, sizeof bytes, 0), static_cast<int>(theText.size()));
}

// -------------------------------------------------------------------------------------------

TEST(ForkTest, AChildLetsGoOfAQueueThatItsParentGoesOnWith) {
    for (const bool dropOldest : {false, true}) {
        auto queue = std::make_unique<TestQueue>(4096, TestQueue::InSegment);
        auto writer = queue->open<Writer>(true, dropOldest);
        auto reader = queue->open<Reader>(false, dropOldest);
        {
            const BusyThreads busy({[&] {
                                        char text[8] = "text";
                                        writer->Write(text, 8);
                                    },
                                    [&] {
                                        char text[8];
                                        int status = 0;
                                        reader->Read(text, 8, &status);
                                    }});
            for (int i = 0; i < theForks; ++i)
                EXPECT_TRUE(childEnds([&] {
                    reader.reset();
                    writer.reset();
                    queue.reset();
                    return true;
                }));
            writer->setGoAway(1);  // for a reader that waits
        }
        EXPECT_EQ(writer->failedCount(), 0u);
        EXPECT_EQ(queue->follow().fault, "");
    }
}

TEST(ForkTest, AChildLetsGoOfAPacketClientThatItsParentGoesOnWith) {
    const ServerDirectory directory;
    ScriptedServer server;
    Gate childEnded;
    Child process([&] {
        server.serve();
        childEnded.pass();
        const auto request = server.next<DtCsControlReqRecord>();
        server.writePacket("packet", 0);
        return request.request == DtCsAskState ? 0 : 1;
    });
    auto client = std::make_unique<DtPacketServerClient>();
    ASSERT_TRUE(client->connect(ServerDirectory::theKey)) << client->lastError();
    EXPECT_TRUE(childEnds([&] {
        client.reset();
        return true;
    }));
    childEnded.open();
    EXPECT_TRUE(client->requestState());
    char packet[6];
    int length = 0;
    EXPECT_EQ(client->receive(packet, sizeof packet, length, 20), DtPacketReceived);
    EXPECT_EQ(process.wait(), 0);
}

// -------------------------------------------------------------------------------------------

std::string descriptorsOfAProgram() {
    return runToEnd({"/bin/ls", "/proc/self/fd"}).out;
}

TEST(ForkTest, AProgramStartedByExecInheritsNothing) {
    const std::string before = descriptorsOfAProgram();
    const TemporaryFolder folder;
    DtFilePrinter log(folder.path("run.log").c_str());
    log.resetFile(folder.path("other.log").c_str());
    Sockets sockets;
    sockets.expectToWork();  // asks for descriptors for event loops
    sockets.dis.pollDescriptor();
    const TestQueue queue(1024, TestQueue::InSegment);
    const ServerDirectory directory;
    ScriptedServer server;
    const Child process([&] {
        server.serve();
        pause();
        return 0;
    });
    DtPacketServerClient client;
    EXPECT_TRUE(client.connect(ServerDirectory::theKey)) << client.lastError();
    EXPECT_GE(client.pollDescriptor(), 0);
    EXPECT_EQ(descriptorsOfAProgram(), before);
}

}  // namespace
}  // namespace OrynRti::Tests
