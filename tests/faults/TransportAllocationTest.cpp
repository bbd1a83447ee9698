// DIS sockets, shared memory and the packet server's client without memory.
#include <boost/asio/ip/udp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>

#include "CliServer.h"
#include "PacketServerClient.h"
#include "faults/Allocations.h"
#include "support/Notifications.h"
#include "transport/DisPdus.h"
#include "transport/PacketServerScript.h"
#include "transport/ShmSupport.h"

namespace OrynRti::Tests {
namespace {

constexpr auto Throws = AllocationCase::Throws;
constexpr auto Forgives = AllocationCase::Forgives;

const std::string thePdu = ofSize(100);
const std::string theDatagram = thePdu + padding(4) + thePdu + padding(4) + thePdu;

void expectToWork(DtDisSocket& socket) {
    const DtInetEndpoint to = udpEndpoint("127.0.0.1", socket.localPort());
    const std::string after = ofSize(40, 'a');
    socket.setMaxBundleSize(0);
    ASSERT_EQ(sendText(socket, after, to), 40) << socket.getLastErrorString();
    std::string text;
    while ((text = receiveText(socket)) == "(-2)" || text == thePdu) {
    }
    EXPECT_EQ(text, after);
}

std::unique_ptr<DtDisSocket> disSocket(bool open = true, bool suppress = false,
                                       unsigned int options = theDtInetSockDefaultOptions) {
    return std::make_unique<DtDisSocket>(udpEndpoint("127.0.0.1"), 0, nullptr, options, open,
                                         suppress);
}

void openAndClose(Attempt& attempt, unsigned int options) {
    const auto socket = disSocket(false, true, options);
    attempt([&] {
        disSocket(true, true, options);
        EXPECT_TRUE(socket->openSocket());
    });
    if (socket->descriptor() >= 0 && socket->disSendSocket()->is_open())
        return;
    EXPECT_LT(socket->descriptor(), 0) << "half open";
    EXPECT_TRUE(socket->openSocket()) << socket->getLastErrorString();
}

const AllocationCase theDisCases[] = {
    {"a DIS socket opens", Throws,
     [](Attempt& attempt) { openAndClose(attempt, theDtInetSockDefaultOptions); }},
    {"one with queues opens", Throws,
     [](Attempt& attempt) { openAndClose(attempt, theAsyncSend | DtInetSockAsyncReceive); }},
    {"a DIS socket bundles, and loses the rest in its destructor", Forgives,
     [](Attempt& attempt) {
         auto socket = disSocket();
         DtInetEndpoint to = udpEndpoint("127.0.0.1", socket->localPort());
         std::string pdu = thePdu;
         socket->setMaxBundleSize(1400);
         attempt([&] {
             for (int i = 0; i < 3; ++i)
                 socket->sendTo(pdu.data(), 100, to, 0);
             socket->flush();
         });
         expectToWork(*socket);
         Attempt ending(Failing::ThisThreadFromThere, 1);
         socket->setMaxBundleSize(1400);
         socket->sendTo(pdu.data(), 100, to, 0);
         ending([&] { socket.reset(); });
     }},
    {"a DIS socket splits", Throws,
     [](Attempt& attempt) {
         const auto socket = disSocket();
         sendText(*socket, theDatagram, udpEndpoint("127.0.0.1", socket->localPort()));
         std::string text(2000, '?');
         attempt([&] {
             for (int i = 0; i < 3; ++i)
                 socket->recv(text.data(), 2000, 0);
         });
         expectToWork(*socket);
     }},
    {"a DIS socket splits in chains", Throws,
     [](Attempt& attempt) {
         Receiver receiver;
         attempt([&] { receiver.receive(theDatagram); });
         while (!receiver.receiveQueued().empty()) {
         }
         EXPECT_EQ(receiver.receiveAll(theDatagram).size(), 3u);
     }},
    {"a DIS socket takes settings", Throws,
     [](Attempt& attempt) {
         const auto socket = disSocket();
         unsigned int values[] = {1, 2, 3};
         attempt([&] {
             socket->addDestination(udpEndpoint("127.0.0.1", 9));
             socket->addDestination(udpEndpoint("127.0.0.1", 10));
             socket->removeDestination(udpEndpoint("127.0.0.1", 9));
             socket->exerciseId().setTest(DtPduRejectListed, 3, values);
             socket->exerciseId().reduceTest(2, values);
         });
         socket->removeDestination(udpEndpoint("127.0.0.1", 9));
         socket->removeDestination(udpEndpoint("127.0.0.1", 10));
         socket->exerciseId().disableTest();
         expectToWork(*socket);
     }},
};

TEST(TransportAllocationTest, DisSocketsOutliveAShortage) {
    if (theContextsLoseMemory)
        GTEST_SKIP() << "an io_context of this Boost loses memory";
    expectSurvival(theDisCases);
}

// -------------------------------------------------------------------------------------------

/// What the test leaves of its segments and semaphores can then be told from those of others.
class TransportAllocationIpcTest : public testing::Test {
protected:
    void SetUp() override {
        if (unshare(CLONE_NEWIPC) != 0)
            GTEST_SKIP() << "a namespace of IPC objects needs root";
    }
};

const AllocationCase theShmCases[] = {
    {"a pool and its queue", Throws,
     [](Attempt& attempt) {
         const DtString name(("pool-" + std::string(100, 'p') + std::to_string(getpid())).c_str());
         attempt([&] {
             const DtSharedMemoryPoolManager manager(name, 2048);
             const DtSharedMemoryPoolClient client(name);
             const DtShmSemaphores semaphores(manager), joined(client);
             auto* const queue = static_cast<Dt_Shm_Msg_Queue*>(manager.address());
             Writer writer(queue, 1024, semaphores.id(), 0, true, true, true);
             Reader reader(queue, 1024, joined.id(), 0, true, false, true);
             char text[8] = "text";
             int status = 0;
             EXPECT_EQ(writer.Write(text, 8), 8);
             EXPECT_EQ(reader.Read(text, 8, &status), 8);
         });
         EXPECT_NE(access(keyFileOf(name).c_str(), F_OK), 0);
     }},
    {"a pool that cannot be", Throws,
     [](Attempt& attempt) {
         attempt([&] {
             EXPECT_NE(problemOf([] { DtSharedMemoryPoolClient("no such pool"); }), "");
             EXPECT_NE(problemOf([] { DtSharedMemoryPoolManager(uniquePoolName(), -1); }), "");
         });
     }},
    {"control messages", Throws,
     [](Attempt& attempt) {
         attempt([] {
             DtCsWarningMsg warning;
             EXPECT_TRUE(warning.setText("text") && warning.text() == "text");
             DtCsAddClientMsg added;
             const auto again = DtCsAddClientMsg::fromRecord(added.data(), added.length());
             EXPECT_TRUE(again.has_value());
             added.insertBytes(3, "text", 4);
         });
     }},
};

TEST_F(TransportAllocationIpcTest, SharedMemoryOutlivesAShortage) {
    CapturedNotifications quiet;
    expectSurvival(theShmCases);
}

/// A server that takes clients until it is killed, and does not mind what becomes of them.
[[noreturn]] int serveForEver(ScriptedServer& server) {
    for (;;) {
        try {
            server.attach(server.next<DtCsAddClientRecord>());
            server.write(DtCsStateReturnRecord());
            server.write(server.stateOfClient());
        } catch (const std::exception&) {  // another request
        } catch (const DtException&) {     // a client that has given up
        }
        server.writer.reset();
        server.semaphores.reset();
        server.pool.reset();
    }
}

TEST_F(TransportAllocationIpcTest, ThePacketServersClientOutlivesAShortage) {
    const ServerDirectory directory;
    ScriptedServer server;
    const Child process([&server] { return serveForEver(server); });
    const AllocationCase clients[] = {
        {"packet client", Throws, [](Attempt& attempt) {
             DtPacketServerClient client;
             char buffer[100];
             int length = 0;
             unsigned int values[] = {1, 2, 3};
             attempt([&] {
                 DtPacketServerClient other;
                 client.setFilter(DtCsTestPduKind, DtPduAcceptListed, 3, values);
                 client.joinGroup(DtInetAddr("239.1.2.3"));
                 client.connect(ServerDirectory::theKey, {});
                 client.receive(buffer, sizeof buffer, length, 0, nullptr);
                 client.close();
             });
             EXPECT_TRUE(client.connect(ServerDirectory::theKey, {})) << client.lastError();
         }}};
    expectSurvival(clients);
}

}  // namespace
}  // namespace OrynRti::Tests
