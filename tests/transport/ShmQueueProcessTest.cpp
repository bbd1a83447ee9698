// Queues between processes, some of which are killed.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <thread>
#include <vector>

#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;

namespace {

constexpr int theSize = 2000;
constexpr int theLargest = 1984;

/// An end of a queue in a process that did not create it.
template <typename End>
struct Joined {
    explicit Joined(const TestQueue& queue)
        : pool(queue.pool.name()),
          semaphores(pool),
          end(static_cast<Dt_Shm_Msg_Queue*>(pool.address()), queue.size, semaphores.id(), 0, true,
              false, false) {}

    DtSharedMemoryPoolClient pool;
    DtShmSemaphores semaphores;
    End end;
};

/// A Child that is a thread, for the sanitizer of threads, which sees no other processes.
class ChildThread {
public:
    template <typename Work>
    explicit ChildThread(Work work) : thread_([this, work] { result_ = work(); }) {}

    int wait() {
        thread_.join();
        return result_;
    }

private:
    int result_ = -1;
    std::thread thread_;
};

/// A message that tells its number, with every byte depending on it.
std::vector<char> messageOf(uint32_t number, uint32_t length) {
    std::vector<char> bytes(std::max(length, 8U));
    for (size_t i = 8; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(number * 31 + i);
    const uint32_t head[2] = {number, static_cast<uint32_t>(bytes.size())};
    std::memcpy(bytes.data(), head, 8);
    return bytes;
}

bool write(Writer& writer, const std::vector<char>& message) {
    const auto size = static_cast<int>(message.size());
    return writer.Write(message.data(), size) == size;
}

/// Writes the message of that number, every eighth of any size that fits.
bool writeNumber(Writer& writer, uint32_t number) {
    const uint32_t any = (number + 1) * 2654435761U >> 7;
    return write(writer, messageOf(number, any % (number % 8 == 0 ? theLargest + 1 : 100)));
}

/// The number of the next message; -1 when it is not whole, or there is none.
int64_t readNumber(Reader& reader, int& status) {
    char buffer[theLargest];
    uint32_t head[2] = {0, 0};
    const int length = reader.Read(buffer, theLargest, &status);
    if (length < 8)
        return -1;
    std::memcpy(head, buffer, 8);
    std::vector<char> expected = messageOf(head[0], std::min<uint32_t>(head[1], theLargest));
    expected.resize((expected.size() + 7) / 8 * 8, '\0');
    return std::equal(expected.begin(), expected.end(), buffer, buffer + length) ? head[0] : -1;
}

/// What can be read without waiting, with -1 at the end if something was wrong. Not all of it
/// while somebody goes on writing.
std::vector<int64_t> numbersIn(Reader& reader, bool dropOldest) {
    std::vector<int64_t> numbers;
    for (int status = 0; status == 0 && numbers.size() < 1000;) {
        if (!dropOldest && reader.waitForPacket(0.0) == 0)
            break;
        const int64_t number = readNumber(reader, status);
        if (status != DtShmReadEmpty)
            numbers.push_back(number);
    }
    return numbers;
}

// -------------------------------------------------------------------------------------------

template <typename Peer>
void everyMessageCrossesABlockingQueue(uint32_t count) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto reader = queue.open<Reader>(true, false);
    Peer writer([&] {
        Joined<Writer> joined(queue);
        uint32_t number = 0;
        while (number < count && writeNumber(joined.end, number))
            ++number;
        return number == count ? 0 : 1;
    });
    const uint32_t mostHeld = theSize / 16;
    for (uint32_t i = 0, quiet = 0; i < count; ++i) {
        int status = -1;
        ASSERT_EQ(readNumber(*reader, status), int64_t{i});
        if (i < quiet || i + mostHeld >= count)
            continue;
        quiet = i + 1 + i % 1000;
        while (!queue.isAwaited(0))  // the queue is full then, and the writer sleeps
            std::this_thread::yield();
        queue.expectSound(false);
    }
    EXPECT_EQ(writer.wait(), 0);
    queue.expectSound(false);
}

template <typename Peer>
void everyMessageIsReadOnceOrDropped(uint32_t count) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto writer = queue.open<Writer>(true, true);
    auto* const timesRead = static_cast<std::atomic<uint8_t>*>(
        mmap(nullptr, count, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(timesRead, MAP_FAILED);
    const auto readOn = [&] {
        Joined<Reader> joined(queue);
        int64_t last = -1;
        while (joined.end.goAway() == 0) {
            joined.end.waitForPacket(0.01);
            for (const int64_t number : numbersIn(joined.end, true)) {
                if (number <= last && joined.end.goAway() == 0)
                    return 1;
                if (number >= 0)
                    ++timesRead[last = number];
            }
        }
        return 0;
    };
    Peer one(readOn);
    Peer two(readOn);
    for (uint32_t i = 0; i < count; ++i) {
        ASSERT_TRUE(writeNumber(*writer, i));
        if (i % 100 != 0)
            continue;
        writer->lockFront(true);
        EXPECT_EQ(queue.follow().fault, "");
        writer->unlockFront();
    }
    writer->setGoAway(1);
    EXPECT_EQ(one.wait() + two.wait(), 0);
    writer->setGoAway(0);
    EXPECT_EQ(queue.first(), 1);
    EXPECT_GE(queue.packets(), queue.follow().unread);
    for (const int64_t number : numbersIn(*queue.open<Reader>(false, true), true))
        ++timesRead[number];
    EXPECT_EQ(std::count(timesRead, timesRead + count, 1), count - writer->droppedCount());
    EXPECT_EQ(std::count(timesRead, timesRead + count, 0), writer->droppedCount());
    munmap(timesRead, count);
}

}  // namespace

TEST(ShmQueueProcess, EveryMessageCrossesABlockingQueueUnharmed) {
    everyMessageCrossesABlockingQueue<Child>(1000000);
}

TEST(ShmQueueProcess, EveryMessageIsReadOnceOrDropped) {
    everyMessageIsReadOnceOrDropped<Child>(1000000);
}

TEST(ShmQueueProcess, ThreadsAreAsGoodAsProcesses) {
    everyMessageCrossesABlockingQueue<ChildThread>(20000);
    everyMessageIsReadOnceOrDropped<ChildThread>(20000);
}

// -------------------------------------------------------------------------------------------
// Killed at random

namespace {

/// Whether the oldest is dropped, and whether the writer is killed or a reader.
class ShmQueueKilled : public testing::TestWithParam<std::tuple<bool, bool>> {
protected:
    const bool drops_ = std::get<0>(GetParam());
    const bool writerDies_ = std::get<1>(GetParam());

    int victimsWork(const TestQueue& queue, uint32_t number) {
        int status = 0;
        if (!writerDies_)
            for (Joined<Reader> joined(queue); status == 0 || status == DtShmReadEmpty;)
                joined.end.Read(nullptr, 0, &status);
        else
            for (Joined<Writer> joined(queue); writeNumber(joined.end, number);)
                ++number;
        return 1;
    }

    void expectWholeMessages(Reader& reader) {
        for (const int64_t number : numbersIn(reader, drops_)) {
            ASSERT_GT(number, last_);
            last_ = number;
        }
    }

    /// The survivor must never wait for a peer that is dead.
    void survivorsWork(const TestQueue& queue, uint32_t& number) {
        if (writerDies_)
            return expectWholeMessages(*reader_);
        if (!drops_ && queue.first() < 500)
            return;
        ++number;
        ASSERT_TRUE(write(*writer_, messageOf(number, drops_ ? number % theLargest : 100)));
    }

    void goOnWithoutVictim(const TestQueue& queue) {
        EXPECT_TRUE(!drops_ || queue.first() == 1) << "the lock did not come back";
        EXPECT_TRUE(!drops_ || queue.follow().fault.empty());
        if (!drops_ || writerDies_) {
            writer_ = queue.open<Writer>(!drops_, drops_);
            EXPECT_GE(queue.packets(), queue.follow().unread);
        }
        EXPECT_EQ(queue.follow().fault, "");
    }

    std::unique_ptr<Writer> writer_;
    std::unique_ptr<Reader> reader_;
    int64_t last_ = -1;
};

INSTANTIATE_TEST_SUITE_P(ShmQueue, ShmQueueKilled,
                         testing::Combine(testing::Bool(), testing::Bool()));

}  // namespace

TEST_P(ShmQueueKilled, SurvivorsWorkOnAndNothingIsLeft) {
    DtString name;
    key_t key = 0;
    {
        const TestQueue queue(theSize, TestQueue::InSegment);
        name = queue.pool.name();
        key = queue.pool.key();
        writer_ = queue.open<Writer>(true, drops_);
        reader_ = queue.open<Reader>(false, drops_);
        std::mt19937 random(1);
        for (uint32_t round = 1; round <= 120 && !HasFailure(); ++round) {
            uint32_t number = round * 1000000;
            Child victim([&] { return victimsWork(queue, number); });
            const auto end =
                std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 3000);
            while (std::chrono::steady_clock::now() < end && !HasFailure())
                survivorsWork(queue, number);
            victim.kill();
            goOnWithoutVictim(queue);
            number = round * 1000000 + 999999;
            EXPECT_TRUE(writeNumber(*writer_, number));
            expectWholeMessages(*reader_);
            EXPECT_EQ(last_, int64_t{number}) << "round " << round;
        }
        EXPECT_NE(remainsOf(name, key), "");
    }
    EXPECT_EQ(remainsOf(name, key), "");
}

// -------------------------------------------------------------------------------------------
// Frozen in mid-call: what is in shared memory then is what a kill leaves there.

namespace {

/// Runs `act` in a process of its own, one instruction at a time, and `look` between any two.
/// False when this system does not let us.
template <typename Act, typename Look>
bool singleStep(Act act, Look look) {
    Child child([&] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            return 1;
        raise(SIGSTOP);
        act();
        return raise(SIGSTOP);
    });
    int status = 0;
    const auto stopped = [&] {
        return waitpid(child.pid(), &status, 0) == child.pid() && WIFSTOPPED(status);
    };
    if (!stopped() || WSTOPSIG(status) != SIGSTOP)
        return false;
    do {
        look();
        if (ptrace(PTRACE_SINGLESTEP, child.pid(), nullptr, nullptr) != 0 || !stopped())
            return false;
    } while (WSTOPSIG(status) == SIGTRAP);
    return true;
}

/// A dropping queue one of whose ends is frozen, and a copy for those who go on without it.
struct FrozenQueue {
    /// Some messages written, some of them read.
    void fill() {
        for (int i = static_cast<int>(random() % 12); i >= 0; --i) {
            const uint32_t length = random() % (random() % 3 == 0 ? 260 : 50);
            write(*writer, messageOf(++number, length));
            if (random() % 3 == 0)
                readOne();
        }
    }

    void readOne() const {
        int status = 0;
        reader->Read(nullptr, 0, &status);
    }

    /// What the survivors read, after a new writer has attached. The system gives the lock back.
    std::vector<int64_t> survivorsRead() const {
        std::memcpy(copy.memory.get(), queue.queue, sizeof seen);
        semctl(copy.semaphores->id(), 0, SETVAL, 1);
        semctl(copy.semaphores->id(), 1, SETVAL, queue.packets());
        const auto newWriter = copy.open<Writer>(false, true);
        const auto newReader = copy.open<Reader>(false, true);
        EXPECT_EQ(copy.follow().fault, "");
        EXPECT_GE(copy.packets(), copy.follow().unread);
        const std::vector<int64_t> numbers = numbersIn(*newReader, true);
        EXPECT_TRUE(write(*newWriter, messageOf(7, 280)));
        EXPECT_EQ(numbersIn(*newReader, true), std::vector<int64_t>{7});
        return numbers;
    }

    bool changed() {
        const bool same = std::memcmp(seen, queue.queue, sizeof seen) == 0;
        std::memcpy(seen, queue.queue, sizeof seen);
        return !same;
    }

    TestQueue queue{300, TestQueue::InSegment};
    TestQueue copy{300};
    std::unique_ptr<Writer> writer = queue.open<Writer>(true, true);
    std::unique_ptr<Reader> reader = queue.open<Reader>(false, true);
    std::mt19937 random{3};
    uint32_t number = 0;
    char seen[DtShmMsgQueueManager::segmentSize(300)] = {};
};

/// Whether the frozen end is the writer.
class ShmQueueFrozen : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(ShmQueue, ShmQueueFrozen, testing::Bool());

}  // namespace

TEST_P(ShmQueueFrozen, OthersFindWholeMessagesAndMissOnlyWhatWasReadOrDropped) {
    FrozenQueue frozen;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    for (int round = 1; round <= 15 && std::chrono::steady_clock::now() < end; ++round) {
        frozen.fill();
        const std::vector<int64_t> before = frozen.survivorsRead();
        const std::vector<char> message = messageOf(frozen.number + 1, frozen.random() % 281);
        std::vector<int64_t> possible = before;
        std::vector<int64_t> always = before;
        if (GetParam())
            possible.push_back(++frozen.number);
        const auto look = [&] {
            if (!frozen.changed())
                return;
            const std::vector<int64_t> now = frozen.survivorsRead();
            EXPECT_TRUE(std::includes(possible.begin(), possible.end(), now.begin(), now.end()));
            const auto isMissing = [&](int64_t held) {
                return std::find(now.begin(), now.end(), held) == now.end();
            };
            always.erase(std::remove_if(always.begin(), always.end(), isMissing), always.end());
        };
        const auto act = [&] {
            GetParam() ? void(write(*frozen.writer, message)) : frozen.readOne();
        };
        if (!singleStep(act, look))
            GTEST_SKIP() << "this system does not let processes be single-stepped";
        if (GetParam())
            always.push_back(frozen.number);
        else
            EXPECT_EQ(always.size() + 1, std::max<size_t>(before.size(), 1));
        ASSERT_EQ(frozen.survivorsRead(), always) << "round " << round;
        frozen.writer = frozen.queue.open<Writer>(false, true);
    }
}
