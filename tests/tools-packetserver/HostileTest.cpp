#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <sys/socket.h>

#include "PoolName.h"
#include "support/Notifications.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnPacketServer {
namespace {

using namespace Tests;
using testing::AllOf;
using testing::HasSubstr;

const std::string theAny = ofSize(28);

template <typename Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// Sends what it likes to one of the server's sockets.
class Sender {
public:
    Sender(const PacketServer& server, int which) {
        char path[theDtRequestPathSize];
        DtPacketServerRequestPath(server.key(), path, which);
        socket_ = DtOpenUnixDgram(path, DtUnixDgramConnect);
    }
    ~Sender() { ::close(socket_); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    void send(const std::string& bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), 0),
                  static_cast<ssize_t>(bytes.size()));
    }

private:
    int socket_;
};

/// The shared memory of a client that does not behave.
struct Memory {
    static constexpr int theSize = 4096;

    explicit Memory(const PacketServer& server, bool initialise = true, bool dropOldest = true)
        : pool(DtString(PoolName::make(server.key(), ::getpid(), 900).c_str()),
               DtShmMsgQueueManager::segmentSize(theSize)),
          semaphores(pool),
          queue(static_cast<Dt_Shm_Msg_Queue*>(pool.address())) {
        if (initialise)
            DtShmMsgQueueManager(queue, theSize, semaphores.id(), 0, true, dropOldest);
    }

    DtCsAddClientRecord request() const {
        DtCsAddClientRecord record;
        record.processId = ::getpid();
        record.queueSize = theSize;
        std::strcpy(record.poolName, pool.name().c_str());
        return record;
    }

    DtSharedMemoryPoolManager pool;
    DtShmSemaphores semaphores;
    Dt_Shm_Msg_Queue* queue;
};

void expectServes(PacketServer& server) {
    Client client(server);
    server.send(theAny);
    EXPECT_EQ(client.next(), theAny);
}

TEST(Hostile, RecordsThatAreNoneAreCounted) {
    PacketServer server;
    Client client(server);
    const DtCsControlReqRecord leave{DtCsControlReq, theDtCsVersion, DtCsLeave,
                                     client.clientState().clientId};
    std::vector<std::string> records = {"",
                                        std::string(1, '\0'),
                                        std::string(2, '\3'),
                                        std::string(70000, 'x'),
                                        bytesOf(leave) + "x",
                                        bytesOf(leave).substr(0, 7),
                                        bytesOf(DtCsClientPacketRecord()),
                                        bytesOf(DtCsServerPacketRecord()),
                                        bytesOf(DtCsNoticeRecord())};
    std::string otherVersion = bytesOf(leave);
    otherVersion[1] = 4;
    records.push_back(otherVersion);
    for (const int which : {DtRequestPathControl, DtRequestPathPackets}) {
        const Sender sender(server, which);
        for (const std::string& record : records)
            sender.send(record);
    }
    client.settle();
    expectServes(server);
    EXPECT_THAT(server.stop().out, HasSubstr("20  that are no records"));
}

TEST(Hostile, ValuesThatMeanNothingAreCountedAndAnsweredWithWarnings) {
    PacketServer server;
    Client client(server);
    const std::uint32_t number = client.clientState().clientId;
    DtCsFilterRecord filter;
    DtCsAckRecord ack;
    DtCsMulticastReqRecord group;
    filter.clientId = ack.clientId = group.clientId = number;
    {
        const Sender sender(server, DtRequestPathPackets);
        const auto sendFilter = [&](int test, int action, std::uint32_t value) {
            filter.test = static_cast<std::uint8_t>(test);
            filter.action = static_cast<std::uint8_t>(action);
            filter.value = value;
            sender.send(bytesOf(filter));
        };
        sendFilter(4, DtCsReject, 1);
        sendFilter(DtCsTestPduKind, 5, 1);
        sendFilter(DtCsTestPduKind, DtCsReject, 256);
        ack.code = 9;
        sender.send(bytesOf(ack));
        group.request = 2;
        sender.send(bytesOf(group));
        group.request = DtCsJoinGroup;
        group.address = htonl(INADDR_LOOPBACK);
        sender.send(bytesOf(group));
        // Figures are no packets: whoever gets packets does not get them.
        DtCsControlReqRecord figures;
        figures.request = DtCsAskFigures;
        figures.clientId = number;
        sender.send(bytesOf(figures));
    }
    CapturedNotifications said;
    client.settle();
    EXPECT_EQ(client.statistics().warnings, 7u);
    EXPECT_EQ(client.clientState().filterCount, 0);
    expectServes(server);
    EXPECT_THAT(server.stop().out, AllOf(HasSubstr("6  with values that mean nothing"),
                                         HasSubstr("1  for multicast groups")));
}

TEST(Hostile, ASenderTestHasNoMoreValuesThanItMay) {
    PacketServer server;
    Client client(server);
    const Sender sender(server, DtRequestPathPackets);
    DtCsFilterRecord filter;
    filter.test = DtCsTestSender;
    filter.clientId = client.clientState().clientId;
    CapturedNotifications said;
    for (std::uint32_t i = 0; i < 300; ++i) {
        filter.action = i == 0 ? DtCsReject : DtCsAddValue;
        filter.value = i;
        sender.send(bytesOf(filter));
    }
    client.settle();
    EXPECT_EQ(client.statistics().warnings, 44u);
    server.send(theAny);
    EXPECT_EQ(client.next(), theAny);
}

TEST(Hostile, NobodyIsAddedWithSharedMemoryThatIsNotItsOwn) {
    PacketServer server;
    Client client(server);
    Child other([&] {
        Client its(server);
        for (;;)
            its.next();
        return 0;
    });
    const auto poolOf = [&](pid_t process, int number) {
        return PoolName::make(server.key(), process, static_cast<unsigned int>(number));
    };
    const Memory memory(server);
    DtCsAddClientRecord request = memory.request();
    const Sender sender(server, DtRequestPathPackets);
    const std::string names[] = {"",
                                 "../../etc/passwd",
                                 "rtiqn-packets-1-1-1",
                                 poolOf(::getpid(), 899),  // there is none
                                 poolOf(::getpid(), 1),    // another client has it
                                 poolOf(::getpid(), 1) + "/../x",
                                 poolOf(other.pid(), 1),
                                 std::string(160, 'x')};
    for (const std::string& name : names) {
        std::memset(request.poolName, 0, sizeof request.poolName);
        name.copy(request.poolName, sizeof request.poolName);
        sender.send(bytesOf(request));
    }
    request = memory.request();
    request.queueSize = 2 * Memory::theSize;  // more than there is
    sender.send(bytesOf(request));
    request = memory.request();
    for (const int size : {0, -1, 1023, 67108865, 2147483647, -2147483647}) {
        request.queueSize = size;
        sender.send(bytesOf(request));
    }
    request = memory.request();
    request.clientType = 7;
    sender.send(bytesOf(request));
    request = memory.request();
    request.processId = other.pid();
    sender.send(bytesOf(request));
    client.settle();
    EXPECT_LE(client.serverState().packetClients, 2);
    other.kill();
    expectServes(server);
    EXPECT_THAT(server.stop().out,
                AllOf(HasSubstr("9  to be added with shared memory that is not as it should be"),
                      HasSubstr("7  with values that mean nothing"),
                      HasSubstr("1  in the name of another process")));
}

TEST(Hostile, NobodyIsAddedWithAQueueThatMakesNoSense) {
    PacketServer server;
    const Sender sender(server, DtRequestPathPackets);
    for (const bool initialised : {false, true}) {
        const Memory memory(server, initialised, false);  // one that waits when it is full
        sender.send(bytesOf(memory.request()));
        expectServes(server);
    }
    EXPECT_THAT(server.stop().out, HasSubstr("2  to be added with shared memory"));
}

TEST(Hostile, RequestsForOthersAndOnTheWrongSocketAreRefused) {
    PacketServer server;
    Client client(server);
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    Child other([&] {
        Client its(server);
        const std::uint32_t number = its.clientState().clientId;
        for (; ::write(ready[1], &number, sizeof number) > 0; its.next()) {
        }
        return 0;
    });
    DtCsControlReqRecord request;
    ASSERT_EQ(::read(ready[0], &request.clientId, sizeof request.clientId), 4);
    request.request = DtCsLeave;
    const Sender packets(server, DtRequestPathPackets), control(server, DtRequestPathControl);
    packets.send(bytesOf(request));
    control.send(bytesOf(request));
    request.clientId = 4711;
    packets.send(bytesOf(request));
    request.request = DtCsStop;
    packets.send(bytesOf(request));
    request.request = 99;
    control.send(bytesOf(request));
    const Memory memory(server);
    DtCsAddClientRecord add = memory.request();
    control.send(bytesOf(add));
    add.clientType = DtCsControlClient;
    packets.send(bytesOf(add));
    client.settle();
    EXPECT_EQ(client.serverState().packetClients, 2);
    other.kill();
    EXPECT_THAT(server.stop().out, AllOf(HasSubstr("2  in the name of another process"),
                                         HasSubstr("1  for clients that are not there"),
                                         HasSubstr("3  on the wrong socket"),
                                         HasSubstr("1  with values that mean nothing")));
    ::close(ready[0]);
    ::close(ready[1]);
}

/// What a client can do to its queue harms it alone.
TEST(Hostile, AQueueThatIsChangedBehindTheServersBackHoldsNothingUp) {
    PacketServer server;
    Client client(server);
    Memory memory(server);
    const Sender sender(server, DtRequestPathPackets);
    sender.send(bytesOf(memory.request()));
    DtShmMsgQueueReader reader(memory.queue, Memory::theSize, memory.semaphores.id(), 0, true,
                               false, true);
    DtCsCStateReturnRecord state;
    char record[256];
    for (int status = 0, length = 0; !DtCsReadRecord(record, length, state);
         length = reader.Read(record, sizeof record, &status))
        reader.waitForPacket(Client::theLongTime_s);
    DtCsAckRecord ready;
    ready.clientId = state.clientId;
    sender.send(bytesOf(ready));
    client.settle();

    const auto serveSome = [&] {
        for (int i = 0; i < 200; ++i) {
            server.send(theAny);
            ASSERT_EQ(client.next(), theAny);
        }
    };
    memory.queue->blockingWrite = 1;
    memory.queue->dropOldest = 0;
    serveSome();
    reader.lockFront(true);
    serveSome();
    std::memset(memory.queue + 1, 0xFF, Memory::theSize);
    reader.unlockFront();
    serveSome();
    memory.queue->front = 0xFFFFFFF8;
    serveSome();
    EXPECT_THAT(server.stop().out, HasSubstr("records not written"));
}

}  // namespace
}  // namespace RtiqnPacketServer
