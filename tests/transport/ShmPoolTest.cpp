#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>
#include <thread>

#include "support/Notifications.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;
using testing::HasSubstr;

namespace {

const std::string theShmgetText = "DtSharedMemoryPoolManager() create has error with shmget: ";

/// Leaves a pool with semaphores behind, as a program that was killed does.
void leavePoolBehind(const DtString& name, int size) {
    Child killed([&] {
        const DtSharedMemoryPoolManager pool(name, size);
        const DtShmSemaphores semaphores(pool);
        return raise(SIGKILL);
    });
    ASSERT_EQ(killed.wait(), -SIGKILL);
}

int modeOfSegment(int id) {
    shmid_ds state{};
    return shmctl(id, IPC_STAT, &state) == 0 ? state.shm_perm.mode & 0777 : -1;
}

int modeOfSemaphores(int id) {
    semid_ds state{};
    return semctl(id, 0, IPC_STAT, &state) == 0 ? state.sem_perm.mode & 0777 : -1;
}

std::string textIn(const std::string& path) {
    std::string text;
    std::ifstream(path) >> text;
    return text;
}

/// A name that nothing is left under, whatever becomes of the test.
class ShmPool : public testing::Test {
protected:
    ~ShmPool() override {
        DtRemoveStaleSharedMemory(name_);
        unlink(path_.c_str());
        rmdir(path_.c_str());
    }

    const DtString name_ = uniquePoolName();
    const std::string path_ = keyFileOf(name_);
};

}  // namespace

TEST_F(ShmPool, KeyIsThatOfAnEmptiedFile) {
    std::ofstream(path_) << "text";
    const key_t key = DtGetShmKeyFromString(name_);
    EXPECT_EQ(key, ftok(path_.c_str(), 0));
    EXPECT_EQ(textIn(path_), "");
    EXPECT_EQ(DtGetShmKeyFromString(name_), key);
}

TEST_F(ShmPool, NameWithoutAKeyFileOfItsOwnGivesThePrivateKey) {
    DtString cleared(std::string(100, 'x'));
    cleared.clear();
    for (const DtString& name : {DtString(""), cleared, DtString("a/b"), DtString("../tmp/a"),
                                 DtString(std::string(300, 'n'))})
        EXPECT_EQ(DtGetShmKeyFromString(name), 0);
    const std::string target = path_ + "-target";
    std::ofstream(target) << "precious";
    ASSERT_EQ(symlink(target.c_str(), path_.c_str()), 0);
    EXPECT_EQ(DtGetShmKeyFromString(name_), 0);
    EXPECT_EQ(textIn(target), "precious");
    unlink(target.c_str());
    unlink(path_.c_str());
    ASSERT_EQ(mkdir(path_.c_str(), 0700), 0);
    EXPECT_EQ(DtGetShmKeyFromString(name_), 0);
}

TEST_F(ShmPool, FileThatMayNotBeWrittenServesAsItIs) {
    std::ofstream(path_) << "text";
    chmod(path_.c_str(), 0444);
    const key_t key = ftok(path_.c_str(), 0);
    Child ordinaryUser([&] {
        if (geteuid() == 0 && setuid(65534) != 0)
            return 2;
        return DtGetShmKeyFromString(name_) == key ? 0 : 1;
    });
    EXPECT_EQ(ordinaryUser.wait(), 0);
    EXPECT_EQ(textIn(path_), "text");
}

TEST_F(ShmPool, ClientSharesTheManagersSegmentUntilItIsRemoved) {
    key_t key = 0;
    {
        DtSharedMemoryPoolManager manager(name_, 100);
        key = manager.key();
        Child other([&] {
            const DtSharedMemoryPoolClient client(name_);
            static_cast<char*>(client.address())[99] = 'c';
            const int attached = 3;  // the manager, what fork() copied of it, and the client
            const bool right = client.size() == 100 && client.attachCount() == attached &&
                               client.creatorPid() == getppid();
            return right ? 0 : 1;
        });
        EXPECT_EQ(other.wait(), 0);
        EXPECT_EQ(static_cast<char*>(manager.address())[99], 'c');
        EXPECT_EQ(manager.attachCount(), 1);
        EXPECT_EQ(key, DtGetShmKeyFromString(name_));
        EXPECT_EQ(modeOfSegment(manager.segmentId()), 0666);
        EXPECT_TRUE(manager.restrictToOwner());
        EXPECT_EQ(modeOfSegment(manager.segmentId()), 0600);
    }
    EXPECT_EQ(problemOf([&] { DtSharedMemoryPoolClient client(name_); }),
              theShmgetText + "No such file or directory");
    EXPECT_EQ(remainsOf(name_, key), "");
}

TEST_F(ShmPool, SegmentInUseIsNeverTouched) {
    EXPECT_EQ(problemOf([&] { DtSharedMemoryPoolManager pool(name_, 0); }),
              theShmgetText + "Invalid argument");
    const DtSharedMemoryPoolManager held(name_, 100);
    EXPECT_EQ(problemOf([&] { DtSharedMemoryPoolManager larger(name_, 101); }),
              theShmgetText + "Invalid argument");
    EXPECT_FALSE(DtRemoveStaleSharedMemory(name_));
    Child other([&] {
        DtSharedMemoryPoolManager same(name_, 60);
        return same.size() == 100 && same.segmentId() == held.segmentId() ? 0 : 1;
    });
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(DtSharedMemoryPoolClient(name_).segmentId(), held.segmentId());
}

TEST_F(ShmPool, WithoutKeyFileTheSegmentIsPrivateAndSaysSo) {
    CapturedNotifications said;
    int id = -1;
    {
        const DtSharedMemoryPoolManager pool("a/b", 100);
        id = pool.segmentId();
        EXPECT_EQ(pool.key(), IPC_PRIVATE);
        static_cast<char*>(pool.address())[99] = 'p';
        EXPECT_THROW(DtSharedMemoryPoolClient("a/b"), DtException);
    }
    EXPECT_EQ(said.text(1),
              "DtSharedMemoryPoolManager: no key file for pool a/b, its segment is private\n");
    EXPECT_EQ(modeOfSegment(id), -1);
}

// -------------------------------------------------------------------------------------------
// After a program that was killed

TEST_F(ShmPool, WhatWasLeftIsTakenOverOrReplaced) {
    for (const int size : {100, 50}) {
        leavePoolBehind(name_, 100);
        CapturedNotifications said;
        const DtSharedMemoryPoolManager pool(name_, size);
        const int old = semget(pool.key(), 0, 0);
        ASSERT_NE(old, -1);
        const DtShmSemaphores semaphores(pool, true);
        EXPECT_EQ(pool.size(), static_cast<size_t>(size));
        EXPECT_THAT(said.text(2), HasSubstr(size == 50 ? "replaced a stale segment" : ""));
        EXPECT_EQ(modeOfSemaphores(old), -1);
        EXPECT_EQ(modeOfSemaphores(semaphores.id()), 0666);
    }
}

TEST_F(ShmPool, WhatWasLeftIsRemovedOnceNobodyUsesIt) {
    leavePoolBehind(name_, 100);
    const key_t key = ftok(path_.c_str(), 0);
    {
        const DtSharedMemoryPoolClient user(name_);
        EXPECT_FALSE(DtRemoveStaleSharedMemory(name_));
    }
    EXPECT_EQ(remainsOf(name_, key), "key file segment semaphores");
    EXPECT_TRUE(DtRemoveStaleSharedMemory(name_));
    EXPECT_EQ(remainsOf(name_, key), "");
    EXPECT_FALSE(DtRemoveStaleSharedMemory(name_));
}

TEST_F(ShmPool, NothingIsLeftWheneverItsCreatorIsKilled) {
    std::mt19937 random(4);
    for (int round = 0; round < 120; ++round) {
        Child creator([&]() -> int {
            for (;;) {
                const DtSharedMemoryPoolManager pool(name_, 100);
                const DtShmSemaphores semaphores(pool);
            }
        });
        // Nothing is waited for: any moment will do.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000));
        creator.kill();
        const key_t key = ftok(path_.c_str(), 0);  // -1 when the file is not there
        DtRemoveStaleSharedMemory(name_);
        ASSERT_TRUE(key == -1 || remainsOf(name_, key).empty()) << remainsOf(name_, key);
    }
}

// -------------------------------------------------------------------------------------------

TEST_F(ShmPool, SemaphoresAreCreatedOnceAndJoinedByClients) {
    const DtSharedMemoryPoolManager pool(name_, 100);
    int id = -1;
    {
        const DtShmSemaphores semaphores(pool);
        id = semaphores.id();
        Child other([&] {
            const DtSharedMemoryPoolClient client(name_);
            if (DtShmSemaphores(client).id() != id)
                return 1;
            const DtSharedMemoryPoolManager second(name_, 100);
            const std::string problem = problemOf([&] { DtShmSemaphores again(second); });
            return problem == "DtShmSemaphores() create has error with semget: File exists" ? 0 : 2;
        });
        EXPECT_EQ(other.wait(), 0);
        EXPECT_EQ(modeOfSemaphores(id), 0600);
        EXPECT_EQ(semctl(id, 0, GETVAL) + semctl(id, 1, GETVAL), 0);
    }
    EXPECT_EQ(modeOfSemaphores(id), -1);
    EXPECT_THROW(DtShmSemaphores{DtSharedMemoryPoolClient(name_)}, DtException);
}
