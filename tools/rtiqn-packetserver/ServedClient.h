#ifndef RTIQN_PACKETSERVER_SERVED_CLIENT_H
#define RTIQN_PACKETSERVER_SERVED_CLIENT_H

#include <cstdint>
#include <string>
#include <vector>

#include "CliServerRecords.h"
#include "PacketFilter.h"
#include "RequestSocket.h"
#include "ShmPool.h"
#include "ShmSemaphores.h"
#include "ShmWriter.h"
#include "common/Descriptor.h"

namespace RtiqnPacketServer {

/// The queue that a client has made for the server to write to.
///
/// Errors:    the constructor throws a DtException when there is no such pool, when it is not the
///            process's own or not as large as it says, or when it holds no queue that drops the
///            oldest
class ClientQueue {
public:
    ClientQueue(const std::string& poolName, int size_bytes, const ucred& owner);

    OrynRti::DtShmMsgQueueWriter& writer() { return writer_; }
    const OrynRti::DtShmMsgQueueWriter& writer() const { return writer_; }

    /// Whether its owner has removed it.
    bool isRemoved() const;

private:
    OrynRti::DtSharedMemoryPoolClient pool_;
    OrynRti::DtShmSemaphores semaphores_;
    OrynRti::DtShmMsgQueueWriter writer_;
};

/// A client, from its being added until it leaves, is let go, or dies. Nothing here waits for it.
class ServedClient {
public:
    static constexpr std::size_t theMostGroups = 32;

    /// `answers` is the socket that the request came by. Throws a DtException, also when the
    /// process has ended meanwhile.
    ServedClient(std::uint32_t number, const OrynRti::DtCsAddClientRecord& request,
                 const std::string& poolName, const Request& from, RequestSocket& answers);

    std::uint32_t number() const { return number_; }
    pid_t process() const { return process_; }
    bool isControl() const { return type_ == OrynRti::DtCsControlClient; }
    const std::string& poolName() const { return poolName_; }

    /// Readable when the process has ended.
    int processDescriptor() const { return processWatch_.number(); }
    bool hasRemovedQueue() const { return queue_.isRemoved(); }

    /// Hands it the packet if it is ready and its filter lets the packet pass. True when the
    /// packet is in its queue.
    bool offer(const Packet& packet);

    /// Writes a record to its queue.
    template <typename Record>
    void tell(const Record& record) {
        tellBytes(reinterpret_cast<const char*>(&record), sizeof record);
    }
    /// Writes a text of any length to its queue, as a packet without a sender.
    void tellText(const std::string& text);
    void warn(OrynRti::DtCsWarningNumber number, const std::string& text);

    /// Tells why, and that it shall stop reading. The object is of no use from then on.
    void letGo(OrynRti::DtCsNoticeCode code);

    void countRequest() { ++requests_; }

    /// From now on packets come.
    void setReady() { ready_ = true; }

    PacketFilter& filter() { return filter_; }
    std::vector<std::uint32_t>& groups() { return groups_; }  ///< In network order.

    OrynRti::DtCsCStateReturnRecord state();
    std::uint64_t packets() const { return packets_; }
    std::uint64_t droppedOld() const { return queue_.writer().droppedCount(); }
    std::uint64_t droppedNew() const { return queue_.writer().failedCount(); }

private:
    void tellBytes(const char* bytes, int length);
    void notify();

    std::uint32_t number_;
    pid_t process_;
    std::uint8_t type_;
    std::string poolName_;
    int queueSize_bytes_;
    bool notifies_;
    ClientAddress address_;
    RequestSocket& answers_;
    RtiqnTools::Descriptor processWatch_;
    ClientQueue queue_;
    PacketFilter filter_;
    std::vector<std::uint32_t> groups_;
    bool ready_ = false;
    std::uint16_t sequence_ = 0;
    std::uint32_t requests_ = 0;
    std::uint64_t packets_ = 0;  ///< In its queue.
};

}  // namespace RtiqnPacketServer

#endif
