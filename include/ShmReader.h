#ifndef RTIQNUTIL_SHMREADER_H
#define RTIQNUTIL_SHMREADER_H

#include <cstdint>

#include "ClientServerQueue.h"
#include "Export.h"
#include "ShmQueue.h"

namespace OrynRti {

class ShmRecordArea;
struct ShmRecord;

/// What DtShmMsgQueueReader::Read says beside its result.
enum DtShmReadStatus : int {
    DtShmReadDone = 0,
    DtShmReadLocked = 1,     ///< Another process has the lock of the front.
    DtShmReadEmpty = 2,      ///< There is no message.
    DtShmReadGoAway = 3,     ///< The reader shall stop; also when the semaphores are gone.
    DtShmReadGoAwayTwo = 4,  ///< The reader shall stop: go-away is 2.
    DtShmReadCorrupt = 5     ///< The contents of the queue make no sense.
};

/// The reading end of a message queue in shared memory. A blocking queue has one at a time, one
/// that drops the oldest any number; they share its messages.
///
///     DtShmMsgQueueReader reader(queue, size, semaphores.id(), 0, true, false, false);
///     int status = 0;
///     const int length = reader.Read(buffer, sizeof buffer, &status);
///     if (length < 0 && status == DtShmReadGoAway)
///         return;
///
/// Messages come back with their length rounded up to 8, filled up with zeros.
///
/// Errors:    -1 and a DtShmReadStatus
/// Cost:      two system calls in a blocking queue, three in one that drops the oldest
class DT_EXPORT DtShmMsgQueueReader : public DtClientServerReader, public DtShmMsgQueueManager {
public:
    /// See DtShmMsgQueueManager. `lockWait`: whether to wait for the lock of the front.
    DtShmMsgQueueReader(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum, bool lockWait,
                        bool initialise, bool dropOldest);
    ~DtShmMsgQueueReader() override;

    /// Takes the next message. Copies at most `size` bytes; the rest of a longer message is lost
    /// without notice. Null for `buffer` drops the message and gives 0; a null `status` gives -1.
    ///
    /// Waits for a message in a blocking queue (see waitForPacket for limits), never in one that
    /// drops the oldest, beyond the moment that the lock may take.
    int Read(char* buffer, int size, int* status) override;

    uint64_t readCount() const;  ///< Messages taken, dropped ones included.

private:
    bool getPacket(const Mode& mode, bool& got, int& status);
    int takeMessage(char* buffer, int size, const Mode& mode, int& status);
    int findMessage(ShmRecordArea& area, int64_t& at, ShmRecord& record, const Mode& mode);
    void leave(ShmRecordArea& area, int64_t at, const ShmRecord& record, int64_t next,
               const Mode& mode);

    // The order of the members is fixed.
    bool lockWait_;
    uint64_t read_ = 0;
};

}  // namespace OrynRti

#endif
