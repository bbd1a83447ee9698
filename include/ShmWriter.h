#ifndef RTIQNUTIL_SHMWRITER_H
#define RTIQNUTIL_SHMWRITER_H

#include <cstdint>

#include "ClientServerQueue.h"
#include "Export.h"
#include "ShmQueue.h"

namespace OrynRti {

/// The writing end of a message queue in shared memory. A queue has one at a time.
///
///     DtShmMsgQueueWriter writer(queue, size, semaphores.id(), 0, true, false, false);
///     if (writer.Write(record, length) < 0)
///         ++lost;
///
/// A message takes 8 bytes and its length rounded up to 8 in the queue, and 8 more must be free
/// behind it. Readers see it whole or not at all, also when the writer is killed.
///
/// Errors:    -1 and failedCount() for a message that is too large or has a negative length, for
///            a lock that was not got, for semaphores that are gone, for a queue whose contents
///            make no sense
/// Cost:      a blocking write makes two system calls; one that may drop makes one, and some more
///            when the queue is full
class DT_EXPORT DtShmMsgQueueWriter : public DtClientServerWriter, public DtShmMsgQueueManager {
public:
    /// See DtShmMsgQueueManager. Without `lockWait` a write that would overwrite fails while
    /// somebody else has the lock of the front, instead of waiting for it.
    ///
    /// When it attaches it goes on where the writer before it ended, and puts right what that
    /// one left undone if it was killed. Throws a DtException when the queue is not initialised
    /// or makes no sense, or when `lockWait` is false and the lock is taken.
    DtShmMsgQueueWriter(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum, bool lockWait,
                        bool initialise, bool dropOldest);
    ~DtShmMsgQueueWriter() override;

    /// Whether the queue is one that drops the oldest, and writing thus never waits for space. It
    /// stays so for this writer, whatever another process makes of the queue's header.
    bool dropsOldest() const;

    int Write(const char* buffer, int length) override;
    int Writev(const char* const* buffers, const int* lengths, int count) override;

    uint64_t failedCount() const;   ///< Messages that were not written.
    uint64_t droppedCount() const;  ///< Messages that were overwritten unread.
    uint64_t writtenCount() const;  ///< Messages that were written.

private:
    struct Message;
    struct Place;
    enum class Outcome { Done, NoRoom, Failed };

    void attach();
    bool takeOver();
    void topUpPackets(int64_t unread);

    bool measure(Message& message) const;
    bool write(const Message& message);
    void put(const Message& message, const Place& place);
    static void fillPayload(const Message& message, char* payload);

    bool writeBlocking(const Message& message);
    bool writeIntoEmpty(const Message& message);
    int publishBytes(int64_t bytes);

    Outcome writeIntoFree(const Message& message);
    int publishPacket();

    Outcome writeOverOldest(const Message& message);
    bool findAnyPlace(const Message& message, Place& place) const;
    bool moveFrontOutOf(Place& place, int64_t& dropped);
    bool isInside(const Place& place, int64_t at) const;
    int unlockAfterDropping(int64_t dropped);
    void takePacketsThere(int64_t packets);

    // The order of the members is fixed.
    bool lockWait_;
    int64_t writePosition_ = 0;  ///< Where the end marker is.
    uint64_t failed_ = 0;
    uint64_t dropped_ = 0;
    uint64_t written_ = 0;
    const Mode mode_;  ///< As the queue was when this writer came.
};

}  // namespace OrynRti

#endif
