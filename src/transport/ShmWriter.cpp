#include "ShmWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "Exceptions.h"
#include "transport/ShmRecordArea.h"

namespace OrynRti {

struct DtShmMsgQueueWriter::Message {
    const char* const* buffers;
    const int* lengths;
    int count;
    int64_t sum;

    /// Payload of the record, in bytes.
    int64_t padded() const { return (sum + 7) / 8 * 8; }
    /// The record with its header, and the header of the end marker behind it.
    int64_t need() const { return padded() + 2 * ShmRecordArea::theHeaderSize; }
};

/// Whole records that a new one, and the end marker behind it, will stand in the place of.
struct DtShmMsgQueueWriter::Place {
    int64_t at;
    int64_t total;
    bool wraps;  ///< The end marker becomes a wrap marker.
    /// What it is until the message is there: the end marker, as long as that stands here.
    ShmRecord::Kind kind;
};

namespace {

/// From the front to the end marker. At most one wrap, and not past the front again.
struct Way {
    int64_t end = 0;
    int64_t firstUnread = -1;
    int64_t unread = 0;

    bool follow(const ShmRecordArea& area) {
        const int64_t front = area.front();
        bool wrapped = false;
        for (end = front; !wrapped || end < front;) {
            ShmRecord record;
            if (!area.load(end, record))
                return false;
            if (record.kind == ShmRecord::EndMarker)
                return true;
            if (record.kind == ShmRecord::WrapMarker) {
                if (wrapped)
                    return false;  // in circles
                wrapped = true;
                end = 0;
                continue;
            }
            if (record.state == ShmRecord::Unread)
                countUnread();
            end += record.extent();
        }
        return false;
    }

    void countUnread() {
        if (unread++ == 0)
            firstUnread = end;
    }
};

}  // namespace

DtShmMsgQueueWriter::DtShmMsgQueueWriter(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum,
                                         bool lockWait, bool initialise, bool dropOldest)
    : DtShmMsgQueueManager(queue, size, semId, semNum, initialise, dropOldest),
      lockWait_(lockWait),
      mode_(mode()) {
    if (!initialise)
        attach();
}

DtShmMsgQueueWriter::~DtShmMsgQueueWriter() = default;

bool DtShmMsgQueueWriter::dropsOldest() const {
    return mode_.dropOldest;
}

uint64_t DtShmMsgQueueWriter::failedCount() const {
    return failed_;
}

uint64_t DtShmMsgQueueWriter::droppedCount() const {
    return dropped_;
}

uint64_t DtShmMsgQueueWriter::writtenCount() const {
    return written_;
}

// -------------------------------------------------------------------------------------------
// Attaching

void DtShmMsgQueueWriter::attach() {
    if (mode_.dropOldest && lockFront(lockWait_) != 0)
        throw DtException(
            (std::string("DtShmMsgQueueWriter: no lock of the front: ") + std::strerror(errno))
                .c_str(),
            nullptr);
    const bool found = takeOver();
    if (mode_.dropOldest)
        unlockFront();
    if (!found)
        throw DtException("DtShmMsgQueueWriter: the queue has no end marker", nullptr);
}

bool DtShmMsgQueueWriter::takeOver() {
    ShmRecordArea area(queue_, size_);
    Way way;
    if (!way.follow(area))
        return false;
    writePosition_ = way.end;
    if (mode_.dropOldest) {
        area.setFront(way.unread != 0 ? way.firstUnread : way.end);
        if (mode_.blockingRead)
            topUpPackets(way.unread);
    }
    return true;
}

/// A message whose writer was killed before it had added the packet would wake nobody.
void DtShmMsgQueueWriter::topUpPackets(int64_t unread) {
    const int wanted = static_cast<int>(std::min<int64_t>(unread, theLargestCount));
    const int there = semctl(semId_, addPackets_.sem_num, GETVAL);
    if (there >= 0 && there < wanted)
        incrPacketCount(wanted - there);
}

// -------------------------------------------------------------------------------------------
// Writing

int DtShmMsgQueueWriter::Write(const char* buffer, int length) {
    return Writev(&buffer, &length, 1);
}

int DtShmMsgQueueWriter::Writev(const char* const* buffers, const int* lengths, int count) {
    Message message{buffers, lengths, count, 0};
    if (!measure(message) || !write(message)) {
        ++failed_;
        return -1;
    }
    ++written_;
    return static_cast<int>(message.sum);
}

bool DtShmMsgQueueWriter::measure(Message& message) const {
    if (message.count < 0 || (message.count > 0 && (!message.buffers || !message.lengths)))
        return false;
    for (int i = 0; i < message.count; ++i) {
        if (message.lengths[i] < 0 || (message.lengths[i] > 0 && message.buffers[i] == nullptr))
            return false;
        message.sum += message.lengths[i];
    }
    return message.need() <= size_;
}

bool DtShmMsgQueueWriter::write(const Message& message) {
    if (mode_.blockingWrite)
        return writeBlocking(message);
    Outcome outcome = writeIntoFree(message);
    if (outcome == Outcome::NoRoom && mode_.dropOldest)
        outcome = writeOverOldest(message);
    return outcome == Outcome::Done;
}

/// Each store leaves an area whose records tile it, so a writer may be killed between any two.
void DtShmMsgQueueWriter::put(const Message& message, const Place& place) {
    ShmRecordArea area(queue_, size_);
    const int64_t end = place.at + message.padded() + ShmRecordArea::theHeaderSize;
    // One free record: what the old headers inside it say does not matter any more.
    area.publish(place.at, ShmRecord::make(ShmRecord::Free, place.kind, place.total - 8));
    // Keeps the compiler from moving the payload up in front of that store.
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    fillPayload(message, area.payload(place.at));
    area.publish(
        end, ShmRecord::make(ShmRecord::Free, ShmRecord::EndMarker, place.total - message.need()));
    area.publish(place.at,
                 ShmRecord::make(ShmRecord::Unread, ShmRecord::Message, message.padded()));
    if (place.wraps)
        area.publish(writePosition_, ShmRecord::make(ShmRecord::Unread, ShmRecord::WrapMarker,
                                                     size_ - writePosition_ - 8));
    writePosition_ = end;
}

void DtShmMsgQueueWriter::fillPayload(const Message& message, char* payload) {
    for (int i = 0; i < message.count; ++i) {
        if (message.lengths[i] == 0)
            continue;
        std::memcpy(payload, message.buffers[i], static_cast<size_t>(message.lengths[i]));
        payload += message.lengths[i];
    }
    std::memset(payload, 0, static_cast<size_t>(message.padded() - message.sum));
}

// -------------------------------------------------------------------------------------------
// Blocking

/// What it waits for is at most the whole area, which the semaphore comes back to when the
/// reader has read all: the wait ends. Once it has ended the free bytes are one piece behind the
/// end marker, or that up to the end of the area and one at its beginning; so the place is there.
bool DtShmMsgQueueWriter::writeBlocking(const Message& message) {
    const int64_t need = message.need();
    const int64_t tail = size_ - writePosition_;
    if (need > tail && need > writePosition_)
        return writeIntoEmpty(message);
    const bool wraps = need > tail;
    const int taken = static_cast<int>(wraps ? need + tail : need);
    if (decrByteCount(taken) != 0)
        return false;
    const int64_t at = wraps ? 0 : writePosition_;
    const int64_t limit = wraps ? writePosition_ : size_;
    const ShmRun run = ShmRun::walk(ShmRecordArea(queue_, size_), at, limit, need, true);
    if (run.end != ShmRun::Enough) {
        incrByteCount(taken);
        return false;
    }
    put(message, {at, run.total, wraps, wraps ? ShmRecord::Message : ShmRecord::EndMarker});
    return publishBytes(ShmRecordArea::theHeaderSize) == 0;
}

/// For a message that overlaps the end marker wherever it is put: all the bytes are taken, so
/// every message has been read and given back, and no reader looks.
bool DtShmMsgQueueWriter::writeIntoEmpty(const Message& message) {
    if (decrByteCount(size_) != 0)
        return false;
    ShmRecordArea(queue_, size_).setFront(0);
    put(message, {0, size_, false, ShmRecord::EndMarker});
    return publishBytes(size_ - message.padded() - ShmRecordArea::theHeaderSize) == 0;
}

int DtShmMsgQueueWriter::publishBytes(int64_t bytes) {
    sembuf operations[2] = {addBytes_, addPackets_};
    operations[0].sem_op = static_cast<short>(bytes);
    return operate(operations, mode_.blockingRead ? 2 : 1, "incrBytes");
}

// -------------------------------------------------------------------------------------------
// Dropping the oldest

/// Without the lock: free records from the end marker on are the writer's own.
DtShmMsgQueueWriter::Outcome DtShmMsgQueueWriter::writeIntoFree(const Message& message) {
    const ShmRecordArea area(queue_, size_);
    ShmRun run = ShmRun::walk(area, writePosition_, size_, message.need(), true);
    const bool wraps = run.end == ShmRun::AtLimit;
    if (wraps)
        run = ShmRun::walk(area, 0, writePosition_, message.need(), true);
    if (run.end == ShmRun::Corrupt)
        return Outcome::Failed;
    if (run.end != ShmRun::Enough)
        return Outcome::NoRoom;
    put(message, {wraps ? 0 : writePosition_, run.total, wraps,
                  wraps ? ShmRecord::Message : ShmRecord::EndMarker});
    return publishPacket() == 0 ? Outcome::Done : Outcome::Failed;
}

/// Beyond what a semaphore counts a message has no packet; readers find it all the same.
int DtShmMsgQueueWriter::publishPacket() {
    if (!mode_.blockingRead || operate(&addPackets_, 1, "incrPackets", ERANGE) == 0)
        return 0;
    return errno == ERANGE ? 0 : -1;
}

DtShmMsgQueueWriter::Outcome DtShmMsgQueueWriter::writeOverOldest(const Message& message) {
    if (lockFront(lockWait_) != 0)
        return Outcome::Failed;
    Place place{};
    int64_t dropped = 0;
    if (!findAnyPlace(message, place) || !moveFrontOutOf(place, dropped)) {
        unlockFront();
        return Outcome::Failed;
    }
    dropped_ += static_cast<uint64_t>(dropped);
    put(message, place);
    return unlockAfterDropping(dropped) == 0 ? Outcome::Done : Outcome::Failed;
}

bool DtShmMsgQueueWriter::findAnyPlace(const Message& message, Place& place) const {
    const ShmRecordArea area(queue_, size_);
    place = {writePosition_, 0, false, ShmRecord::EndMarker};
    ShmRun run = ShmRun::walk(area, writePosition_, size_, message.need(), false);
    if (run.end == ShmRun::AtLimit) {
        run = ShmRun::walk(area, 0, writePosition_, message.need(), false);
        place.at = 0;
        place.wraps = run.end == ShmRun::Enough;
    }
    // It overlaps the end marker wherever it is put: everything goes.
    place.total = run.end == ShmRun::AtLimit ? size_ : run.total;
    return run.end != ShmRun::Corrupt;
}

/// The front leaves before the place is written to. Whatever is unread lies on the way from the
/// front to the end marker. False when there is no such way; nothing has been changed then.
bool DtShmMsgQueueWriter::moveFrontOutOf(Place& place, int64_t& dropped) {
    ShmRecordArea area(queue_, size_);
    bool wrapped = false;
    int64_t front = area.front();
    while (front != writePosition_) {
        ShmRecord record;
        if (!area.load(front, record) || record.kind == ShmRecord::EndMarker)
            return false;
        if (record.state == ShmRecord::Unread && !isInside(place, front))
            break;
        if (record.kind == ShmRecord::WrapMarker) {
            if (wrapped)
                return false;
            wrapped = true;
            front = 0;
            continue;
        }
        dropped += record.state == ShmRecord::Unread ? 1 : 0;
        front += record.extent();
    }
    if (front == writePosition_) {  // nothing is left
        front = place.at;
        if (place.at != writePosition_)
            area.free(place.at);  // what stands there now must not be read as the next message
    }
    area.setFront(front);
    if (place.wraps && front != 0)
        place.kind = ShmRecord::Message;  // the end marker still stands where it was
    return true;
}

bool DtShmMsgQueueWriter::isInside(const Place& place, int64_t at) const {
    if (!place.wraps)
        return at >= place.at && at < place.at + place.total;
    return at >= writePosition_ || at < place.total;
}

/// The lock and the packets in a call each: one that changes both makes the system take the whole
/// set for itself, in this call and some that follow, which costs more than it saves.
int DtShmMsgQueueWriter::unlockAfterDropping(int64_t dropped) {
    const int result = unlockFront();
    if (result == 0 && mode_.blockingRead && dropped == 0)
        return publishPacket();
    if (result == 0 && mode_.blockingRead)
        takePacketsThere(dropped - 1);
    return result;
}

/// As many as there are, in few calls also while readers take some at the same time.
void DtShmMsgQueueWriter::takePacketsThere(int64_t packets) {
    int64_t step = theLargestCount;
    while (packets > 0 && step > 0) {
        step = std::min(step, packets);
        if (takePacketsAtOnce(static_cast<int>(step)) == 0)
            packets -= step;
        else if (errno == EAGAIN)
            step /= 2;
        else
            return;
    }
}

}  // namespace OrynRti
