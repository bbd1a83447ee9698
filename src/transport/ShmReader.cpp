#include "ShmReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "transport/ShmRecordArea.h"

namespace OrynRti {

DtShmMsgQueueReader::DtShmMsgQueueReader(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum,
                                         bool lockWait, bool initialise, bool dropOldest)
    : DtShmMsgQueueManager(queue, size, semId, semNum, initialise, dropOldest),
      lockWait_(lockWait) {}

DtShmMsgQueueReader::~DtShmMsgQueueReader() = default;

int DtShmMsgQueueReader::Read(char* buffer, int size, int* status) {
    if (status == nullptr)
        return -1;
    if (const int away = goAway()) {
        *status = away == 2 ? DtShmReadGoAwayTwo : DtShmReadGoAway;
        return -1;
    }
    const Mode mode = this->mode();
    bool got = false;
    if (mode.blockingRead && !getPacket(mode, got, *status))
        return -1;
    if (mode.dropOldest && lockFront(lockWait_) != 0) {
        *status = isGone(errno) ? DtShmReadGoAway : DtShmReadLocked;
        incrPacketCount(got ? 1 : 0);
        return -1;
    }
    const int copied = takeMessage(buffer, std::max(size, 0), mode, *status);
    if (mode.dropOldest)
        unlockFront();
    if (*status == DtShmReadCorrupt)
        incrPacketCount(got ? 1 : 0);
    return copied;
}

/// Where the oldest is dropped a message may be there without a packet: having got none is no
/// reason not to look. False when the reader must not go on.
bool DtShmMsgQueueReader::getPacket(const Mode& mode, bool& got, int& status) {
    got = (mode.dropOldest ? takePacketsAtOnce(1) : decrPacketCount(1)) == 0;
    if (!got && !(mode.dropOldest && errno == EAGAIN)) {
        status = DtShmReadGoAway;
        return false;
    }
    const int away = got ? goAway() : 0;
    if (away == 0)
        return true;
    incrPacketCount(1);  // it is there for every reader
    status = away == 2 ? DtShmReadGoAwayTwo : DtShmReadGoAway;
    return false;
}

int DtShmMsgQueueReader::takeMessage(char* buffer, int size, const Mode& mode, int& status) {
    ShmRecordArea area(queue_, size_);
    ShmRecord record{};
    int64_t at = area.front();
    status = findMessage(area, at, record, mode);
    if (status != DtShmReadDone)
        return -1;
    const int64_t copied = buffer == nullptr ? 0 : std::min<int64_t>(record.length, size);
    if (copied != 0)
        std::memcpy(buffer, area.payload(at), static_cast<size_t>(copied));
    leave(area, at, record, at + record.extent(), mode);
    ++read_;
    return static_cast<int>(copied);
}

/// The first message from `at` on, with its header. Returns a status as of Read.
int DtShmMsgQueueReader::findMessage(ShmRecordArea& area, int64_t& at, ShmRecord& record,
                                     const Mode& mode) {
    bool wrapped = false;
    for (;;) {
        if (!area.load(at, record))
            return DtShmReadCorrupt;
        if (record.kind == ShmRecord::EndMarker)
            return DtShmReadEmpty;
        if (record.kind == ShmRecord::WrapMarker) {
            if (wrapped)
                return DtShmReadCorrupt;  // in circles: there is no end marker
            wrapped = true;
            leave(area, at, record, 0, mode);
            at = 0;
        } else if (record.state == ShmRecord::Unread) {
            return DtShmReadDone;
        } else {  // a writer was killed before it had moved the front on
            at += record.extent();
            area.setFront(at);
        }
    }
}

/// The front goes first: a reader that is killed in between leaves nothing that is read twice.
void DtShmMsgQueueReader::leave(ShmRecordArea& area, int64_t at, const ShmRecord& record,
                                int64_t next, const Mode& mode) {
    area.setFront(next);
    area.free(at);
    if (mode.blockingWrite)
        incrByteCount(static_cast<int>(record.extent()));
}

uint64_t DtShmMsgQueueReader::readCount() const {
    return read_;
}

}  // namespace OrynRti
