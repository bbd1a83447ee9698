#include <arpa/inet.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include "PacketServerClient.h"
#include "support/Notifications.h"
#include "transport/PacketServerScript.h"

using namespace OrynRti;
using namespace OrynRti::Tests;
using testing::HasSubstr;

namespace {

constexpr int theKey = ServerDirectory::theKey;

/// A client whose server is a child process that plays what the test gives it, and ends well
/// when it has; the client's options are small and quick.
class PacketServerClient : public testing::Test {
protected:
    PacketServerClient() {
        options.queueSize_bytes = 4096;
        options.timeout_s = 5;
    }

    /// The server is there when this returns.
    template <typename Play>
    void startServer(Play play) {
        auto listening = std::make_shared<ScriptedServer>();
        child = std::make_unique<Child>([&] {
            try {
                play(*listening);
            } catch (const std::exception& problem) {
                std::fprintf(stderr, "server: %s\n", problem.what());
                return 1;
            }
            return 0;
        });
    }

    bool connect() { return client.connect(theKey, options); }

    std::string error() const { return client.lastError().c_str(); }

    /// The next packet, or the number of another outcome.
    std::string receive(double timeout_s = 5) {
        char bytes[64];
        int length = -1;
        const DtPacketOutcome outcome =
            client.receive(bytes, sizeof bytes, length, timeout_s, &sender);
        return outcome == DtPacketReceived
                   ? std::string(bytes, static_cast<size_t>(std::min<int>(length, sizeof bytes)))
                   : std::to_string(outcome);
    }

    ServerDirectory directory;
    DtPacketServerClientOptions options;
    DtPacketServerClient client;
    DtInetEndpoint sender;
    std::unique_ptr<Child> child;
    Gate gate;
};

std::string numberOf(DtPacketOutcome outcome) {
    return std::to_string(outcome);
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Connecting

TEST_F(PacketServerClient, GetsPacketsWithTheirSendersAndCountsWhatIsMissing) {
    startServer([](ScriptedServer& server) {
        server.serve();
        server.writePacket("one", 0);
        server.writePacket("", 1);
        server.writePacket("thirteen char", 4);
        server.writePacket(std::string(100, 'x'), 5);
    });
    EXPECT_FALSE(client.isConnected());
    ASSERT_TRUE(connect()) << error();
    EXPECT_EQ(receive(), "one");
    EXPECT_EQ(sender.toDtString(), DtString("127.0.0.1:4711"));
    EXPECT_EQ(receive(), "");
    EXPECT_EQ(receive(), "thirteen char");
    int length = 0;
    EXPECT_EQ(client.receive(nullptr, 0, length, 5.0), DtPacketReceived);
    EXPECT_EQ(length, 100);
    EXPECT_EQ(client.statistics().read, 4u);
    EXPECT_EQ(client.statistics().missed, 2u);
    EXPECT_EQ(receive(0), numberOf(DtPacketNone));
    EXPECT_EQ(child->wait(), 0);
}

TEST_F(PacketServerClient, AsksForItsFiltersAndGroupsBeforeItIsReady) {
    startServer([](ScriptedServer& server) {
        server.attach(server.next<DtCsAddClientRecord>());
        server.write(DtCsStateReturnRecord());
        server.write(server.stateOfClient());
        const struct {
            int test;
            int action;
            uint32_t value;
        } expected[] = {{1, DtCsAcceptOnly, 3},
                        {1, DtCsAddValue, 9},
                        {2, DtCsAcceptOnly, 0},
                        {2, DtCsRemoveValue, 0},
                        {3, DtCsReject, htonl(0x0a000001)}};
        for (const auto& one : expected) {
            const auto filter = server.next<DtCsFilterRecord>();
            if (filter.test != one.test || filter.action != one.action ||
                filter.value != one.value || filter.clientId != 5)
                throw std::runtime_error("wrong filter for test " + std::to_string(one.test));
        }
        const auto group = server.next<DtCsMulticastReqRecord>();
        const auto ready = server.next<DtCsAckRecord>();
        const auto cleared = server.next<DtCsFilterRecord>();
        const auto left = server.next<DtCsMulticastReqRecord>();
        const auto leave = server.next<DtCsControlReqRecord>();
        if (group.address != htonl(0xef010203) || group.request != DtCsJoinGroup ||
            ready.code != DtCsReady || cleared.action != DtCsPassAll ||
            left.request != DtCsLeaveGroup || leave.request != DtCsLeave || leave.clientId != 5)
            throw std::runtime_error("wrong requests");
    });
    const unsigned int exercises[] = {9, 3, 9};
    const unsigned int senders[] = {0x0a000001};
    EXPECT_TRUE(client.setFilter(DtCsTestExerciseId, DtPduAcceptListed, 3, exercises));
    EXPECT_TRUE(client.setFilter(DtCsTestPduKind, DtPduAcceptListed, 0, nullptr));
    EXPECT_TRUE(client.setFilter(DtCsTestSender, DtPduRejectListed, 1, senders));
    EXPECT_TRUE(client.joinGroup(DtInetAddr("239.1.2.3")));
    EXPECT_TRUE(client.joinGroup(DtInetAddr("239.1.2.3")));
    ASSERT_TRUE(connect()) << error();
    EXPECT_TRUE(client.clearFilter(DtCsTestExerciseId));
    EXPECT_TRUE(client.leaveGroup(DtInetAddr("239.1.2.3")));
    client.close();
    EXPECT_EQ(child->wait(), 0);
}

TEST_F(PacketServerClient, RefusesWishesThatNoServerCanServe) {
    const unsigned int large[] = {256};
    EXPECT_FALSE(client.setFilter(DtCsTestPduKind, DtPduAcceptListed, 1, large));
    EXPECT_FALSE(client.setFilter(DtCsTestPduKind, DtPduAcceptListed, 1, nullptr));
    EXPECT_FALSE(client.setFilter(DtCsTestPduKind, DtPduAcceptListed, -1, large));
    EXPECT_FALSE(client.clearFilter(static_cast<DtCsFilterTest>(4)));
    std::vector<unsigned int> many(257);
    for (unsigned int i = 0; i < many.size(); ++i)
        many[i] = i;
    EXPECT_FALSE(client.setFilter(DtCsTestSender, DtPduAcceptListed, 257, many.data()));
    EXPECT_TRUE(client.setFilter(DtCsTestSender, DtPduAcceptListed, 256, many.data()));
    EXPECT_FALSE(client.joinGroup(DtInetAddr("192.0.2.1")));
    EXPECT_FALSE(client.joinGroup(DtInetAddr("ff02::5")));
    for (unsigned int i = 0; i < 33; ++i)
        EXPECT_EQ(client.joinGroup(DtInetAddr(0xef000000 + i)), i < 32);
    EXPECT_FALSE(client.requestState());
    EXPECT_EQ(client.pollDescriptor(), -1);
}

TEST_F(PacketServerClient, SaysWhyItIsNotServed) {
    options.timeout_s = 0.05;
    EXPECT_FALSE(client.connect(100000, options));
    EXPECT_THAT(error(), HasSubstr("0 to 99999, not 100000"));
    EXPECT_FALSE(connect());
    EXPECT_EQ(error(), "there is no packet server with key 7");
    {
        const ScriptedServer control(1);
        EXPECT_FALSE(connect());
        EXPECT_THAT(error(), HasSubstr("is internal"));
        const ScriptedServer silent;
        EXPECT_FALSE(connect());
        EXPECT_THAT(error(), HasSubstr("does not answer within 0.05 s"));
        options.queueSize_bytes = 1023;
        EXPECT_FALSE(connect());
        EXPECT_THAT(error(), HasSubstr("1024 to 67108864 bytes, not 1023"));
    }
    EXPECT_FALSE(connect());  // the socket's file is there, but nobody behind it
    EXPECT_EQ(error(), "there is no packet server with key 7");
    EXPECT_EQ(receive(-1), numberOf(DtPacketServerGone));

    options = DtPacketServerClientOptions();
    startServer([](ScriptedServer& server) {
        server.next<DtCsAddClientRecord>();
        const DtCsCliQuotaRecord quota;
        server.answer(&quota, sizeof quota);
        server.attach(server.next<DtCsAddClientRecord>());
        DtCsWarningRecord warning;
        std::memset(warning.text, 'w', sizeof warning.text);
        server.write(warning);
    });
    EXPECT_FALSE(connect());
    EXPECT_THAT(error(), HasSubstr("takes no client now"));
    EXPECT_FALSE(connect());
    EXPECT_THAT(error(), HasSubstr("warns: " + std::string(160, 'w')));
    EXPECT_EQ(child->wait(), 0);
}

TEST_F(PacketServerClient, KeepsItsMemoryToItsUserAndTakesItAlong) {
    for (const bool open : {false, true}) {
        int ids[2] = {-1, -1};
        int modes[2] = {};
        options.allowOthers = open;
        startServer([](ScriptedServer& server) {
            server.serve();
            server.writePacket(server.pool->name().c_str(), 0);
            server.next<DtCsControlReqRecord>();
        });
        ASSERT_TRUE(connect()) << error();
        const DtSharedMemoryPoolClient pool{DtString(receive())};
        const DtShmSemaphores semaphores(pool);
        ids[0] = pool.segmentId();
        ids[1] = semaphores.id();
        shmid_ds segment{};
        semid_ds set{};
        ASSERT_EQ(shmctl(ids[0], IPC_STAT, &segment), 0);
        ASSERT_EQ(semctl(ids[1], 0, IPC_STAT, &set), 0);
        modes[0] = segment.shm_perm.mode & 0777;
        modes[1] = set.sem_perm.mode & 0777;
        EXPECT_EQ(modes[0], open ? 0666 : 0600);
        EXPECT_EQ(modes[1], open ? 0666 : 0600);
        client.close();
        EXPECT_EQ(child->wait(), 0);
        EXPECT_EQ(access(keyFileOf(pool.name()).c_str(), F_OK), -1);
        EXPECT_EQ(semctl(ids[1], 0, IPC_STAT, &set), -1);
    }
}

TEST_F(PacketServerClient, LeavesAlonePoolsThatHaveItsName) {
    const auto play = [](ScriptedServer& server) {
        server.serve();
        server.writePacket(server.pool->name().c_str(), 0);
    };
    startServer(play);
    ASSERT_TRUE(connect()) << error();
    const std::string name = receive();  // it ends in a number that counts up
    const std::string prefix = name.substr(0, name.rfind('-') + 1);
    const int number = std::stoi(name.substr(prefix.size()));
    std::vector<std::unique_ptr<DtSharedMemoryPoolManager>> others;
    for (int i = 1; i <= 5; ++i)
        others.push_back(std::make_unique<DtSharedMemoryPoolManager>(
            DtString(prefix + std::to_string(number + i)), 16 + options.queueSize_bytes));
    startServer(play);
    ASSERT_TRUE(connect()) << error();
    EXPECT_EQ(receive(), prefix + std::to_string(number + 6));
    EXPECT_EQ(child->wait(), 0);  // it was attached to all that is here
    for (const auto& other : others) {
        EXPECT_EQ(other->attachCount(), 1);
        EXPECT_EQ(access(keyFileOf(other->name()).c_str(), F_OK), 0);
    }
}

// -------------------------------------------------------------------------------------------
// Waiting and ending

TEST_F(PacketServerClient, IsWokenInPollForEveryPacketItMayNotHaveSeen) {
    startServer([&](ScriptedServer& server) {
        server.serve();
        for (uint16_t i = 0; i < 50; ++i) {
            gate.pass();
            server.writePacket(std::to_string(i), i);
            const DtCsMsgWaitingRecord waiting;
            if (server.writer->notifyReader() == 0)
                throw std::runtime_error("the client does not wait");
            server.writer->setNotifyReader(0);
            server.answer(&waiting, sizeof waiting);
        }
    });
    ASSERT_TRUE(connect()) << error();
    pollfd waited{client.pollDescriptor(), POLLIN, 0};
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(receive(0), numberOf(DtPacketNone));
        gate.open();
        ASSERT_EQ(poll(&waited, 1, 5000), 1);
        EXPECT_EQ(receive(0), std::to_string(i));
    }
    EXPECT_EQ(child->wait(), 0);
    // The server is gone: the descriptor wakes for that, too.
    std::string outcome = numberOf(DtPacketNone);
    while (outcome == numberOf(DtPacketNone) && poll(&waited, 1, 5000) == 1)
        outcome = receive(0);
    EXPECT_EQ(outcome, numberOf(DtPacketServerGone));
}

TEST_F(PacketServerClient, TellsOfAKilledServerWhenTheQueueIsEmptyAndTakesASuccessor) {
    const auto play = [this](ScriptedServer& server) {
        server.serve();
        server.writePacket("last words", 0);
        gate.open();
        pause();
    };
    for (int servers = 0; servers < 2; ++servers) {
        startServer(play);
        ASSERT_TRUE(connect()) << error();
        gate.pass();
        child->kill();
        EXPECT_EQ(receive(-1), "last words");
        EXPECT_EQ(receive(-1), numberOf(DtPacketServerGone));
        EXPECT_THAT(error(), HasSubstr("key 7 is gone"));
        EXPECT_FALSE(client.isConnected());
    }
    EXPECT_EQ(client.statistics().read, 2u);
}

TEST_F(PacketServerClient, TellsWhyItWasLetGoAfterTheLastPacket) {
    const struct {
        uint16_t notice;
        DtPacketOutcome outcome;
    } cases[] = {{DtCsNowInternal, DtPacketLetGoInternal},
                 {DtCsQuotaExceeded, DtPacketLetGoQuota},
                 {DtCsClosing, DtPacketLetGoClosing},
                 {DtCsPing, DtPacketLetGoClosing}};  // and without a reason
    for (const auto& one : cases) {
        startServer([&](ScriptedServer& server) {
            server.serve();
            server.writePacket("last", 0);
            server.writeNotice(one.notice);
        });
        ASSERT_TRUE(connect()) << error();
        EXPECT_EQ(child->wait(), 0);
        EXPECT_EQ(receive(), "last");
        EXPECT_EQ(receive(), numberOf(one.outcome));
        EXPECT_EQ(receive(), numberOf(one.outcome));
    }
}

TEST_F(PacketServerClient, ReportsTheStateThatItAskedFor) {
    startServer([](ScriptedServer& server) {
        server.serve();
        const auto request = server.next<DtCsControlReqRecord>();
        DtCsStateReturnRecord state;
        state.unbundling = 1;
        state.serverPort = 3000;
        server.write(state);
        DtCsCStateReturnRecord other = server.stateOfClient();
        other.processId += 1;
        server.write(other);
        DtCsCStateReturnRecord mine = server.stateOfClient();
        mine.droppedOldCount = request.request == DtCsAskState ? 3 : 0;
        server.write(mine);
        server.writePacket("next", 0);
    });
    ASSERT_TRUE(connect()) << error();
    EXPECT_FALSE(client.serverUnbundles());
    EXPECT_TRUE(client.requestState());
    EXPECT_EQ(receive(), "next");
    EXPECT_TRUE(client.serverUnbundles());
    EXPECT_EQ(client.serverState().serverPort, 3000u);
    EXPECT_EQ(client.clientState().droppedOldCount, 3u);
    EXPECT_EQ(client.statistics().stateAnswers, 1u);
    EXPECT_EQ(client.statistics().unreadable, 1u);
}

// -------------------------------------------------------------------------------------------
// What lies in the queue may be anything

TEST_F(PacketServerClient, CountsRecordsThatMakeNoSense) {
    startServer([](ScriptedServer& server) {
        server.serve();
        for (const int length : {0, 1, 8, 9, 16, 40})
            for (int kind = 0; kind < 16; ++kind) {
                std::string bytes(static_cast<size_t>(length), '\xff');
                if (length > 0)
                    bytes[0] = static_cast<char>(kind);
                if (length > 8)
                    bytes[1] = theDtCsVersion;
                server.writer->Write(bytes.data(), length);
            }
        server.writePacket("good", 0);
    });
    ASSERT_TRUE(connect()) << error();
    EXPECT_EQ(child->wait(), 0);
    EXPECT_EQ(receive(), "good");
    EXPECT_GT(client.statistics().unreadable, 70u);
    EXPECT_EQ(client.statistics().read, 1u);
}

TEST_F(PacketServerClient, FailsWhenTheQueueIsBroken) {
    const std::function<void(ScriptedServer&)> breakers[] = {
        [](ScriptedServer& server) { std::memset(server.records(), 0xa5, 4096); },
        [](ScriptedServer& server) { server.queue()->front = 0x7ffffff8; },
        [](ScriptedServer& server) { semctl(server.semaphores->id(), 0, IPC_RMID); },
    };
    for (const auto& breakQueue : breakers) {
        CapturedNotifications said;
        startServer([&](ScriptedServer& server) {
            server.serve();
            server.writePacket("before", 0);
            breakQueue(server);
        });
        ASSERT_TRUE(connect()) << error();
        EXPECT_EQ(child->wait(), 0);
        EXPECT_EQ(receive(), numberOf(DtPacketFailed));
        EXPECT_FALSE(client.isConnected());
        EXPECT_EQ(receive(), numberOf(DtPacketFailed));
    }
}

TEST_F(PacketServerClient, DoesNotWaitForALockThatIsNeverGivenBack) {
    startServer([&](ScriptedServer& server) {
        server.serve();
        server.writePacket("behind the lock", 0);
        server.writer->lockFront(true);
        gate.open();
        pause();
    });
    ASSERT_TRUE(connect()) << error();
    gate.pass();
    EXPECT_EQ(receive(0), numberOf(DtPacketNone));
    EXPECT_EQ(receive(0.05), numberOf(DtPacketNone));
    child->kill();  // the system gives the lock back
    EXPECT_EQ(receive(), "behind the lock");
}
