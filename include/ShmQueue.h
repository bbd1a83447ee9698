#ifndef RTIQNUTIL_SHMQUEUE_H
#define RTIQNUTIL_SHMQUEUE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/types.h>

#include "Export.h"

namespace OrynRti {

/// What a queue begins with in shared memory. Fields are in the order of the host's bytes; the
/// area of records follows.
///
///     offset  0        4        8    9     10   12    13     14    15  16
///            +--------+--------+----+-----+----+-----+------+-----+---+---------//
///            | front  | notify | go | res.|    | blocking   |drop |   | records
///            |        | reader | away     |    |read | write|oldest   |
///            +--------+--------+----+-----+----+-----+------+-----+---+---------//
///
/// Every process that is attached can write every byte of it: the library takes nothing it reads
/// here on trust.
struct Dt_Shm_Msg_Queue {
    uint32_t front;         ///< Offset, within the records, of the next one to read.
    int32_t notifyReader;   ///< Of the programs' own making; the queue does not look at it.
    uint8_t goAway;         ///< 0, or what the reader is told instead of a message.
    uint8_t reserved;       ///< 0
    uint8_t unused1[2];     ///< Not looked at.
    uint8_t blockingRead;   ///< 1: the packet semaphore counts the messages.
    uint8_t blockingWrite;  ///< 1: writers wait on the byte semaphore.
    uint8_t dropOldest;     ///< 1: writers overwrite what is unread.
    uint8_t unused2;        ///< Not looked at.
};

static_assert(sizeof(Dt_Shm_Msg_Queue) == 16, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, front) == 0, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, notifyReader) == 4, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, goAway) == 8, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, reserved) == 9, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, blockingRead) == 12, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, blockingWrite) == 13, "layout shared between programs");
static_assert(offsetof(Dt_Shm_Msg_Queue, dropOldest) == 14, "layout shared between programs");

/// A queue of messages between processes, in shared memory: the part that its two ends, the
/// DtShmMsgQueueWriter and the DtShmMsgQueueReader, have in common. On its own it initialises a
/// queue, or tells the readers of one to go away.
///
/// There are two kinds of queue. In a blocking one the writer waits for space and the reader
/// for messages; it has one writer and one reader. In one that drops the oldest the writer never
/// waits for space, any number of readers share the messages, and any of them, and the writer,
/// may be killed at any instant: the others go on, and a new writer attaches. A blocking queue
/// whose reader or writer was killed inside a call has lost bytes or a packet and is initialised
/// again. The kind stands in the queue itself, and whoever attaches goes by that.
///
/// Two semaphores of a System V set guard a queue, n and n + 1 for the semaphore number n: the
/// first is the lock of the front (drop oldest) or the number of free bytes (blocking), the
/// second the number of unread messages, called packets.
///
/// Threads:   setGoAway, setNotifyReader and the observers from any thread; everything else one
///            thread at a time
/// Ownership: borrows the shared memory and the semaphores, which must outlive it
/// Errors:    the constructor throws a DtException. A failed operation on a semaphore gives -1
///            and a line on DtWarn with the operation's label and the system's text; when the
///            set is gone (removed by its owner), one line for all the life of this object
/// Cost:      a system call per operation on a semaphore, no allocation
class DT_EXPORT DtShmMsgQueueManager {
public:
    /// `queue` points to 16 + `size` bytes (the caller owes that), on a multiple of 8; `size` is
    /// at least 16. A blocking queue has at most 32767, as much as a semaphore can count, and
    /// its messages at most 32744 bytes.
    ///
    /// Exactly one party initialises the queue, while no other uses it; the rest attach, and
    /// `dropOldest` means nothing to them.
    DtShmMsgQueueManager(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum, bool initialise,
                         bool dropOldest);

    DtShmMsgQueueManager(const DtShmMsgQueueManager&) = delete;
    DtShmMsgQueueManager& operator=(const DtShmMsgQueueManager&) = delete;
    virtual ~DtShmMsgQueueManager();

    /// How large a segment a queue with `size` bytes of records needs.
    static constexpr int segmentSize(int size) { return size + int{sizeof(Dt_Shm_Msg_Queue)}; }

    // Semaphores. All return 0 or -1.

    /// Takes the lock of the front; without `wait`, -1 at once when another process has it. The
    /// system gives it back for a process that dies.
    int lockFront(bool wait);
    int unlockFront();  ///< Gives the lock of the front back.

    /// Add to a semaphore, or wait until so many can be taken from it. Numbers beyond what a
    /// semaphore can count (32767) are refused, and 0 asks nothing of the system. @{
    int incrByteCount(int bytes);
    int decrByteCount(int bytes);
    int incrPacketCount(int packets);
    int decrPacketCount(int packets);
    /// @}

    /// Waits until there is a packet, and leaves it there: 1 then, 0 when the time is over, -1
    /// when the semaphores are gone or refuse. `seconds` below 0 is without limit. In a queue
    /// that drops the oldest a message can be without a packet, after a reader was killed: wait
    /// for limited times there, and read after each.
    int waitForPacket(double seconds);

    // What the queue says.

    /// Tells every reader to stop, also those that wait: `Read` then gives -1 and status 4 for
    /// 2, status 3 for any other value but 0. Back to 0, they read on.
    void setGoAway(uint8_t value);
    uint8_t goAway() const;  ///< 0 while nobody is to stop.

    /// A word of the programs' own, which the queue does not look at. @{
    void setNotifyReader(int value);
    int notifyReader() const;
    /// @}

    /// The size of the area of records, in bytes.
    int getPhysEnd() const;

protected:
    /// How the queue works, in one look at its header.
    struct Mode {
        bool blockingRead;   ///< The packet semaphore counts the messages.
        bool blockingWrite;  ///< Writers wait on the byte semaphore.
        bool dropOldest;     ///< Writers overwrite what is unread.
    };
    Mode mode() const;  ///< As it is now, whatever another process has made of it.

    /// Takes packets if that many are there. -1 with `errno` EAGAIN, and no line, if not.
    int takePacketsAtOnce(int packets);

    /// Makes up to two of the operations below in one call. No line for `silentError`.
    int operate(const sembuf* operations, size_t count, const char* label,
                int silentError = 0) const;

    /// Whether an operation that failed with this error did so because the set is gone.
    static bool isGone(int error);

    static constexpr int theLargestCount = 32767;  ///< That a semaphore can count.

    /// The queue, and the operations on its two semaphores. The order of these members is
    /// fixed. @{
    Dt_Shm_Msg_Queue* queue_;
    int size_;
    int semId_;
    sembuf lock_;
    sembuf unlock_;
    sembuf addBytes_;
    sembuf takeBytes_;
    sembuf addPackets_;
    sembuf takePackets_;
    /// @}

private:
    void initialise(bool dropOldest);
    void setSemaphore(int number, int value);
    int report(const char* label, int silentError) const;
    int count(sembuf operation, int number, const char* label, int silentError = 0) const;

    mutable std::atomic<bool> goneReported_{false};
};

}  // namespace OrynRti

#endif
