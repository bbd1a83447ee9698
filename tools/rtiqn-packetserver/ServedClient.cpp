#include "ServedClient.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Errors.h"
#include "Exceptions.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

[[noreturn]] void refuse(const std::string& reason) {
    throw DtException(reason.c_str(), nullptr);
}

/// The pool, if it is what its owner says: the system knows who made it and how large.
const DtSharedMemoryPoolClient& checked(const DtSharedMemoryPoolClient& pool, int size_bytes,
                                        const ucred& owner) {
    shmid_ds state{};
    if (::shmctl(pool.segmentId(), IPC_STAT, &state) != 0)
        refuse(std::string("its segment cannot be asked: ") + std::strerror(errno));
    if (state.shm_cpid != owner.pid || state.shm_perm.cuid != owner.uid)
        refuse("its segment was made by another process");
    if (state.shm_segsz < static_cast<std::size_t>(DtShmMsgQueueManager::segmentSize(size_bytes)))
        refuse("its segment is smaller than it says");
    return pool;
}

/// The C library's function has no C linkage in the version of Debian 12.
Descriptor watch(pid_t process) {
    Descriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!descriptor.isOpen())
        refuse(std::string("its process cannot be watched: ") + std::strerror(errno));
    return descriptor;
}

}  // namespace

ClientQueue::ClientQueue(const std::string& poolName, int size_bytes, const ucred& owner)
    : pool_(DtString(poolName.c_str())),
      semaphores_(checked(pool_, size_bytes, owner)),
      writer_(static_cast<Dt_Shm_Msg_Queue*>(pool_.address()), size_bytes, semaphores_.id(), 0,
              false, false, true) {
    if (!writer_.dropsOldest())
        refuse("its queue is one that waits");
}

bool ClientQueue::isRemoved() const {
    shmid_ds state{};
    return ::shmctl(pool_.segmentId(), IPC_STAT, &state) != 0 ||
           (state.shm_perm.mode & SHM_DEST) != 0;
}

// -------------------------------------------------------------------------------------------

ServedClient::ServedClient(std::uint32_t number, const DtCsAddClientRecord& request,
                           const std::string& poolName, const Request& from, RequestSocket& answers)
    : number_(number),
      process_(from.sender.pid),
      type_(static_cast<std::uint8_t>(request.clientType)),
      poolName_(poolName),
      queueSize_bytes_(request.queueSize),
      notifies_((request.modeBits & DtCsNotify) != 0),
      address_(from.address),
      answers_(answers),
      processWatch_(watch(from.sender.pid)),
      queue_(poolName, request.queueSize, from.sender) {}

bool ServedClient::offer(const Packet& packet) {
    if (!ready_ || !filter_.passes(packet))
        return false;
    DtCsServerPacketRecord record;
    record.packetLength = static_cast<std::uint32_t>(packet.length);
    record.senderAddress = packet.address;
    record.portAndSequence = packet.port | static_cast<std::uint32_t>(sequence_++) << 16;
    const char* const pieces[] = {reinterpret_cast<const char*>(&record), packet.bytes};
    const int lengths[] = {sizeof record, packet.length};
    if (queue_.writer().Writev(pieces, lengths, 2) < 0)
        return false;
    ++packets_;
    notify();
    return true;
}

void ServedClient::tellBytes(const char* bytes, int length) {
    if (queue_.writer().Write(bytes, length) >= 0)
        notify();
}

void ServedClient::tellText(const std::string& text) {
    DtCsServerPacketRecord record;
    record.packetLength = static_cast<std::uint32_t>(text.size());
    const char* const pieces[] = {reinterpret_cast<const char*>(&record), text.data()};
    const int lengths[] = {sizeof record, static_cast<int>(text.size())};
    if (queue_.writer().Writev(pieces, lengths, 2) >= 0)
        notify();
}

/// The fence pairs with the client's, between its setting the word and its last look at the queue:
/// it finds the record there, or the word is seen here.
void ServedClient::notify() {
    if (!notifies_)
        return;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (queue_.writer().notifyReader() == 0)
        return;
    queue_.writer().setNotifyReader(0);
    answers_.answer(address_, DtCsMsgWaitingRecord());
}

void ServedClient::warn(DtCsWarningNumber number, const std::string& text) {
    DtCsWarningRecord record;
    record.number = number;
    text.copy(record.text, sizeof record.text - 1);
    tell(record);
}

void ServedClient::letGo(DtCsNoticeCode code) {
    DtCsNoticeRecord notice;
    notice.code = code;
    tell(notice);
    queue_.writer().setGoAway(1);
}

DtCsCStateReturnRecord ServedClient::state() {
    DtCsCStateReturnRecord state;
    state.modeBits = static_cast<std::uint16_t>(DtCsRead | DtCsSvrDropOldest | DtCsCliBlockRead |
                                                (notifies_ ? DtCsNotify : 0));
    state.clientType = type_;
    state.filterCount = static_cast<std::uint8_t>(filter_.count());
    state.groupCount = static_cast<std::uint8_t>(groups_.size());
    state.clientId = number_;
    state.processId = process_;
    state.sentCount = static_cast<std::uint32_t>(queue_.writer().writtenCount());
    state.receivedCount = requests_;
    state.droppedOldCount = static_cast<std::uint32_t>(droppedOld());
    state.droppedNewCount = static_cast<std::uint32_t>(droppedNew());
    state.sendQueueSize = queueSize_bytes_;
    return state;
}

}  // namespace RtiqnPacketServer
