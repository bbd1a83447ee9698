#include <cmath>
#include <deque>
#include <gmock/gmock.h>
#include <random>
#include <thread>

#include "support/Notifications.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;
using testing::HasSubstr;

namespace {

constexpr bool theBlocking = false;
constexpr bool theDropOldest = true;

/// `text` filled up with zeros to a multiple of 8, as it comes back.
std::string padded(std::string text) {
    text.resize((text.size() + 7) / 8 * 8, '\0');
    return text;
}

using Result = std::pair<std::string, int>;

Result failed(int status) {
    return {"failed", status};
}

/// The first `size` bytes of a message, and the status.
Result readFrom(Reader& reader, int size = 32767) {
    std::vector<char> buffer(static_cast<size_t>(size));
    int status = -1;
    const int length = reader.Read(buffer.data(), size, &status);
    if (length < 0)
        return failed(status);
    return {std::string(buffer.data(), static_cast<size_t>(length)), status};
}

int writeTo(Writer& writer, const std::string& text) {
    return writer.Write(text.data(), static_cast<int>(text.size()));
}

/// A queue with its two ends, initialised by the writer, with messages in it.
struct Ends : TestQueue {
    Ends(int areaSize, bool dropOldest, const std::vector<std::string>& messages = {})
        : TestQueue(areaSize),
          writer(open<Writer>(true, dropOldest)),
          reader(open<Reader>(false, dropOldest)) {
        for (const std::string& message : messages)
            writeTo(*writer, message);
    }

    std::unique_ptr<Writer> writer;
    std::unique_ptr<Reader> reader;
};

class ShmQueueOfBothKinds : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(ShmQueue, ShmQueueOfBothKinds, testing::Bool(), nameOfKind);

/// What a blocking write will wait for.
int bytesTaken(int length, int at, int size) {
    const int need = (length + 7) / 8 * 8 + 16;
    if (need <= size - at)
        return need;
    return need <= at ? need + size - at : size;
}

/// Random steps on a queue, each held against a list of the messages that must be there.
struct ModelRun {
    ModelRun(int size, bool dropOldest) : ends(size, dropOldest), drops(dropOldest) {}

    void step() {
        const int largest = (ends.size - 16) / 8 * 8;
        if (random() % 2 == 0)
            write(std::min<int>(random() % (random() % 4 == 0 ? largest + 1 : 24), largest));
        else
            read();
        if (random() % 50 == 0)
            ends.writer = ends.open<Writer>(false, !drops);  // its wish does not count
        ends.expectSound(drops);
    }

    void write(int length) {
        const int taken = bytesTaken(length, ends.follow().end, ends.size);
        if (!drops && ends.first() < taken)
            return;  // it would wait
        const std::string text(static_cast<size_t>(length), static_cast<char>('a' + random() % 26));
        const int split = length / 3;
        const char* const pieces[] = {text.data(), nullptr, text.data() + split};
        const int lengths[] = {split, 0, length - split};
        const uint64_t droppedBefore = ends.writer->droppedCount();
        ASSERT_EQ(ends.writer->Writev(pieces, lengths, 3), length);
        const auto dropped = static_cast<int>(ends.writer->droppedCount() - droppedBefore);
        EXPECT_LE(dropped, taken / 8 + 1) << "more than lay in the way";
        held.erase(held.begin(), held.begin() + dropped);
        held.push_back(padded(text));
    }

    void read() {
        if (held.empty()) {
            EXPECT_EQ(ends.reader->waitForPacket(0.0), 0);
            return;
        }
        const int size = random() % 3 == 0 ? 20 : 32767;
        ASSERT_EQ(readFrom(*ends.reader, size), Result(held.front().substr(0, size), 0));
        held.pop_front();
        EXPECT_EQ(ends.reader->readCount(), ++reads);
    }

    Ends ends;
    bool drops;
    std::mt19937 random{static_cast<unsigned int>(ends.size)};
    std::deque<std::string> held;
    uint64_t reads = 0;
};

}  // namespace

// -------------------------------------------------------------------------------------------
// Writing and reading

TEST_P(ShmQueueOfBothKinds, HoldsWhatAModelHoldsAfterEveryStep) {
    for (const int size : {16, 24, 40, 100, 101, 128, 255, 1000, 32767}) {
        ModelRun run(size, GetParam());
        for (int i = 0; i < 2000 && !HasFailure(); ++i)
            run.step();
    }
}

TEST_P(ShmQueueOfBothKinds, CallsThatMakeNoSenseTouchNothing) {
    Ends ends(104, GetParam(), {"a", "b"});
    const char* pieces[] = {"a", "b"};
    const int negative[] = {4, -1};
    const int enormous[] = {0x7FFFFFFF, 0x7FFFFFFF};
    EXPECT_EQ(writeTo(*ends.writer, std::string(89, 'x')), -1);
    EXPECT_EQ(ends.writer->Write("x", -1), -1);
    EXPECT_EQ(ends.writer->Writev(pieces, negative, 2), -1);
    EXPECT_EQ(ends.writer->Writev(pieces, enormous, 2), -1);
    EXPECT_EQ(ends.writer->Writev(pieces, enormous, -1), -1);
    EXPECT_EQ(ends.writer->Write(nullptr, 1), -1);
    EXPECT_EQ(ends.writer->failedCount(), 6u);
    EXPECT_EQ(ends.writer->writtenCount(), 2u);
    char buffer[8];
    int status = -1;
    EXPECT_EQ(ends.reader->Read(buffer, 8, nullptr), -1);
    ends.expectSound(GetParam());
    EXPECT_EQ(ends.reader->Read(buffer, -1, &status), 0);
    EXPECT_EQ(ends.reader->Read(nullptr, 8, &status), 0);
    EXPECT_EQ(ends.reader->readCount(), 2u);
}

TEST(ShmQueue, DropsNothingWithoutTheLock) {
    Ends ends(64, theDropOldest, {"first", "second"});
    const auto impatientWriter = ends.open<Writer>(false, false, false);
    const auto impatientReader = ends.open<Reader>(false, false, false);
    ASSERT_EQ(ends.reader->lockFront(true), 0);
    EXPECT_EQ(writeTo(*impatientWriter, std::string(40, 'x')), -1);
    EXPECT_EQ(impatientWriter->droppedCount(), 0u);
    EXPECT_EQ(readFrom(*impatientReader), failed(DtShmReadLocked));
    EXPECT_THROW(ends.open<Writer>(false, true, false), DtException);
    EXPECT_EQ(ends.packets(), 2);
    ASSERT_EQ(ends.reader->unlockFront(), 0);
    EXPECT_EQ(readFrom(*impatientReader), Result(padded("first"), 0));
}

TEST(ShmQueue, MessageWithoutAPacketIsFoundAllTheSame) {
    Ends ends(128, theDropOldest, {"a", "b"});
    ends.reader->decrPacketCount(2);
    EXPECT_EQ(readFrom(*ends.reader).first, padded("a"));
    EXPECT_EQ(readFrom(*ends.reader).first, padded("b"));
    EXPECT_EQ(readFrom(*ends.reader), failed(DtShmReadEmpty));
    ends.reader->incrPacketCount(32767);  // as high as it goes
    EXPECT_EQ(writeTo(*ends.writer, "c"), 1);
    EXPECT_EQ(readFrom(*ends.reader).first, padded("c"));
}

TEST(ShmQueue, QueueThatNobodyInitialisedSoOnlyTakesWhatFits) {
    Ends ends(64, theDropOldest);
    ends.queue->dropOldest = 0;
    EXPECT_TRUE(ends.writer->dropsOldest()) << "what a writer found does not change under it";
    ends.writer = ends.open<Writer>(false, true);
    EXPECT_FALSE(ends.writer->dropsOldest());
    EXPECT_EQ(writeTo(*ends.writer, std::string(40, 'x')), 40);
    EXPECT_EQ(writeTo(*ends.writer, "y"), -1);
    EXPECT_EQ(readFrom(*ends.reader), Result(std::string(40, 'x'), 0));
}

// -------------------------------------------------------------------------------------------
// Set-up

TEST(ShmQueue, AreaMustSuitTheSemaphoresAndTheRecords) {
    const TestQueue memory(100000);
    const auto problem = [&](int size, bool dropOldest, bool initialise = true, int shift = 0) {
        auto* const queue = reinterpret_cast<Dt_Shm_Msg_Queue*>(memory.memory.get() + shift);
        const int id = memory.semaphores->id();
        return problemOf([&] { Writer(queue, size, id, 0, true, initialise, dropOldest); });
    };
    EXPECT_THAT(problem(64, theDropOldest, false), HasSubstr("no end marker"));
    EXPECT_THAT(problem(15, theDropOldest), HasSubstr("too small"));
    EXPECT_THAT(problem(-1, theDropOldest), HasSubstr("too small"));
    EXPECT_THAT(problem(32768, theBlocking), HasSubstr("too large"));
    EXPECT_THAT(problem(64, theDropOldest, true, 4), HasSubstr("multiple of 8"));
    EXPECT_EQ(problem(100000, theDropOldest), "");
    EXPECT_THROW(DtShmMsgQueueManager(nullptr, 64, 0, 0, false, false), DtException);
}

TEST(ShmQueue, NewWriterPutsRightWhatAKilledOneLeft) {
    Ends ends(128, theDropOldest, {"a", "b", "c"});
    ends.setRecord(0, {1, 0, 8});  // the front has not moved past it
    ends.reader->decrPacketCount(3);
    ends.writer = ends.open<Writer>(false, true);
    EXPECT_EQ(ends.queue->front, 16u);
    ends.expectSound(theDropOldest);
    EXPECT_EQ(readFrom(*ends.reader).first, padded("b"));
}

// -------------------------------------------------------------------------------------------
// Going away

TEST_P(ShmQueueOfBothKinds, GoAwayIsToldUntilItIsCleared) {
    Ends ends(96, GetParam(), {"a"});
    ends.writer->setGoAway(2);
    EXPECT_EQ(readFrom(*ends.reader), failed(DtShmReadGoAwayTwo));
    ends.writer->setGoAway(7);
    EXPECT_EQ(readFrom(*ends.reader), failed(DtShmReadGoAway));
    EXPECT_EQ(ends.packets(), 2);
    ends.writer->setGoAway(0);
    ends.expectSound(GetParam());
    EXPECT_EQ(readFrom(*ends.reader).first, padded("a"));
    ends.writer->setNotifyReader(-5);
    EXPECT_EQ(ends.reader->notifyReader(), -5);
    EXPECT_EQ(ends.reader->getPhysEnd(), 96);
}

TEST(ShmQueue, GoAwayAndTheEndOfTheSemaphoresWakeEveryWaitingReader) {
    Ends ends(96, theBlocking);
    const auto second = ends.open<Reader>(false, false);
    const auto wake = [&](auto act) {
        Result results[2];
        std::thread one([&] { results[0] = readFrom(*ends.reader); });
        std::thread two([&] { results[1] = readFrom(*second); });
        while (!ends.isAwaited(1, 2))
            std::this_thread::yield();
        act();
        one.join();
        two.join();
        EXPECT_THAT(results, testing::Each(failed(DtShmReadGoAway)));
    };
    wake([&] { ends.writer->setGoAway(1); });
    ends.writer->setGoAway(0);
    ends.expectSound(theBlocking);
    CapturedNotifications said;
    wake([&] { ends.semaphores.reset(); });
    std::string lines = said.take();  // two, whose pieces may mix: each comes from another thread
    for (const std::string piece : {"decrPackets", ": ", "Identifier removed", "\n"})
        for (int i = 0; i < 2; ++i) {
            ASSERT_NE(lines.find(piece), std::string::npos) << piece;
            lines.erase(lines.find(piece), piece.size());
        }
    EXPECT_EQ(lines, "");
}

TEST_P(ShmQueueOfBothKinds, WaitingForAPacketTakesNothing) {
    Ends ends(96, GetParam());
    EXPECT_EQ(ends.reader->waitForPacket(0.0), 0);
    EXPECT_EQ(ends.reader->waitForPacket(0.001), 0);
    writeTo(*ends.writer, "a");
    for (const double seconds : {0.0, 1e300, -1.0, static_cast<double>(NAN)})
        EXPECT_EQ(ends.reader->waitForPacket(seconds), 1);
    ends.expectSound(GetParam());
}

TEST_P(ShmQueueOfBothKinds, RemovedSemaphoresAreToldOncePerEndOfTheQueue) {
    Ends ends(96, GetParam());
    ends.semaphores.reset();
    CapturedNotifications said;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(readFrom(*ends.reader), failed(DtShmReadGoAway));
        EXPECT_EQ(ends.reader->waitForPacket(-1.0), -1);
        EXPECT_EQ(writeTo(*ends.writer, "a"), -1);
    }
    EXPECT_EQ(said.take(), "decrPackets: Invalid argument\n" +
                               std::string(GetParam() ? "incrPackets" : "decrBytes") +
                               ": Invalid argument\n");
    EXPECT_EQ(ends.writer->failedCount(), 2u);
}

TEST(ShmQueue, ImpossibleChangesOfASemaphoreAreRefusedEachTime) {
    Ends ends(96, theBlocking);
    CapturedNotifications said;
    EXPECT_EQ(ends.writer->incrByteCount(65536), -1);
    EXPECT_EQ(ends.writer->decrPacketCount(-1), -1);
    EXPECT_EQ(ends.writer->incrByteCount(32767), -1);
    const std::string reason = ": Numerical result out of range\n";
    EXPECT_EQ(said.take(), "incrBytes" + reason + "decrPackets" + reason + "incrBytes" + reason);
    EXPECT_EQ(ends.writer->incrPacketCount(0), 0);
    EXPECT_EQ(ends.writer->decrByteCount(0), 0);
    ends.expectSound(theBlocking);
}

// -------------------------------------------------------------------------------------------
// Broken contents

TEST_P(ShmQueueOfBothKinds, BrokenContentsAreToldAndNothingIsLost) {
    struct Case {
        uint32_t front;
        std::vector<std::pair<int, RawRecord>> records;
    };
    const Case cases[] = {
        {0, {{0, {2, 0, 8}}}},
        {0, {{0, {0, 3, 8}}}},
        {0, {{0, {65535, 65535, 8}}}},
        {0, {{0, {0, 0, 89}}}},
        {0, {{0, {0, 0, 0x7FFFFFFC}}}},
        {0, {{0, {0, 0, 0xFFFFFFFF}}}},
        {0, {{0, {0, 1, 16}}}},                                    // not up to the end
        {0, {{0, {0, 1, 88}}}},                                    // back to itself
        {0, {{0, {1, 0, 72}}, {80, {0, 1, 8}}}},                   // in circles
        {80, {{0, {1, 0, 0}}, {8, {0, 1, 80}}, {80, {0, 1, 8}}}},  // in smaller circles
        {4, {}},
        {96, {}},
        {0xFFFFFFF8, {}},
        {0x80000000, {}},
    };
    for (const Case& broken : cases) {
        Ends ends(96, GetParam(), {"a"});
        ends.queue->front = broken.front;
        for (const auto& [at, record] : broken.records)
            ends.setRecord(at, record);
        EXPECT_THROW(ends.open<Writer>(false, false), DtException);
        EXPECT_EQ(readFrom(*ends.reader), failed(DtShmReadCorrupt));
        EXPECT_EQ(ends.packets(), 1);
        EXPECT_LE(ends.first(), GetParam() ? 1 : 96);
    }
}

TEST_P(ShmQueueOfBothKinds, WriterThatFindsBrokenRecordsGivesBackWhatItTook) {
    Ends ends(96, GetParam(), {"a"});
    ends.setRecord(16, {1, 2, 70});
    EXPECT_EQ(writeTo(*ends.writer, std::string(64, 'x')), -1);
    EXPECT_EQ(ends.first(), GetParam() ? 1 : 80);
    EXPECT_EQ(ends.packets(), 1);
    EXPECT_EQ(ends.writer->failedCount(), 1u);
}
