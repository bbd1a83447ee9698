// Queues between processes, some of which are killed.
#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <sys/ptrace.h>
#include <thread>

#include "Print.h"
#include "ShmReader.h"
#include "ShmWriter.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;

namespace {

using Reader = DtShmMsgQueueReader;
using Writer = DtShmMsgQueueWriter;

/// Ends of a queue in a process that did not create it.
template <typename End>
struct Joined {
    Joined(const DtString& name, int size, bool lockWait = true)
        : pool(name),
          semaphores(pool),
          end(static_cast<Dt_Shm_Msg_Queue*>(pool.address()), size, semaphores.id(), 0, lockWait,
              false, false) {}

    DtSharedMemoryPoolClient pool;
    DtShmSemaphores semaphores;
    End end;
};

/// A message that tells its number, with every byte depending on it.
std::vector<char> messageOf(uint32_t number, int length) {
    std::vector<char> bytes(static_cast<size_t>(std::max(length, 8)));
    for (size_t i = 8; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(number * 31 + i);
    std::memcpy(bytes.data(), &number, 4);
    const auto size = static_cast<uint32_t>(bytes.size());
    std::memcpy(bytes.data() + 4, &size, 4);
    return bytes;
}

/// The number of a whole message, or -1.
int64_t numberOf(const std::vector<char>& bytes, int length) {
    uint32_t head[2] = {0, 0};
    if (length < 8)
        return -1;
    std::memcpy(head, bytes.data(), 8);
    const auto shown = static_cast<int64_t>(head[1]);
    if ((shown + 7) / 8 * 8 != length)
        return -1;
    std::vector<char> expected = messageOf(head[0], static_cast<int>(shown));
    expected.resize(static_cast<size_t>(length), '\0');
    return std::equal(expected.begin(), expected.end(), bytes.begin()) ? int64_t{head[0]} : -1;
}

/// Writes numbered messages of random lengths; the number of those that failed.
int writeMany(Writer& writer, uint32_t from, uint32_t count, int largest) {
    std::mt19937 random(from);
    int failed = 0;
    for (uint32_t i = from; i < from + count; ++i) {
        const int most = random() % 8 == 0 ? largest : std::min(largest, 100);
        const auto bytes = messageOf(i, static_cast<int>(random() % (most + 1)));
        failed += writer.Write(bytes.data(), static_cast<int>(bytes.size())) < 0 ? 1 : 0;
    }
    return failed;
}

/// Reads what is there without waiting. The numbers must rise; the last one, or -1 for a broken
/// message.
int64_t readAll(Reader& reader, int64_t last) {
    std::vector<char> buffer(4096);
    int status = 0;
    for (int length; (length = reader.Read(buffer.data(), 4096, &status)) >= 0;) {
        const int64_t number = numberOf(buffer, length);
        if (number <= last)
            return -1;
        last = number;
    }
    return status == DtShmReadEmpty ? last : -1;
}

/// Gives a child the time to get somewhere, different each time.
void waitAWhile(std::mt19937& random) {
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
}

const int theSize = 2000;
const int theLargest = 1984;

}  // namespace

TEST(ShmQueueProcess, EveryMessageCrossesABlockingQueueUnharmed) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto reader = queue.open<Reader>(true, false);
    const uint32_t count = 50000;
    Child writer([&] {
        Joined<Writer> joined(queue.pool.name(), theSize);
        return writeMany(joined.end, 0, count, theLargest) == 0 ? 0 : 1;
    });
    std::vector<char> buffer(4096);
    for (uint32_t i = 0; i < count; ++i) {
        int status = -1;
        const int length = reader->Read(buffer.data(), 4096, &status);
        ASSERT_EQ(numberOf(buffer, length), int64_t{i});
    }
    EXPECT_EQ(writer.wait(), 0);
    EXPECT_EQ(queue.view().first(), theSize - queue.view().follow().bytes);
    EXPECT_EQ(queue.view().packets(), 0);
    EXPECT_EQ(queue.view().follow().fault, "");
}

TEST(ShmQueueProcess, ReadersShareWhatADroppingQueueKeeps) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto writer = queue.open<Writer>(true, true);
    const auto readToTheEnd = [&] {
        Joined<Reader> joined(queue.pool.name(), theSize);
        for (int64_t last = 0; joined.end.goAway() == 0;) {
            joined.end.waitForPacket(0.01);
            if (joined.end.goAway() == 0 && (last = readAll(joined.end, last)) < 0)
                return joined.end.goAway() != 0 ? 0 : 1;
        }
        return 0;
    };
    Child one(readToTheEnd);
    Child two(readToTheEnd);
    EXPECT_EQ(writeMany(*writer, 1, 50000, theLargest), 0);
    writer->setGoAway(1);
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    EXPECT_EQ(queue.view().follow().fault, "");
}

TEST(ShmQueueProcess, WriterKilledAnywhereHarmsNobody) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto reader = queue.open<Reader>(true, true);
    std::mt19937 random(1);
    for (uint32_t round = 0; round < 120; ++round) {
        Child writer([&] {
            Joined<Writer> joined(queue.pool.name(), theSize);
            return writeMany(joined.end, round * 1000000 + 1, 999999, theLargest);
        });
        if (random() % 2 == 0)
            reader->waitForPacket(1.0);
        waitAWhile(random);
        if (random() % 2 == 0) {
            ASSERT_GE(readAll(*reader, 0), 0);
        }
        writer.kill();
        ASSERT_EQ(queue.view().follow().fault, "") << "round " << round;
        const auto successor = queue.open<Writer>(false, false);
        ASSERT_EQ(queue.view().follow().fault, "") << "round " << round;
        EXPECT_GE(queue.view().packets(), queue.view().follow().unread);
        const auto bytes = messageOf(round * 1000000 + 1000000, theLargest / 2);
        ASSERT_GT(successor->Write(bytes.data(), static_cast<int>(bytes.size())), 0);
        ASSERT_EQ(readAll(*reader, 0), int64_t{round} * 1000000 + 1000000) << "round " << round;
    }
}

TEST(ShmQueueProcess, ReadersKilledAnywhereHarmNobody) {
    const TestQueue queue(theSize, TestQueue::InSegment);
    const auto writer = queue.open<Writer>(true, true);
    const auto survivor = queue.open<Reader>(false, false);
    std::mt19937 random(2);
    int64_t last = 0;
    for (uint32_t round = 0; round < 120; ++round) {
        Child reader([&] {
            Joined<Reader> joined(queue.pool.name(), theSize);
            for (int status = 0; status == DtShmReadDone || status == DtShmReadEmpty;)
                joined.end.Read(nullptr, 0, &status);
            return 1;
        });
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 3000);
        uint32_t number = round * 1000000;
        while (std::chrono::steady_clock::now() < end)
            ASSERT_EQ(writeMany(*writer, ++number, 1, theLargest), 0);
        reader.kill();
        ASSERT_EQ(queue.view().first(), 1) << "the lock came back, round " << round;
        ASSERT_EQ(writeMany(*writer, ++number, 1, theLargest), 0);
        last = readAll(*survivor, last);
        ASSERT_EQ(last, int64_t{number}) << "round " << round;
        ASSERT_EQ(queue.view().follow().fault, "") << "round " << round;
    }
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

std::vector<int64_t> numbersIn(Reader& reader) {
    std::vector<int64_t> numbers;
    std::vector<char> buffer(4096);
    int status = 0;
    for (int length; (length = reader.Read(buffer.data(), 4096, &status)) >= 0;)
        numbers.push_back(numberOf(buffer, length));
    if (status != DtShmReadEmpty)
        numbers.push_back(-1);
    return numbers;
}

/// Whether all of `part` is in `all`, in this order; both rise.
bool isPart(const std::vector<int64_t>& part, const std::vector<int64_t>& all) {
    return std::includes(all.begin(), all.end(), part.begin(), part.end());
}

/// A dropping queue one of whose ends is frozen, and a copy for those who go on without it.
struct FrozenQueue {
    FrozenQueue() : queue(300, TestQueue::InSegment), copy(300) {
        writer = queue.open<Writer>(true, true);
        reader = queue.open<Reader>(false, true);
        number = static_cast<uint32_t>(random() % 100) + 1;
    }

    /// Single steps are slow, the more so under a sanitizer.
    bool nextRound() {
        return ++round <= 15 && std::chrono::steady_clock::now() < start + std::chrono::seconds(2);
    }

    /// Some messages written, some of them read.
    void fill() {
        for (int i = static_cast<int>(random() % 12); i >= 0; --i) {
            const auto length = static_cast<int>(random() % (random() % 3 == 0 ? 260 : 50));
            const auto bytes = messageOf(++number, length);
            writer->Write(bytes.data(), static_cast<int>(bytes.size()));
            if (random() % 3 == 0)
                readOne();
        }
    }

    void readOne() {
        int status = 0;
        reader->Read(nullptr, 0, &status);
    }

    /// What the survivors read, after a new writer has attached. The system gives the lock back.
    std::vector<int64_t> survivorsRead() {
        std::memcpy(copy.memory.get(), queue.queue, 316);
        semctl(copy.semaphores->id(), 0, SETVAL, 1);
        semctl(copy.semaphores->id(), 1, SETVAL, queue.view().packets());
        const auto newWriter = copy.open<Writer>(false, true);
        const auto newReader = copy.open<Reader>(false, true);
        EXPECT_EQ(copy.view().follow().fault, "");
        EXPECT_GE(copy.view().packets(), copy.view().follow().unread);
        const std::vector<int64_t> numbers = numbersIn(*newReader);
        const auto largest = messageOf(7, 280);
        EXPECT_EQ(newWriter->Write(largest.data(), 280), 280);
        EXPECT_EQ(numbersIn(*newReader), std::vector<int64_t>{7});
        return numbers;
    }

    bool changed() {
        if (std::memcmp(seen, queue.queue, sizeof seen) == 0)
            return false;
        std::memcpy(seen, queue.queue, sizeof seen);
        return true;
    }

    TestQueue queue;
    TestQueue copy;
    std::unique_ptr<Writer> writer;
    std::unique_ptr<Reader> reader;
    std::mt19937 random{3};
    int round = 0;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    uint32_t number = 0;
    char seen[316] = {};
};

}  // namespace

TEST(ShmQueueProcess, MessageIsThereWholeOrNotAtAllWhereverItsWriterStops) {
    FrozenQueue frozen;
    while (frozen.nextRound() && !HasFailure()) {
        frozen.fill();
        const std::vector<int64_t> before = frozen.survivorsRead();
        std::vector<int64_t> with = before;
        with.push_back(frozen.number + 1);
        const auto length = static_cast<int>(frozen.random() % 281);
        std::vector<int64_t> always = before;  // what was there whenever one looked
        const auto look = [&] {
            if (!frozen.changed())
                return;
            const std::vector<int64_t> now = frozen.survivorsRead();
            EXPECT_TRUE(isPart(now, with)) << "round " << frozen.round;
            const auto missing = [&](int64_t held) { return !isPart({held}, now); };
            always.erase(std::remove_if(always.begin(), always.end(), missing), always.end());
        };
        const auto bytes = messageOf(frozen.number + 1, length);
        const auto size = static_cast<int>(bytes.size());
        if (!singleStep([&] { frozen.writer->Write(bytes.data(), size); }, look))
            GTEST_SKIP() << "this system does not let processes be single-stepped";
        always.push_back(frozen.number + 1);
        EXPECT_EQ(frozen.survivorsRead(), always);  // only what was dropped was ever missing
        frozen.number += 1;
        frozen.writer = frozen.queue.open<Writer>(false, true);
    }
}

TEST(ShmQueueProcess, AtMostOneMessageIsLostWhereverItsReaderStops) {
    FrozenQueue frozen;
    while (frozen.nextRound() && !HasFailure()) {
        frozen.fill();
        const std::vector<int64_t> before = frozen.survivorsRead();
        const std::vector<int64_t> after(before.begin() + (before.empty() ? 0 : 1), before.end());
        const auto look = [&] {
            if (!frozen.changed())
                return;
            const std::vector<int64_t> now = frozen.survivorsRead();
            EXPECT_TRUE(now == before || now == after) << "round " << frozen.round;
        };
        if (!singleStep([&] { frozen.readOne(); }, look))
            GTEST_SKIP() << "this system does not let processes be single-stepped";
        EXPECT_EQ(frozen.survivorsRead(), after);
    }
}

// -------------------------------------------------------------------------------------------

TEST(ShmQueueProcess, BlockingQueueIsInitialisedAgainAfterTheLossOfItsWriter) {
    const TestQueue queue(64, TestQueue::InSegment);
    const auto reader = queue.open<Reader>(true, false);
    std::vector<char> buffer(64);
    int status = -1;
    for (const bool killed : {true, false}) {
        Child writer([&] {
            Joined<Writer> joined(queue.pool.name(), 64);
            return writeMany(joined.end, 0, killed ? 1000 : 10, 40);
        });
        for (uint32_t i = 0; i < 10; ++i)
            ASSERT_EQ(numberOf(buffer, reader->Read(buffer.data(), 64, &status)), int64_t{i});
        if (killed) {
            while (semctl(queue.semaphores->id(), 0, GETNCNT) == 0)
                std::this_thread::yield();
            writer.kill();
            queue.open<Reader>(true, false);
        } else {
            EXPECT_EQ(writer.wait(), 0);
        }
    }
}

TEST(ShmQueueProcess, WaitsEndWhenTheSemaphoresAreRemoved) {
    TestQueue queue(64, TestQueue::InSegment);
    queue.open<Reader>(true, false);
    Child blocked([&] {
        DtNotifyLevel = -1;
        Joined<Reader> joined(queue.pool.name(), 64);
        int why = -1;
        return joined.end.Read(nullptr, 0, &why) == -1 && why == DtShmReadGoAway ? 0 : 1;
    });
    while (semctl(queue.semaphores->id(), 1, GETNCNT) == 0)
        std::this_thread::yield();
    queue.semaphores.reset();
    EXPECT_EQ(blocked.wait(), 0);
}
