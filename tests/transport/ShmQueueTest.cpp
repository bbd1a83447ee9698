#include <cmath>
#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <thread>

#include "Exceptions.h"
#include "ShmReader.h"
#include "ShmWriter.h"
#include "support/Notifications.h"
#include "transport/ShmSupport.h"

using namespace OrynRti;
using namespace OrynRti::Tests;

namespace {

using Reader = DtShmMsgQueueReader;
using Writer = DtShmMsgQueueWriter;

constexpr bool theBlocking = false;
constexpr bool theDropOldest = true;

/// `text` filled up with zeros to a multiple of 8, as it comes back.
std::string padded(std::string text) {
    text.resize((text.size() + 7) / 8 * 8, '\0');
    return text;
}

struct Result {
    std::string text;
    int status;

    bool operator==(const Result& other) const {
        return text == other.text && status == other.status;
    }
};

std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << result.text.size() << " bytes, status " << result.status;
}

const Result theEmptyQueue{"failed", DtShmReadEmpty};

Result readFrom(Reader& reader) {
    char buffer[40000];
    int status = -1;
    const int length = reader.Read(buffer, sizeof buffer, &status);
    return {length < 0 ? "failed" : std::string(buffer, static_cast<size_t>(length)), status};
}

int writeTo(Writer& writer, const std::string& text) {
    return writer.Write(text.data(), static_cast<int>(text.size()));
}

/// A queue with its two ends, initialised by the writer.
struct Ends : TestQueue {
    Ends(int areaSize, bool dropOldest)
        : TestQueue(areaSize),
          writer(open<Writer>(true, dropOldest)),
          reader(open<Reader>(false, dropOldest)) {}

    /// Whether bytes, packets and records are as they must be while nobody is inside a call.
    void expectSound(bool dropOldest) const {
        const QueueView::Way way = view().follow();
        ASSERT_EQ(way.fault, "");
        EXPECT_EQ(view().packets(), way.unread);
        EXPECT_EQ(view().first(), dropOldest ? 1 : size - way.bytes);
    }

    std::unique_ptr<Writer> writer;
    std::unique_ptr<Reader> reader;
};

class ShmQueueOfBothKinds : public testing::TestWithParam<bool> {};

std::string nameOfKind(const testing::TestParamInfo<bool>& kind) {
    return kind.param ? "DropOldest" : "Blocking";
}

INSTANTIATE_TEST_SUITE_P(Queue, ShmQueueOfBothKinds, testing::Values(theBlocking, theDropOldest),
                         nameOfKind);

std::string problemOf(int size, bool dropOldest, bool initialise = true, int shift = 0) {
    TestQueue queue(size < 0 ? 64 : size + 64);
    auto* const place = reinterpret_cast<Dt_Shm_Msg_Queue*>(queue.memory.get() + shift);
    try {
        Writer writer(place, size, queue.semaphores->id(), 0, true, initialise, dropOldest);
    } catch (const DtException& problem) {
        return problem.message();
    }
    return "";
}

}  // namespace

// -------------------------------------------------------------------------------------------
// Writing and reading

TEST_P(ShmQueueOfBothKinds, MessagesComeBackInOrderFilledUpToEight) {
    Ends ends(200, GetParam());
    const char* pieces[] = {"abc", nullptr, "defghi"};
    const int lengths[] = {3, 0, 6};
    EXPECT_EQ(ends.writer->Write("x", 1), 1);
    EXPECT_EQ(ends.writer->Writev(pieces, lengths, 3), 9);
    EXPECT_EQ(ends.writer->Writev(nullptr, nullptr, 0), 0);
    ends.expectSound(GetParam());
    EXPECT_EQ(readFrom(*ends.reader), (Result{padded("x"), 0}));
    EXPECT_EQ(readFrom(*ends.reader), (Result{padded("abcdefghi"), 0}));
    EXPECT_EQ(readFrom(*ends.reader), (Result{"", 0}));
    EXPECT_EQ(ends.writer->writtenCount(), 3u);
    EXPECT_EQ(ends.reader->readCount(), 3u);
    ends.expectSound(GetParam());
}

TEST_P(ShmQueueOfBothKinds, LongerMessageIsCutToTheBuffer) {
    Ends ends(200, GetParam());
    for (int i = 0; i < 3; ++i)
        writeTo(*ends.writer, "0123456789");
    char buffer[4] = {};
    int status = -1;
    EXPECT_EQ(ends.reader->Read(buffer, 4, nullptr), -1);
    EXPECT_EQ(ends.reader->Read(buffer, 4, &status), 4);
    EXPECT_EQ(std::string(buffer, 4), "0123");
    EXPECT_EQ(ends.reader->Read(buffer, -1, &status), 0);
    EXPECT_EQ(ends.reader->Read(nullptr, 100, &status), 0);
    EXPECT_EQ(status, DtShmReadDone);
    ends.expectSound(GetParam());
}

TEST_P(ShmQueueOfBothKinds, MessageThatDoesNotFitBeforeTheEndGoesBehindAWrapMarker) {
    Ends ends(96, GetParam());
    writeTo(*ends.writer, std::string(48, 'a'));
    readFrom(*ends.reader);
    EXPECT_EQ(writeTo(*ends.writer, std::string(32, 'b')), 32);
    const RawRecord marker = ends.view().record(56);
    EXPECT_EQ(marker.kind, 1);
    EXPECT_EQ(marker.length, 32u);
    ends.expectSound(GetParam());
    EXPECT_EQ(readFrom(*ends.reader), (Result{std::string(32, 'b'), 0}));
    ends.expectSound(GetParam());
}

TEST_P(ShmQueueOfBothKinds, LargestMessageFitsWhereverTheLastOneEnded) {
    Ends ends(104, GetParam());
    for (const char* between : {"", "12345678", "123456789"}) {
        const std::string largest(88, 'L');
        EXPECT_EQ(writeTo(*ends.writer, largest), 88);
        EXPECT_EQ(readFrom(*ends.reader), (Result{largest, 0}));
        ends.expectSound(GetParam());
        writeTo(*ends.writer, between);
        EXPECT_EQ(readFrom(*ends.reader), (Result{padded(between), 0}));
    }
}

TEST_P(ShmQueueOfBothKinds, ImpossibleMessagesFailAndTouchNothing) {
    Ends ends(104, GetParam());
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
    EXPECT_EQ(ends.writer->writtenCount(), 0u);
    EXPECT_EQ(ends.view().first(), GetParam() ? 1 : 104);
    ends.expectSound(GetParam());
}

TEST(ShmQueue, FullQueueDropsItsOldestMessages) {
    Ends ends(128, theDropOldest);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(writeTo(*ends.writer, "message " + std::to_string(i % 10)), 9);
    ends.expectSound(theDropOldest);
    const QueueView::Way way = ends.view().follow();
    EXPECT_EQ(ends.writer->droppedCount(), 20u - static_cast<unsigned int>(way.unread));
    for (int i = 20 - way.unread; i < 20; ++i)
        EXPECT_EQ(readFrom(*ends.reader).text, padded("message " + std::to_string(i % 10)));
    EXPECT_EQ(readFrom(*ends.reader), theEmptyQueue);
    EXPECT_GE(way.unread, 3);
}

TEST(ShmQueue, DropsNothingWithoutTheLock) {
    Ends ends(64, theDropOldest);
    const auto impatientWriter = ends.open<Writer>(false, false, false);
    const auto impatientReader = ends.open<Reader>(false, false, false);
    EXPECT_EQ(writeTo(*impatientWriter, "first"), 5);
    EXPECT_EQ(writeTo(*impatientWriter, "second"), 6);
    ASSERT_EQ(ends.reader->lockFront(true), 0);
    EXPECT_EQ(writeTo(*impatientWriter, std::string(40, 'x')), -1);
    EXPECT_EQ(impatientWriter->droppedCount(), 0u);
    EXPECT_EQ(readFrom(*impatientReader), (Result{"failed", DtShmReadLocked}));
    EXPECT_EQ(ends.view().packets(), 2);
    ASSERT_EQ(ends.reader->unlockFront(), 0);
    EXPECT_EQ(readFrom(*impatientReader), (Result{padded("first"), 0}));
}

TEST(ShmQueue, MessageWithoutAPacketIsFoundAllTheSame) {
    Ends ends(128, theDropOldest);
    writeTo(*ends.writer, "a");
    writeTo(*ends.writer, "b");
    ends.reader->decrPacketCount(2);
    EXPECT_EQ(readFrom(*ends.reader).text, padded("a"));
    EXPECT_EQ(readFrom(*ends.reader).text, padded("b"));
    ends.reader->incrPacketCount(32767);  // as high as it goes
    EXPECT_EQ(writeTo(*ends.writer, "c"), 1);
    EXPECT_EQ(readFrom(*ends.reader).text, padded("c"));
}

TEST(ShmQueue, QueueThatNobodyInitialisedSoOnlyTakesWhatFits) {
    Ends ends(64, theDropOldest);
    ends.queue->dropOldest = 0;
    EXPECT_EQ(writeTo(*ends.writer, std::string(40, 'x')), 40);
    EXPECT_EQ(writeTo(*ends.writer, "y"), -1);
    EXPECT_EQ(readFrom(*ends.reader), (Result{std::string(40, 'x'), 0}));
}

// -------------------------------------------------------------------------------------------
// Set-up

TEST(ShmQueue, AreaMustSuitTheSemaphoresAndTheRecords) {
    using testing::HasSubstr;
    EXPECT_THAT(problemOf(15, theDropOldest), HasSubstr("too small"));
    EXPECT_THAT(problemOf(-1, theDropOldest), HasSubstr("too small"));
    EXPECT_THAT(problemOf(32768, theBlocking), HasSubstr("too large"));
    EXPECT_THAT(problemOf(64, theDropOldest, true, 4), HasSubstr("multiple of 8"));
    EXPECT_THAT(problemOf(64, theDropOldest, false), HasSubstr("no end marker"));
    EXPECT_EQ(problemOf(16, theBlocking), "");
    EXPECT_EQ(problemOf(100000, theDropOldest), "");
    EXPECT_THROW(DtShmMsgQueueManager(nullptr, 64, 0, 0, false, false), DtException);
}

TEST(ShmQueue, LargestBlockingQueueTakesItsLargestMessage) {
    Ends ends(32767, theBlocking);
    const std::string largest(32744, 'L');
    EXPECT_EQ(writeTo(*ends.writer, largest), 32744);
    EXPECT_EQ(writeTo(*ends.writer, largest + "1"), -1);
    EXPECT_EQ(readFrom(*ends.reader), (Result{largest, 0}));
    ends.expectSound(theBlocking);
}

TEST_P(ShmQueueOfBothKinds, NewWriterGoesOnWhereTheLastOneEnded) {
    Ends ends(96, GetParam());
    writeTo(*ends.writer, std::string(40, 'a'));
    readFrom(*ends.reader);
    writeTo(*ends.writer, std::string(16, 'b'));
    writeTo(*ends.writer, "c");  // behind a wrap marker
    ends.writer = ends.open<Writer>(false, !GetParam());
    EXPECT_EQ(writeTo(*ends.writer, "d"), 1);
    ends.expectSound(GetParam());
    EXPECT_EQ(readFrom(*ends.reader).text, std::string(16, 'b'));
    EXPECT_EQ(readFrom(*ends.reader).text, padded("c"));
    EXPECT_EQ(readFrom(*ends.reader).text, padded("d"));
}

TEST(ShmQueue, NewWriterPutsRightWhatAKilledOneLeft) {
    Ends ends(128, theDropOldest);
    for (const char* text : {"a", "b", "c"})
        writeTo(*ends.writer, text);
    ends.view().setRecord(0, {1, 0, 8});  // the front has not moved past it
    ends.reader->decrPacketCount(3);
    ASSERT_EQ(ends.reader->lockFront(true), 0);
    EXPECT_THROW(ends.open<Writer>(false, true, false), DtException);
    ASSERT_EQ(ends.reader->unlockFront(), 0);
    ends.writer = ends.open<Writer>(false, true);
    EXPECT_EQ(ends.view().front(), 16);
    ends.expectSound(theDropOldest);
    EXPECT_EQ(readFrom(*ends.reader).text, padded("b"));
}

// -------------------------------------------------------------------------------------------
// Going away

TEST_P(ShmQueueOfBothKinds, GoAwayIsToldUntilItIsCleared) {
    Ends ends(96, GetParam());
    writeTo(*ends.writer, "a");
    ends.writer->setGoAway(2);
    EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadGoAwayTwo}));
    ends.writer->setGoAway(7);
    EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadGoAway}));
    EXPECT_EQ(ends.view().packets(), 2);
    ends.writer->setGoAway(0);
    ends.expectSound(GetParam());
    EXPECT_EQ(readFrom(*ends.reader).text, padded("a"));
    ends.writer->setNotifyReader(-5);
    EXPECT_EQ(ends.reader->notifyReader(), -5);
    EXPECT_EQ(ends.reader->getPhysEnd(), 96);
}

TEST(ShmQueue, GoAwayWakesEveryWaitingReaderAndKeepsTheCount) {
    Ends ends(96, theBlocking);
    const auto second = ends.open<Reader>(false, false);
    Result results[2];
    std::thread one([&] { results[0] = readFrom(*ends.reader); });
    std::thread two([&] { results[1] = readFrom(*second); });
    while (semctl(ends.semaphores->id(), 1, GETNCNT) < 2)
        std::this_thread::yield();
    ends.writer->setGoAway(1);
    one.join();
    two.join();
    for (const Result& result : results)
        EXPECT_EQ(result, (Result{"failed", DtShmReadGoAway}));
    ends.writer->setGoAway(0);
    ends.expectSound(theBlocking);
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
        EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadGoAway}));
        EXPECT_EQ(ends.reader->waitForPacket(-1.0), -1);
    }
    EXPECT_EQ(said.take(), "decrPackets: Invalid argument\n");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(writeTo(*ends.writer, "a"), -1);
    EXPECT_EQ(said.take(),
              GetParam() ? "incrPackets: Invalid argument\n" : "decrBytes: Invalid argument\n");
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

TEST_P(ShmQueueOfBothKinds, BrokenRecordsAreToldAndNothingIsLost) {
    const RawRecord broken[] = {{2, 0, 8},  {0, 3, 8},  {0, 0, 0xFFFFFFFF}, {0, 0, 0x7FFFFFFC},
                                {0, 0, 89}, {0, 1, 16}, {0, 1, 88},         {65535, 65535, 8}};
    for (const RawRecord& record : broken) {
        Ends ends(96, GetParam());
        writeTo(*ends.writer, "a");
        ends.view().setRecord(0, record);
        EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadCorrupt}));
        EXPECT_EQ(ends.view().packets(), 1);
        EXPECT_EQ(ends.view().first(), GetParam() ? 1 : 80);
        EXPECT_THROW(ends.open<Writer>(false, false), DtException);
    }
    for (const uint32_t front : {4u, 96u, 0xFFFFFFF8u, 0x80000000u}) {
        Ends ends(96, GetParam());
        writeTo(*ends.writer, "a");
        ends.queue->front = front;
        EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadCorrupt}));
    }
}

TEST_P(ShmQueueOfBothKinds, WriterThatFindsBrokenRecordsGivesBackWhatItTook) {
    Ends ends(96, GetParam());
    writeTo(*ends.writer, "a");
    ends.view().setRecord(16, {1, 2, 70});
    EXPECT_EQ(writeTo(*ends.writer, std::string(64, 'x')), -1);
    EXPECT_EQ(ends.view().first(), GetParam() ? 1 : 80);
    EXPECT_EQ(ends.view().packets(), 1);
    EXPECT_EQ(ends.writer->failedCount(), 1u);
}

TEST(ShmQueue, ReadingEndsAlsoWhenTheRecordsGoInCircles) {
    Ends ends(96, theDropOldest);
    ends.view().setRecord(0, {1, 0, 72});
    ends.view().setRecord(80, {0, 1, 8});
    EXPECT_EQ(readFrom(*ends.reader), (Result{"failed", DtShmReadCorrupt}));
    EXPECT_THROW(ends.open<Writer>(false, false), DtException);
    EXPECT_EQ(ends.view().first(), 1);
}

TEST_P(ShmQueueOfBothKinds, AnyBytesWhateverAreSurvived) {
    std::mt19937 random(4711);
    CapturedNotifications said;
    for (int round = 0; round < 400; ++round) {
        Ends ends(104, GetParam());
        auto* const bytes = reinterpret_cast<uint8_t*>(ends.queue);
        for (int step = 0; step < 30; ++step) {
            const size_t at = random() % 120 / 8 * 8 + random() % 8;
            bytes[at] = static_cast<uint8_t>(random() % 3 == 0 ? random() : random() % 4 * 8);
            ends.queue->blockingRead = 1;
            ends.queue->dropOldest = GetParam() ? 1 : 0;
            semctl(ends.semaphores->id(), 0, SETVAL, GetParam() ? 1 : 104);  // never wait
            semctl(ends.semaphores->id(), 1, SETVAL, 1);
            if (random() % 2 == 0)
                writeTo(*ends.writer, std::string(random() % 90, 'x'));
            else
                readFrom(*ends.reader);
        }
    }
}

// -------------------------------------------------------------------------------------------
// A model beside the queue

namespace {

/// What a blocking write will wait for.
int bytesTaken(int length, int at, int size) {
    const int need = (length + 7) / 8 * 8 + 16;
    if (need <= size - at)
        return need;
    return need <= at ? need + size - at : size;
}

/// Random steps on a queue, each held against a list of the messages that must be there.
struct ModelRun {
    ModelRun(int size, bool dropOldest, unsigned int seed)
        : ends(size, dropOldest), drops(dropOldest), random(seed) {}

    void step() {
        const int largest = (ends.size - 16) / 8 * 8;
        const int length = static_cast<int>(random() % (random() % 4 == 0 ? largest + 1 : 24));
        if (random() % 2 == 0)
            write(std::min(length, largest));
        else
            read();
        if (random() % 50 == 0)
            ends.writer = ends.open<Writer>(false, drops);
        ends.expectSound(drops);
    }

    void write(int length) {
        if (!drops && ends.view().first() < bytesTaken(length, ends.view().follow().end, ends.size))
            return;  // it would wait
        const std::string text(static_cast<size_t>(length), static_cast<char>('a' + random() % 26));
        const uint64_t droppedBefore = ends.writer->droppedCount();
        ASSERT_EQ(writeTo(*ends.writer, text), length);
        for (uint64_t i = droppedBefore; i < ends.writer->droppedCount(); ++i)
            held.pop_front();
        held.push_back(padded(text));
    }

    void read() {
        if (held.empty()) {
            EXPECT_EQ(ends.reader->waitForPacket(0.0), 0);
            return;
        }
        ASSERT_EQ(readFrom(*ends.reader), (Result{held.front(), 0}));
        held.pop_front();
    }

    Ends ends;
    bool drops;
    std::mt19937 random;
    std::deque<std::string> held;
};

}  // namespace

TEST_P(ShmQueueOfBothKinds, HoldsWhatAModelHoldsAfterEveryStep) {
    for (const int size : {16, 24, 40, 100, 101, 128, 255, 1000, 4000}) {
        ModelRun run(size, GetParam(), static_cast<unsigned int>(size));
        for (int i = 0; i < 2000 && !HasFailure(); ++i)
            run.step();
    }
}

TEST_P(ShmQueueOfBothKinds, WriterAndReaderMayRunAtTheSameTime) {
    Ends ends(400, GetParam());
    const int count = 20000;
    std::thread writing([&] {
        for (int i = 0; i < count; ++i)
            ends.writer->Write(std::string(static_cast<size_t>(8 + i % 90), 'x').data(),
                               8 + i % 90);
        ends.writer->Write("end", 3);
    });
    const std::string end = padded("end");
    int whole = 0;
    for (Result result{"", 0}; result.text != end; result = readFrom(*ends.reader))
        whole += result.status == 0 && !result.text.empty() && result.text[0] == 'x' ? 1 : 0;
    writing.join();
    EXPECT_EQ(whole + static_cast<int>(ends.writer->droppedCount()), count);
    EXPECT_EQ(ends.view().follow().fault, "");
    EXPECT_EQ(ends.view().first(), GetParam() ? 1 : 400 - ends.view().follow().bytes);
}
