#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include "Exceptions.h"
#include "ShmPool.h"
#include "ShmSemaphores.h"
#include "support/Notifications.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;
using testing::HasSubstr;

namespace {

bool exists(const std::string& path) {
    struct stat found {};
    return lstat(path.c_str(), &found) == 0;
}

template <typename Attempt>
std::string messageOf(Attempt attempt) {
    try {
        attempt();
    } catch (const DtException& problem) {
        return problem.message();
    }
    return "nothing thrown";
}

/// Leaves a pool with semaphores behind, as a program that was killed does.
void leavePoolBehind(const DtString& name, int size) {
    Child killed([&] {
        const DtSharedMemoryPoolManager pool(name, size);
        const DtShmSemaphores semaphores(pool);
        return raise(SIGKILL);
    });
    ASSERT_EQ(killed.wait(), -SIGKILL);
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
    struct stat found {};
    ASSERT_EQ(lstat(path_.c_str(), &found), 0);
    EXPECT_EQ(found.st_size, 0);
    EXPECT_EQ(DtGetShmKeyFromString(name_), key);
}

TEST_F(ShmPool, NamesThatCanHaveNoKeyFileGiveThePrivateKey) {
    DtString cleared(std::string(100, 'x'));
    cleared.clear();
    for (const DtString& name : {DtString(""), cleared, DtString("a/b"), DtString("../tmp/a"),
                                 DtString(std::string(300, 'n'))})
        EXPECT_EQ(DtGetShmKeyFromString(name), 0);
}

TEST_F(ShmPool, KeyFileIsNeverALinkOrADirectory) {
    const std::string target = path_ + "-target";
    std::ofstream(target) << "precious";
    ASSERT_EQ(symlink(target.c_str(), path_.c_str()), 0);
    EXPECT_EQ(DtGetShmKeyFromString(name_), 0);
    std::string text;
    std::ifstream(target) >> text;
    EXPECT_EQ(text, "precious");
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
    struct stat found {};
    ASSERT_EQ(lstat(path_.c_str(), &found), 0);
    EXPECT_EQ(found.st_size, 4);
}

TEST_F(ShmPool, ClientSharesTheManagersSegmentUntilItIsRemoved) {
    {
        const DtSharedMemoryPoolManager manager(name_, 100);
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
        EXPECT_EQ(manager.creatorPid(), getpid());
        EXPECT_EQ(manager.key(), DtGetShmKeyFromString(name_));
    }
    EXPECT_FALSE(exists(path_));
    EXPECT_EQ(messageOf([&] { DtSharedMemoryPoolClient client(name_); }),
              "DtSharedMemoryPoolManager() create has error with shmget: "
              "No such file or directory");
    EXPECT_FALSE(exists(path_));
}

TEST_F(ShmPool, RefusedSegmentThrowsWithTheSystemsText) {
    EXPECT_EQ(messageOf([&] { DtSharedMemoryPoolManager pool(name_, 0); }),
              "DtSharedMemoryPoolManager() create has error with shmget: Invalid argument");
    const DtSharedMemoryPoolManager held(name_, 100);
    EXPECT_EQ(messageOf([&] { DtSharedMemoryPoolManager larger(name_, 101); }),
              "DtSharedMemoryPoolManager() create has error with shmget: Invalid argument");
    EXPECT_EQ(held.size(), 100u);
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
    shmid_ds state{};
    EXPECT_EQ(shmctl(id, IPC_STAT, &state), -1);
}

TEST_F(ShmPool, StaleSegmentOfAnotherSizeIsReplaced) {
    leavePoolBehind(name_, 100);
    CapturedNotifications said;
    const DtSharedMemoryPoolManager pool(name_, 50);
    const DtShmSemaphores pair(pool, false);  // takes the place of the pair left behind
    EXPECT_EQ(pool.size(), 50u);
    EXPECT_EQ(pool.creatorPid(), getpid());
    EXPECT_THAT(said.text(2), HasSubstr("replaced a stale segment"));
}

TEST_F(ShmPool, SegmentOfAnotherLivingProcessIsLeftToIt) {
    const DtSharedMemoryPoolManager held(name_, 100);
    Child other([&] {
        DtSharedMemoryPoolManager same(name_, 60);
        return same.size() == 100 && same.segmentId() == held.segmentId() ? 0 : 1;
    });
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(DtSharedMemoryPoolClient(name_).segmentId(), held.segmentId());
}

TEST_F(ShmPool, RestrictedSegmentHasTheOwnersModeOnly) {
    DtSharedMemoryPoolManager pool(name_, 100);
    shmid_ds state{};
    ASSERT_EQ(shmctl(pool.segmentId(), IPC_STAT, &state), 0);
    EXPECT_EQ(state.shm_perm.mode & 0777, 0666);
    EXPECT_TRUE(pool.restrictToOwner());
    ASSERT_EQ(shmctl(pool.segmentId(), IPC_STAT, &state), 0);
    EXPECT_EQ(state.shm_perm.mode & 0777, 0600);
}

TEST_F(ShmPool, WhatAKilledProgramLeftIsRemovedOnlyWhenNobodyUsesIt) {
    leavePoolBehind(name_, 100);
    {
        const DtSharedMemoryPoolClient user(name_);
        EXPECT_FALSE(DtRemoveStaleSharedMemory(name_));
    }
    const key_t key = ftok(path_.c_str(), 0);
    EXPECT_TRUE(DtRemoveStaleSharedMemory(name_));
    EXPECT_EQ(shmget(key, 0, 0), -1);
    EXPECT_EQ(semget(key, 0, 0), -1);
    EXPECT_FALSE(exists(path_));
    EXPECT_FALSE(DtRemoveStaleSharedMemory(name_));
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
            const std::string problem = messageOf([&] { DtShmSemaphores again(second); });
            return problem == "DtShmSemaphores() create has error with semget: File exists" ? 0 : 2;
        });
        EXPECT_EQ(other.wait(), 0);
        semid_ds state{};
        ASSERT_EQ(semctl(id, 0, IPC_STAT, &state), 0);
        EXPECT_EQ(state.sem_perm.mode & 0777, 0600);
        EXPECT_EQ(semctl(id, 0, GETVAL) + semctl(id, 1, GETVAL), 0);
    }
    EXPECT_EQ(semctl(id, 0, GETVAL), -1);
    EXPECT_THROW(DtShmSemaphores{DtSharedMemoryPoolClient(name_)}, DtException);
}

TEST_F(ShmPool, SemaphoresLeftBehindAreReplaced) {
    leavePoolBehind(name_, 100);
    const DtSharedMemoryPoolManager pool(name_, 100);
    const int old = semget(pool.key(), 0, 0);
    ASSERT_NE(old, -1);
    const DtShmSemaphores semaphores(pool, true);
    EXPECT_EQ(semctl(old, 0, GETVAL), -1);
    semid_ds state{};
    ASSERT_EQ(semctl(semaphores.id(), 0, IPC_STAT, &state), 0);
    EXPECT_EQ(state.sem_perm.mode & 0777, 0666);
}
