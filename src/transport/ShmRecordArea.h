#ifndef RTIQNUTIL_SRC_TRANSPORT_SHMRECORDAREA_H
#define RTIQNUTIL_SRC_TRANSPORT_SHMRECORDAREA_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ShmQueue.h"

namespace OrynRti {

/// What every record in a queue begins with, on a multiple of 8. The payload follows.
///
///     offset  0       2       4               8
///            +-------+-------+---------------+---------//---+
///            | state | kind  | length        | payload      |
///            +-------+-------+---------------+---------//---+
///
/// Records lie back to back from the beginning of the area to its end.
struct ShmRecord {
    enum State : uint16_t { Unread = 0, Free = 1 };
    enum Kind : uint16_t {
        Message = 0,
        WrapMarker = 1,  ///< Reading goes on at offset 0. Reaches to the end of the area.
        EndMarker = 2    ///< The next message will be written here.
    };

    uint16_t state;
    uint16_t kind;
    uint32_t length;  ///< Of the payload, in bytes.

    static ShmRecord make(State state, Kind kind, int64_t length) {
        return {state, kind, static_cast<uint32_t>(length)};
    }

    /// Bytes from this record to the next.
    int64_t extent() const { return int64_t{length} + 8; }
};

static_assert(sizeof(ShmRecord) == sizeof(uint64_t), "goes in and out as one word");
static_assert(offsetof(ShmRecord, state) == 0, "layout shared between programs");
static_assert(offsetof(ShmRecord, kind) == 2, "layout shared between programs");
static_assert(offsetof(ShmRecord, length) == 4, "layout shared between programs");

/// The records of a queue. Headers are looked at in one checked copy and nowhere else, since
/// what lies in shared memory may be anything, and change at any time.
class ShmRecordArea {
public:
    static constexpr int64_t theHeaderSize = sizeof(ShmRecord);

    ShmRecordArea(Dt_Shm_Msg_Queue* queue, int size)
        : queue_(queue), records_(reinterpret_cast<char*>(queue + 1)), size_(size) {}

    int64_t size() const { return size_; }

    // Acquire pairs with the release in setFront: who sees the front move sees what was done to
    // the records before it moved.
    int64_t front() const { return __atomic_load_n(&queue_->front, __ATOMIC_ACQUIRE); }
    void setFront(int64_t at) {
        __atomic_store_n(&queue_->front, static_cast<uint32_t>(at), __ATOMIC_RELEASE);
    }

    /// False when there is no sound record at that offset.
    bool load(int64_t at, ShmRecord& record) const {
        if (at < 0 || at % 8 != 0 || at > size_ - theHeaderSize)
            return false;
        // Acquire pairs with the release in publish (the payload of a message is there) and in
        // free (its reader has done with it).
        const uint64_t word = __atomic_load_n(wordAt(at), __ATOMIC_ACQUIRE);
        std::memcpy(&record, &word, sizeof record);
        return isSound(at, record);
    }

    /// Makes a header visible in one piece, after everything written before it.
    void publish(int64_t at, const ShmRecord& record) {
        uint64_t word = 0;
        std::memcpy(&word, &record, sizeof word);
        __atomic_store_n(wordAt(at), word, __ATOMIC_RELEASE);  // pairs with load
    }

    void free(int64_t at) {
        auto* const state = reinterpret_cast<uint16_t*>(records_ + at);
        __atomic_store_n(state, uint16_t{ShmRecord::Free}, __ATOMIC_RELEASE);  // pairs with load
    }

    char* payload(int64_t at) { return records_ + at + theHeaderSize; }

private:
    uint64_t* wordAt(int64_t at) const { return reinterpret_cast<uint64_t*>(records_ + at); }

    bool isSound(int64_t at, const ShmRecord& record) const {
        const int64_t next = at + record.extent();
        if (record.state > ShmRecord::Free || record.kind > ShmRecord::EndMarker || next > size_)
            return false;
        // None is ever put at 0, where one has just led: reading would go in circles.
        return record.kind != ShmRecord::WrapMarker || (next == size_ && at != 0);
    }

    Dt_Shm_Msg_Queue* queue_;
    char* records_;
    int64_t size_;
};

/// A walk over whole records, for `need` bytes or until something is in the way.
struct ShmRun {
    enum End { Enough, AtUnread, AtLimit, Corrupt };

    End end;
    int64_t total;  ///< Bytes of the records walked over.

    /// Walks from `from` up to `limit`, where a record must end.
    static ShmRun walk(const ShmRecordArea& area, int64_t from, int64_t limit, int64_t need,
                       bool onlyFree) {
        int64_t at = from;
        while (at - from < need && at < limit) {
            ShmRecord record;
            if (!area.load(at, record))
                return {Corrupt, 0};
            if (onlyFree && record.state != ShmRecord::Free)
                return {AtUnread, at - from};
            at += record.extent();
        }
        if (at > limit)
            return {Corrupt, 0};
        return {at - from < need ? AtLimit : Enough, at - from};
    }
};

}  // namespace OrynRti

#endif
